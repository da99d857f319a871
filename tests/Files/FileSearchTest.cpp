// Folder listings, wildcard matching, FileSearch and the four sort orders, on a small tree made in
// each test's temporary folder.
#include "Base/Files/FileSearch.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Testing::WriteAll;

// The tree every test sees; hidden names begin with '.', folders end in '/'.
constexpr char const * tree_files[] = {
    "a.txt", "b.csv", "c", ".hidden.txt", "sub/d.txt", "sub/.hid/e.txt", "sub/deeper/f.CSV",
};

class FileSearchTest : public Testing::TempFolderTest {
  protected:
    void SetUp() override {
        TempFolderTest::SetUp();
        std::filesystem::create_directories(SystemPath("tree/sub/.hid"));
        std::filesystem::create_directories(SystemPath("tree/sub/deeper"));
        for (char const * file : tree_files) {
            WriteAll(SystemPath(std::string("tree/") + file), file); // content length = name length
        }
    }

    File Tree() const { return Path("tree/"); }

    // The paths relative to the tree, in the system's form, in the order given.
    std::vector<std::string> Relative(FileBuffer const & files) const {
        std::string const prefix = SystemPath("tree/");
        std::vector<std::string> out;
        for (File const & file : files) {
            std::string const path = Testing::SystemPath(file.view());
            EXPECT_EQ(path.compare(0, prefix.size(), prefix), 0) << path;
            out.push_back(path.substr(prefix.size()));
        }
        return out;
    }

    std::vector<std::string> Sorted(FileBuffer const & files) const {
        std::vector<std::string> out = Relative(files);
        std::sort(out.begin(), out.end());
        return out;
    }
};

using Names = std::vector<std::string>;

TEST_F(FileSearchTest, ChildrenArriveWithTheCacheOfASingleQuery) {
    FileBuffer const children = Tree().getChildren();
    EXPECT_EQ(Sorted(children), (Names{"a.txt", "b.csv", "c", "sub/"})) << "dot names are left out";
    for (File const & child : children) {
        SCOPED_TRACE(child.c_str());
        File fresh(child);
        fresh.invalidateCache();
        fresh.updateCache();
        FileCachedData const & listed = child.currentCache();
        EXPECT_EQ(listed.flags, fresh.currentCache().flags);
        EXPECT_EQ(listed.modified, fresh.currentCache().modified);
        EXPECT_EQ(listed.accessed, fresh.currentCache().accessed);
        EXPECT_EQ(listed.created, fresh.currentCache().created);
        EXPECT_TRUE(listed.modified.isValid());
        if (!child.isDirectory()) {
            EXPECT_EQ(listed.size, child.getPath(File::NAME | File::EXTENSION).size());
        }
    }
    // With the tree gone, what the listing said is still answered: no second query was needed.
    std::filesystem::remove_all(SystemPath("tree"));
    for (File const & child : children) {
        SCOPED_TRACE(child.c_str());
        EXPECT_TRUE(child.cachedExist());
        EXPECT_NE(child.fileSize(), FileCachedData::unknown_size);
    }
}

TEST_F(FileSearchTest, ChildrenOfWhatIsNoFolderRaise) {
    WriteAll(SystemPath("plain.txt"), "x");
    std::filesystem::create_directory(SystemPath("folder.d"));
    struct Row {
        char const * path;
        FileException::ExceptionType type;
    } const rows[] = {
        {"missing/", FileException::file_does_not_exist},
        {"plain.txt", FileException::generic_file},
        // An existing folder named without its separator isn't directory-shaped.
        {"folder.d", FileException::generic_file},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.path);
        try {
            Path(row.path).getChildren();
            ADD_FAILURE() << "no exception";
        } catch (FileException const & failure) {
            EXPECT_EQ(failure.type(), row.type);
        }
    }
}

TEST_F(FileSearchTest, MatchingFiltersWholePaths) {
    struct Row {
        char const * patterns;
        bool recursive;
        Names expected;
    } const rows[] = {
        {"*.txt", false, {"a.txt"}},
        {"*.txt", true, {"a.txt", "sub/d.txt"}},
        // Matching has case; hidden names and what lies in hidden folders never appear.
        {"*.csv,,*.txt", true, {"a.txt", "b.csv", "sub/d.txt"}},
        {"", false, {"a.txt", "b.csv", "c", "sub/"}},
        {"*\\sub\\*", true, {"sub/", "sub/d.txt", "sub/deeper/", "sub/deeper/f.CSV"}},
        {"*\\?", true, {"c"}},
        {"a.txt", false, {}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.patterns) + (row.recursive ? " recursive" : ""));
        EXPECT_EQ(Sorted(Tree().getChildrenMatching(StringView(row.patterns), row.recursive)), row.expected);
    }
}

