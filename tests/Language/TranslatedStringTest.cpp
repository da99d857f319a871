#include "Base/Language/TranslatedString.h"
#include "Base/Language/Translator.h"
#include "Base/Text/BitReference.h"
#include "Base/Text/Dictionary.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

using namespace QELTA;

namespace {

std::string Text(StringView const & view) {
    return std::string(view.data() == nullptr ? "" : view.data(), view.size());
}

UUID Bytes(std::initializer_list<unsigned char> leading) {
    UUID id;
    unsigned int i = 0;
    for (unsigned char const byte : leading) {
        id.bytes[i++] = byte;
    }
    return id;
}

} // namespace

TEST(TranslatorTest, FastIdXorsTheLabelAndKeepsTheFirstLabelOfAnId) {
    // Bytes 16 apart land on the same id byte, so swapping them gives the same id.
    std::string const first = "P" + std::string(15, 'q') + "R";
    std::string const second = "R" + std::string(15, 'q') + "P";
    UUID const id = Translator::DefaultFastID(first);
    EXPECT_EQ(Translator::DefaultFastID(second), id);
    EXPECT_EQ(Text(Translator::DefaultReadableLabel(id)), first);

    EXPECT_EQ(Text(Translator::DefaultReadableLabel(Bytes(
                  {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f}))),
              "00010203-0405-0607-0809-0a0b0c0d0e0f");
}

TEST(TranslatorTest, ReadableLabelsFromEnglish) {
    struct Row {
        char const * text;
        char const * label;
    } const rows[] = {
        {"  Hello World: A-B ", "hello_world_colon__a_dash_b"},
        {"\tx=1.5\n", "x_equals_1_dot_5_newline_"},
        {"a\tb\rc", "a_tab_b_return_c"},
        {"Already_Label", "already_label"},
        {"", ""},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Text(Translator::DefaultReadableLabel(StringView(row.text))), row.label);
    }
    // The id of an English text is the id of its label: "true" XORed into 0xFF bytes.
    EXPECT_EQ(Translator::DefaultID(" True "), Bytes({0x8B, 0x8D, 0x8A, 0x9A}));
}

