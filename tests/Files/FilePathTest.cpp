// File's text rules: normalisation, the parts of a path, parents, folder names, setPath, the
// length limit and the text forms. No test here needs the disk, except where a fixture says so.
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace QELTA {
namespace {

std::string Text(StringView const & view) {
    return std::string(view.data() == nullptr ? "" : view.data(), view.size());
}

TEST(FileTest, NormalisesSeparatorsAndRefusedCharacters) {
    struct Row {
        std::string input;
        std::string expected;
    };
    Row const rows[] = {
        {"C:/a//b/", "C:\\a\\b\\"},
        {"\\\\server\\share", "\\server\\share"},
        {"a/./b", "a\\.\\b"},
        {"a?\"*<>|b", "a______b"},
        {"<dev?x|y*", "<dev?x|y*"},
        {"a\x01"
         "b\tc\x1f",
         "a_b_c_"},
        {std::string("a\0b", 3), "a_b"},
        // A zero byte leaves the separator flag as it is, so the separator behind it goes.
        {std::string("x/\0/y", 5), "x\\_y"},
        {"a:b", "a:b"},
        {"\xC3\xA4//\xC3\xA4", "\xC3\xA4\\\xC3\xA4"},
        // Sequences are stepped over whole; a truncated one ends where the bytes end.
        {"ab\xE2\x82", "ab\xE2\x82"},
        {"\xE2\x82\xAC?", "\xE2\x82\xAC_"},
        // A sequence cut short by a byte that can't continue it leaves that byte to the rules.
        {std::string("\xE2\0/x", 4), "\xE2_\\x"},
        {"\xC3//x", "\xC3\\x"},
        {"\x80/a", "\x80\\a"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.input);
        File const file{String(row.input)};
        EXPECT_EQ(Text(file.view()), row.expected);
    }
}

TEST(FileTest, SplitsIntoDriveDirectoryNameAndExtension) {
    struct Row {
        char const * path;
        char const * drive;
        char const * directory;
        char const * name;
        char const * extension;
        bool directory_shaped;
    };
    Row const rows[] = {
        {"C:\\a\\b.txt", "C:", "\\a\\", "b", ".txt", false},
        {"C:/a//b/", "C:", "\\a\\b\\", "", "", true},
        {"\\home\\u\\.bashrc", "", "\\home\\u\\", "", ".bashrc", false},
        {"a.tar.gz", "", "", "a.tar", ".gz", false},
        {"dir.d\\file", "", "dir.d\\", "file", "", false},
        {"C:", "C:", "", "", "", true},
        {"\\", "", "\\", "", "", true},
        {"a\\..\\b", "", "a\\..\\", "b", "", false},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.path);
        File const file(row.path);
        EXPECT_EQ(Text(file.getPath(File::DRIVE)), row.drive);
        EXPECT_EQ(Text(file.getPath(File::DIRECTORY)), row.directory);
        EXPECT_EQ(Text(file.getPath(File::NAME)), row.name);
        EXPECT_EQ(Text(file.getPath(File::EXTENSION)), row.extension);
        EXPECT_EQ(file.isDirectory(), row.directory_shaped);
        EXPECT_EQ(Text(file.getPath(File::whole_path)), Text(file.view()));
    }
    File const file("C:\\a\\b.txt");
    // From the lowest selected part to the highest, with the gap taken in.
    EXPECT_EQ(Text(file.getPath(File::DRIVE | File::NAME)), "C:\\a\\b");
    EXPECT_EQ(Text(file.getPath(File::DIRECTORY | File::EXTENSION)), "\\a\\b.txt");
    EXPECT_EQ(Text(file.getPath(File::NAME | File::EXTENSION)), "b.txt");
}

TEST(FileTest, SetPathFollowsTheTableForAllSixteenMasks) {
    // D = "C:", P = "\dir\", N = "name", E = ".ext", v = "X".
    char const * const expected[4][4] = {
        {"C:\\dir\\", "X\\dir\\name.ext", "C:Xname.ext", "Xname.ext"},
        {"C:\\dir\\X.ext", "X", "C:X.ext", "X.ext"},
        {"C:\\dir\\nameX", "X", "C:X", "X"},
        {"C:\\dir\\X", "X", "C:X", "X"},
    };
    for (unsigned int mask = 0; mask < 16; ++mask) {
        SCOPED_TRACE(mask);
        File file(String("C:\\dir\\name.ext"), String("id1|id2"));
        file.setPath("X", static_cast<unsigned char>(mask));
        EXPECT_EQ(Text(file.view()), expected[mask / 4][mask % 4]);
        EXPECT_FALSE(file.hasSideID());
    }
    File file("C:\\dir\\name.ext");
    file.setPath("/other//", File::DIRECTORY);
    EXPECT_EQ(Text(file.view()), "C:\\other\\name.ext");
    EXPECT_EQ(Text(file.getPath(File::DIRECTORY)), "\\other\\");
    EXPECT_EQ(Text(file.getPath(File::NAME)), "name");
}

TEST(FileTest, AppendNormalisesAndDerivesThePartsAgain) {
    File file("C:\\a");
    file.appendPath("/b.txt");
    EXPECT_EQ(Text(file.view()), "C:\\a\\b.txt");
    EXPECT_EQ(Text(file.getPath(File::EXTENSION)), ".txt");
    file.appendPath(static_cast<char const *>(nullptr));
    EXPECT_EQ(Text(file.view()), "C:\\a\\b.txt");
    File folder("C:\\a\\");
    folder.append('/');
    EXPECT_EQ(Text(folder.view()), "C:\\a\\");
}

TEST(FileTest, FolderNamesAndParents) {
    struct Row {
        char const * path;
        char const * folder;
        char const * folder_with_separator;
        char const * parent;
    };
    Row const rows[] = {
        {"C:\\a\\b\\", "b", "b\\", "C:\\a\\"},
        {"C:\\a\\b", "a", "a\\", "C:\\a\\"},
        {"C:\\a\\b.txt", "a", "a\\", "C:\\a\\"},
        {"\\a\\b", "a", "a\\", "\\a\\"},
        {"C:\\", "C:", "C:\\", ""},
        {"b.txt", "", "", ""},
        {"\\", "", "", ""},
        {"", "", "", ""},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.path);
        File const file(row.path);
        EXPECT_EQ(Text(file.getFolderName(false)), row.folder);
        EXPECT_EQ(Text(file.getFolderName(true)), row.folder_with_separator);
        EXPECT_EQ(Text(file.getParentDirectory().view()), row.parent);
    }
    File folder("C:\\a\\b\\");
    folder.setFolderName("new");
    EXPECT_EQ(Text(folder.view()), "C:\\a\\new\\");
}

