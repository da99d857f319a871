// Tests of StringView's reading operations, UTF8Iterator and StringSplitter.
#include "Base/Text/StringView.h"
#include "Base/Text/StringSplitter.h"
#include "Base/Text/UTF8Iterator.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA {
namespace {

using Strings = std::vector<std::string>;

std::string Text(StringView view) {
    return std::string(std::string_view(view));
}

Strings Texts(StringViewBuffer const & parts) {
    Strings texts;
    for (StringView const & part : parts) {
        texts.push_back(Text(part));
    }
    return texts;
}

std::string Lowered(std::string text) {
    for (char & c : text) {
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    }
    return text;
}

// Rows of a text and what an operation makes of it, with a size for SizedRow.
struct TextRow {
    std::string_view text, expected;
};

struct SizedRow {
    std::string_view text;
    unsigned int n;
    std::string_view expected;
};

// A textbook recursive matcher, the reference for matchesWildcard.
bool Matches(std::string_view text, std::string_view pattern) {
    if (pattern.empty()) {
        return text.empty();
    }
    if (pattern[0] == '*') {
        return Matches(text, pattern.substr(1)) || (!text.empty() && Matches(text.substr(1), pattern));
    }
    return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) && Matches(text.substr(1), pattern.substr(1));
}

std::string RandomText(std::mt19937 & random, unsigned int max_size, std::string_view alphabet) {
    std::string text(random() % (max_size + 1), ' ');
    for (char & c : text) {
        c = alphabet[random() % alphabet.size()];
    }
    return text;
}

// Bytes above 127 add a negative value: "\xE9" hashes to 5381 * 33 - 23.
TEST(StringViewTest, HashesBytesAsSignedCharsFrom5381) {
    struct Row {
        std::string_view text;
        unsigned long long hash;
    } const rows[] = {
        // clang-format off
        {"", 5381}, {"ab", 5863208}, {"\xE9", 177550}, {"\xFF\xFE", 5859874},
        {"The quick brown fox jumps over the lazy dog", 0x36D23EEF34CC38DEull},
        {"\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80", 0x3D20197A61998F85ull},
        // clang-format on
    };
    for (Row const & row : rows) {
        EXPECT_EQ(StringView(row.text).hash(), row.hash) << row.text;
    }
    EXPECT_EQ(StringView("FrOm").hashLower(), 0x17C96F1D9ull);
    EXPECT_EQ(StringView("u.s.").hashUpper(), StringView("U.S.").hash());
    // Every length around the blocks the hash takes at once, against the byte-by-byte definition.
    std::mt19937 random(20261124);
    for (unsigned int size = 0; size < 40; ++size) {
        std::string text(size, '\0');
        for (char & c : text) {
            c = static_cast<char>(random());
        }
        unsigned long long plain = 5381;
        for (char const c : text) {
            plain = plain * 33 + static_cast<unsigned long long>(static_cast<signed char>(c));
        }
        EXPECT_EQ(StringView(text).hash(), plain) << size;
    }
}

// The searches and the prefix, suffix and substring tests must agree with std::string_view, case
// folding included.
TEST(StringViewTest, SearchAgreesWithStdFindOnRandomTexts) {
    std::mt19937 random(20240611);
    auto const found = [](std::size_t at) {
        return at == std::string_view::npos ? StringView::not_found : static_cast<unsigned int>(at);
    };
    for (int round = 0; round < 20000; ++round) {
        std::string const text = RandomText(random, 80, round % 2 ? "ab" : "abcAB/.");
        std::string needle = RandomText(random, 6, "abcAB/.");
        if (random() % 2 && !text.empty()) {
            needle = text.substr(random() % text.size(), 1 + random() % 12);
        }
        unsigned int const start = random() % (text.size() + 2);
        std::string_view const s(text);
        std::string const lower = Lowered(text);
        SCOPED_TRACE(text + " / " + needle + " from " + std::to_string(start));
        bool const ignore_case = round % 3 == 0;
        std::string_view const folded = ignore_case ? std::string_view(lower) : s;
        std::string const part = ignore_case ? Lowered(needle) : needle;
        ASSERT_EQ(StringView(s).beginsWith(StringView(needle), ignore_case), folded.starts_with(part));
        ASSERT_EQ(StringView(s).endsWith(StringView(needle), ignore_case), folded.ends_with(part));
        ASSERT_EQ(StringView(s).hasSubString(StringView(needle), ignore_case, start),
                  needle.empty() || (start <= s.size() && folded.find(part, start) != std::string_view::npos));
        ASSERT_EQ(StringView(s).indexOf(StringView(needle), false, start),
                  needle.empty() ? 0 : found(s.find(needle, start)));
        ASSERT_EQ(StringView(s).indexOf(StringView(needle), true, start),
                  needle.empty() ? 0 : found(lower.find(Lowered(needle), start)));
        if (!needle.empty()) {
            ASSERT_EQ(StringView(s).lastIndexOf(StringView(needle)), found(s.rfind(needle)));
            ASSERT_EQ(StringView(s).lastIndexOf(needle.c_str(), true), found(lower.rfind(Lowered(needle))));
            ASSERT_EQ(StringView(s).lastIndexOf(needle[0]), found(s.rfind(needle[0])));
            ASSERT_EQ(StringView(s).indexOf(needle[0], start), found(s.find(needle[0], start)));
            unsigned int const count = random() % 8 ? random() % 40 : 0xFFFFFFFFu;
            std::string_view const window = s.substr(0, std::min<std::size_t>(s.size(), std::size_t{start} + count));
            ASSERT_EQ(StringView(s).indexOf(needle[0], start, count), found(window.find(needle[0], start)));
            ASSERT_EQ(StringView(s).indexOf(needle.c_str(), false, start, count),
                      start <= s.size() ? found(window.find(needle, start)) : StringView::not_found);
        }
    }
    EXPECT_EQ(StringView().indexOf('a'), StringView::not_found);
}

