// The services File needs from later subsystems, in their present form.
#include "Base/Files/Internal/FileServices.h"

#include "Base/Files/FileResource.h"
#include "Base/Files/Platform/FilePlatform.h"

namespace QELTA::Internal {

FolderVariables FileFolderVariables() {
    FolderVariables variables;
    for (auto const & [key, value] : FileResource::FileEnvVariables()) {
        variables.add(std::pair<String, String>(key, value));
    }
    return variables;
}

String ResolveEnvironmentalVariables(String text) {
    return text;
}

File ProgramTempPath() {
    return FileResource::ProgramTempPath();
}

} // namespace QELTA::Internal