TEST(TranslatedStringTest, TextFormParsesAndPrints) {
    struct Row {
        char const * text;
        char const * english; // englishDefine()
        char const * label;   // nullptr: no id
        char const * shown;   // translation()
        char const * printed; // internalValue()
    } const rows[] = {
        {"{abc}Hello", "Hello", "abc", "Hello", "{abc}Hello"},
        {"{abc", "", nullptr, "", ""}, // unclosed: the text is lost
        {"{unclosed~k~v", "", nullptr, "", ""},
        {"}x", "}x", nullptr, "}x", "}x"},
        {"{}x", "x", nullptr, "x", "x"},
        {"{only_id}", "", "only_id", "", "{only_id}"},
        {"a~b~c", "a", nullptr, "a", "a~b~c"},
        {"a~b", "a", nullptr, "a", "a"}, // two parts: no slot, the rest is lost
        {"a [k] b~[k]~c~tail", "a [k] b", nullptr, "a c b", "a [k] b~[k]~c"},
        {"[k][k]~[k]~1~[k]~2", "[k][k]", nullptr, "22", "[k][k]~[k]~2"}, // a repeated key sets its slot again
        {"{copy_x}Copy [f] to [g]~[f]~{source_x}Source~[g]~dest", "Copy [f] to [g]", "copy_x", "Copy Source to dest",
         "{copy_x}Copy [f] to [g]~[f]~{source_x}Source~[g]~dest"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        TranslatedString text{StringView(row.text)};
        EXPECT_EQ(Text(text.englishDefine()), row.english);
        EXPECT_EQ(text.translationID(), row.label == nullptr ? UUID::Invalid() : UUID::CreateUUID(row.label));
        EXPECT_EQ(Text(text.translation()), row.shown);
        String const printed = text.internalValue();
        EXPECT_EQ(Text(printed), row.printed);
        TranslatedString const again(printed);
        EXPECT_TRUE(again == text);

        StringAllocatingView streamed;
        StringStream<TranslatedString>::toString(text, streamed);
        TranslatedString read;
        StringStream<TranslatedString>::fromString(streamed, read);
        EXPECT_FALSE(read != text);
    }
}

TEST(TranslatedStringTest, NestedSlotsShowThroughAndFlattenInTextForm) {
    TranslatedString inner{StringView("{inner_n}Inner [x]")};
    inner.replace("[x]", "X");
    TranslatedString outer{StringView("{outer_n}Outer [y]")};
    outer.replace("[y]", inner);
    EXPECT_EQ(Text(outer.translation()), "Outer Inner X");
    EXPECT_EQ(Text(outer.englishTranslation()), "Outer Inner X");

    String const printed = outer.internalValue();
    EXPECT_EQ(Text(printed), "{outer_n}Outer [y]~[y]~{inner_n}Inner [x]~[x]~X");
    // The inner slot comes back as a slot of the outer text: shown the same, but not the same value.
    TranslatedString again(printed);
    EXPECT_EQ(Text(again.translation()), "Outer Inner X");
    EXPECT_TRUE(again != outer);
}

TEST(TranslatedStringTest, SlotsFillInTheOrderTheyWereFirstSet) {
    TranslatedString forward{StringView("[a][b]")};
    forward.replace("[a]", "[b]");
    forward.replace("[b]", "B");
    EXPECT_EQ(Text(forward.translation()), "BB");

    TranslatedString backward{StringView("[a][b]")};
    backward.replace("[b]", "B");
    backward.replace("[a]", "[b]");
    EXPECT_EQ(Text(backward.translation()), "[b]B");

    // Setting a key again replaces its value in place and empties the cache.
    backward.replace("[b]", "C");
    EXPECT_EQ(Text(backward.translation()), "[b]C");
    EXPECT_EQ(Text(backward.internalValue()), "[a][b]~[b]~C~[a]~[b]");

    // A key is filled case-sensitively, everywhere, and a key cut at a zero byte is one key.
    TranslatedString cased{StringView("[K] [k] [k]")};
    cased.replace(StringView("[k]\0junk", 8), "v");
    cased.replace("[k]", "w");
    EXPECT_EQ(Text(cased.translation()), "[K] w w");
    EXPECT_EQ(Text(cased.internalValue()), "[K] [k] [k]~[k]~w");

    String filled("x [n] y");
    TranslatedString holder{StringView("[n]")};
    holder.replace("[n]", "5");
    holder.replaceVals(filled);
    EXPECT_EQ(Text(filled), "x 5 y");

    TranslatedString self{StringView("<[s]>")};
    self.replace("[s]", self);
    EXPECT_EQ(Text(self.translation()), "<<[s]>>");
}

TEST(TranslatedStringTest, EqualityIsDeliberatelyNotTheOppositeOfInequality) {
    struct Row {
        char const * left;
        char const * right;
        bool equal;
        bool not_equal;
    } const rows[] = {
        {"t~k1~v", "t~k1~v", true, false},
        {"t~k1~v", "t~k2~v", true, true}, // only the keys differ: both hold
        {"t~k1~v", "t~k1~w", false, true},
        {"t~k1~v", "t~k1~v~k2~v", false, true},
        {"{one_e}t", "{two_e}t", false, true},
        {"{one_e}t", "t", false, true},
        {"t", "u", false, true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.left) + " vs " + row.right);
        TranslatedString const left{StringView(row.left)};
        TranslatedString const right{StringView(row.right)};
        EXPECT_EQ(left == right, row.equal);
        EXPECT_EQ(left != right, row.not_equal);
    }

    // The cache is never compared.
    TranslatedString shown{StringView("a [k]~[k]~v")};
    TranslatedString const fresh(shown);
    EXPECT_EQ(Text(shown.translation()), "a v");
    EXPECT_TRUE(shown == fresh);
    EXPECT_FALSE(shown != fresh);
}

TEST(TranslatedStringTest, OrderIsByShownTextAsSignedBytes) {
    struct Row {
        char const * left;
        char const * right;
        bool less;
    } const rows[] = {
        {"a", "b", true},    {"b", "a", false}, {"ab", "abc", true},          {"abc", "ab", false},
        {"\x80", "a", true}, {"a", "a", false}, {"x [k]~[k]~a", "x b", true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.left) + " < " + row.right);
        TranslatedString const left{StringView(row.left)};
        TranslatedString const right{StringView(row.right)};
        EXPECT_EQ(left < right, row.less);
        EXPECT_EQ(right > left, row.less);
    }
}