TEST(StringViewTest, SkipCharSearchPassesEscapedQuotes) {
    StringView const text(R"(a\"b"c)");
    EXPECT_EQ(text.indexOf("\"", '\\', false), 4u);
    EXPECT_EQ(text.indexOf("\"", '\\', false, 3), 4u);
    EXPECT_EQ(text.indexOf("\"", 'x', false), 2u);
    EXPECT_EQ(StringView("\"a").indexOf("\"", '\\', false), 0u);
    EXPECT_EQ(text.indexOf("B\"", '\\', true), 3u);
}

// At the first position whose upper-case forms differ the original bytes decide: 'a' (97) is
// greater than 'B' (66). The plain order compares signed bytes.
TEST(StringViewTest, OrdersCompareOriginalSignedBytes) {
    struct Row {
        std::string_view a, b;
        bool less, greater;
    } const rows[] = {
        // clang-format off
        {"a", "B", false, true}, {"B", "a", true, false}, {"abc", "ABD", false, true}, {"ab", "AB", false, false},
        {"ab", "ABC", true, false},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.a) + " ? " + std::string(row.b));
        EXPECT_EQ(StringView(row.a).isLessNoCase(row.b), row.less);
        EXPECT_EQ(StringView(row.a).isGreaterNoCase(row.b), row.greater);
        EXPECT_EQ(StringView(row.a).isSameNoCase(row.b), !row.less && !row.greater);
    }
    EXPECT_TRUE(StringView("\xE9") < StringView("a"));
    EXPECT_TRUE(StringView("ab") < StringView("abc"));
    EXPECT_FALSE(StringView("abc") > StringView("abc"));
}

// Numbers compare by value, up to 20 digits with the digit rule of the number readers.
TEST(StringViewTest, AlphaNumericCompareIsNaturalOrder) {
    struct Row {
        std::string_view a, b;
        bool less;
    } const rows[] = {
        // clang-format off
        {"file2", "file10", true}, {"File2", "file2", false}, {"file2", "File2", false}, {"a", "B", true},
        {"007", "7", false}, {"7", "007", true}, {"a1b", "a01c", true}, {"", "a", true}, {"ab", "a", false},
        {"a\xE9", "a", true}, // the terminator of the shorter text counts as the byte 0
        {"x99999999999999999999", "x1", false},
        {"x18446744073709551615", "x100000000000000000001", true}, // both read as all ones
        {"x100000000000000000001", "x18446744073709551615", false},
        {"x100000000000000000009", "x18446744073709551615", true}, // a following 9 is no overflow
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.a) + " < " + std::string(row.b));
        EXPECT_EQ(StringView::AlphaNumericCompare(row.a, row.b), row.less);
    }
}

TEST(StringViewTest, SubstrTakesAnEndIndex) {
    StringView const text("abcdefgh");
    EXPECT_EQ(Text(text.substr(2, 5)), "cde");
    EXPECT_EQ(Text(text.substr(2, 100)), "cdefgh");
    EXPECT_EQ(Text(text.substr(5, 2)), "fgh");
    EXPECT_EQ(Text(text.substr(6)), "gh");
    EXPECT_EQ(text.substr(20).size(), 0u);
    EXPECT_EQ(text.count('c'), 1u);
}

