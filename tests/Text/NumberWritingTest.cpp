// NumberWriting: integer texts against the standard library, the exact double texts of each
// layout, the fast double printer held to the plain one, and round trips through the reader.
#include "Base/Text/Internal/NumberWriting.h"

#include "Base/Text/Internal/NumberReading.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

// Writes into a buffer of exactly the promised room.
template <unsigned int Room, class V>
std::string Written(unsigned int (*write)(V, char *) noexcept, V value) {
    char out[Room];
    return std::string(out, write(value, out));
}

std::string Double(double value) {
    return Written<NumberWriting::max_double_length>(NumberWriting::WriteDouble, value);
}

template <class T>
std::string StandardText(T value) {
    char out[32];
    return std::string(out, std::to_chars(out, out + sizeof(out), value).ptr);
}

// Distance in representable doubles, for finite values of the same sign.
std::uint64_t UlpDistance(double a, double b) {
    auto const ordered = [](double value) {
        std::int64_t const bits = std::bit_cast<std::int64_t>(value);
        return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
    };
    std::int64_t const x = ordered(a);
    std::int64_t const y = ordered(b);
    return x > y ? static_cast<std::uint64_t>(x) - static_cast<std::uint64_t>(y)
                 : static_cast<std::uint64_t>(y) - static_cast<std::uint64_t>(x);
}

TEST(NumberWritingTest, IntegersMatchToChars) {
    std::vector<unsigned long long> values = {1ULL << 63, ~0ULL};
    for (unsigned long long power = 1; power != 0; power = power <= ~0ULL / 10 ? power * 10 : 0) {
        values.insert(values.end(), {power - 1, power, power + 1});
    }
    std::mt19937_64 random(11);
    for (int index = 0; index < 200000; ++index) {
        values.push_back(random() >> (random() % 64));
    }
    for (unsigned long long const value : values) {
        auto const as_signed = static_cast<long long>(value);
        ASSERT_EQ(Written<NumberWriting::max_integer_length>(NumberWriting::WriteUnsigned, value), StandardText(value));
        ASSERT_EQ(Written<NumberWriting::max_integer_length>(NumberWriting::WriteSigned, as_signed),
                  StandardText(as_signed));
        auto const negated = -static_cast<long long>(value >> 1);
        ASSERT_EQ(Written<NumberWriting::max_integer_length>(NumberWriting::WriteSigned, negated),
                  StandardText(negated));
    }
}

// A value equal to its 64-bit truncation prints that integer's digits, unless its low 32 bits
// are 0x80000000 or it lies outside the range of long long; those take the digit generator,
// which shows only the digits that identify the value and fills the integer positions with '0'.
// With k the decimal exponent of the first digit: -5 to -1 "0.000ddd"; 0 to 20 positional; -20
// to -6 "d.ddde-k"; from |k| = 21 on the digits after the point are cut, not rounded, to 9 and
// the zeros the cut leaves are dropped. A last digit that double arithmetic raises past 9
// carries into the digits before it. A float prints its value widened to double.
TEST(NumberWritingTest, DoubleTexts) {
    struct Row {
        double value;
        char const * expected;
    } const rows[] = {
        // clang-format off
        {INFINITY, "Infinity"}, {-INFINITY, "-Infinity"}, {std::bit_cast<double>(0x7FF8000000000000ULL), "NaN"},
        {std::bit_cast<double>(0xFFF8000000000000ULL), "NaN"}, {std::bit_cast<double>(0x7FF0000000000001ULL), "NaN"},
        {0.0, "0"}, {-0.0, "0"}, {-1.0, "-1"}, {1e15, "1000000000000000"}, {4294967296.0, "4294967296"},
        {-0x1p60, "-1152921504606846976"}, {9223372036854774784.0, "9223372036854774784"},
        {-0x1p63, "-9223372036854775808"}, {2147483648.0, "2147483648"}, {-2147483648.0, "-2147483648"},
        {6442450944.0, "6442450944"}, {0x1p60 + 0x1p31, "1152921506754330600"}, {0x1p63, "9223372036854776000"},
        {-0x1p64, "-18446744073709552000"},
        {0.5, "0.5"}, {0.001, "0.001"}, {-0.001, "-0.001"}, {0.00001, "0.00001"}, {0.000012345, "0.000012345"},
        {0.1, "0.1"}, {-1.5, "-1.5"}, {123.456, "123.456"}, {1.0000000000000002, "1.0000000000000002"},
        {1.2345e19, "12345000000000000000"}, {1e20, "100000000000000000000"}, {1.5e20, "150000000000000000000"},
        {0.000001, "1e-6"}, {1.5e-6, "1.5e-6"}, {1e-7, "1e-7"}, {-1e-7, "-1e-7"}, {1e-20, "1e-20"},
        {9.5367431640625e-7, "9.5367431640625e-7"}, {1.25e-20, "1.25e-20"},
        {1e21, "1e+21"}, {-1.5e21, "-1.5e+21"}, {3e24, "3e+24"}, {1e100, "1e+100"}, {2e-21, "2e-21"},
        {5e-310, "5e-310"}, {5e-324, "5e-324"}, {1.7976931348623157e308, "1.797693134e+308"},
        {2.2250738585072014e-308, "2.225073858e-308"}, {1.2345678901234567e25, "1.23456789e+25"},
        {9.999999999e25, "9.999999999e+25"}, {1.0000000001e30, "1e+30"}, {-1.23456789012e-30, "-1.23456789e-30"},
        {1e-21, "9.999999999e-22"}, {8.41e21, "8.409999999e+21"},
        {8.7e-27, "8.7e-27"}, {3.3e-24, "3.3e-24"}, {4e-21, "4e-21"},
        {0.1F, "0.10000000149011612"}, {0.3F, "0.30000001192092896"}, {1.1F, "1.100000023841858"},
        {16777216.0F, "16777216"}, {3.4028235e38F, "3.402823466e+38"},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(Double(row.value), row.expected);
    }
}