TEST(TranslatedStringTest, HashIsTheIdFoldAndTextsWithoutIdShareZero) {
    TranslatedString const with_id{StringView("{abc}Hello")};
    // Bytes 9E 9D 9C then 0xFF, folded with the all-0xFF upper half.
    EXPECT_EQ(std::hash<TranslatedString>()(with_id), 0x6162630000000000ull);
    EXPECT_EQ(std::hash<TranslatedString>()(TranslatedString::DirectString("x")), 0u);

    Dictionary<TranslatedString, int> table;
    table.insert(TranslatedString::DirectString("one"), 1);
    table.insert(TranslatedString::DirectString("two"), 2);
    table.insert(with_id, 3);
    EXPECT_EQ(table.at(TranslatedString::DirectString("two")), 2);
    EXPECT_EQ(table.at(TranslatedString::DirectString("one")), 1);
    EXPECT_EQ(table.at(TranslatedString(UUID::CreateUUID("abc"), "Hello")), 3);
}

TEST(TranslatedStringTest, DirectTextsCopiesMovesAndHelpers) {
    TranslatedString direct = TranslatedString::DirectString("{x}");
    EXPECT_EQ(Text(direct.translation()), "{x}");
    EXPECT_FALSE(direct.isTranslatable());

    TranslatedString source{StringView("{move_m}a [k]~[k]~v")};
    TranslatedString const copy(source);
    TranslatedString moved(std::move(source));
    EXPECT_TRUE(source.isEmpty()); // NOLINT(bugprone-use-after-move): moving leaves the source empty
    EXPECT_FALSE(source.hasReplacements());
    EXPECT_FALSE(moved != copy);
    EXPECT_EQ(Text(moved.readableID()), "move_m");
    EXPECT_EQ(Text(TranslatedString::DirectString("Hello World.").readableID()), "hello_world_dot_");

    EXPECT_TRUE(moved.canReplaceInTranslation("[k]"));
    EXPECT_TRUE(moved.canReplaceInTranslation(""));
    EXPECT_FALSE(moved.canReplaceInTranslation("[j]"));

    String out("<");
    TranslatedString::AppendTranslated("{x}abc", out);
    TranslatedString::AppendTranslated("", out);
    TranslatedString::AppendTranslated("abc", out);
    EXPECT_EQ(Text(out), "<abc");

    EXPECT_EQ(Text(moved.translation(String("de_DE"))), "a v");
}

TEST(TranslatedStringTest, BooleansDisplayAsTranslatableTrueAndFalse) {
    TranslatedString shown;
    StringStream<bool>::toDisplayString(true, shown);
    EXPECT_EQ(Text(shown.translation()), "True");
    EXPECT_EQ(shown.translationID(), Bytes({0x8B, 0x8D, 0x8A, 0x9A})); // "true"
    unsigned char byte = 0x02;
    StringStream<BitReference>::toDisplayString(BitReference(&byte, 0), shown);
    EXPECT_EQ(Text(shown.translation()), "False");
    EXPECT_EQ(Text(shown.readableID()), "false");
}

TEST(TranslatedStringTest, HostileInputEndsQuicklyAndBounded) {
    auto const start = std::chrono::steady_clock::now();

    TranslatedString braces{StringView(std::string(1 << 20, '{'))};
    EXPECT_TRUE(braces.isEmpty());

    std::string many = "[k0]";
    for (int i = 0; i < 100000; ++i) {
        many += "~[k" + std::to_string(i) + "]~v";
    }
    TranslatedString slots{StringView(many)};
    EXPECT_EQ(Text(slots.translation()), "v");
    EXPECT_EQ(slots.internalValue().size(), many.size());

    // Each key doubles the next one: 2^40 bytes unbounded, stopped at the fill limit.
    std::string doubling = "k0";
    for (int i = 0; i < 40; ++i) {
        doubling += "~k" + std::to_string(i) + "~k" + std::to_string(i + 1) + "k" + std::to_string(i + 1);
    }
    TranslatedString exploding{StringView(doubling)};
    EXPECT_LE(exploding.translation().size(), TranslatedString::max_filled_size);
    EXPECT_GT(exploding.translation().size(), TranslatedString::max_filled_size / 4);

    // Slots nested far deeper than the limit still show the whole text.
    TranslatedString nested = TranslatedString::DirectString("x");
    for (int i = 0; i < 2000; ++i) {
        TranslatedString outer{StringView("([v])")};
        outer.replace("[v]", nested);
        nested = std::move(outer);
    }
    EXPECT_EQ(Text(nested.translation()), std::string(2000, '(') + "x" + std::string(2000, ')'));
    TranslatedString const copied(nested);
    EXPECT_TRUE(copied == nested);

    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}
