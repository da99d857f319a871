// Tests of StringAllocatingView: borrowing until a change, and the appending used by conversions.
#include "Base/Text/StringAllocatingView.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

namespace QELTA {
namespace {

std::string Text(StringView view) {
    return std::string(std::string_view(view));
}

// Whether `text` still shows the foreign bytes at `source` and owns nothing.
::testing::AssertionResult Borrows(StringAllocatingView const & text, char const * source) {
    if (text.data() != source || !text.store().isEmpty()) {
        return ::testing::AssertionFailure() << "shows " << Text(text) << ", owns " << Text(text.store());
    }
    return ::testing::AssertionSuccess();
}

TEST(StringAllocatingViewTest, ChangesWithNoReasonCopyNothing) {
    static char const source[] = "abc,ABC 123";
    StringAllocatingView text{StringView(source)};
    text.makeLower(7).makeUpper(7);
    text.replace("q", "r")
        .replace("abc", "abc")
        .replace("", "x")
        .replace(StringViewBuffer{"xyz", ""}, StringViewBuffer{"1", "2"});
    text.replace(StringViewBuffer{"q"}, StringBuffer{}).removeElement(';').removeElement('a', 1);
    EXPECT_TRUE(Borrows(text, source));
    EXPECT_EQ(Text(text), source);
    EXPECT_TRUE(Borrows(StringView(source).substr(0, 3).toLower(), source));
    EXPECT_TRUE(Borrows(StringView(source).shortenString(sizeof(source) - 1), source)); // exactly fits
}

TEST(StringAllocatingViewTest, ChangesOwnACopyAndLeaveTheSource) {
    static char const source[] = "aBc,aBc";
    struct Row {
        char const * name;
        void (*change)(StringAllocatingView &);
        std::string_view result;
    } const rows[] = {
        {"makeLower", [](StringAllocatingView & t) { t.makeLower(); }, "abc,abc"},
        {"makeUpper from 4", [](StringAllocatingView & t) { t.makeUpper(4); }, "aBc,ABC"},
        {"replace", [](StringAllocatingView & t) { t.replace("b", "xx", true, 2); }, "aBc,axxc"},
        {"multi replace", [](StringAllocatingView & t) { t.replace(StringViewBuffer{"B"}, StringBuffer{"b"}); },
         "abc,abc"},
        {"removeElement", [](StringAllocatingView & t) { t.removeElement('c'); }, "aB,aB"},
        {"insert", [](StringAllocatingView & t) { t.insert(7, '!'); }, "aBc,aBc!"},
        {"insert in front", [](StringAllocatingView & t) { t.insert(0, '!'); }, "!aBc,aBc"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        StringAllocatingView text{StringView(source)};
        row.change(text);
        EXPECT_EQ(Text(text), row.result);
        EXPECT_TRUE(text.isOwned());
        EXPECT_EQ(text.data(), text.store().data());
        EXPECT_EQ(std::string(source), "aBc,aBc");
    }
}

// The conversions to text: an empty target borrows a literal, anything else appends, from any
// bytes, the shown ones included.
TEST(StringAllocatingViewTest, BorrowsWhenEmptyAndAppendsOtherwise) {
    static char const literal[] = "T";
    StringAllocatingView out;
    out.borrow(literal);
    EXPECT_TRUE(Borrows(out, literal));
    out.borrow("F");
    EXPECT_EQ(Text(out), "TF");
    EXPECT_TRUE(out.isOwned());
    out.append(',').append(StringView("12"));
    out.append(out.view());
    EXPECT_EQ(Text(out), "TF,12TF,12");
    out.clear();
    EXPECT_TRUE(out.isEmpty());
    out.borrow(literal);
    out.borrow("");
    EXPECT_TRUE(Borrows(out, literal));

    static char const source[] = "abc";
    StringAllocatingView text{StringView(source)};
    text.append(text.view().substr(1));
    EXPECT_EQ(Text(text), "abcbc");
    EXPECT_EQ(std::string(source), "abc");
    StringAllocatingView part{StringView(source).substr(1, 2)};
    EXPECT_EQ(Text(part.append('!')), "b!");
}

TEST(StringAllocatingViewTest, CopiesAndMovesKeepTheirText) {
    static char const source[] = "abc";
    StringAllocatingView owned{StringView(source)};
    owned.append('d');
    StringAllocatingView copy = owned;
    copy.makeUpper();
    EXPECT_EQ(Text(owned), "abcd");
    EXPECT_EQ(Text(copy), "ABCD");
    StringAllocatingView moved = std::move(copy);
    EXPECT_EQ(Text(moved), "ABCD");
    EXPECT_EQ(moved.data(), moved.store().data());
    StringAllocatingView borrowed{StringView(source)};
    StringAllocatingView borrowed_copy = borrowed;
    EXPECT_TRUE(Borrows(borrowed_copy, source));
    moved = borrowed;
    EXPECT_TRUE(Borrows(moved, source));
    moved = std::move(owned);
    EXPECT_EQ(Text(moved), "abcd");
    EXPECT_TRUE(moved.isOwned());
    StringAllocatingView from_string(String("xyz"));
    EXPECT_EQ(Text(from_string), "xyz");
    EXPECT_TRUE(from_string.isOwned());
}

} // namespace
} // namespace QELTA