// With keep_empty every delimiter starts a part; StringSplitter always keeps them.
TEST(StringViewTest, SplitKeepsOrDropsEmptyParts) {
    struct Row {
        std::string_view text;
        bool keep_empty;
        Strings parts;
    } const rows[] = {
        // clang-format off
        {"", true, {""}}, {"", false, {}}, {",a,", false, {"a"}}, {",a,", true, {"", "a", ""}},
        {"a,,b", false, {"a", "b"}}, {"a,,b", true, {"a", "", "b"}}, {",,", false, {}}, {",,", true, {"", "", ""}},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.text) + (row.keep_empty ? " keeping" : " dropping"));
        EXPECT_EQ(Texts(StringView(row.text).split(',', row.keep_empty)), row.parts);
    }
    EXPECT_EQ(StringView("").split(',', true)[0].data(), nullptr);
    EXPECT_EQ(Texts(StringView("a;b,,c").split(Buffer<char>{',', ';'}, false)), (Strings{"a", "b", "c"}));
    StringViewBuffer out = StringView("x").split(',', false);
    StringView("y,z").splitString(',', out, false);
    EXPECT_EQ(Texts(out), (Strings{"x", "y", "z"}));
    StringView const text("a,,c");
    EXPECT_EQ(Text(text.splitPart(',', 1)), "");
    EXPECT_EQ(Text(text.splitPart(',', 2)), "c");
    EXPECT_EQ(Text(text.splitPart(',', 9)), "c");
    EXPECT_EQ(Text(StringView("abc").splitPart(',', 1)), "abc");
    EXPECT_EQ(Texts(StringSplitter::split("a,,b,", ',')), (Strings{"a", "", "b", ""}));
    EXPECT_EQ(StringSplitter::split("", ',').size(), 1u);
    EXPECT_EQ(Text(StringSplitter::begin("a,b,c")), "a");
    EXPECT_EQ(Text(StringSplitter::end("a,b,c")), "c");
    EXPECT_EQ(Text(StringSplitter::end("a;b;", ';')), "");
    EXPECT_EQ(Text(StringSplitter::begin("abc")), "abc");
}

// The reference knows no case and no characters: '?' is one byte.
TEST(StringViewTest, WildcardsAgreeWithARecursiveMatcher) {
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string const text = RandomText(random, 20, "abB");
        std::string const pattern = RandomText(random, 8, "ab*?");
        SCOPED_TRACE(text + " ~ " + pattern);
        ASSERT_EQ(StringView(text).matchesWildcard(pattern), Matches(text, pattern));
    }
    EXPECT_FALSE(StringView("\xC3\xA9").matchesWildcard("?"));
    EXPECT_TRUE(StringView("\xC3\xA9").matchesWildcard("??"));
}

TEST(StringViewTest, ClassifiesAndReadsHex) {
    EXPECT_FALSE(StringView("").isNumeric());
    EXPECT_TRUE(StringView("-12.5").isNumeric());
    EXPECT_FALSE(StringView("+1").isNumeric()); // unlike IsNumeric('+')
    EXPECT_TRUE(StringView::IsNumeric('+'));
    EXPECT_FALSE(StringView::IsWhiteSpace('\n'));
    struct Row {
        char const * text;
        unsigned int value;
    } const rows[] = {{"ff", 0xFF}, {"1A2b", 0x1A2B}, {"12g4", 0x12}, {"", 0}, {"x1", 0}, {"100000001", 1}};
    for (Row const & row : rows) {
        EXPECT_EQ(StringView(row.text).fromHex(), row.value) << row.text;
    }
    EXPECT_EQ(StringView("12ab", 2).fromHex(), 0x12ABu); // reads past the view, as documented
    EXPECT_EQ(StringView().fromHex(), 0u);
}

// Only one-byte letters change, up to a decoded 0; a text with nothing to change is borrowed.
TEST(StringViewTest, CaseCopies) {
    char const source[] = "abc \xC3\x84 1";
    EXPECT_EQ(StringView(source).toLower().data(), source);
    EXPECT_EQ(Text(StringView("aBc \xC3\x84").toLower()), "abc \xC3\x84");
    EXPECT_EQ(Text(StringView("aBc \xC3\xA4").toUpper()), "ABC \xC3\xA4");
    EXPECT_EQ(Text(StringView("Ab\0CD", 5).toLower()), "ab"); // a decoded 0 ends the walk
    EXPECT_EQ(StringView("ab\0CD", 5).toLower().size(), 5u);
}

