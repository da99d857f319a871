// The system folders under a redirected HOME and XDG folders, the toolkit folders with their
// creation and temporary fallback, the redirect setters and the folder variables.
#include "Base/Files/FileResource.h"

#include "Base/Files/File.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

namespace QELTA {
namespace {

using Testing::ScopedVariable;
using Testing::WriteAll;

class FileResourceTest : public Testing::TempFolderTest {
  protected:
    // The system form of a folder inside the test folder, with its trailing '/'.
    std::string Folder(std::string const & relative) const { return SystemPath(relative); }
    static std::string Text(File const & file) { return Testing::SystemPath(file.view()); }
};

TEST_F(FileResourceTest, SystemFoldersFollowTheEnvironment) {
    EXPECT_EQ(Text(FileResource::OSUserDataFolder()), Folder("data/"));
    EXPECT_EQ(Text(FileResource::OSProgramDataFolder()), Folder("machine/"));
    EXPECT_EQ(Text(FileResource::OSTempFolder()), Folder("tmp/"));
    EXPECT_EQ(Text(FileResource::OSDocumentsFolder()), Folder("home/Documents/"));
    EXPECT_EQ(Text(FileResource::OSDownloadsFolder()), Folder("home/Downloads/"));
    EXPECT_EQ(Text(FileResource::OSProgramsFolder(true)), "/opt/");
    {
        ScopedVariable const relative("XDG_DATA_HOME", "not/absolute");
        EXPECT_EQ(Text(FileResource::OSUserDataFolder()), Folder("home/.local/share/"));
    }
    ScopedVariable const no_home("HOME", "");
    ScopedVariable const no_data("XDG_DATA_HOME", "");
    EXPECT_TRUE(FileResource::OSUserDataFolder().isEmpty());
    EXPECT_TRUE(FileResource::OSDocumentsFolder().isEmpty());
}

TEST_F(FileResourceTest, UserFoldersComeFromTheUserDirsFile) {
    struct Row {
        char const * line;
        char const * documents;
        char const * downloads;
    } const rows[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n", "home/Dokumente/", "home/Downloads/"},
        {"# XDG_DOCUMENTS_DIR=\"$HOME/x\"\nXDG_DOWNLOAD_DIR=\"$HOME/dl/\"\n", "home/Documents/", "home/dl/"},
        {"XDG_DOCUMENTS_DIR=\"ROOT/elsewhere\"\n", "elsewhere/", "home/Downloads/"},
        {"XDG_DOCUMENTS_DIR=\"relative\"\n", "home/Documents/", "home/Downloads/"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.line);
        std::string line = row.line;
        if (std::size_t const at = line.find("ROOT"); at != std::string::npos) {
            line.replace(at, 4, root());
        }
        WriteAll(SystemPath("config/user-dirs.dirs"), line);
        EXPECT_EQ(Text(FileResource::OSDocumentsFolder()), Folder(row.documents));
        EXPECT_EQ(Text(FileResource::OSDownloadsFolder()), Folder(row.downloads));
    }
}

TEST_F(FileResourceTest, ToolkitFoldersAreBuiltOnTheSystemFolders) {
    struct Row {
        char const * name;
        std::function<File()> folder;
        char const * expected;
    } const rows[] = {
        {"program dynamic", FileResource::PathToProgramDynamicResources, "machine/QELTA/Unnamed/"},
        {"toolkit dynamic", FileResource::PathToQELTADynamicResources, "machine/QELTA/"},
        {"user dynamic", FileResource::PathToUserDynamicResources, "data/QELTA/Unnamed/"},
        {"program settings", FileResource::PathToProgramSettings, "machine/QELTA/Unnamed/application_settings/"},
        {"toolkit settings", FileResource::PathToQELTASettings, "machine/QELTA/application_settings/"},
        {"user settings", FileResource::PathToUserSettings, "data/QELTA/Unnamed/user_settings/"},
        {"user library", FileResource::PathToUserLibrary, "home/Documents/QELTA/Library/"},
        {"models", FileResource::PathToProgramModels, "machine/QELTA/Unnamed/Models/"},
        {"translations per application", [] { return FileResource::PathToProgramTranslations(true); },
         "machine/QELTA/application_settings/Translations/"},
        {"translations", [] { return FileResource::PathToProgramTranslations(false); }, "machine/QELTA/Translations/"},
        {"temp", FileResource::ProgramTempPath, "machine/QELTA/Unnamed/temp/"},
        {"file temp", File::TempFileFolder, "machine/QELTA/Unnamed/temp/files/"},
        {"sync settings", FileResource::SyncSettingsFolder, "home/Documents/QELTA Settings/"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Text(row.folder()), Folder(row.expected));
    }
    // The cached folders were made; the others are only named.
    EXPECT_TRUE(std::filesystem::is_directory(Folder("machine/QELTA/Unnamed/")));
    EXPECT_TRUE(std::filesystem::is_directory(Folder("data/QELTA/Unnamed/")));
    EXPECT_FALSE(std::filesystem::exists(Folder("machine/QELTA/Unnamed/temp/")));
    EXPECT_FALSE(std::filesystem::exists(Folder("home/Documents/QELTA/")));
}

TEST_F(FileResourceTest, ConstResourcesLieBesideTheProgram) {
    File const expected = FileResource::ExeFolder();
    ASSERT_FALSE(expected.isEmpty());
    EXPECT_TRUE(std::filesystem::equivalent(Text(FileResource::ExePath()), "/proc/self/exe"));
    // Asked for, the folder would be made beside the test program; redirected, nothing is made.
    FileResource::setPathToConstResources(Path("const/"));
    EXPECT_EQ(Text(FileResource::PathToConstResources()), Folder("const/"));
    EXPECT_FALSE(std::filesystem::exists(Folder("const/")));
}

TEST_F(FileResourceTest, ContextNameNamesTheProgramAndUserFolders) {
    struct Row {
        char const * context;
        char const * program;
        char const * user;
    } const rows[] = {
        {"Survey", "machine/QELTA/Survey/", "data/QELTA/Survey/"},
        // Only the user folder stands in "Unnamed" for an empty name.
        {"", "machine/QELTA/", "data/QELTA/Unnamed/"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.context);
        FileResource::ResetForTesting(Path("machine/"));
        FileResource::SetAppContextName(String(row.context));
        EXPECT_EQ(Text(FileResource::PathToProgramDynamicResources()), Folder(row.program));
        EXPECT_EQ(Text(FileResource::PathToUserDynamicResources()), Folder(row.user));
    }
}

TEST_F(FileResourceTest, FoldersAreBuiltOnceAndThenCopied) {
    EXPECT_EQ(Text(FileResource::PathToUserDynamicResources()), Folder("data/QELTA/Unnamed/"));
    ScopedVariable const moved("XDG_DATA_HOME", root() + "/moved");
    FileResource::SetAppContextName(String("Later"));
    EXPECT_EQ(Text(FileResource::PathToUserDynamicResources()), Folder("data/QELTA/Unnamed/"));
    EXPECT_EQ(Text(FileResource::PathToUserSettings()), Folder("data/QELTA/Unnamed/user_settings/"));
    EXPECT_FALSE(std::filesystem::exists(root() + "/moved"));
}

TEST_F(FileResourceTest, FoldersThatCanNotBeMadeFallBackOnTheTemporaryFolder) {
    // A file where a folder should be: not even root can make a folder beneath it.
    WriteAll(SystemPath("blocker"), "x");
    FileResource::ResetForTesting(Path("blocker/machine/"));
    {
        ScopedVariable const data("XDG_DATA_HOME", root() + "/blocker/data");
        FileResource::SetAppContextName(String("App"));
        EXPECT_EQ(Text(FileResource::PathToProgramDynamicResources()), Folder("tmp/QELTA/App/"));
        EXPECT_EQ(Text(FileResource::PathToQELTADynamicResources()), Folder("tmp/QELTA/"));
        EXPECT_EQ(Text(FileResource::PathToUserDynamicResources()), Folder("tmp/QELTA/App/"));
        EXPECT_TRUE(std::filesystem::is_directory(Folder("tmp/QELTA/App/")));
        EXPECT_EQ(Text(FileResource::ProgramTempPath()), Folder("tmp/QELTA/App/temp/"));
    }
    // When the temporary folder can't be made either, the folder is named but nothing is raised.
    FileResource::ResetForTesting(Path("blocker/machine/"));
    ScopedVariable const temp("TMPDIR", root() + "/blocker/tmp");
    File folder;
    EXPECT_NO_THROW(folder = FileResource::PathToProgramDynamicResources());
    EXPECT_EQ(Text(folder), Folder("blocker/tmp/QELTA/Unnamed/"));
    EXPECT_FALSE(folder.exists());
}

TEST_F(FileResourceTest, RedirectsReplaceWhatTheFoldersBuildOn) {
    FileResource::SetPathToUserDynamicResources(Path("portable/user/"));
    FileResource::SetPathToProgramDynamicResources(Path("portable/program/"));
    EXPECT_EQ(Text(FileResource::PathToUserSettings()), Folder("portable/user/user_settings/"));
    EXPECT_EQ(Text(FileResource::PathToProgramSettings()), Folder("portable/program/application_settings/"));
    EXPECT_EQ(Text(File::TempFileFolder()), Folder("portable/program/temp/files/"));
    // Taken as given: nothing is made.
    EXPECT_FALSE(std::filesystem::exists(Folder("portable")));
    // A temporary write puts its side file in the redirected folder.
    File target = Path("out.txt");
    target.open(File::WRITE_TEXT_TEMP);
    EXPECT_EQ(Testing::SystemPath(target.sidePath().view()).rfind(Folder("portable/program/temp/files/"), 0), 0u);
    target.close();
    EXPECT_TRUE(std::filesystem::exists(SystemPath("out.txt")));
}

TEST_F(FileResourceTest, VariablesAreReplacedInExpandedPaths) {
    StringAllocatingView key;
    StringStream<FileResource::ProgramFileVars>::toString(FileResource::QELTA_PROJECT_FOLDER, key);
    String const project(Path("project").view());
    FileResource::FileEnvVariables()[String(key.view())] = project;
    FileResource::FileEnvVariables()[String("%SAME%")] = String("%SAME%");
    FileResource::FileEnvVariables()[String()] = String("never");
    struct Row {
        char const * path;
        char const * expected;
    } const rows[] = {
        {"${QELTA_PROJECT_FOLDER}/a.txt", "project/a.txt"},
        {"${QELTA_PROJECT_FOLDER}/x/${QELTA_PROJECT_FOLDER}.txt", "project/x/ROOT/project.txt"},
        // Keys are compared with case.
        {"ROOT/${qelta_project_folder}/b", "${qelta_project_folder}/b"},
        {"ROOT/%SAME%/c", "%SAME%/c"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.path);
        std::string path = row.path;
        if (path.rfind("ROOT", 0) == 0) {
            path.replace(0, 4, root());
        }
        File file{String(path)};
        file.expandEnvironmentalVars();
        std::string expected = Folder(row.expected);
        if (std::size_t const at = expected.find("ROOT"); at != std::string::npos) {
            expected.replace(at, 4, root().substr(1)); // the separator before it is already there
        }
        EXPECT_EQ(Text(file), expected);
    }
}

TEST(FileResourceTextTest, ProjectFolderVariableReadsByItsNameInAnyCase) {
    struct Row {
        char const * text;
        unsigned char expected;
    } const rows[] = {
        {"${QELTA_PROJECT_FOLDER}", 0},
        {"${qelta_project_folder}", 0},
        {"QELTA_PROJECT_FOLDER", 7},
        {"", 7},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        auto value = static_cast<FileResource::ProgramFileVars>(7);
        StringStream<FileResource::ProgramFileVars>::fromString(StringView(row.text), value);
        EXPECT_EQ(static_cast<unsigned char>(value), row.expected);
    }
}

} // namespace
} // namespace QELTA
