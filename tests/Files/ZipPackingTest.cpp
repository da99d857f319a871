// Compressor's zip archives: folder trees round trip through ours and the system's zip and unzip,
// with and without a password; hostile entry names write nothing outside the target; names too
// long, wrong passwords and sizes that lie give their exact errors.
#include "Base/Failure/Exception.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/TAR.h"
#include "Base/Text/PasswordString.h"

#include "tests/Files/ArchiveTestSupport.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

namespace fs = std::filesystem;
using Testing::RunCommand;
using Testing::Snapshot;

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return english.c_str();
}

// A zip archive written by minizip itself, entries stored by name as given.
void MakeZip(std::string const & path, std::vector<std::pair<std::string, std::string>> const & entries,
             char const * password = nullptr) {
    zipFile zip = zipOpen64(path.c_str(), APPEND_STATUS_CREATE);
    ASSERT_NE(zip, nullptr);
    for (auto const & [name, content] : entries) {
        zip_fileinfo info{};
        uLong const crc = crc32(0, reinterpret_cast<Bytef const *>(content.data()), static_cast<uInt>(content.size()));
        zipOpenNewFileInZip3(zip, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED, 6, 0, -MAX_WBITS, 8,
                             Z_DEFAULT_STRATEGY, password, crc);
        zipWriteInFileInZip(zip, content.data(), static_cast<unsigned int>(content.size()));
        zipCloseFileInZip(zip);
    }
    zipClose(zip, nullptr);
}

// Rewrites the uncompressed size that the central directory gives the first entry, and with
// `consistently` the one its local header gives, so that minizip finds the two agreeing.
void LieAboutSize(std::string const & path, unsigned int size, bool consistently = false) {
    std::string bytes = Testing::ReadAll(path);
    std::size_t const central = bytes.find("PK\x01\x02");
    ASSERT_NE(central, std::string::npos);
    std::memcpy(&bytes[central + 24], &size, 4);
    if (consistently) {
        std::size_t const local = bytes.find("PK\x03\x04");
        ASSERT_NE(local, std::string::npos);
        std::memcpy(&bytes[local + 22], &size, 4);
    }
    Testing::WriteAll(path, bytes);
}

class ZipPackingTest : public Testing::TempFolderTest {
  protected:
    // a.txt, sub/b.bin (noise), sub/deeper/c.txt, an empty folder and a hidden file.
    void MakeTree() {
        std::string const source = SystemPath("src");
        fs::create_directories(source + "/sub/deeper");
        fs::create_directories(source + "/empty");
        Testing::WriteAll(source + "/a.txt", "alpha\n");
        std::mt19937 random(5);
        std::string noise(300000, '\0');
        for (char & c : noise) {
            c = static_cast<char>(random());
        }
        Testing::WriteAll(source + "/sub/b.bin", noise);
        Testing::WriteAll(source + "/sub/deeper/c.txt", std::string(5000, 'c'));
        Testing::WriteAll(source + "/.hidden", "not packed");
    }
};

TEST_F(ZipPackingTest, FolderTreesRoundTripThroughOursAndTheSystems) {
    MakeTree();
    auto expected = Snapshot(SystemPath("src"));
    expected.erase(".hidden");
    for (std::string const password : {"", "secret"}) {
        SCOPED_TRACE(password);
        std::string const out = "out" + password;
        ASSERT_EQ(Compressor::ZLibCompressFile(Path("src/"), Path("zips/a" + password + ".zip"),
                                               PasswordString::Encode(StringView(password.c_str()))),
                  0);
        ArchiveExtraction extraction;
        ASSERT_EQ(Compressor::ZLibDecompressFile(Path("zips/a" + password + ".zip"), Path(out),
                                                 PasswordString::Encode(StringView(password.c_str())), extraction),
                  0);
        EXPECT_EQ(Snapshot(SystemPath(out)), expected);
        EXPECT_EQ(extraction.files, 3u);
        EXPECT_EQ(extraction.folders, 1u);
        ASSERT_EQ(RunCommand("unzip -q -P '" + password + "' " + SystemPath("zips/a" + password + ".zip") + " -d " +
                             SystemPath("system" + out)),
                  0);
        EXPECT_EQ(Snapshot(SystemPath("system" + out)), expected);
    }
    ASSERT_EQ(RunCommand("cd " + SystemPath("src") + " && zip -qr ../system.zip ."), 0);
    ASSERT_EQ(Compressor::ZLibDecompressFile(Path("system.zip"), Path("from_system/"), PasswordString()), 0);
    EXPECT_EQ(Snapshot(SystemPath("from_system")), Snapshot(SystemPath("src")));
}

