// Tests of String: its own search form, the changing operations and the UTF-8/UTF-16 rules.
#include "Base/Text/String.h"

#include "Base/Text/Dictionary.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA {
namespace {

std::string Text(StringView view) {
    return std::string(std::string_view(view));
}

// Reference replacement on std::string: search on behind each inserted text.
std::string ReplacedWithStd(std::string text, std::string const & from, std::string const & to, std::size_t start) {
    for (std::size_t at = text.find(from, start); !from.empty() && at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

TEST(StringTest, IsAlwaysZeroTerminated) {
    EXPECT_STREQ(String().c_str(), "");
    String text("abc");
    text.append('d');
    EXPECT_STREQ(text.c_str(), "abcd");
    EXPECT_EQ(Text(String(std::string("x\0y", 3))), std::string("x\0y", 3));
    EXPECT_EQ(Text(String(static_cast<char const *>(nullptr))), "");
    text = text.substr(1, 3);
    EXPECT_STREQ(text.c_str(), "bc");
}

// Unlike StringView's, the range is not clamped to the size: the terminator is part of it.
TEST(StringTest, CharSearchWithCountReachesTheTerminator) {
    String const text("abcabc");
    EXPECT_EQ(text.indexOf('\0', 0, 100), 6u);
    EXPECT_EQ(text.view().indexOf('\0', 0, 100), String::not_found);
    EXPECT_EQ(text.indexOf('c', 3, 100), 5u);
    EXPECT_EQ(text.indexOf('c', 3, 2), String::not_found);
    EXPECT_EQ(text.indexOf('a', 7, 5), String::not_found);
    EXPECT_EQ(text.indexOf(static_cast<char const *>(nullptr), false, 4), 0u);
    EXPECT_EQ(text.indexOf("CA", true, 0), 2u);
}

TEST(StringTest, AppendsFromItself) {
    String text("abc");
    text.append(text.view());
    EXPECT_EQ(Text(text), "abcabc");
    for (int i = 0; i < 6; ++i) {
        text += text.substr(1, 3); // forces growth while reading the old block
    }
    EXPECT_EQ(Text(text), "abcabcbcbcbcbcbcbc");
    EXPECT_EQ(Text(String("ab") + StringView("cd") + 'e'), "abcde");
    EXPECT_EQ(Text("x" + String("y")), "xy");
}

TEST(StringTest, AddWhiteSpaceFillsFrontThenBack) {
    struct Row {
        std::string_view text;
        unsigned int total, front;
        std::string_view result;
    } const rows[] = {
        // clang-format off
        {"ab", 5, 0, "ab   "}, {"ab", 5, 4, "..ab."}, {"abcdef", 3, 2, "abcdef"}, {"", 2, 1, ".."}, {"ab", 0, 3, ".ab"},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        String text(row.text);
        text.addWhiteSpace(row.total, row.front, row.front == 0 ? ' ' : '.');
        EXPECT_EQ(Text(text), row.result);
    }
}

TEST(StringTest, CaseChangesOnlyOneByteLettersFromStart) {
    EXPECT_EQ(Text(String("\xC3\x80XY").makeLower()), "\xC3\x80xy");
    EXPECT_EQ(Text(String("ABC").makeLower(1)), "Abc");
    EXPECT_EQ(Text(String("abc").makeUpper(2)), "abC");
    EXPECT_EQ(Text(String("ab").makeUpper(5)), "ab");
}

// An empty `from`, or one equal to `to`, changes nothing; the random texts cover the rest.
TEST(StringTest, ReplaceAgreesWithStdStringOnRandomTexts) {
    std::mt19937 random(99);
    auto const random_text = [&random](unsigned int max_size) {
        std::string text(random() % (max_size + 1), 'a');
        for (char & c : text) {
            c = "abc"[random() % 3];
        }
        return text;
    };
    for (int round = 0; round < 5000; ++round) {
        std::string const text = random_text(40);
        std::string const from = random_text(3);
        std::string const to = random_text(4);
        unsigned int const start = random() % (text.size() + 1);
        SCOPED_TRACE(text + ": " + from + " -> " + to);
        String replaced(text);
        replaced.replace(StringView(from), StringView(to), false, start);
        ASSERT_EQ(Text(replaced), ReplacedWithStd(text, from, to, start));
    }
    String folded("aXbxc");
    EXPECT_EQ(Text(folded.replace("x", "-", true)), "a-b-c");
    String self("abcd");
    self.replace(self.substr(0, 1), self.substr(1, 4));
    EXPECT_EQ(Text(self), "bcdbcd");
}

// At each step the earliest match wins, the first entry at equal positions; replacement text is
// not searched again and empty entries are skipped.
TEST(StringTest, MultiReplaceTakesTheEarliestThenTheFirstEntry) {
    struct Row {
        std::string_view text;
        StringViewBuffer from, to;
        std::string_view result;
    } const rows[] = {
        // clang-format off
        {"abab", {"a", "ab"}, {"1", "2"}, "1b1b"}, {"abab", {"ab", "a"}, {"2", "1"}, "22"},
        {"ab", {"a", "b"}, {"b", "a"}, "ba"}, {"a-b", {"", "-"}, {"x", "+"}, "a+b"}, {"xyz", {"q"}, {"r"}, "xyz"},
        {"aXa", {"x", "a"}, {"", "A"}, "AA"}, {"abc", {"b", "c"}, {"B"}, "aBc"},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        bool const ignore_case = row.text == "aXa";
        String by_views(row.text);
        EXPECT_EQ(Text(by_views.replace(row.from, row.to, ignore_case)), row.result);
        String by_strings(row.text);
        EXPECT_EQ(Text(by_strings.replace(row.from, StringView::Convert(row.to), ignore_case)), row.result);
    }
}

TEST(StringTest, FiltersKeepOnlyFlaggedBytes) {
    std::string_view const source = "a\tb c\nd\re5";
    struct Row {
        bool tab, space, newline, carriage_return, digits;
        std::string_view result;
    } const rows[] = {
        // clang-format off
        {false, false, false, false, true, "5"}, {true, true, false, false, false, "\t "},
        {false, false, true, true, false, "\n\r"}, {true, true, true, true, true, "\t \n\r5"},
        {false, false, false, false, false, ""},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.result);
        String text(source);
        text.removeNonAlphaNumeric(row.tab, row.space, row.newline, row.carriage_return, row.digits);
        EXPECT_EQ(Text(text), row.result);
    }
    EXPECT_EQ(Text(String("a1-2.3").removeNonNumeric()), "123");
    EXPECT_EQ(Text(String(" \ta\nb\r ").trimWhiteSpace()), "a\nb");
    EXPECT_EQ(Text(String("a\n").trimWhiteSpace()), "a\n");
    EXPECT_EQ(Text(String(" \r\t").trimWhiteSpace()), "");
}

// No validation and 16-bit results: U+1F600 loses its high bits, a byte that cannot lead is
// itself, and the terminator ends a sequence without being consumed.
TEST(StringTest, UTF8toUTF16ByLeadByte) {
    struct Row {
        std::string_view bytes;
        unsigned int value, advance;
    } const rows[] = {
        // clang-format off
        {"A", 0x41, 1}, {"\xC3\xA9", 0xE9, 2}, {"\xE2\x82\xAC", 0x20AC, 3}, {"\xF0\x9F\x98\x80", 0xF600, 4},
        {"\xF8\x80\x81\x82\x83", 0x1083, 5}, {"\xFC\x80\x80\x41\x42\x43", 0x1083, 6}, {"\x80", 0x80, 1},
        {"\xBF", 0xBF, 1}, {"\xFE", 0xFE, 1}, {"\xFF", 0xFF, 1}, {"\xC3", 0xC0, 1},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(Text(row.bytes));
        std::string const bytes(row.bytes);
        unsigned int advance = 5;
        EXPECT_EQ(static_cast<unsigned int>(String::UTF8toUTF16(bytes.c_str(), advance)), row.value);
        EXPECT_EQ(advance, 5 + row.advance);
    }
}

// From 0x800 on a unit is always the first of a pair with the next one, written as four bytes;
// before the terminator the index moves by one only.
TEST(StringTest, UTF16CharAsUTF8TreatsWideUnitsAsPairs) {
    struct Row {
        std::vector<wchar_t> units;
        std::string_view bytes;
        unsigned int index_after;
    } const rows[] = {
        // clang-format off
        {{L'A', 0}, "A", 1}, {{0xE9, 0}, "\xC3\xA9", 1}, {{0x7FF, 0}, "\xDF\xBF", 1},
        {{0x20AC, L'A', 0}, "\xFB\x80\x81\x81", 2}, {{0xD83D, 0xDE00, 0}, "\xFF\x9D\xB8\x80", 2},
        {{0x20AC, 0}, "\xFB\x80\x80\x80", 1}, {{0}, "", 0},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(Text(row.bytes));
        String text;
        unsigned int index = 0;
        EXPECT_EQ(text.addUTF16CharAsUTF8(row.units.data(), index), row.index_after != 0);
        EXPECT_EQ(Text(text), row.bytes);
        EXPECT_EQ(index, row.index_after);
    }
    wchar_t const units[] = {L'a', 0xE9, 0x20AC, L'b', 0x20AC, 0};
    String text;
    text.addUTF16AsUTF8(units);
    EXPECT_EQ(Text(text), "a\xC3\xA9\xFB\x80\x81\xA2\xFB\x80\x80\x80");
    EXPECT_EQ(text.capacity(), text.size()); // reserved once
    text.addUTF16AsUTF8(nullptr);
    EXPECT_EQ(text.size(), 11u);
    unsigned int index = 1;
    EXPECT_EQ(Text(String::UTF16toUTF8(units, index)), "\xC3\xA9");
    EXPECT_EQ(index, 2u);
}

TEST(StringTest, UTF8RoundTripsBelow0x800) {
    for (unsigned int code = 1; code < 0x800; ++code) {
        wchar_t const units[] = {static_cast<wchar_t>(code), 0};
        String text;
        text.addUTF16AsUTF8(units);
        unsigned int advance = 0;
        ASSERT_EQ(static_cast<unsigned int>(String::UTF8toUTF16(text.c_str(), advance)), code);
        ASSERT_EQ(advance, text.size());
    }
}

TEST(StringTest, HashesStopAtTheFirstZeroForStrings) {
    String const text(std::string("ab\0cd", 5));
    std::hash<StringView> const hasher;
    EXPECT_EQ(hasher(text), StringView("ab").hash());
    EXPECT_EQ(hasher(text.view()), text.hash());
    EXPECT_NE(hasher(text.view()), hasher(text));
    EXPECT_EQ(DictionaryHash<String>()(String("key")), DictionaryHash<StringView>()(StringView("key")));
}

} // namespace
} // namespace QELTA