// toTitleString keeps its table words, the first word included; shortenString cuts by byte.
TEST(StringViewTest, TitleAndShortenedTexts) {
    TextRow const titles[] = {
        // clang-format off
        {"hello_world", "Hello World"}, {"and then", "and Then"}, {"  FROM__a TO b ", "from A to B"},
        {"ui us u.s. usa", "UI US U.S. Usa"}, {"", ""},
        // clang-format on
    };
    for (TextRow const & row : titles) {
        EXPECT_EQ(Text(StringView(row.text).toTitleString()), row.expected) << row.text;
    }
    SizedRow const shortened[] = {
        // clang-format off
        {"abcdefghij", 8, "a...ghij"}, {"abcdefghij", 9, "a...ghij"}, {"abcdefghij", 3, "..."},
        {"abcdefghij", 4, "...ij"}, {"abcdefghijklmnopqrst", 11, "ab...pqrst"},
        // clang-format on
    };
    for (SizedRow const & row : shortened) {
        EXPECT_EQ(Text(StringView(row.text).shortenString(row.n)), row.expected) << row.n;
    }
}

// Characters from U+0800 on count but are dropped; a broken space starts the next line.
TEST(StringViewTest, InsertNewLinesBreaksAtSpacesAndDropsWideCharacters) {
    SizedRow const rows[] = {
        // clang-format off
        {"aaaa bbbb cccc", 5, "aaaa\nbbbb\ncccc"}, {"abcdefghij", 4, "abcd\nefgh\nij"}, {"a\xE2\x82\xAC!", 2, "a\n!"},
        {"ab cdefgh", 4, "ab\ncdefg\nh"}, {"\xC3\xA9\xC3\xA9", 1, "\xC3\xA9\n\xC3\xA9\n"}, {"short", 5, "short"},
        {"unchanged", 0, "unchanged"},
        // clang-format on
    };
    for (SizedRow const & row : rows) {
        EXPECT_EQ(Text(StringView(row.text).insertNewLines(row.n)), row.expected) << row.text;
    }
}

// A carry that widens the number overwrites the byte behind the run.
TEST(StringViewTest, PredictNextStringIncrement) {
    TextRow const rows[] = {
        // clang-format off
        {"a9b", "a10"}, {"a99b", "a100"}, {"abc", "abc1"}, {"9", "10"}, {"x-09", "x-10"}, {"a007", "a008"},
        {"a099", "a100"}, {"", "1"}, {"v1.2", "v1.3"}, {"7 of 9", "7 of 10"},
        // clang-format on
    };
    for (TextRow const & row : rows) {
        EXPECT_EQ(Text(StringView(row.text).predictNextStringIncrement()), row.expected) << row.text;
    }
}

TEST(StringViewTest, ShrinkAndTerminate) {
    StringView shrinking("abcdef");
    EXPECT_EQ(Text(shrinking.removeFirst(2).removeLast(1)), "cde");
    EXPECT_EQ(shrinking.removeLast(10).size(), 0u);
    EXPECT_EQ(StringView("ab").removeFirst(5).size(), 0u);
    char const source[] = "abcdef";
    String storage;
    StringView whole(source);
    EXPECT_EQ(whole.ensureNullTerminated(storage).data(), source);
    StringView part(source, 3);
    part.ensureNullTerminated(storage);
    EXPECT_EQ(part.data(), storage.data());
    EXPECT_STREQ(part.data(), "abc");
}

TEST(StringViewTest, ConvertRoundTrips) {
    StringViewBuffer const views = StringView("a,bc,,d").split(',', true);
    EXPECT_EQ(Texts(StringView::Convert(StringView::Convert(views))), (Strings{"a", "bc", "", "d"}));
}

TEST(StringViewTest, UTF8IteratorDecodesAndTracksLocation) {
    StringView const text("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!");
    UTF8Iterator walker(text);
    struct Row {
        wchar_t c;
        unsigned int location_after;
    } const rows[] = {{L'a', 1}, {0xE9, 3}, {0x20AC, 6}, {0xF600, 10}, {L'!', 11}, {0, 11}};
    for (Row const & row : rows) {
        EXPECT_EQ(walker.nextChar(), row.c) << row.location_after;
        EXPECT_EQ(walker.location(text), row.location_after);
    }
    UTF8Iterator truncated(StringView("\xE2\x82", 2));
    EXPECT_EQ(truncated.nextChar(), 0x2080); // the missing byte counts as 0
    EXPECT_TRUE(truncated.isEmpty());
    EXPECT_EQ(UTF8Iterator().nextChar(), 0);
}

} // namespace
} // namespace QELTA