TEST_F(ZipPackingTest, AFileBecomesOneEntryByItsName) {
    MakeTree();
    ASSERT_EQ(Compressor::ZLibCompressFile(Path("src/sub/deeper/c.txt"), Path("one.zip"), PasswordString()), 0);
    ASSERT_EQ(Compressor::ZLibDecompressFile(Path("one.zip"), Path("one/"), PasswordString()), 0);
    EXPECT_EQ(Snapshot(SystemPath("one")),
              (std::map<std::string, std::string>{{"c.txt", "file:" + std::string(5000, 'c')}}));
}

TEST_F(ZipPackingTest, HostileNamesWriteNothingOutsideTheTarget) {
    fs::create_directories(SystemPath("outside"));
    fs::create_directories(SystemPath("target"));
    fs::create_directory_symlink(SystemPath("outside"), SystemPath("target/link"));
    MakeZip(SystemPath("hostile.zip"), {{"../evil1", "x"},
                                        {SystemPath("outside/evil2"), "x"},
                                        {"..\\evil3", "x"},
                                        {"a/../../evil4", "x"},
                                        {"C:/evil5", "x"},
                                        {"link/evil6", "x"},
                                        {"../evilfolder/", ""},
                                        {"ok/../kept.txt", "kept"}});
    auto const before = Snapshot(root());
    ArchiveExtraction extraction;
    ASSERT_EQ(Compressor::ZLibDecompressFile(Path("hostile.zip"), Path("target"), PasswordString(), extraction), 0);
    auto after = Snapshot(root());
    EXPECT_EQ(after.size(), before.size() + 1);
    EXPECT_EQ(after["target/kept.txt"], "file:kept");
    EXPECT_EQ(extraction.skipped.size(), 7u);
}

TEST_F(ZipPackingTest, BadEntriesRaiseTheirErrors) {
    std::string const long_name(130, 'n');
    MakeZip(SystemPath("long.zip"), {{long_name, "x"}});
    MakeZip(SystemPath("locked.zip"), {{"data.txt", std::string(1000, 'd')}}, "right");
    MakeZip(SystemPath("huge.zip"), {{"huge.bin", std::string(1000, 'h')}});
    LieAboutSize(SystemPath("huge.zip"), 0x7FFFFFFF);
    MakeZip(SystemPath("short.zip"), {{"short.bin", std::string(1000, 's')}});
    LieAboutSize(SystemPath("short.zip"), 10);
    // Encrypted entries are inflated here, past what minizip would stop at.
    Testing::WriteAll(SystemPath("big.txt"), std::string(1000, 'b'));
    ASSERT_EQ(Compressor::ZLibCompressFile(Path("big.txt"), Path("understated.zip"), PasswordString::Encode("pw")), 0);
    LieAboutSize(SystemPath("understated.zip"), 10, true);
    struct Row {
        char const * archive;
        char const * password;
        std::string message;
        std::string detail;
        unsigned long long total_limit = ArchiveExtraction::default_total_limit;
    };
    Row const rows[] = {
        {"long.zip", "", "Could not read file info", "Error code -102"},
        {"locked.zip", "wrong", "Could not Read Content", "Error code -3"},
        {"huge.zip", "", "huge.bin passes the extraction limit of 1048576 bytes", ""},
        {"short.zip", "", "Could not Read Content", "Error code -103"},
        {"understated.zip", "pw", "big.txt passes the extraction limit of 100 bytes", "", 100},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.archive);
        ArchiveExtraction extraction;
        extraction.entry_limit = 1u << 20;
        extraction.total_limit = row.total_limit;
        try {
            Compressor::ZLibDecompressFile(Path(row.archive), Path("out/"), PasswordString::Encode(row.password),
                                           extraction);
            ADD_FAILURE() << "no exception";
        } catch (Exception const & error) {
            EXPECT_EQ(English(error.message()), row.message);
            EXPECT_EQ(English(error.detail()), row.detail);
        }
    }
    EXPECT_FALSE(fs::exists(SystemPath("out/huge.bin")));
    EXPECT_FALSE(fs::exists(SystemPath("out/" + long_name.substr(0, 127))));
    Testing::WriteAll(SystemPath("plain.zip"), "not an archive");
    EXPECT_EQ(Compressor::ZLibDecompressFile(Path("plain.zip"), Path("out/"), PasswordString()),
              Compressor::not_an_archive);
}

TEST_F(ZipPackingTest, TarNamesGoToTheTarReaderInAnyCase) {
    Testing::WriteAll(SystemPath("a.TAR"), Testing::TarEntry("inside.txt", '0', "tar") + Testing::TarEnd());
    EXPECT_EQ(Compressor::ZLibDecompressFile(Path("a.TAR"), Path("out/"), PasswordString()), TAR::OK);
    EXPECT_EQ(Testing::ReadAll(SystemPath("out/inside.txt")), "tar");
}

} // namespace
} // namespace QELTA