// Doubles: generated values

std::vector<double> PrinterInputs() {
    std::mt19937_64 random(20240612);
    std::vector<double> values;
    auto const add = [&values](double value) {
        if (std::isfinite(value)) {
            values.insert(values.end(), {value, -value});
        }
    };
    auto const add_around = [&add](double value) {
        add(value);
        add(std::nextafter(value, 0.0));
        add(std::nextafter(value, INFINITY));
    };
    auto const decimal = [](unsigned long long mantissa, int exponent) {
        char text[40];
        std::snprintf(text, sizeof(text), "%llue%d", mantissa, exponent);
        return std::strtod(text, nullptr);
    };
    for (int index = 0; index < 60000; ++index) {
        add(std::bit_cast<double>(random()));
    }
    for (int index = 0; index < 60000; ++index) {
        add(decimal(random() % 100000000, static_cast<int>(random() % 80) - 40)); // short decimals
    }
    for (int index = 0; index < 20000; ++index) {
        add(std::bit_cast<double>(random() & ((std::uint64_t{1} << 52) - 1))); // subnormal
        add(static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(random()) & 0x7F7FFFFFU)));
    }
    for (double const center : {0x1p52, 0x1p53, 0x1p54, 0x1p62, 0x1p63, 0x1p64, 0x1p31, 0x1p32}) {
        double below = center;
        double above = center;
        for (int step = 0; step < 2000; ++step) {
            add(below);
            add(above);
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, INFINITY);
        }
    }
    for (int exponent = -1074; exponent <= 1023; ++exponent) {
        add_around(std::ldexp(1.0, exponent));
    }
    for (int exponent = -323; exponent <= 308; ++exponent) {
        add_around(decimal(1, exponent));
    }
    // Round values from 10^15 on, where the digits end exactly and R/S meets whole numbers.
    for (int exponent = 15; exponent <= 308; ++exponent) {
        for (unsigned long long mantissa = 1; mantissa < 100; ++mantissa) {
            add_around(decimal(mantissa, exponent));
        }
    }
    for (long long multiple = -100; multiple <= 100; ++multiple) {
        add(static_cast<double>(multiple) * 0x1p31);
    }
    return values;
}

TEST(NumberWritingTest, FastPrinterMatchesReference) {
    for (double const value : PrinterInputs()) {
        ASSERT_EQ(Double(value), Written<NumberWriting::max_double_length>(NumberWriting::WriteDoubleReference, value))
            << std::hexfloat << value;
    }
}

// The generated digits identify the value up to the error of double arithmetic: the text lies
// at most two doubles away (the rounding of R, carried through the digit loop, stays below a
// margin, half the distance to the next double); the cut forms keep 10 digits. ReadDouble is
// not correctly rounded and keeps 19 fraction digits, so a text reads back within a few doubles
// rather than exactly; integers read back exactly.
TEST(NumberWritingTest, DoubleTextsDenoteTheValueAndReadBack) {
    for (double const value : PrinterInputs()) {
        std::string const text = Double(value);
        SCOPED_TRACE(text);
        ASSERT_LE(text.size(), NumberWriting::max_double_length);
        double const denoted = std::strtod(text.c_str(), nullptr);
        double const back = NumberReading::ReadDouble(text.c_str());
        double const magnitude = std::fabs(value);
        bool const integer = magnitude < 0x1p63 && std::trunc(value) == value;
        if (magnitude >= 1e-20 && magnitude < 1e21) {
            ASSERT_LE(UlpDistance(denoted, value), 2U) << std::hexfloat << value;
        } else {
            ASSERT_LE(std::fabs(denoted - value), magnitude * 1.000001e-9) << std::hexfloat << value;
        }
        if (integer && (static_cast<std::uint64_t>(static_cast<long long>(value)) & 0xFFFFFFFFU) != 0x80000000U) {
            ASSERT_EQ(text, StandardText(static_cast<long long>(value)));
        }
        if (integer) {
            ASSERT_EQ(back, value);
        } else if (magnitude >= 1e-20 && magnitude < 1e19) {
            // Up to four roundings in the reader, two doubles from the printer, and 1e-19 for
            // the fraction digits beyond the 19th.
            double const ulp = std::nextafter(magnitude, INFINITY) - magnitude;
            ASSERT_LE(std::fabs(back - value), 6 * ulp + 1e-19) << std::hexfloat << value;
        } else if (magnitude >= 1e21 || (magnitude < 1e-20 && magnitude >= 1e-308)) {
            ASSERT_LE(std::fabs(back - value), magnitude * 1.000001e-9) << std::hexfloat << value;
        }
    }
}

} // namespace
} // namespace QELTA
