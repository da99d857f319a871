// NumberReading: the digit rule at every width, signs, junk, the double steps, and the unrolled
// readers held to a plain step-by-step statement of the same rules.
#include "Base/Text/Internal/NumberReading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace QELTA {
namespace {

// The rules stated plainly, one step at a time, for the differential tests; a null text is
// checked on its own.

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

template <class T>
T UnsignedReference(char const * text) {
    T const invalid = std::numeric_limits<T>::max();
    unsigned int const allowed = sizeof(T) == 1 ? 3 : sizeof(T) == 2 ? 5 : sizeof(T) == 4 ? 10 : 20;
    text += text[0] == '+';
    if (!IsDigit(text[0])) {
        return invalid;
    }
    T value = 0;
    unsigned int count = 0;
    for (; count + 1 < allowed && IsDigit(text[count]); ++count) {
        value = static_cast<T>(value * 10U + static_cast<unsigned int>(text[count] - '0'));
    }
    if (count + 1 == allowed && IsDigit(text[count])) {
        T const widened = static_cast<T>(value * 10U + static_cast<unsigned int>(text[count] - '0'));
        if (widened < value || (text[count + 1] >= '1' && text[count + 1] <= '8')) {
            return invalid;
        }
        value = widened;
    }
    return value;
}

template <class T>
T SignedReference(char const * text) {
    using Unsigned = std::make_unsigned_t<T>;
    bool const negative = text[0] == '-';
    text += negative || text[0] == '+';
    Unsigned const magnitude = UnsignedReference<Unsigned>(text);
    if (magnitude == std::numeric_limits<Unsigned>::max()) {
        return std::numeric_limits<T>::lowest();
    }
    // Two's complement: negation and narrowing wrap, here taken in 64 bits first.
    std::uint64_t const bits = negative ? 0 - std::uint64_t{magnitude} : std::uint64_t{magnitude};
    return static_cast<T>(static_cast<std::int64_t>(bits));
}

// Powers of ten from the C library's reader, which rounds correctly: independent of the tables
// in the header.
double PowerOfTen(int exponent) {
    char text[32];
    std::snprintf(text, sizeof(text), "1e%d", exponent);
    return std::strtod(text, nullptr);
}

template <class Integer>
double FloatingReference(char const * text) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    std::size_t at = 0;
    bool const negative = text[0] == '-';
    if (text[0] == '+' || text[0] == '-') {
        at += text[1] == '+' ? 2 : 1;
    }
    double value = 0;
    if (text[at] != '.') {
        std::size_t const run = std::strspn(text + at, "0123456789");
        Integer const integer = UnsignedReference<Integer>(text + at);
        if (run == 0 || integer == std::numeric_limits<Integer>::max()) {
            return nan;
        }
        // A 32-bit integer part must fit 32 bits; the weak wrap check of the unsigned reader
        // does not decide that.
        if (sizeof(Integer) == 4 && run >= 10 && std::strtoull(std::string(text + at, 10).c_str(), nullptr, 10) > 0xFFFFFFFFULL) {
            return nan;
        }
        value = static_cast<double>(integer);
        at += std::min<std::size_t>(run, sizeof(Integer) == 4 ? 10 : 20);
    }
    if (text[at] == '.' && IsDigit(text[at + 1])) {
        std::uint64_t fraction = 0;
        int taken = 0;
        for (++at; IsDigit(text[at]); ++at) {
            if (taken < 19) {
                fraction = fraction * 10 + static_cast<std::uint64_t>(text[at] - '0');
                ++taken;
            }
        }
        // Rounded on its own, even where the compiler may fuse a multiply and an add.
        double const volatile part = static_cast<double>(fraction) * PowerOfTen(-taken);
        value = value + part;
    }
    if (text[at] == 'e' || text[at] == 'E') {
        ++at;
        bool const negative_exponent = text[at] == '-';
        at += text[at] == '+' || text[at] == '-';
        // Digits only: one sign is all the exponent takes.
        unsigned int const exponent = text[at] == '+' ? 65535 : UnsignedReference<unsigned short>(text + at);
        int const low = static_cast<int>(exponent % 8);
        int const high = static_cast<int>(exponent / 8) * 8;
        if (exponent <= 308) {
            value *= negative_exponent ? PowerOfTen(-low) * PowerOfTen(-high) : PowerOfTen(low) * PowerOfTen(high);
        } else {
            value *= negative_exponent ? 0.0 : std::numeric_limits<double>::infinity();
        }
    }
    return negative ? -value : value;
}

