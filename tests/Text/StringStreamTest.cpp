// Text forms of the plain types: what the StringStream layer adds to the number readers and
// printers, round trips at every width, the other plain types and the input expressions.
#include "Base/Text/StringStream.h"
#include "Base/Text/TypeInfo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

namespace QELTA {
namespace {

template <class T>
std::string Print(T const & value) {
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    return std::string(out.view().data(), out.view().size());
}

template <class T>
T Read(char const * text, T start = T{}) {
    String const owned(text); // zero-terminated, as the readers require
    T value = start;
    StringStream<T>::fromString(owned, value);
    return value;
}

// Each type reads with the rules of its own width, long and int64_t with the 64-bit ones.
TEST(StringStreamTest, IntegersKeepTheirOwnWidth) {
    EXPECT_EQ(Read<unsigned char>("256"), 255);
    EXPECT_EQ(Read<unsigned char>("300"), 44);
    EXPECT_EQ(Read<short>("65535"), -32768);
    EXPECT_EQ(Read<int>("  12"), INT32_MIN);
    EXPECT_EQ(Read<int>("4294967295"), INT32_MIN);
    EXPECT_EQ(Read<long>("18446744073709551614"), -2);
    EXPECT_EQ(Read<unsigned long>("184467440737095516141"), UINT64_MAX);
}

// Every value prints as the standard library does and reads back, except that Invalid prints as
// "NaN" for all types but unsigned char and the unsigned 64-bit types; "NaN" reads back as Invalid.
template <class T>
void ExpectIntegerRoundTrips(std::mt19937_64 & random) {
    T const lowest = std::numeric_limits<T>::lowest();
    T const highest = std::numeric_limits<T>::max();
    std::vector<T> values = {lowest, static_cast<T>(lowest + 1), 0, static_cast<T>(-1), static_cast<T>(highest - 1),
                             highest};
    for (int i = 0; i < 20000; ++i) {
        values.push_back(static_cast<T>(random() >> (random() % 64))); // all magnitudes
    }
    for (T const value : values) {
        bool const shown_as_nan = value == IntegerStringStream<T>::invalid && !std::is_same_v<T, unsigned char> &&
                                  !(std::is_unsigned_v<T> && sizeof(T) == 8);
        std::string const text = Print<T>(value);
        ASSERT_EQ(text, shown_as_nan ? "NaN" : std::to_string(value));
        ASSERT_EQ(Read<T>(text.c_str()), value) << text;
    }
}

template <class... T>
void ExpectIntegerRoundTripsFor() {
    std::mt19937_64 random(20261121);
    (ExpectIntegerRoundTrips<T>(random), ...);
}

TEST(StringStreamTest, IntegerRoundTripsForEveryWidth) {
    ExpectIntegerRoundTripsFor<signed char, unsigned char, short, unsigned short, int, unsigned int, long long,
                               unsigned long long, std::int64_t, std::uint64_t>();
}

// NaN prints for float too, which prints through double and reads its integer part in 32 bits.
TEST(StringStreamTest, FloatingPointTexts) {
    EXPECT_EQ(Print<double>(std::numeric_limits<double>::quiet_NaN()), "NaN");
    EXPECT_EQ(Print<float>(std::numeric_limits<float>::quiet_NaN()), "NaN");
    EXPECT_EQ(Print<float>(0.1f), "0.10000000149011612");
    EXPECT_EQ(Read<double>("-1.25e2x"), -125.0);
    EXPECT_TRUE(std::isnan(Read<double>("Invalid")));
    EXPECT_EQ(Read<double>("4294967296"), 4294967296.0);
    EXPECT_TRUE(std::isnan(Read<float>("4294967296")));
}

TEST(StringStreamTest, BooleansReadByTheirFirstByte) {
    for (char const * text : {"T", "t", "1", "true"}) {
        EXPECT_TRUE(Read<bool>(text, false)) << text;
    }
    for (char const * text : {"Y", "y", "F", "", "0", " T"}) {
        EXPECT_FALSE(Read<bool>(text, true)) << text;
    }
    EXPECT_EQ(Print<bool>(true) + Print<bool>(false), "TF");
    unsigned char byte = 0;
    BitReference bit(&byte, 3);
    StringStream<BitReference>::fromString(StringView("t"), bit);
    EXPECT_EQ(byte, 8);
    EXPECT_EQ(Print<BitReference>(bit), "T");
    EXPECT_EQ(Print<BitFlag>(BitFlag{200}), "200");
}

TEST(StringStreamTest, CharactersAndWideCharacters) {
    EXPECT_EQ(Read<char>("xy"), 'x');
    EXPECT_EQ(Read<char>("", 'q'), 0);
    EXPECT_EQ(Read<wchar_t>("\xC3\xA9t"), wchar_t(0xE9));
    EXPECT_EQ(Read<wchar_t>("", L'k'), L'k'); // an empty text keeps the old value
    EXPECT_EQ(Print<wchar_t>(L'A'), "A");
    EXPECT_EQ(Print<wchar_t>(wchar_t(0xE9)), "\xC3\xA9");
    // From 0x800 on: first and last UTF-8 bytes as decimal numbers around the raw middle byte.
    EXPECT_EQ(Print<wchar_t>(wchar_t(0x20AC)), std::string("226\x82") + "172");
}

TEST(StringStreamTest, TextsCopyOrBorrowAsTheyAre) {
    char const * literal = "as is, \"unquoted\"";
    StringAllocatingView out;
    StringStream<char const *>::toString(literal, out);
    EXPECT_EQ(out.view().data(), literal); // an empty target borrows
    StringStream<String>::toString(String(" and more"), out);
    EXPECT_EQ(std::string(out.view().data(), out.view().size()), "as is, \"unquoted\" and more");
    StringAllocatingView nothing;
    StringStream<char const *>::toString(nullptr, nothing);
    EXPECT_EQ(nothing.view().size(), 0u);

    String const source("borrowed");
    StringView view;
    StringStream<StringView>::fromString(source, view);
    EXPECT_EQ(view.data(), source.data());
    char * copy = nullptr;
    StringStream<char *>::fromString(source, copy);
    EXPECT_STREQ(copy, "borrowed");
    EXPECT_NE(copy, source.data());
    delete[] copy;

    std::wstring wide;
    StringStream<std::wstring>::fromString(StringView("\xC3\xA9x"), wide);
    EXPECT_EQ(wide, std::wstring(L"\u00E9x"));
    EXPECT_EQ(Print<std::wstring>(wide), "\xC3\xA9x");
}

// The integer expressions admit exactly the values that are not Invalid, and unsigned char 255.
template <class T>
void ExpectRegexAdmitsValidRange(long long low, long long high) {
    std::regex const pattern(StringStream<T>::getValidRegex());
    for (long long value = low; value <= high; ++value) {
        bool const valid =
            value >= std::numeric_limits<T>::lowest() && value <= std::numeric_limits<T>::max() &&
            (value != static_cast<long long>(IntegerStringStream<T>::invalid) || std::is_same_v<T, unsigned char>);
        SCOPED_TRACE(value);
        EXPECT_EQ(std::regex_match(std::to_string(value), pattern), valid);
    }
    EXPECT_TRUE(std::regex_match("+1", pattern));
    EXPECT_FALSE(std::regex_match("1 ", pattern));
}

TEST(StringStreamTest, IntegerExpressionsMatchTheirRanges) {
    ExpectRegexAdmitsValidRange<signed char>(-300, 300);
    ExpectRegexAdmitsValidRange<unsigned char>(-300, 300);
    ExpectRegexAdmitsValidRange<short>(-32800, -32700);
    ExpectRegexAdmitsValidRange<short>(32700, 32800);
    ExpectRegexAdmitsValidRange<unsigned short>(65500, 65600);
    ExpectRegexAdmitsValidRange<int>(2147483600LL, 2147483700LL);
    ExpectRegexAdmitsValidRange<unsigned int>(4294967200LL, 4294967300LL);
}

TEST(StringStreamTest, FloatExpressionAdmitsReadableNumbers) {
    std::regex const pattern(StringStream<double>::getValidRegex());
    for (char const * good : {"1", "-1.5", "+.5", "1e10", "2.5E-3", "Invalid", "nan", ""}) {
        EXPECT_TRUE(std::regex_match(good, pattern)) << good;
    }
    for (char const * bad : {"1.5.", "e", "1e", "--1", "NaN"}) {
        EXPECT_FALSE(std::regex_match(bad, pattern)) << bad;
    }
}

TEST(TypeInfoRegexTest, PicksTheExpressionFromTheDescription) {
    using R = TypeInfoRegex;
    TypeInfo vector = TypeInfo::Of<float>();
    vector.vector_size = 3;
    TypeInfo text;
    text.is_string = true;
    struct Row {
        TypeInfo info;
        char const * expected;
    } const rows[] = {
        // clang-format off
        {TypeInfo::Of<bool>(), R::bool_regex}, {vector, R::any_regex}, {text, R::any_regex},
        {TypeInfo::Of<float>(), R::float_regex}, {TypeInfo::Of<double>(), R::float_regex},
        {TypeInfo::Of<long double>(), R::any_regex}, {TypeInfo::Of<signed char>(), R::int8_regex},
        {TypeInfo::Of<unsigned char>(), R::uint8_regex}, {TypeInfo::Of<short>(), R::int16_regex},
        {TypeInfo::Of<unsigned short>(), R::uint16_regex}, {TypeInfo::Of<int>(), R::int32_regex},
        {TypeInfo::Of<unsigned int>(), R::uint32_regex}, {TypeInfo::Of<long long>(), R::int64_regex},
        {TypeInfo::Of<unsigned long long>(), R::uint64_regex},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_STREQ(R::ValidRegex(row.info), row.expected);
    }
}

TEST(TypeInfoTextTest, RoundTripsAndReadsMissingFieldsAsZero) {
    TypeInfo text_type;
    text_type.vector_size = 1;
    text_type.is_string = true;
    TypeInfo odd;
    odd.total_size = 70000;
    odd.byte_size = 65535;
    odd.extra_flag_1 = true;
    odd.is_bool = true;
    for (TypeInfo const & info : {TypeInfo::Of<double>(), TypeInfo::Of<unsigned short>(), text_type, odd, TypeInfo()}) {
        StringAllocatingView text;
        StringStream<TypeInfo>::toString(info, text);
        TypeInfo back;
        StringStream<TypeInfo>::fromString(text.view(), back);
        EXPECT_TRUE(back == info) << std::string(text.view().data(), text.view().size());
    }
    StringAllocatingView text;
    StringStream<TypeInfo>::toString(TypeInfo::Of<int>(), text);
    EXPECT_EQ(std::string(text.view().data(), text.view().size()), "4,4,1,T,F,F,F,F,F,F");

    struct Row {
        char const * text;
        TypeInfo expected;
    };
    TypeInfo sized;
    sized.total_size = 8;
    TypeInfo flagged = sized;
    flagged.is_number = true;
    flagged.is_unsigned = true;
    Row const rows[] = {{"", TypeInfo()}, {"8,x,70000", sized}, {"8,0,0,t,1,N", flagged}, {"-8", TypeInfo()}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        TypeInfo read = TypeInfo::Of<double>();
        StringStream<TypeInfo>::fromString(StringView(row.text), read);
        EXPECT_TRUE(read == row.expected);
    }
}

} // namespace
} // namespace QELTA
