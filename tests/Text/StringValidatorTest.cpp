// StringValidator and RegexFunctions: the fixed expressions on names they must take and refuse,
// typed values, the edit box check, built expressions, and texts long enough to break a
// recursive matcher.
#include "Base/Text/StringValidator.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace QELTA {
namespace {

TEST(StringValidatorTest, FixedExpressionsTakeAndRefuseNames) {
    struct Row {
        char const * (*regex)() noexcept;
        char const * text;
        bool valid;
    };
    Row const rows[] = {
        {RegexFunctions::FileNameRegex, "report.txt", true},
        {RegexFunctions::FileNameRegex, "CON", false},
        {RegexFunctions::FileNameRegex, "CON.txt", false},
        {RegexFunctions::FileNameRegex, "AUX.tar.gz", false},
        {RegexFunctions::FileNameRegex, "COM1", false},
        {RegexFunctions::FileNameRegex, "LPT9.log", false},
        {RegexFunctions::FileNameRegex, "CLOCK$", false},
        {RegexFunctions::FileNameRegex, "con", true}, // reserved names are upper case only
        {RegexFunctions::FileNameRegex, "CONSOLE", true},
        {RegexFunctions::FileNameRegex, ".hidden", false},
        {RegexFunctions::FileNameRegex, "a:b", false},
        {RegexFunctions::FileNameRegex, "a/b", false},
        {RegexFunctions::FileNameRegex, "a\\b", false},
        {RegexFunctions::FileNameRegex, "a\tb", false},
        {RegexFunctions::FileNameRegex, "", false},
        {RegexFunctions::FileNameRegex, "r\xC3\xA9sum\xC3\xA9.pdf", true},
        {RegexFunctions::FolderRegex, "/data/survey/", true},
        {RegexFunctions::FolderRegex, "C:\\data", true},
        {RegexFunctions::FolderRegex, "/NUL", false},
        {RegexFunctions::FolderRegex, "/NULL", true},
        {RegexFunctions::FolderRegex, "data/", false},
        {RegexFunctions::FolderRegex, "/da*ta", false},
        {RegexFunctions::FileRegex, "/data/a.txt", true},
        {RegexFunctions::FileRegex, "/data/PRN", false},
        {RegexFunctions::FileRegex, "/data/a?.txt", false},
        {RegexFunctions::UsernameRegex, "john.doe", true},
        {RegexFunctions::UsernameRegex, "jo", true},
        {RegexFunctions::UsernameRegex, "j", false},
        {RegexFunctions::UsernameRegex, "john..doe", false},
        {RegexFunctions::UsernameRegex, "john._doe", false},
        {RegexFunctions::UsernameRegex, "_john", false},
        {RegexFunctions::UsernameRegex, "john.", false},
        {RegexFunctions::UsernameRegex, "jo hn", false},
        {RegexFunctions::EmailRegex, "a.b+c@example.co", true},
        {RegexFunctions::EmailRegex, "a@b", false},
        {RegexFunctions::EmailRegex, "a@b.c", false},
        {RegexFunctions::EmailRegex, "@example.com", false},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.regex()) + " on " + row.text);
        EXPECT_EQ(StringValidator::isValid(StringView(row.text), StringView(row.regex())), row.valid);
    }
}