// Same bits, or both NaN.
bool SameDouble(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

// Integers

// Reads a text at one integer type and shows the value, or "X" for the type's Invalid value.
struct Width {
    char const * name;
    std::string (*read)(char const * text);
};

template <class T>
std::string ReadShown(char const * text) {
    if constexpr (std::is_signed_v<T>) {
        T const value = NumberReading::ReadSigned<T>(text);
        return value == std::numeric_limits<T>::lowest() ? "X" : std::to_string(value);
    } else {
        T const value = NumberReading::ReadUnsigned<T>(text);
        return value == std::numeric_limits<T>::max() ? "X" : std::to_string(value);
    }
}

constexpr Width u8{"u8", ReadShown<unsigned char>}, u16{"u16", ReadShown<unsigned short>},
    u32{"u32", ReadShown<unsigned int>}, u64{"u64", ReadShown<unsigned long long>}, s8{"s8", ReadShown<signed char>},
    s16{"s16", ReadShown<short>}, s32{"s32", ReadShown<int>}, s64{"s64", ReadShown<long long>};

// The last possible digit is added in the type's width and only a result below the value before
// it counts as a wrap; a byte from '1' to '8' behind it is an overflow, a '0' or '9' is not.
// Leading zeros count as digits. A signed type reads its magnitude in the unsigned type of the
// same size and wraps the result.
TEST(NumberReadingTest, DigitRuleAndSignsAtEveryWidth) {
    struct Row {
        Width width;
        char const * text;
        char const * expected;
    } const rows[] = {
        // clang-format off
        {u8, "254", "254"}, {u8, "255", "X"}, {u8, "256", "X"}, {u8, "300", "44"}, {u8, "0001", "X"}, {u8, "0009", "0"},
        {u8, "2540", "254"}, {u8, "2549", "254"}, {u8, "2541", "X"}, {u8, "2548", "X"},
        {u16, "65534", "65534"}, {u16, "65535", "X"}, {u16, "65536", "X"}, {u16, "99999", "34463"},
        {u16, "655340", "65534"}, {u16, "655349", "65534"}, {u16, "655341", "X"}, {u16, "655348", "X"},
        {u32, "4294967294", "4294967294"}, {u32, "4294967295", "X"}, {u32, "4294967296", "X"},
        {u32, "42949672940", "4294967294"}, {u32, "42949672949", "4294967294"}, {u32, "42949672945", "X"},
        {u64, "18446744073709551614", "18446744073709551614"}, {u64, "18446744073709551615", "X"},
        {u64, "18446744073709551616", "X"}, {u64, "184467440737095516149", "18446744073709551614"},
        {u64, "184467440737095516143", "X"}, {u64, "90000000000000000000", "16213023705161793536"},
        {u32, "+12", "12"}, {u32, "-12", "X"}, {u32, "++12", "X"}, {u32, "", "X"}, {u32, " 12", "X"}, {u32, "1.9", "1"},
        {s8, "127", "127"}, {s8, "128", "X"}, {s8, "200", "-56"}, {s8, "-200", "56"}, {s8, "255", "X"},
        {s8, "-+5", "-5"}, {s8, "+-5", "X"}, {s8, "--5", "X"}, {s8, "-", "X"}, {s16, "65534", "-2"},
        {s32, "2147483648", "X"}, {s32, "-4294967294", "2"}, {s32, "4294967295", "X"},
        {s64, "-9223372036854775807", "-9223372036854775807"}, {s64, "9223372036854775808", "X"},
        {s64, "18446744073709551614", "-2"},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.width.name) + " " + row.text);
        EXPECT_EQ(row.width.read(row.text), row.expected);
    }
    for (Width const & width : {u8, u16, u32, u64, s8, s16, s32, s64}) {
        EXPECT_EQ(width.read(nullptr), "X") << width.name;
    }
}

// Doubles and floats

