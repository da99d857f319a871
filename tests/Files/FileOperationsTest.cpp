// File's copy, move and delete: trees, progress and cancel through a pipe, the temporary file
// that keeps a target whole, moves to another file system, and the exact texts of the error rows.
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Translator.h"
#include "Base/Logging/MemoryInfoPipe.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

using Testing::ReadAll;
using Testing::WriteAll;
namespace fs = std::filesystem;

constexpr unsigned long long test_chunk = 1024;

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return std::string(english.c_str(), english.size());
}

std::string Text(StringView const & view) {
    return std::string(view.data(), view.size());
}

// The English text of a message, which keeps a translatable text in its stored form.
std::string Shown(LogMessage const & message) {
    TranslatedString text;
    StringStream<TranslatedString>::fromString(message.rawMessage().view(), text);
    return English(text);
}

// A pipe that remembers every progress value and, when asked, requests a cancel of all guards
// once a copy has passed half way.
class RecordingPipe : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addProgressSource;

    explicit RecordingPipe(bool cancel_at_half = false) : cancel_at_half_(cancel_at_half) {}
    void setProgressIdx(unsigned int index, float progress) override {
        MemoryInfoPipe::setProgressIdx(index, progress);
        values.emplace_back(index, progress);
        if (cancel_at_half_ && progress >= 0.5f && progress < 1.0f) {
            requestCancel();
        }
    }
    unsigned int addProgressSource(TranslatedString const & title, float progress) override {
        ++sources_added;
        return MemoryInfoPipe::addProgressSource(title, progress);
    }
    bool hasMessage(std::string const & text) const {
        for (LogMessage const & message : messages()) {
            if (Shown(message) == text) {
                return true;
            }
        }
        return false;
    }
    std::vector<std::pair<unsigned int, float>> values;
    unsigned int sources_added = 0;

  private:
    bool cancel_at_half_;
};