TEST(StringValidatorTest, ChecksTypedValues) {
    struct Row {
        TypeInfo info;
        char const * text;
        bool valid;
    };
    TypeInfo pair = TypeInfo::Of<double>();
    pair.vector_size = 2;
    Row const rows[] = {
        {TypeInfo::Of<int>(), "12", true},
        {TypeInfo::Of<int>(), "12x", false},
        {TypeInfo::Of<int>(), "-2147483647", true},
        {TypeInfo::Of<int>(), "-2147483648", false},
        {TypeInfo::Of<int>(), "2147483648", false},
        {TypeInfo::Of<signed char>(), "-129", false},
        {TypeInfo::Of<unsigned char>(), "255", true},
        {TypeInfo::Of<unsigned int>(), "4294967295", false},
        {TypeInfo::Of<bool>(), "Y", true},
        {TypeInfo::Of<double>(), "-1.5e3", true},
        {TypeInfo::Of<double>(), "1.5.3", false},
        {pair, "1,2", true},
        {TypeInfo::Of<char>(), "7", true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(StringValidator::isValid(StringView(row.text), row.info), row.valid);
    } // A character is a UTF-8 sequence, not a byte.
    StringView const one_character(TypeInfoRegex::char_regex);
    EXPECT_TRUE(StringValidator::isValid(StringView("\xC3\xA9"), one_character));
    EXPECT_FALSE(StringValidator::isValid(StringView("ab"), one_character));
}

TEST(StringValidatorTest, ChecksThePartOfAnEditBox) {
    StringView const digits("[0-9]+");
    EXPECT_TRUE(StringValidator::checkRegex("12ab", digits, 0, 2, 10));
    EXPECT_FALSE(StringValidator::checkRegex("12ab", digits, 0, 4, 10));
    EXPECT_TRUE(StringValidator::checkRegex("ab34", digits, 2, 100, 10));
    EXPECT_TRUE(StringValidator::checkRegex("abcdef", digits, 0, 100, 5)); // over max_size: the caller's
    EXPECT_FALSE(StringValidator::checkRegex("12", digits, 7, 1, 10));     // past the end: the empty text
    EXPECT_THROW(StringValidator::checkRegex("1", StringView("(["), 0, 1, 10), std::regex_error);
}

TEST(StringValidatorTest, BuildsExpressionsFromValues) {
    Buffer<StringView> const values = {StringView("red"), StringView("blue")};
    String const optional = RegexFunctions::OptionalValues(values);
    EXPECT_EQ(std::string(optional.c_str()), "(red)|(blue)");
    EXPECT_TRUE(RegexFunctions::OptionalValues(Buffer<StringView>()).isEmpty());
    String const unordered = RegexFunctions::UnorderedValues(values);
    EXPECT_EQ(std::string(unordered.c_str()), "(?=[^]*?red[^]*)(?=[^]*?blue[^]*)[^]*");
    struct Row {
        char const * text;
        bool optional;
        bool unordered;
    };
    Row const rows[] = {{"red", true, false}, {"blue\nred", false, true}, {"redblue", false, true}, {"", false, false}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(StringValidator::isValid(StringView(row.text), optional), row.optional);
        EXPECT_EQ(StringValidator::isValid(StringView(row.text), unordered), row.unordered);
    }
}

// A recursive matcher overflows the stack at some tens of kilobytes, and backtracks without end on
// the folder expression; each check must come back.
TEST(StringValidatorTest, ReturnsOnLongTexts) {
    std::string const slashes = std::string(StringValidator::max_text_size - 1, '/') + "*";
    std::string const letters(StringValidator::max_text_size, 'a');
    std::string const too_long(100000, 'a');
    EXPECT_FALSE(StringValidator::isValid(StringView(slashes), StringView(RegexFunctions::FolderRegex())));
    EXPECT_TRUE(StringValidator::isValid(StringView(letters), StringView(RegexFunctions::UsernameRegex())));
    EXPECT_TRUE(StringValidator::isValid(StringView(letters), TypeInfo()));
    for (auto const regex : {RegexFunctions::FileNameRegex, RegexFunctions::FolderRegex, RegexFunctions::FileRegex,
                             RegexFunctions::UsernameRegex, RegexFunctions::EmailRegex}) {
        EXPECT_FALSE(StringValidator::isValid(StringView(too_long), StringView(regex())));
    }
    EXPECT_FALSE(StringValidator::checkRegex(StringView(too_long), StringView(".*"), 0, 200000, 200000));
}

} // namespace
} // namespace QELTA
