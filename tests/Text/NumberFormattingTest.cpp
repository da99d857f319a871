// Tests of number text: decimal rounding and layout of number text, and column letters.
#include "Base/Text/String.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace QELTA {
namespace {

TEST(NumberFormattingTest, FormatsNumberText) {
    std::string const sixty_three_nines(63, '9');
    std::string const seventy_ones(70, '1');
    struct Row {
        std::string input;
        bool add_comma;
        unsigned int min_decimals;
        unsigned int max_decimals;
        unsigned int min_digits;
        char decimal;
        char comma;
        std::string expected;
    } const rows[] = {
        {"9.99", false, 1, 1, 0, '.', ',', "10.0"},
        {"0.999", false, 2, 2, 0, '.', ',', "1.00"},
        {"19.99", false, 1, 1, 0, '.', ',', "20.0"},
        {"0.0999", false, 3, 3, 0, '.', ',', "0.100"},
        {sixty_three_nines + ".9", false, 0, 0, 0, '.', ',', "1" + std::string(63, '0')},
        {"0.5", false, 0, 0, 0, '.', ',', "1"},
        {"-0.5", false, 0, 0, 0, '.', ',', "1"},
        {"12.5", false, 0, 0, 0, '.', ',', "13"},
        {"12.4", false, 0, 0, 0, '.', ',', "12"},
        {"-1.25", false, 1, 1, 0, '.', ',', "-1.3"},
        {"1.005", false, 2, 2, 0, '.', ',', "1.01"},
        {"1.50", false, 0, 3, 0, '.', ',', "1.5"},
        {"1.99", false, 0, 1, 0, '.', ',', "2"},
        {"-0.001", false, 2, 2, 0, '.', ',', "0.00"},
        {"abc", false, 2, 2, 0, '.', ',', "0.00"},
        {"abc", false, 0, 5, 0, '.', ',', "abc"},
        {"1.23456", false, 0, 10, 0, '.', ',', "1.23456"},
        {"7", false, 0, 0, 3, '.', ',', "007"},
        {"7", false, 0, 3, 3, '.', ',', "7.00"},
        {"1234567", true, 0, 0, 0, '.', ',', "1,234,567"},
        {"1,234.5", true, 1, 1, 0, '.', ',', "1,234.5"},
        {"1,234,567", false, 0, 0, 0, '.', ',', "1234567"},
        {"-1234.5", true, 1, 1, 0, ',', '.', "-1.234,5"},
        {"1.5e-9", false, 0, 0, 0, '.', ',', "0"},
        {"-1.5E-9", false, 2, 2, 0, '.', ',', "0.00"},
        {"1.5e3", false, 1, 1, 0, '.', ',', "1000.5"},
        {"1234e+3", true, 0, 0, 0, '.', ',', "1,234000"},
        {"1.5x", false, 1, 1, 0, '.', ',', "NaN"},
        {"1e5x", false, 0, 0, 0, '.', ',', "NaN"},
        {"Infinity", false, 2, 2, 0, '.', ',', "Inf"},
        {"-infinity", false, 2, 2, 0, '.', ',', "-Inf"},
        {std::string(64, '1'), false, 0, 0, 0, '.', ',', "BIG"},
        {"-" + std::string(64, '1'), false, 0, 0, 0, '.', ',', "SMALL"},
        {"0." + seventy_ones, true, 0, 100, 0, '.', ',', "0." + std::string(63, '1')},
        {"1.5", false, 1000, 1000, 0, '.', ',', "1.5" + std::string(999, '0')},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.input + " " + std::to_string(row.min_decimals) + "-" + std::to_string(row.max_decimals));
        String text(row.input);
        text.formatNumberString(row.add_comma, row.min_decimals, row.max_decimals, row.min_digits, row.decimal,
                                row.comma);
        EXPECT_EQ(std::string(text.c_str()), row.expected);
    }
    String text("1234.567");
    EXPECT_STREQ(text.formatNumberString(2).c_str(), "1234.57");
    EXPECT_STREQ(text.formatNumberString(true, 1).c_str(), "1,234.6");
}

TEST(NumberFormattingTest, NumberStringRoundsThePrintedDigits) {
    double const infinity = std::numeric_limits<double>::infinity();
    EXPECT_STREQ(String::NumberString(1234567.891, true, 2, 2, 0, '.', ',').c_str(), "1,234,567.89");
    EXPECT_STREQ(String::NumberString(-2.5, false, 0, 0, 0, '.', ',').c_str(), "-3");
    EXPECT_STREQ(String::NumberString(1e22, true, 0, 0, 0, '.', ',').c_str(), "10000000000000000000000");
    EXPECT_STREQ(String::NumberString(1.5e-7, false, 2, 2, 0, '.', ',').c_str(), "0.00");
    EXPECT_STREQ(String::NumberString(infinity, false, 2, 2, 0, '.', ',').c_str(), "Inf");
    EXPECT_STREQ(String::NumberString(-infinity, false, 2, 2, 0, '.', ',').c_str(), "-Inf");
}

TEST(NumberFormattingTest, ToAlphaStringCountsBijectively) {
    struct Row {
        unsigned int n;
        char const * expected;
    } const rows[] = {{0, "A"}, {25, "Z"}, {26, "AA"}, {27, "AB"}, {701, "ZZ"}, {702, "AAA"}, {0xFFFFFFFF, ""}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.n);
        EXPECT_STREQ(String::ToAlphaString(row.n).c_str(), row.expected);
    }
}

} // namespace
} // namespace QELTA
