// The services File needs from later subsystems, in their present form.
#include "Base/Files/Internal/FileServices.h"

#include "Base/Files/FileException.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <cerrno>

namespace QELTA::Internal {
namespace {

constexpr char error_label_prefix[] = "file_error_";
constexpr char program_temp_tail[] = "QELTA\\temp\\";

} // namespace

FolderVariables FileFolderVariables() {
    return FolderVariables();
}

String ResolveEnvironmentalVariables(String text) {
    return text;
}

File ProgramTempPath() {
    return File(FilePlatform::TemporaryFolder() + StringView(program_temp_tail));
}

void ThrowOpenError(File const & file, int error) {
    if (error == 0) {
        return;
    }
    String label(error_label_prefix);
    String name = FilePlatform::ErrorName(error);
    if (name.isEmpty()) {
        StringAllocatingView number;
        StringStream<int>::toString(error, number);
        name = String(number.view());
    }
    label.append(name.view());
    throw FileException(file, Translatable(label.view(), FilePlatform::ErrorText(error).view()),
                        FileException::generic_file);
}

void ThrowSystemError(File const & file, int error) {
    if (error == ENOENT) {
        throw FileException(file, FileException::file_does_not_exist);
    }
    ThrowOpenError(file, error);
}

} // namespace QELTA::Internal