TEST(FileTest, ParentOfADevicePathCutsTheIdChain) {
    File const device(String("<phone\\a\\b"), String("id1|id2|id3"));
    File const parent = device.getParentDirectory();
    EXPECT_EQ(Text(parent.view()), "<phone\\a\\");
    EXPECT_EQ(Text(parent.sidePath().view()), "id1|id2|");
    EXPECT_TRUE(parent.hasSideID());
    File const top = File(String("<phone\\a"), String("id1")).getParentDirectory();
    EXPECT_EQ(Text(top.sidePath().view()), "");
    EXPECT_FALSE(top.hasSideID());
}

TEST(FileTest, DrivesAndDevicePaths) {
    struct Row {
        File file;
        bool drive;
        bool exists;
    };
    Row const rows[] = {
        {File(), false, false},
        {File("\\"), true, true},
        {File("C:\\"), true, false},
        {File("\\usr\\"), false, true},
        {File(String("<phone"), String()), true, false},
        {File(String("<phone\\a\\"), String("id1|id2")), true, true},
        {File(String("<phone\\a\\b\\"), String("id1|id2|id3")), false, true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(Text(row.file.view()));
        EXPECT_EQ(row.file.isDrive(), row.drive);
        EXPECT_EQ(row.file.exists(), row.exists);
    }
    EXPECT_FALSE(File().isDirectory());
}

TEST(FileTest, PathLengthLimitCountsAfterNormalisation) {
    std::string const accepted = "\\" + std::string(File::max_path_size - 1, 'a');
    EXPECT_EQ(File(String(accepted)).size(), File::max_path_size);
    // Doubled separators are removed before the length is checked.
    std::string const collapsing = "\\\\\\" + std::string(File::max_path_size - 1, 'a');
    EXPECT_EQ(File(String(collapsing)).size(), File::max_path_size);

    std::string const refused = "\\" + std::string(File::max_path_size, 'a');
    try {
        File const file{String(refused)};
        FAIL() << "a path of 324 bytes was accepted";
    } catch (FileException const & failure) {
        EXPECT_EQ(failure.type(), FileException::generic_file);
        String message = failure.message().englishDefine();
        failure.message().replaceVals(message);
        EXPECT_EQ(Text(message.view()), "File Error:\nPath is too long for the operating system.\nFile:\n" + refused);
    }
    File target("C:\\short");
    EXPECT_THROW(target = String(refused), FileException);
}

TEST(FileTest, ViewsOfLongPathsStayInsideTheText) {
    // The ends of the parts are single bytes; past 255 bytes the views are shortened but never leave the text.
    for (unsigned int size = 240; size <= File::max_path_size; ++size) {
        std::string path = "C:\\dir\\" + std::string(size - 11, 'n') + ".ext";
        File const file{String(path)};
        ASSERT_EQ(file.size(), size);
        for (unsigned int mask = 1; mask < 16; ++mask) {
            SCOPED_TRACE(testing::Message() << size << " mask " << mask);
            StringView const part = file.getPath(static_cast<unsigned char>(mask));
            EXPECT_GE(part.data(), file.data());
            EXPECT_LE(part.data() + part.size(), file.data() + file.size());
        }
    }
}

TEST(FileTest, HostileBytesEndInANormalisedTextOrTheLengthFailure) {
    std::mt19937 random(20261121);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<unsigned int> length(0, 400);
    char const interesting[] = {'/', '\\', '\0', '<', '?', '|', ':', '.', '\xC3', '\xE2', '\xF0', '\x80'};
    for (int round = 0; round < 3000; ++round) {
        std::string input(length(random), '\0');
        for (char & c : input) {
            int const pick = byte(random);
            c = pick < 128 ? interesting[pick % sizeof(interesting)] : static_cast<char>(byte(random));
        }
        SCOPED_TRACE(round);
        try {
            File const file{String(input.data(), static_cast<unsigned int>(input.size()))};
            std::string const text = Text(file.view());
            ASSERT_LE(text.size(), File::max_path_size);
            EXPECT_EQ(text.find('\0'), std::string::npos);
            EXPECT_EQ(text.find('/'), std::string::npos);
            EXPECT_EQ(text.find("\\\\"), std::string::npos);
            if (text.empty() || text[0] != '<') {
                EXPECT_EQ(text.find_first_of("\"*<>?|"), std::string::npos);
            }
            EXPECT_EQ(File(String(text)).view(), file.view()) << "normalising twice changes the text";
        } catch (FileException const & failure) {
            EXPECT_GT(failure.file().size(), File::max_path_size);
        }
    }
}

TEST(FileTest, SizeTextUsesWholeUnits) {
    struct Row {
        unsigned long long bytes;
        char const * text;
    };
    Row const rows[] = {
        {0, "0 B"},           {1023, "1023 B"},     {1024, "1 KB"},       {1536, "1 KB"},
        {1048575, "1023 KB"}, {1048576, "1 MB"},    {5ull << 30, "5 GB"}, {1ull << 40, "1 TB"},
        {1ull << 50, "1 PB"}, {1ull << 60, "1 EB"}, {~0ull, "16 EB"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(Text(File::FileSizeToString(row.bytes).view()), row.text);
    }
}

TEST(FileTest, TextFormsRoundTrip) {
    File file("C:\\old.txt");
    StringStream<File>::fromString("D:/new//a.txt", file);
    EXPECT_EQ(Text(file.view()), "D:\\new\\a.txt");
    EXPECT_EQ(Text(file.getPath(File::NAME)), "a");
    StringAllocatingView out;
    StringStream<File>::toString(file, out);
    EXPECT_EQ(Text(out.view()), "D:\\new\\a.txt");

    FileCachedData cache;
    cache.flags = 11;
    cache.size = 1536;
    cache.modified = Time(1612317906ull * Time::nanoseconds_per_second); // 2021/02/03 02:05:06 UTC
    cache.created = Time(0);
    StringAllocatingView text;
    StringStream<FileCachedData>::toString(cache, text);
    EXPECT_EQ(Text(text.view()), "11*1536*2021/02/03 02:05:06*NaN*1970/01/01 00:00:00");

    FileCachedData read;
    StringStream<FileCachedData>::fromString(text.view(), read);
    StringAllocatingView again;
    StringStream<FileCachedData>::toString(read, again);
    EXPECT_EQ(Text(again.view()), Text(text.view()));

    FileCachedData unchanged = read;
    StringStream<FileCachedData>::fromString("3*12*NaN*NaN", unchanged);
    StringStream<FileCachedData>::fromString("3*12*NaN*NaN*NaN*NaN", unchanged);
    EXPECT_EQ(unchanged.size, 1536u);
    EXPECT_EQ(unchanged.flags, 11);

    StringAllocatingView invalid;
    StringStream<FileCachedData>::toString(FileCachedData(), invalid);
    EXPECT_EQ(Text(invalid.view()), "0*18446744073709551615*NaN*NaN*NaN");
}

class FileFolderTest : public Testing::TempFolderTest {};

TEST_F(FileFolderTest, ExpandMakesAbsoluteAndMarksFolders) {
    std::filesystem::create_directory(SystemPath("sub"));
    File file(String(root() + "/x/../sub"));
    EXPECT_FALSE(file.isDirectory());
    file.expandEnvironmentalVars();
    EXPECT_EQ(Testing::SystemPath(file.view()), root() + "/sub/");
    EXPECT_TRUE(file.isDirectory());

    File missing(String(root() + "/./none"));
    missing.expandEnvironmentalVars();
    EXPECT_EQ(Testing::SystemPath(missing.view()), root() + "/none");

    File const device("<phone\\a");
    File expanded = device;
    expanded.expandEnvironmentalVars();
    EXPECT_EQ(Text(expanded.view()), "<phone\\a");
}

TEST_F(FileFolderTest, RelativePaths) {
    std::filesystem::create_directories(SystemPath("a/b"));
    File const file = Path("a/b/c.txt");
    EXPECT_EQ(Text(file.relativePathTo(Path("a/")).view()), "b\\c.txt");
    EXPECT_EQ(Text(file.relativePathTo(Path("x/")).view()), "..\\a\\b\\c.txt");
}

} // namespace
} // namespace QELTA
