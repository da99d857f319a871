// File on the disk: the cache rules, create, every open mode, the temporary modes and their
// crash safety. Each test runs in its own temporary folder.
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace QELTA {
namespace {

using Testing::ReadAll;
using Testing::WriteAll;

std::size_t CountEntries(std::string const & folder) {
    std::error_code ignored;
    std::size_t count = 0;
    for (auto it = std::filesystem::directory_iterator(folder, ignored); it != std::filesystem::directory_iterator();
         ++it) {
        ++count;
    }
    return count;
}

template <typename Action>
void ExpectFailure(Action && action, FileException::ExceptionType type) {
    try {
        action();
        ADD_FAILURE() << "no failure raised";
    } catch (FileException const & failure) {
        EXPECT_EQ(failure.type(), type);
    }
}

class FileDiskTest : public Testing::TempFolderTest {
  protected:
    std::string TempFiles() const { return Testing::SystemPath(File::TempFileFolder().view()); }
};

TEST_F(FileDiskTest, CacheAnswersKnownFieldsAndAsksAgainAboutMissingFiles) {
    File const file = Path("a.txt");
    EXPECT_EQ(file.fileSize(), ~0ull);
    WriteAll(SystemPath("a.txt"), "12345");
    // Nothing trustworthy was cached about the missing file, so the next read asks again.
    EXPECT_EQ(file.fileSize(), 5u);
    EXPECT_TRUE(file.getModifiedTime().isValid());
    WriteAll(SystemPath("a.txt"), "1234567890");
    std::filesystem::rename(SystemPath("a.txt"), SystemPath("b.txt"));
    EXPECT_EQ(file.fileSize(), 5u);
    EXPECT_TRUE(file.cachedExist());
    EXPECT_FALSE(file.exists()) << "exists() always asks the disk";
    file.invalidateCache();
    EXPECT_FALSE(file.cachedExist());
    EXPECT_EQ(file.fileSize(), ~0ull);

    File copy = Path("b.txt");
    EXPECT_EQ(copy.fileSize(), 10u);
    EXPECT_EQ(File(copy).currentCache().size, 10u) << "a copy keeps the cache";
    copy = String(root() + "/b.txt");
    EXPECT_EQ(copy.currentCache().flags, 0) << "a new path invalidates the cache";
}

TEST_F(FileDiskTest, CacheFlags) {
    WriteAll(SystemPath(".hidden"), "x");
    std::filesystem::create_directory(SystemPath("dir"));
    struct Row {
        File file;
        unsigned char flags;
    };
    Row const rows[] = {
        {Path(".hidden"), FileCachedData::TRUSTED | FileCachedData::EXISTS | FileCachedData::HIDDEN},
        {Path("dir/"), FileCachedData::TRUSTED | FileCachedData::EXISTS | FileCachedData::DIRECTORY},
        {Path("missing"), 0},
        // A drive isn't queried, and the untrusted record makes the next read repeat.
        {File("\\"), FileCachedData::EXISTS | FileCachedData::DIRECTORY},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(Testing::SystemPath(row.file.view()));
        row.file.updateCache();
        EXPECT_EQ(row.file.currentCache().flags, row.flags);
    }
    EXPECT_TRUE(Path(".hidden").isHidden());
    EXPECT_FALSE(File::DoesFileExist(Path(".hidden/")));
    EXPECT_TRUE(File::DoesFileExist(Path("dir/")));
}

TEST_F(FileDiskTest, AccessTimeIsWrittenAndCached) {
    WriteAll(SystemPath("a.txt"), "x");
    File file = Path("a.txt");
    Time const accessed(1500000000ull * Time::nanoseconds_per_second + 123456789);
    ASSERT_TRUE(file.updateAccessedTime(accessed));
    EXPECT_EQ(file.currentCache().accessed, accessed);
    file.invalidateCache();
    EXPECT_EQ(file.getAccessTime(), accessed);
    File missing = Path("missing.txt");
    EXPECT_THROW(missing.updateAccessedTime(accessed), FileException);
}

TEST_F(FileDiskTest, IdentitySurvivesRename) {
    WriteAll(SystemPath("a.txt"), "x");
    UUID const before = Path("a.txt").getUUID();
    EXPECT_TRUE(before.isValid());
    std::filesystem::rename(SystemPath("a.txt"), SystemPath("b.txt"));
    EXPECT_EQ(Path("b.txt").getUUID(), before);
    EXPECT_FALSE(Path("a.txt").getUUID().isValid());
}

TEST_F(FileDiskTest, CreateMakesParentsAndKeepsExistingContent) {
    File folder = Path("a/b/c/");
    folder.create();
    EXPECT_TRUE(std::filesystem::is_directory(SystemPath("a/b/c")));
    folder.create(); // an existing folder is no failure

    File file = Path("x/y/f.txt");
    file.create();
    EXPECT_TRUE(std::filesystem::is_regular_file(SystemPath("x/y/f.txt")));
    WriteAll(SystemPath("x/y/f.txt"), "keep");
    file.create(true);
    EXPECT_EQ(ReadAll(SystemPath("x/y/f.txt")), "keep");

    File bare("bare-name.txt");
    EXPECT_THROW(bare.create(), FileException) << "a bare name has no parent to make";
    WriteAll(SystemPath("plain"), "");
    File under_a_file = Path("plain/sub/");
    EXPECT_THROW(under_a_file.create(), FileException);
}

TEST_F(FileDiskTest, OpenModesInPlace) {
    WriteAll(SystemPath("a.txt"), "ab");
    File file = Path("a.txt");
    file.open(File::WRITE_TEXT, true);
    EXPECT_TRUE(file << StringView("cd"));
    ExpectFailure([&] { file.open(File::READ_TEXT); }, FileException::file_already_open);
    file.close();
    EXPECT_EQ(ReadAll(SystemPath("a.txt")), "abcd");
    file.close(); // harmless on a closed file

    file.open(File::WRITE_BINARY);
    EXPECT_FALSE(file << 1.5f) << "the float write reports false even when it worked";
    file.close();
    EXPECT_EQ(ReadAll(SystemPath("a.txt")).size(), sizeof(float));

    File nested = Path("new/dir/b.bin");
    nested.open(File::WRITE_BINARY);
    nested.close();
    EXPECT_TRUE(std::filesystem::exists(SystemPath("new/dir/b.bin")));

    struct Row {
        char const * path;
        File::OpenMode mode;
        bool append;
        FileException::ExceptionType type;
    } const failures[] = {
        {"missing.txt", File::READ_BINARY, false, FileException::file_does_not_exist},
        {"missing.txt", File::READ_TEXT_TEMP_COPY, false, FileException::file_does_not_exist},
        {"missing.txt", File::NOT_OPEN, false, FileException::could_not_create_file},
        {"a.txt", File::READ_BINARY, true, FileException::could_not_create_file},
    };
    for (Row const & row : failures) {
        SCOPED_TRACE(testing::Message() << row.path << " mode " << static_cast<int>(row.mode));
        File failing = Path(row.path);
        ExpectFailure([&] { failing.open(row.mode, row.append); }, row.type);
        EXPECT_FALSE(failing.isOpen());
    }
}

TEST_F(FileDiskTest, StreamOwnershipAcrossCopiesAndMoves) {
    WriteAll(SystemPath("a.txt"), "x");
    File owner = Path("a.txt");
    std::FILE * const stream = owner.open(File::READ_BINARY);
    File const copy(owner);
    EXPECT_FALSE(copy.isOpen()) << "a copy must not close the stream a second time";

    // Copy assignment hands the stream over and keeps the target's mode; the receiving side
    // gives up ownership so that only one side closes.
    File holder;
    holder = owner;
    EXPECT_EQ(holder.filePtr(), stream);
    EXPECT_EQ(holder.openMode(), File::NOT_OPEN);
    holder.removeOpenOwnership();

    File moved(std::move(owner));
    EXPECT_EQ(moved.filePtr(), stream);
    EXPECT_EQ(moved.openMode(), File::READ_BINARY);
    EXPECT_FALSE(owner.isOpen());
    File target = Path("b.txt");
    target = std::move(moved);
    EXPECT_EQ(target.filePtr(), stream);
    target.close();
}

TEST_F(FileDiskTest, ReadsContentAndFindsZeroBytes) {
    std::string content = "0123456789";
    content += '\0';
    content += "tail";
    WriteAll(SystemPath("data.bin"), content);
    File file = Path("data.bin");
    File::ByteBuffer const bytes = file.getData();
    EXPECT_EQ(std::string(reinterpret_cast<char const *>(bytes.data()), bytes.size()), content);
    File::LargeByteBuffer const large = file.getDataExtended();
    EXPECT_EQ(large.size(), content.size());
    EXPECT_FALSE(file.hasNullBytes(10));
    EXPECT_TRUE(file.hasNullBytes(11));
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FileDiskTest, TemporaryReadCopyLeavesNothingBehind) {
    WriteAll(SystemPath("a.txt"), "content");
    File file = Path("a.txt");
    std::FILE * stream = file.open(File::READ_TEXT_TEMP_COPY);
    std::string const copy_path = Testing::SystemPath(file.sidePath().view());
    EXPECT_TRUE(std::filesystem::exists(copy_path));
    char buffer[16] = {};
    EXPECT_EQ(std::fread(buffer, 1, sizeof(buffer), stream), 7u);
    EXPECT_EQ(std::string(buffer), "content");
    file.close();
    EXPECT_FALSE(std::filesystem::exists(copy_path));
    EXPECT_TRUE(file.currentCache().accessed.isValid());
}

TEST_F(FileDiskTest, TemporaryWriteReplacesTheTargetOnlyAtClose) {
    for (File::OpenMode const mode : {File::WRITE_TEXT_TEMP, File::WRITE_BINARY_TEMP}) {
        SCOPED_TRACE(static_cast<int>(mode));
        WriteAll(SystemPath("settings.ini"), "old");
        File file = Path("settings.ini");
        file.open(mode);
        EXPECT_TRUE(file << StringView("new content"));
        file.flush();
        EXPECT_EQ(ReadAll(SystemPath("settings.ini")), "old");
        file.close();
        EXPECT_EQ(ReadAll(SystemPath("settings.ini")), "new content");
        EXPECT_TRUE(file.sidePath().isEmpty());
        EXPECT_EQ(CountEntries(TempFiles()), 0u);
        EXPECT_TRUE(file.currentCache().modified.isValid());
    }
    File fresh = Path("new/folder/fresh.ini");
    fresh.open(File::WRITE_BINARY_TEMP);
    EXPECT_TRUE(fresh << StringView("x"));
    fresh.close();
    EXPECT_EQ(ReadAll(SystemPath("new/folder/fresh.ini")), "x") << "the target's folder is made at close";
    // Appending writes to the target, and close puts the copy back over what was appended.
    File log = Path("settings.ini");
    log.open(File::WRITE_TEXT_TEMP, true);
    EXPECT_TRUE(log << StringView(" appended"));
    log.close();
    EXPECT_EQ(ReadAll(SystemPath("settings.ini")), "new content");
}

TEST_F(FileDiskTest, SaveCutShortByAnExceptionKeepsTheOldFile) {
    WriteAll(SystemPath("settings.ini"), "old");
    try {
        File file = Path("settings.ini");
        file.open(File::WRITE_TEXT_TEMP);
        EXPECT_TRUE(file << StringView("half of the new"));
        throw std::runtime_error("the writer failed half way");
    } catch (std::runtime_error const &) {
    }
    EXPECT_EQ(ReadAll(SystemPath("settings.ini")), "old");
    EXPECT_EQ(CountEntries(TempFiles()), 0u);

    // A whole save made while an older exception unwinds the stack is committed.
    struct SaveOnTheWayOut {
        File target;
        ~SaveOnTheWayOut() {
            target.open(File::WRITE_TEXT_TEMP);
            target << StringView("saved while unwinding");
        }
    };
    try {
        SaveOnTheWayOut const saver{Path("settings.ini")};
        throw std::runtime_error("leaving");
    } catch (std::runtime_error const &) {
    }
    EXPECT_EQ(ReadAll(SystemPath("settings.ini")), "saved while unwinding");
}

TEST_F(FileDiskTest, TemporaryWriteAcrossFileSystems) {
    char pattern[] = "/dev/shm/qelta-files-XXXXXX";
    if (!std::filesystem::is_directory("/dev/shm") || mkdtemp(pattern) == nullptr) {
        GTEST_SKIP() << "no second file system";
    }
    std::string const other = pattern;
    {
        FileResource::SetPathToProgramDynamicResources(File(String(other + "/")));
        WriteAll(SystemPath("a.ini"), "old");
        File file = Path("a.ini");
        file.open(File::WRITE_BINARY_TEMP);
        EXPECT_TRUE(file << StringView("new"));
        file.close();
        EXPECT_EQ(ReadAll(SystemPath("a.ini")), "new");
        EXPECT_EQ(CountEntries(root()), 6u) << "no staging file is left in the target's folder";
        EXPECT_EQ(CountEntries(other + "/temp/files"), 0u);
    }
    std::filesystem::remove_all(other);
}

TEST_F(FileDiskTest, FailedWriteLeavesTheOldFile) {
    WriteAll(SystemPath("keep.ini"), "old");
    auto const write_beyond_the_limit = [this] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{4096, 4096};
        setrlimit(RLIMIT_FSIZE, &limit);
        File file = Path("keep.ini");
        file.open(File::WRITE_BINARY_TEMP);
        file << StringView(std::string(1 << 16, 'n'));
        try {
            file.close();
        } catch (FileException const & failure) {
            std::_Exit(failure.type() == FileException::generic_file ? 0 : 2);
        }
        std::_Exit(1);
    };
    EXPECT_EXIT(write_beyond_the_limit(), ::testing::ExitedWithCode(0), "") << "1: close didn't raise, 2: wrong kind";
    EXPECT_EQ(ReadAll(SystemPath("keep.ini")), "old");
    EXPECT_EQ(CountEntries(TempFiles()), 0u) << "the failed temporary file is removed";
}

TEST_F(FileDiskTest, KilledSaveLeavesTheOldOrTheNewFile) {
    std::string const first(300000, 'a');
    std::string const second(200000, 'b');
    WriteAll(SystemPath("state.ini"), first);
    std::mt19937 random(7);
    std::uniform_int_distribution<int> delay_us(0, 4000);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        pid_t const child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (unsigned int i = 0;; ++i) {
                File file = Path("state.ini");
                file.open(File::WRITE_BINARY_TEMP);
                std::string const & content = i % 2 == 0 ? second : first;
                for (std::size_t at = 0; at < content.size(); at += 4096) {
                    file << StringView(content.data() + at,
                                       static_cast<unsigned int>(std::min<std::size_t>(4096, content.size() - at)));
                }
                file.close();
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delay_us(random)));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        std::string const content = ReadAll(SystemPath("state.ini"));
        ASSERT_TRUE(content == first || content == second) << "a mix of " << content.size() << " bytes";
    }
}

TEST_F(FileDiskTest, GeneratedNamesAvoidExistingFiles) {
    File const missing = Path("a.txt");
    EXPECT_EQ(missing.findNonExistingSuitableName().view(), missing.view());
    WriteAll(SystemPath("a.txt"), "");
    WriteAll(SystemPath("a(2).txt"), "");
    EXPECT_EQ(Testing::SystemPath(missing.findNonExistingSuitableName().view()), SystemPath("a(3).txt"));

    // Temporary names keep the extension inside the temporary folder.
    File const temp = missing.generateTempFile();
    EXPECT_EQ(Testing::SystemPath(temp.getPath(File::DRIVE | File::DIRECTORY)), TempFiles());
    EXPECT_EQ(temp.getPath(File::NAME).size(), 36u);
    EXPECT_EQ(temp.getPath(File::EXTENSION), StringView(".txt"));
    EXPECT_NE(missing.generateTempFile().view(), temp.view());
}

} // namespace
} // namespace QELTA