// Every file under a folder with its content, by relative path.
std::vector<std::pair<std::string, std::string>> Tree(std::string const & root) {
    std::vector<std::pair<std::string, std::string>> out;
    for (fs::directory_entry const & entry : fs::recursive_directory_iterator(root)) {
        std::string const relative = fs::relative(entry.path(), root).string();
        out.emplace_back(relative, entry.is_directory() ? std::string("<folder>") : ReadAll(entry.path().string()));
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string Wrapped(std::string const & text, File const & file) {
    return "File Error:\n" + text + "\nFile:\n" + Text(file.view());
}

std::string CopyFailure(File const & source, std::string const & reason) {
    return Wrapped("File could not be copied: " + reason, source);
}

class FileOperationsTest : public Testing::TempFolderTest {
  protected:
    void SetUp() override {
        TempFolderTest::SetUp();
        FilePlatform::SetCopyChunkSizeForTesting(test_chunk);
    }
    void TearDown() override {
        FilePlatform::SetCopyChunkSizeForTesting(0);
        TempFolderTest::TearDown();
    }
    // a/one.txt (10 chunks), a/.hidden, a/sub/two.bin with every byte value.
    void MakeTree() {
        fs::create_directories(SystemPath("a/sub"));
        WriteAll(SystemPath("a/one.txt"), std::string(10 * test_chunk, 'x'));
        WriteAll(SystemPath("a/.hidden"), "h");
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        WriteAll(SystemPath("a/sub/two.bin"), bytes);
    }
};

TEST_F(FileOperationsTest, CopiesTreeWithProgressReachingTheEnd) {
    MakeTree();
    fs::permissions(SystemPath("a/one.txt"), fs::perms::owner_read | fs::perms::group_read);
    fs::file_time_type const stamp = fs::file_time_type::clock::now() - std::chrono::hours(48);
    fs::last_write_time(SystemPath("a/one.txt"), stamp);
    RecordingPipe pipe;
    File const source = Path("a/");
    EXPECT_TRUE(source.copyTo(Path("b/"), false, LogPtr(&pipe)));

    EXPECT_EQ(Tree(SystemPath("b")), Tree(SystemPath("a"))) << "the whole tree, hidden file included, no leftovers";
    EXPECT_EQ(fs::status(SystemPath("b/one.txt")).permissions(), fs::perms::owner_read | fs::perms::group_read);
    EXPECT_EQ(fs::last_write_time(SystemPath("b/one.txt")), stamp);
    EXPECT_TRUE(pipe.hasMessage("Copying " + Text(Path("a/one.txt").view()) + " to " + Text(Path("b/one.txt").view())));
    EXPECT_TRUE(pipe.hasMessage("Copying File Item"));
    // Each source's values climb and end at 1; the ten-chunk file reports every chunk.
    std::map<unsigned int, std::vector<float>> by_source;
    for (auto const & [id, value] : pipe.values) {
        by_source[id].push_back(value);
    }
    ASSERT_EQ(by_source.size(), 5u) << "the two folders and the three files";
    bool saw_chunks = false;
    for (auto const & [id, values] : by_source) {
        EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
        EXPECT_EQ(values.back(), 1.0f);
        saw_chunks = saw_chunks || values.size() >= 11;
    }
    EXPECT_TRUE(saw_chunks);
    EXPECT_TRUE(pipe.progressSources().empty());
    EXPECT_EQ(pipe.cancelGuardCount(), 0u);
}

TEST_F(FileOperationsTest, CopyOfOneFileHonoursOverwriteAndFolderTargets) {
    WriteAll(SystemPath("new.txt"), "new");
    WriteAll(SystemPath("old.txt"), "old");
    EXPECT_TRUE(Path("new.txt").copyTo(Path("old.txt"), false, LogPtr()));
    EXPECT_EQ(ReadAll(SystemPath("old.txt")), "old");
    EXPECT_TRUE(Path("new.txt").copyTo(Path("old.txt"), true, LogPtr()));
    EXPECT_EQ(ReadAll(SystemPath("old.txt")), "new");
    EXPECT_TRUE(Path("new.txt").copyTo(Path("into/deeper/"), false, LogPtr()));
    EXPECT_EQ(ReadAll(SystemPath("into/deeper/new.txt")), "new") << "a file copied into a new folder keeps its name";
}

TEST_F(FileOperationsTest, CancelHalfWayLeavesTheTargetAsItWas) {
    WriteAll(SystemPath("source.txt"), std::string(8 * test_chunk, 'c'));
    for (char const * existing : {static_cast<char const *>(nullptr), "old content"}) {
        SCOPED_TRACE(existing == nullptr ? "absent target" : "existing target");
        fs::remove_all(SystemPath("out"));
        fs::create_directory(SystemPath("out"));
        std::vector<std::pair<std::string, std::string>> expected;
        if (existing != nullptr) {
            WriteAll(SystemPath("out/target.txt"), existing);
            expected.emplace_back("target.txt", existing);
        }
        RecordingPipe pipe(true);
        File const source = Path("source.txt");
        try {
            source.copyTo(Path("out/target.txt"), true, LogPtr(&pipe));
            ADD_FAILURE() << "a cancelled copy raises";
        } catch (FileException const & failure) {
            EXPECT_EQ(English(failure.message()), CopyFailure(source, "User cancelled job"));
        }
        EXPECT_EQ(Tree(SystemPath("out")), expected) << "no temporary file is left either";
        EXPECT_EQ(pipe.cancelGuardCount(), 0u);
        EXPECT_TRUE(pipe.progressSources().empty());
    }
}

TEST_F(FileOperationsTest, CancelledTreeCopyKeepsWhatWasCopied) {
    fs::create_directory(SystemPath("a"));
    WriteAll(SystemPath("a/1.txt"), "small");
    WriteAll(SystemPath("a/2.txt"), std::string(4 * test_chunk, '2'));
    WriteAll(SystemPath("a/3.txt"), "never reached");
    RecordingPipe pipe(true);
    EXPECT_THROW(Path("a/").copyTo(Path("b/"), true, LogPtr(&pipe)), FileException);
    EXPECT_EQ(Tree(SystemPath("b")), (std::vector<std::pair<std::string, std::string>>{{"1.txt", "small"}}));
}

TEST_F(FileOperationsTest, MoveWithinAFileSystemRenames) {
    MakeTree();
    struct stat before {};
    ASSERT_EQ(stat(SystemPath("a/sub/two.bin").c_str(), &before), 0);
    auto const tree = Tree(SystemPath("a"));
    MemoryInfoPipe pipe;
    File target = Path("moved/");
    EXPECT_TRUE(Path("a/").moveTo(target, false, LogPtr(&pipe), false));
    EXPECT_FALSE(fs::exists(SystemPath("a")));
    EXPECT_EQ(Tree(SystemPath("moved")), tree);
    struct stat after {};
    ASSERT_EQ(stat(SystemPath("moved/sub/two.bin").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "renamed, not copied";
    ASSERT_FALSE(pipe.messages().isEmpty());
    EXPECT_EQ(Shown(pipe.messages()[0]), "Moving " + Text(Path("a/").view()) + " to " + Text(Path("moved/").view()));

    WriteAll(SystemPath("temp.bin"), "data");
    MemoryInfoPipe temp_pipe;
    File final_place = Path("final.bin");
    EXPECT_TRUE(Path("temp.bin").moveTo(final_place, true, LogPtr(&temp_pipe), true));
    EXPECT_EQ(ReadAll(SystemPath("final.bin")), "data");
    ASSERT_EQ(temp_pipe.messages().size(), 1u);
    EXPECT_EQ(Shown(temp_pipe.messages()[0]), "Writing data to " + Text(final_place.view()));

    File missing = Path("missing.txt");
    File same = Path("missing.txt");
    EXPECT_TRUE(missing.moveTo(same, true, LogPtr(), false)) << "onto itself, without a source";
}

TEST_F(FileOperationsTest, MoveToAnotherFileSystemCopiesThenDeletes) {
    if (!fs::is_directory("/dev/shm")) {
        GTEST_SKIP() << "no second file system at /dev/shm";
    }
    char pattern[] = "/dev/shm/qelta-ops-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    std::string const other = pattern;
    MakeTree();
    auto const tree = Tree(SystemPath("a"));
    WriteAll(SystemPath("single.txt"), std::string(3 * test_chunk, 's'));
    RecordingPipe pipe;
    File file_target(String(other + "/single.txt"));
    EXPECT_TRUE(Path("single.txt").moveTo(file_target, false, LogPtr(&pipe), false));
    File folder_target(String(other + "/tree/"));
    EXPECT_TRUE(Path("a/").moveTo(folder_target, false, LogPtr(&pipe), false));

    EXPECT_EQ(ReadAll(other + "/single.txt"), std::string(3 * test_chunk, 's'));
    EXPECT_EQ(Tree(other + "/tree"), tree);
    EXPECT_FALSE(fs::exists(SystemPath("single.txt")));
    EXPECT_FALSE(fs::exists(SystemPath("a")));
    EXPECT_EQ(pipe.sources_added, 0u) << "the copy of a move reports no progress of its own";
    fs::remove_all(other);
}

TEST_F(FileOperationsTest, DeleteEmptiesAFolderFirstAndNeverFollowsLinks) {
    MakeTree();
    fs::permissions(SystemPath("a/sub/two.bin"), fs::perms::owner_read);
    fs::create_directory(SystemPath("outside"));
    WriteAll(SystemPath("outside/keep.txt"), "keep");
    fs::create_directory_symlink(SystemPath("outside"), SystemPath("a/link"));
    Path("a/").deleteFile(LogPtr());
    EXPECT_FALSE(fs::exists(SystemPath("a")));
    EXPECT_EQ(ReadAll(SystemPath("outside/keep.txt")), "keep");
}

TEST_F(FileOperationsTest, MakeReadOnlyTogglesTheWritePermissions) {
    WriteAll(SystemPath("f.txt"), "x");
    fs::permissions(SystemPath("f.txt"), fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_write);
    File file = Path("f.txt");
    file.makeReadOnly(true);
    EXPECT_EQ(fs::status(SystemPath("f.txt")).permissions(), fs::perms::owner_read);
    file.makeReadOnly(false);
    EXPECT_EQ(fs::status(SystemPath("f.txt")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    Path("missing.txt").makeReadOnly(true); // ignored
}

// The rows of the three tables that this system's common failures reach.
TEST_F(FileOperationsTest, FailuresNameTheirRow) {
    WriteAll(SystemPath("plain.txt"), "p");
    WriteAll(SystemPath("read_only.txt"), "r");
    fs::create_directories(SystemPath("full/inner"));
    fs::create_directory(SystemPath("locked"));
    fs::permissions(SystemPath("locked"), fs::perms::owner_read | fs::perms::owner_exec);
    std::string const long_name(260, 'n');
    auto const remove = [](File & file) { file.deleteFile(LogPtr()); };
    auto const write = [](File & file) { file.open(File::WRITE_BINARY); };
    auto const copy_to = [this](char const * target) {
        return [this, target](File & file) { file.copyTo(Path(target), true, LogPtr()); };
    };
    auto const lock_then_remove = [this](File & file) {
        fs::permissions(SystemPath("full"), fs::perms::owner_read | fs::perms::owner_exec);
        file.deleteFile(LogPtr());
    };
    auto const lock_then_write = [](File & file) {
        file.makeReadOnly(true);
        file.open(File::WRITE_BINARY);
    };
    enum Form { own, wrapped, copy };
    struct Row {
        char const * name;
        File file;
        std::function<void(File &)> action;
        Form form;
        char const * text;
        char const * label;     // the id label of the row
        bool needs_permissions; // root passes every permission check
    } const rows[] = {
        {"missing file", Path("missing.txt"), remove, own, "File does not exist:\n", "file_does_not_exit_exception",
         false},
        {"path under a file", Path("plain.txt/x.txt"), remove, wrapped, "The specified path was not found.",
         "ERROR_PATH_NOT_FOUND", false},
        {"folder not empty", Path("full"), remove, wrapped, "Directory not empty", "file_error_ENOTEMPTY", false},
        {"write onto a folder", Path("full"), write, wrapped, "Is a directory", "file_error_EISDIR", false},
        {"name too long", Path(long_name), write, wrapped, "Filename too long", "file_error_ENAMETOOLONG", false},
        {"remove a name too long", Path(long_name), remove, wrapped, "Filename too long", "file_error_ENAMETOOLONG",
         false},
        {"copy a folder into itself", Path("full/"), copy_to("full/inner/copy/"), copy,
         "Destination is a subtree of the source", "COPYENGINE_E_DEST_SUBTREE", false},
        {"copy onto a folder", Path("plain.txt"), copy_to("full"), copy,
         "Existing destination folder with the same name as the file", "COPYENGINE_E_FILE_IS_FLD_DEST", false},
        {"copy into a locked folder", Path("plain.txt"), copy_to("locked/x.txt"), copy,
         "Security problem on the destination", "COPYENGINE_E_ACCESS_DENIED_DEST", true},
        {"remove from a locked folder", Path("full/inner"), lock_then_remove, wrapped,
         "Security settings denied access to the source.", "file_error_78", true},
        {"write to a read-only file", Path("read_only.txt"), lock_then_write, wrapped, "Permission Denied",
         "file_error_EACCES", true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        if (row.needs_permissions && geteuid() == 0) {
            continue;
        }
        std::string const message = row.form == own       ? row.text + Text(row.file.view())
                                    : row.form == wrapped ? Wrapped(row.text, row.file)
                                                          : CopyFailure(row.file, row.text);
        File file = row.file;
        try {
            row.action(file);
            ADD_FAILURE() << "no failure raised";
        } catch (FileException const & failure) {
            EXPECT_EQ(English(failure.message()), message);
            std::string const stored = Text(failure.message().internalValue().view());
            EXPECT_NE(stored.find("{" + std::string(row.label) + "}"), std::string::npos) << stored;
        }
    }
    fs::permissions(SystemPath("full"), fs::perms::owner_all);
    fs::permissions(SystemPath("locked"), fs::perms::owner_all);
}

// A file size limit stands in for a full disk: the copy fails on the target's side, and neither
// the target nor the temporary file is left behind.
TEST_F(FileOperationsTest, CopyBeyondTheFileSizeLimitFailsCleanly) {
    WriteAll(SystemPath("big.bin"), std::string(16 * test_chunk, 'b'));
    fs::create_directory(SystemPath("out"));
    File const source = Path("big.bin");
    std::string const expected = CopyFailure(source, "File too large for the destination file system");
    auto const copy_in_a_child = [&] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{4 * test_chunk, 4 * test_chunk};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::string message;
        try {
            source.copyTo(Path("out/big.bin"), true, LogPtr());
        } catch (FileException const & failure) {
            message = English(failure.message());
        }
        bool const clean = fs::is_empty(SystemPath("out"));
        std::fprintf(stderr, "message: %s\nclean: %d\n", message.c_str(), clean ? 1 : 0);
        std::_Exit(message == expected && clean ? 0 : 1);
    };
    EXPECT_EXIT(copy_in_a_child(), ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace QELTA