TEST_F(FileSearchTest, MatchingExcludesAndStopsAtTheCount) {
    Buffer<String> const all{String("*")};
    Buffer<String> const no_csv{String("*.csv"), String("*.CSV")};
    EXPECT_EQ(Sorted(Tree().getChildrenMatching(all, no_csv, true)),
              (Names{"a.txt", "c", "sub/", "sub/d.txt", "sub/deeper/"}));
    EXPECT_EQ(Sorted(Tree().getChildrenMatching(Buffer<String>(), no_csv, false)), (Names{"a.txt", "c", "sub/"}));
    for (unsigned int const count : {1u, 2u, 6u}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(Tree().getChildrenMatching(all, true, count).size(), count);
    }
    EXPECT_EQ(Tree().getChildrenMatching(all, true).size(), 7u);
}

TEST_F(FileSearchTest, RecursiveMatchingGoesBreadthFirst) {
    std::vector<std::string> const found = Relative(Tree().getChildrenMatching(StringView("*"), true));
    ASSERT_EQ(found.size(), 7u);
    // Each entry's depth (its count of separators, a folder's own trailing one aside) never falls.
    int previous = 0;
    for (std::string const & path : found) {
        SCOPED_TRACE(path);
        std::string const trimmed = path.back() == '/' ? path.substr(0, path.size() - 1) : path;
        int const depth = static_cast<int>(std::count(trimmed.begin(), trimmed.end(), '/'));
        EXPECT_GE(depth, previous);
        previous = depth;
    }
}

TEST_F(FileSearchTest, SearchFiltersByExtensionDepthAndExclusion) {
    constexpr unsigned int all = FileSearch::default_depth;
    struct Row {
        char const * name;
        std::vector<std::string> extensions;
        unsigned int depth;
        std::vector<std::string> excluded;
        Names expected;
    } const rows[] = {
        {"everything", {}, all, {}, {"a.txt", "b.csv", "c", "sub/d.txt", "sub/deeper/f.CSV"}},
        {"extension without case", {".csv"}, all, {}, {"b.csv", "sub/deeper/f.CSV"}},
        {"no extension", {""}, all, {}, {"c"}},
        {"two extensions", {".TXT", ""}, all, {}, {"a.txt", "c", "sub/d.txt"}},
        {"depth 0", {}, 0, {}, {}},
        {"depth 2", {}, 2, {}, {"a.txt", "b.csv", "c", "sub/d.txt"}},
        {"excluded folder", {}, all, {"tree/sub/"}, {"a.txt", "b.csv", "c"}},
        {"excluded file", {}, all, {"tree/a.txt"}, {"b.csv", "c", "sub/d.txt", "sub/deeper/f.CSV"}},
        // Exclusion compares whole texts: a folder named without its separator excludes nothing.
        {"excluded by text", {}, 2, {"tree/sub"}, {"a.txt", "b.csv", "c", "sub/d.txt"}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        FileSearch search;
        search.roots.add(Tree());
        for (std::string const & extension : row.extensions) {
            search.extensions.add(String(extension));
        }
        for (std::string const & excluded : row.excluded) {
            search.excluded.add(Path(excluded));
        }
        search.depth = row.depth;
        EXPECT_EQ(Sorted(search.performSearch()), row.expected);
    }
}

TEST_F(FileSearchTest, SearchRootsAreTakenInOrderAndMayBeMissingOrFiles) {
    FileSearch search;
    search.roots.add(Path("tree/sub/"));
    search.roots.add(Path("gone/"));
    search.roots.add(Path("tree/a.txt"));
    search.roots.add(Path("tree/missing.txt")); // a file root is taken by its name alone
    EXPECT_EQ(Relative(search.performSearch()), (Names{"sub/d.txt", "sub/deeper/f.CSV", "a.txt", "missing.txt"}));
    search.extensions.add(String(".csv"));
    EXPECT_EQ(Relative(search.performSearch()), (Names{"sub/deeper/f.CSV"}));
}

// An entry whose path no File can hold raises out of every listing instead of vanishing from it;
// one byte shorter lists as usual.
TEST_F(FileSearchTest, EntryTooLongForAPathRaisesInsteadOfVanishing) {
    std::string const folder = "long/" + std::string(200, 'd') + "/";
    std::filesystem::create_directories(SystemPath(folder));
    File const parent = Path(folder);
    std::size_t const longest = File::max_path_size - parent.view().size();
    WriteAll(SystemPath(folder + std::string(longest, 'f')), "x");
    ASSERT_EQ(parent.getChildren().size(), 1u);
    EXPECT_EQ(parent.getChildren()[0].view().size(), File::max_path_size);
    WriteAll(SystemPath(folder + std::string(longest + 1, 'g')), "x");
    EXPECT_THROW(parent.getChildren(), FileException);
    EXPECT_THROW(Path("long/").getChildrenMatching("*", true, 100), FileException);
    FileSearch search;
    search.roots.add(Path("long/"));
    EXPECT_THROW(search.performSearch(), FileException);
}

// A File with a hand-made cache record, so that the time orders need no disk.
File WithCache(char const * path, unsigned char flags, unsigned long long accessed, unsigned long long created) {
    File file(path);
    FileCachedData cache;
    cache.flags = flags;
    cache.size = 0;
    cache.modified = Time(1);
    cache.accessed = accessed == 0 ? Time() : Time(accessed);
    cache.created = created == 0 ? Time() : Time(created);
    file.updateCache(cache);
    return file;
}

TEST(FileSortTest, TextOrdersCompareBytesThenTheWholePath) {
    struct Row {
        bool (*less)(File const &, File const &);
        char const * order;
        char const * a;
        char const * b;
        bool a_first;
        bool b_first;
    } const rows[] = {
        {File::nameSort, "name", "C:\\z\\a.txt", "C:\\a\\b.txt", true, false},
        {File::nameSort, "name", "C:\\b\\x.txt", "C:\\a\\x.txt", false, true},
        {File::nameSort, "name", "C:\\x\\ab", "C:\\x\\abc", true, false},
        {File::nameSort, "name", "C:\\x\\Z.txt", "C:\\x\\a.txt", true, false},
        // Bytes compare as signed char, as all text of the library: a UTF-8 lead byte sorts
        // before every ASCII byte.
        {File::nameSort, "name", "C:\\x\\\xC3\xA9.txt", "C:\\x\\z.txt", true, false},
        {File::typeSort, "type", "C:\\a.\xC3\xA9", "C:\\a.a", true, false},
        {File::nameSort, "name", "C:\\x\\a.txt", "C:\\x\\a.txt", false, false},
        {File::typeSort, "type", "C:\\z.csv", "C:\\a.txt", true, false},
        {File::typeSort, "type", "C:\\zz", "C:\\a.txt", true, false},
        {File::typeSort, "type", "C:\\b.txt", "C:\\a.txt", false, true},
        {File::typeSort, "type", "C:\\b\\a.txt", "C:\\a\\a.txt", false, true},
        {File::typeSort, "type", "C:\\a.tx", "C:\\a.txt", true, false},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.order) + " " + row.a + " / " + row.b);
        EXPECT_EQ(row.less(File(row.a), File(row.b)), row.a_first);
        EXPECT_EQ(row.less(File(row.b), File(row.a)), row.b_first);
    }
}

