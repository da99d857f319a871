// FileException: the message of each kind with the file put in, the wrapped message, and the
// identity shared by failures of one kind.
#include "Base/Files/FileException.h"
#include "Base/Language/Translator.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace QELTA {
namespace {

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return std::string(english.c_str(), english.size());
}

TEST(FileExceptionTest, MessageOfEachKindNamesTheFile) {
    struct Row {
        FileException::ExceptionType type;
        char const * label;
        char const * message;
    };
    Row const rows[] = {
        {FileException::generic_file, "generic_file_exception", "Generic file message for file:\nC:\\a\\b.txt"},
        {FileException::file_not_open, "file_not_open_exception", "File not open:\nC:\\a\\b.txt"},
        {FileException::file_already_open, "file_already_open_exception", "File already open:\nC:\\a\\b.txt"},
        {FileException::file_does_not_exist, "file_does_not_exit_exception", "File does not exist:\nC:\\a\\b.txt"},
        {FileException::file_exists, "file_exists_exception", "File exists:\nC:\\a\\b.txt"},
        {FileException::invalid_file, "invalid_file_exception", "Invalid File:\nC:\\a\\b.txt"},
        {FileException::file_not_supported, "file_not_supported_exception", "File not supported:\nC:\\a\\b.txt"},
        {FileException::could_not_create_file, "could_not_create_file_exception",
         "Could not create file:\nC:\\a\\b.txt"},
    };
    File const file("C:/a/b.txt");
    for (Row const & row : rows) {
        SCOPED_TRACE(row.label);
        FileException const failure(file, row.type);
        EXPECT_EQ(English(failure.message()), row.message);
        EXPECT_EQ(failure.message().translationID(), Translator::DefaultFastID(row.label));
        EXPECT_EQ(English(failure.title()), "File Exception");
        EXPECT_EQ(failure.title().translationID(), Translator::DefaultFastID("file_exception"));
        EXPECT_EQ(English(failure.detail()), "File Error");
    }
}

TEST(FileExceptionTest, UnnamedKindReportsOnlyTheTitle) {
    std::vector<std::string> parts;
    Exception::SetReportChannelForTesting([&parts](StringView const & text) { parts.emplace_back(text); });
    FileException const failure(File("C:\\a.txt"), static_cast<FileException::ExceptionType>(6));
    Exception::SetReportChannelForTesting({});
    EXPECT_TRUE(failure.message().isEmpty());
    EXPECT_EQ(parts, std::vector<std::string>{"File Exception"});
}

TEST(FileExceptionTest, WrappedMessageNamesTextAndFile) {
    FileException const wrapped(File("C:\\a.txt"), TranslatedString(StringView("{disk_full}Disk full")),
                                FileException::generic_file);
    EXPECT_EQ(English(wrapped.message()), "File Error:\nDisk full\nFile:\nC:\\a.txt");
    EXPECT_EQ(wrapped.message().translationID(), Translator::DefaultFastID("file_exception_message"));
    EXPECT_EQ(English(wrapped.title()), "File Error");

    // Failures of one kind share their id whatever the file; the wrapped form has its own title.
    FileException const first(File("C:\\a.txt"), FileException::file_does_not_exist);
    FileException const second(File("\\home\\u\\other.ini"), FileException::file_does_not_exist);
    EXPECT_EQ(first.id(), second.id());
    EXPECT_TRUE(first.id().isValid());
    EXPECT_NE(wrapped.id(), first.id());
}

} // namespace
} // namespace QELTA
