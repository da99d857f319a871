// Tests of number text: decimal rounding and layout of number text, and column letters.
#include "Base/Text/String.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace QELTA {
namespace {

TEST(NumberFormattingTest, FormatsNumberText) {
    std::string const nines(63, '9');
    struct Row {
        std::string input;
        unsigned int min_decimals, max_decimals;
        std::string expected;
        bool add_comma = false;
        unsigned int min_digits = 0;
        char decimal = '.', comma = ',';
    } const rows[] = {
        // clang-format off
        {"9.99", 1, 1, "10.0"}, {"0.999", 2, 2, "1.00"}, {"19.99", 1, 1, "20.0"}, {"0.0999", 3, 3, "0.100"},
        {nines + ".9", 0, 0, "1" + std::string(63, '0')}, {"0.5", 0, 0, "1"}, {"-0.5", 0, 0, "1"},
        {"12.5", 0, 0, "13"}, {"12.4", 0, 0, "12"}, {"-1.25", 1, 1, "-1.3"}, {"1.005", 2, 2, "1.01"},
        {"1.50", 0, 3, "1.5"}, {"1.99", 0, 1, "2"}, {"-0.001", 2, 2, "0.00"}, {"abc", 2, 2, "0.00"},
        {"abc", 0, 5, "abc"}, {"1.23456", 0, 10, "1.23456"}, {"7", 0, 0, "007", false, 3},
        {"7", 0, 3, "7.00", false, 3}, {"1234567", 0, 0, "1,234,567", true}, {"1,234.5", 1, 1, "1,234.5", true},
        {"1,234,567", 0, 0, "1234567"}, {"-1234.5", 1, 1, "-1.234,5", true, 0, ',', '.'}, {"1.5e-9", 0, 0, "0"},
        {"-1.5E-9", 2, 2, "0.00"}, {"1.5e3", 1, 1, "1000.5"}, {"1234e+3", 0, 0, "1,234000", true},
        {"1.5x", 1, 1, "NaN"}, {"1e5x", 0, 0, "NaN"}, {"Infinity", 2, 2, "Inf"}, {"-infinity", 2, 2, "-Inf"},
        {std::string(64, '1'), 0, 0, "BIG"}, {"-" + std::string(64, '1'), 0, 0, "SMALL"},
        {"0." + std::string(70, '1'), 0, 100, "0." + std::string(63, '1'), true},
        {"1.5", 1000, 1000, "1.5" + std::string(999, '0')},
        // clang-format on
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