// The fraction is F × 10^-n and the power a product of two table entries, each rounded in
// double: not the nearest double in general ("0.3" is the double above 0.3).
TEST(NumberReadingTest, DoubleSteps) {
    struct Row {
        char const * text;
        double expected;
    } const rows[] = {
        // clang-format off
        {"-12", -12.0}, {".5", 0.5}, {"-.5", -0.5}, {"5.", 5.0}, {"5.e3", 5.0}, {".", 0.0}, {"-.", -0.0}, {".e3", 0.0},
        {"-+1.5", -1.5}, {"++1.5", 1.5}, {"+-1.5", NAN}, {"--1.5", NAN}, {"+++1", NAN}, {"-", NAN}, {"", NAN},
        {"nan", NAN}, {" 1", NAN}, {"1.5x", 1.5}, {"2.5E-1", 0.25}, {"1e+03", 1000.0}, {"1e22", 1e22},
        {"1e308", 1e308}, {"2e308", INFINITY}, {"1e309", INFINITY}, {"1e-309", 0.0}, {"-1e-309", -0.0}, {"0e400", NAN},
        {"1e65535", INFINITY}, {"1e", INFINITY}, {"1e-", 0.0}, {"1e++5", INFINITY}, {"1e000001", INFINITY},
        {"1e000009", 1.0}, {"0.3", 0.30000000000000004}, {"12345678901234567890", 12345678901234567890.0},
        {"100000000000000000000", 1e19}, {"123456789012345678901", NAN}, {"18446744073709551615", NAN},
        {"0.12345678901234567899999", 1234567890123456789.0 * 1e-19}, {"0.00000000000000000009", 0.0},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        double const value = NumberReading::ReadDouble(row.text);
        EXPECT_TRUE(SameDouble(value, row.expected)) << value;
    }
    EXPECT_TRUE(std::isnan(NumberReading::ReadDouble(nullptr)));
}

// The integer part is read in 32 bits, the value built in double and rounded to float once.
TEST(NumberReadingTest, FloatReadsItsIntegerPartIn32Bits) {
    EXPECT_EQ(NumberReading::ReadFloat("16777217"), 16777216.0F);
    EXPECT_EQ(NumberReading::ReadFloat("42949672940"), 4294967296.0F);
    EXPECT_TRUE(std::isnan(NumberReading::ReadFloat("4294967295")));
    EXPECT_TRUE(std::isnan(NumberReading::ReadFloat("4294967296")));
    EXPECT_TRUE(std::isnan(NumberReading::ReadFloat("5000000000")));
    EXPECT_TRUE(std::isnan(NumberReading::ReadFloat("-9999999999.5")));
    EXPECT_TRUE(std::isnan(NumberReading::ReadFloat(nullptr)));
}

// Field integers take every digit and refuse what does not fit, moving behind all the digits.
template <class T>
std::string Bounded(char const *& text) {
    T const value = NumberReading::ReadBoundedAt<T>(text);
    T const invalid = std::is_signed_v<T> ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
    return value == invalid ? "X" : std::to_string(value);
}

TEST(NumberReadingTest, BoundedReadersRefuseWhatDoesNotFit) {
    using Reader = std::string (*)(char const *&);
    Reader const b_u8 = Bounded<unsigned char>, b_u16 = Bounded<unsigned short>, b_u32 = Bounded<unsigned int>,
                 b_s8 = Bounded<signed char>, b_s16 = Bounded<short>, b_s32 = Bounded<int>, b_s64 = Bounded<long long>;
    struct Row {
        Reader read;
        char const * text;
        char const * expected;
        std::size_t consumed;
    } const rows[] = {
        // clang-format off
        {b_u8, "254", "254", 3}, {b_u8, "255", "X", 3}, {b_u8, "300", "X", 3}, {b_u8, "2540", "X", 4},
        {b_u8, "0001", "1", 4}, {b_u8, "+7x", "7", 2}, {b_u8, "-1", "X", 0}, {b_u8, "x", "X", 0}, {b_u8, "+", "X", 0},
        {b_s8, "127", "127", 3}, {b_s8, "-127", "-127", 4}, {b_s8, "128", "X", 3}, {b_s8, "-129", "X", 4},
        {b_s8, "-+5", "-5", 3}, {b_s16, "-32767", "-32767", 6}, {b_s16, "40000", "X", 5},
        {b_u16, "65534", "65534", 5}, {b_u16, "70000", "X", 5}, {b_s32, "3000000000", "X", 10},
        {b_s32, "-2147483647", "-2147483647", 11}, {b_u32, "4294967294", "4294967294", 10},
        {b_u32, "99999999999", "X", 11}, {b_s64, "9223372036854775807", "9223372036854775807", 19},
        {b_s64, "-9223372036854775808", "X", 20}, {b_s64, "99999999999999999999999999", "X", 26},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        char const * end = row.text;
        EXPECT_EQ(row.read(end), row.expected);
        EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.consumed);
    }
}

