// TAR: archives made by the system's tar extract to the same tree; hand-made hostile archives
// write nothing outside the target; damaged ones give their codes and keep what came before.
#include "Base/Files/TAR.h"

#include "tests/Files/ArchiveTestSupport.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace QELTA {
namespace {

namespace fs = std::filesystem;
using Testing::PaxEntry;
using Testing::RunCommand;
using Testing::Snapshot;
using Testing::TarEnd;
using Testing::TarEntry;
using Testing::TarHeader;

class TARTest : public Testing::TempFolderTest {
  protected:
    void WriteGzip(std::string const & path, std::string const & bytes) {
        gzFile out = gzopen(path.c_str(), "wb");
        gzwrite(out, bytes.data(), static_cast<unsigned int>(bytes.size()));
        gzclose(out);
    }
};

TEST_F(TARTest, SystemArchivesExtractToTheSameTree) {
    std::string const source = SystemPath("src");
    std::string const long_name = "deep/" + std::string(120, 'n') + ".txt";
    std::string const split_path = "split/" + std::string(60, 'a') + "/" + std::string(60, 'b');
    fs::create_directories(source + "/deep");
    fs::create_directories(source + "/empty");
    fs::create_directories(source + "/" + split_path);
    Testing::WriteAll(source + "/top.txt", "top\n");
    Testing::WriteAll(source + "/" + long_name, std::string(3000, 'x'));
    Testing::WriteAll(source + "/" + split_path + "/f.txt", "split by prefix");
    fs::create_symlink("top.txt", source + "/rel_link");
    fs::create_hard_link(source + "/top.txt", source + "/hard");
    fs::permissions(source + "/top.txt", fs::perms(0640));
    ASSERT_EQ(RunCommand("touch -h -d @1000000000 " + source + "/top.txt"), 0);

    // ustar has neither long names nor pax records: its long path is split into prefix and name.
    struct Row {
        char const * format;
        char const * archive;
        bool with_long_name;
    };
    for (Row const & row : {Row{"--format=gnu -cf", "a.tar", true}, Row{"--format=pax -czf", "a.tar.gz", true},
                            Row{"--format=ustar -cf", "b.tar", false}}) {
        SCOPED_TRACE(row.archive);
        std::string const members =
            std::string(" top.txt hard empty rel_link split") + (row.with_long_name ? " deep" : "");
        ASSERT_EQ(RunCommand("cd " + source + " && tar " + row.format + " ../" + row.archive + members), 0);
        std::string const out = std::string("out_") + row.archive;
        ArchiveExtraction extraction;
        ASSERT_EQ(TAR::Extract(Path(row.archive), Path(out + "/"), extraction), TAR::OK);
        auto expected = Snapshot(source);
        if (!row.with_long_name) {
            expected.erase("deep");
            expected.erase(long_name);
        }
        EXPECT_EQ(Snapshot(SystemPath(out)), expected);
        EXPECT_TRUE(extraction.skipped.isEmpty());
        struct stat status {};
        ASSERT_EQ(lstat(SystemPath(out + "/top.txt").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0640u);
        EXPECT_EQ(status.st_mtime, 1000000000);
        EXPECT_TRUE(fs::equivalent(SystemPath(out + "/top.txt"), SystemPath(out + "/hard")));
    }
}

TEST_F(TARTest, HostileEntriesWriteNothingOutsideTheTarget) {
    fs::create_directories(SystemPath("outside"));
    Testing::WriteAll(SystemPath("sentinel.txt"), "keep");
    std::string archive;
    archive += TarEntry("../evil1", '0', "x");
    archive += TarEntry(SystemPath("outside/evil2"), '0', "x");
    archive += TarEntry("a\\..\\..\\evil3", '0', "x");
    archive += TarEntry("C:evil4", '0', "x");
    archive += TarEntry("esc", '2', "", SystemPath("outside"));
    archive += TarEntry("esc/evil5", '0', "x");
    archive += TarEntry("up", '2', "", "../..");
    archive += TarEntry("up/evil6", '0', "x");
    archive += TarEntry("sub/", '5', "");
    archive += TarEntry("ok", '2', "", "sub");
    archive += TarEntry("ok/through_link", '0', "x");
    archive += TarEntry("c1", '2', "", "c2");
    archive += TarEntry("c2", '2', "", "..");
    archive += TarEntry("c1/evil7", '0', "x");
    archive += TarEntry("hard", '1', "", "../sentinel.txt");
    archive += PaxEntry("path", "../../evil8");
    archive += TarEntry("harmless-name", '0', "x");
    std::string climb;
    for (int i = 0; i < 40; ++i) {
        climb += "../";
    }
    archive += TarEntry("././@LongLink", 'L', climb + "evil9");
    archive += TarEntry("short", '0', "x");
    archive += TarEntry("sub/kept.txt", '0', "kept");
    archive += TarEnd();
    Testing::WriteAll(SystemPath("hostile.tar"), archive);
    auto before = Snapshot(root());

    ArchiveExtraction extraction;
    ASSERT_EQ(TAR::Extract(Path("hostile.tar"), Path("target/"), extraction), TAR::OK);
    auto after = Snapshot(root());
    for (auto const & [name, content] : after) {
        if (name.rfind("target", 0) != 0) {
            EXPECT_EQ(before[name], content) << name;
        }
    }
    for (auto const & [name, content] : before) {
        EXPECT_TRUE(after.count(name)) << name;
    }
    // "esc" and "up" were refused as links; the files below them then made plain folders.
    EXPECT_EQ(Snapshot(SystemPath("target")), (std::map<std::string, std::string>{{"sub", "folder"},
                                                                                  {"sub/kept.txt", "file:kept"},
                                                                                  {"esc", "folder"},
                                                                                  {"esc/evil5", "file:x"},
                                                                                  {"up", "folder"},
                                                                                  {"up/evil6", "file:x"},
                                                                                  {"ok", "link:sub"},
                                                                                  {"c1", "link:c2"}}));
    EXPECT_EQ(extraction.skipped.size(), 12u);
    EXPECT_EQ(extraction.files, 3u);
}

TEST_F(TARTest, DamagedArchivesGiveTheirCodes) {
    std::string const good = TarEntry("first.txt", '0', "first");
    std::string bad_checksum = TarEntry("second.txt", '0', "second");
    bad_checksum[0] = 'S';
    struct Row {
        char const * name;
        std::string bytes;
        int expected;
    };
    Row const rows[] = {
        {"checksum", good + bad_checksum + TarEnd(), TAR::CHECKSUM_FAILED},
        {"header cut short", good + TarHeader("cut", '0', 0).substr(0, 100), TAR::ENDED_EARLY},
        {"no end records", good, TAR::ENDED_EARLY},
        {"one end record", good + std::string(512, '\0'), TAR::OK},
        {"size beyond the data", good + TarHeader("lie.txt", '0', 5000) + std::string(512, 'd'), TAR::FILE_DATA_FAILED},
        {"unknown type skipped", good + TarEntry("volume", 'V', "label") + TarEnd(), TAR::OK},
        {"long name too long", good + TarHeader("@LongLink", 'L', TAR::metadata_limit + 1), TAR::METADATA_FAILED},
        {"empty file", std::string(), TAR::RECORD_READ_FAILED},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        std::string const target = std::string("out_") + row.name;
        Testing::WriteAll(SystemPath("damaged.tar"), row.bytes);
        EXPECT_EQ(TAR::Extract(Path("damaged.tar"), Path(target + "/")), row.expected);
        if (!row.bytes.empty()) {
            EXPECT_EQ(Testing::ReadAll(SystemPath(target + "/first.txt")), "first");
        }
    }
    EXPECT_EQ(TAR::Extract(Path("missing.tar"), Path("out/")), TAR::SOURCE_OPEN_FAILED);
}

TEST_F(TARTest, SizesPastTheLimitsStopBeforeWriting) {
    // 64 MiB of zeros deflate to a few dozen KiB.
    std::string const bomb = TarEntry("zeros.bin", '0', std::string(64u << 20, '\0')) + TarEnd();
    WriteGzip(SystemPath("bomb.dat"), bomb);
    struct Row {
        unsigned long long entry_limit;
        unsigned long long total_limit;
        int expected;
    };
    for (Row const & row : {Row{1u << 20, ArchiveExtraction::default_total_limit, TAR::LIMIT_EXCEEDED},
                            Row{ArchiveExtraction::default_entry_limit, 1u << 20, TAR::LIMIT_EXCEEDED},
                            Row{64u << 20, 64u << 20, TAR::OK}}) {
        SCOPED_TRACE(row.expected);
        fs::remove_all(SystemPath("out"));
        ArchiveExtraction extraction;
        extraction.entry_limit = row.entry_limit;
        extraction.total_limit = row.total_limit;
        EXPECT_EQ(TAR::Extract(Path("bomb.dat"), Path("out/"), extraction), row.expected);
        EXPECT_EQ(fs::exists(SystemPath("out/zeros.bin")), row.expected == TAR::OK);
        EXPECT_EQ(extraction.bytes, row.expected == TAR::OK ? 64u << 20 : 0u);
    }
}

TEST_F(TARTest, LongNameTakesEffectForOneEntryOnly) {
    std::string const long_name(150, 'L');
    Testing::WriteAll(SystemPath("long.tar"), TarEntry("././@LongLink", 'L', long_name + '\0') +
                                                  TarEntry("first", '0', "1") + TarEntry("second", '0', "2") +
                                                  TarEnd());
    ASSERT_EQ(TAR::Extract(Path("long.tar"), Path("out/")), TAR::OK);
    EXPECT_EQ(Snapshot(SystemPath("out")),
              (std::map<std::string, std::string>{{long_name, "file:1"}, {"second", "file:2"}}));
}

} // namespace
} // namespace QELTA