TEST(FileSortTest, TimeOrdersPutTheLatestFirstAndMissingFilesLast) {
    constexpr unsigned char present = FileCachedData::TRUSTED | FileCachedData::EXISTS;
    constexpr unsigned char missing = FileCachedData::TRUSTED;
    struct Row {
        char const * name;
        File a;
        File b;
        bool a_first;
        bool b_first;
    };
    Row const rows[] = {
        {"later first", WithCache("C:\\q\\a", present, 20, 20), WithCache("C:\\q\\b", present, 10, 10), true, false},
        {"tie", WithCache("C:\\q\\a", present, 10, 10), WithCache("C:\\q\\b", present, 10, 10), false, false},
        {"missing last", WithCache("C:\\q\\a", missing, 10, 10), WithCache("C:\\q\\b", present, 5, 5), false, true},
        {"both missing", WithCache("C:\\q\\a", missing, 20, 20), WithCache("C:\\q\\b", missing, 10, 10), false, false},
        // A time that stays unknown after asking the disk counts as the earliest.
        {"unknown time last", WithCache("C:\\q\\a", present, 0, 0), WithCache("C:\\q\\b", present, 10, 10), false,
         true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(File::accessSort(row.a, row.b), row.a_first);
        EXPECT_EQ(File::accessSort(row.b, row.a), row.b_first);
        EXPECT_EQ(File::createSort(row.a, row.b), row.a_first);
        EXPECT_EQ(File::createSort(row.b, row.a), row.b_first);
    }
    // Each order reads its own time.
    File const new_access = WithCache("C:\\q\\a", present, 30, 1);
    File const new_creation = WithCache("C:\\q\\b", present, 1, 30);
    EXPECT_TRUE(File::accessSort(new_access, new_creation));
    EXPECT_TRUE(File::createSort(new_creation, new_access));
}

} // namespace
} // namespace QELTA