// The unrolled readers against the plain rules

std::string RandomDigits(std::mt19937_64 & random, std::size_t count) {
    std::string digits;
    for (std::size_t index = 0; index < count; ++index) {
        digits += static_cast<char>('0' + random() % 10);
    }
    return digits;
}

// Texts around every rule: signs, digit counts 0 to 25, the limits of each width with every
// byte behind them, fractions, exponents and junk.
std::vector<std::string> ReaderInputs() {
    std::mt19937_64 random(20240611);
    char const * const signs[] = {"", "", "", "+", "-", "++", "+-", "-+", "--", " "};
    char const * const tails[] = {"", "", "", " ", "x", "0", "9", "1", "5", "8", ".", "e", "-", "+", "\xC3\xA9"};
    std::vector<std::string> inputs;
    auto pick = [&random](auto const & list) { return list[random() % std::size(list)]; };
    for (int index = 0; index < 150000; ++index) {
        std::string text = pick(signs) + RandomDigits(random, random() % 26);
        if (random() % 3 == 0) {
            text += '.' + RandomDigits(random, random() % 26);
        }
        if (random() % 4 == 0) {
            text += "eE"[random() % 2] + std::string(pick(signs)) + RandomDigits(random, random() % 8);
        }
        inputs.push_back(text + pick(tails));
    }
    for (std::string const base :
         {"255", "256", "127", "128", "65535", "65536", "32767", "32768", "4294967295", "4294967296", "2147483647",
          "2147483648", "18446744073709551615", "18446744073709551616", "9223372036854775807", "9223372036854775808",
          "308", "309"}) {
        for (std::size_t cut = 1; cut <= base.size(); ++cut) {
            for (char last = '0'; last <= '9'; ++last) {
                for (char behind : std::string("0123456789x")) {
                    std::string const number = base.substr(0, cut - 1) + last + behind;
                    for (std::string const sign : {"", "-", "+"}) {
                        inputs.insert(inputs.end(), {sign + number, sign + "1e" + number, sign + "1e-" + number});
                    }
                }
            }
        }
    }
    return inputs;
}

TEST(NumberReadingTest, ReadersMatchThePlainRules) {
    for (std::string const & text : ReaderInputs()) {
        SCOPED_TRACE(text);
        char const * const bytes = text.c_str();
        ASSERT_EQ(NumberReading::ReadUnsigned<unsigned char>(bytes), UnsignedReference<unsigned char>(bytes));
        ASSERT_EQ(NumberReading::ReadUnsigned<unsigned short>(bytes), UnsignedReference<unsigned short>(bytes));
        ASSERT_EQ(NumberReading::ReadUnsigned<unsigned int>(bytes), UnsignedReference<unsigned int>(bytes));
        ASSERT_EQ(NumberReading::ReadUnsigned<unsigned long long>(bytes), UnsignedReference<unsigned long long>(bytes));
        ASSERT_EQ(NumberReading::ReadSigned<signed char>(bytes), SignedReference<signed char>(bytes));
        ASSERT_EQ(NumberReading::ReadSigned<short>(bytes), SignedReference<short>(bytes));
        ASSERT_EQ(NumberReading::ReadSigned<int>(bytes), SignedReference<int>(bytes));
        ASSERT_EQ(NumberReading::ReadSigned<long long>(bytes), SignedReference<long long>(bytes));
        ASSERT_TRUE(SameDouble(NumberReading::ReadDouble(bytes), FloatingReference<unsigned long long>(bytes)));
        float const narrow = NumberReading::ReadFloat(bytes);
        float const expected = static_cast<float>(FloatingReference<unsigned int>(bytes));
        ASSERT_TRUE(std::bit_cast<std::uint32_t>(narrow) == std::bit_cast<std::uint32_t>(expected) ||
                    (std::isnan(narrow) && std::isnan(expected)));
    }
}

} // namespace
} // namespace QELTA
