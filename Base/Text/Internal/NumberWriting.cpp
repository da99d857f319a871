// Decimal printing of integers and doubles.
#include "Base/Text/Internal/NumberWriting.h"

#include "Base/Text/Internal/NumberReading.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace QELTA {
namespace {

constexpr char digit_pairs[] = "00010203040506070809"
                               "10111213141516171819"
                               "20212223242526272829"
                               "30313233343536373839"
                               "40414243444546474849"
                               "50515253545556575859"
                               "60616263646566676869"
                               "70717273747576777879"
                               "80818283848586878889"
                               "90919293949596979899";

// 0, then 10^1 to 10^19: a value of `guess` digits or more is at least decimal_limits[guess].
constexpr std::array<unsigned long long, 20> MakeDecimalLimits() {
    std::array<unsigned long long, 20> limits{};
    unsigned long long power = 10;
    for (std::size_t index = 1; index < limits.size(); ++index) {
        limits[index] = power;
        power = index + 1 < limits.size() ? power * 10 : power;
    }
    return limits;
}

constexpr std::array<unsigned long long, 20> decimal_limits = MakeDecimalLimits();

unsigned int DecimalLength(unsigned long long value) noexcept {
    // floor(log10(2^bits)) through 1233/4096, then one comparison to settle it.
    int const bits = 64 - std::countl_zero(value | 1);
    unsigned int const guess = static_cast<unsigned int>(bits * 1233) >> 12;
    return guess + (value >= decimal_limits[guess] ? 1 : 0);
}

// Writes exactly `length` digits of `value`, the last one at out[length - 1].
void WriteDigits(unsigned long long value, unsigned int length, char * out) noexcept {
    char * end = out + length;
    while (value >= 100) {
        unsigned long long const pair = value % 100;
        value /= 100;
        end -= 2;
        std::memcpy(end, digit_pairs + pair * 2, 2);
    }
    if (value >= 10) {
        std::memcpy(end - 2, digit_pairs + value * 2, 2);
    } else {
        end[-1] = static_cast<char>('0' + value);
    }
}

constexpr char infinity_text[] = "Infinity";
constexpr char negative_infinity_text[] = "-Infinity";

template <unsigned int Size>
unsigned int WriteLiteral(char const (&text)[Size], char * out) noexcept {
    std::memcpy(out, text, Size - 1);
    return Size - 1;
}

// A power of ten rounded to double: 10^n = significand × 2^binary_exponent, significand in [1, 2).
struct DecimalPower {
    double significand;
    int binary_exponent;
};

// 10^0 to 10^323, beyond the range of double at the top, so that every value, the subnormal
// ones included, is scaled by one correctly rounded power. Built exactly from 5^n in 32-bit limbs.
constexpr int decimal_power_count = 324;

constexpr std::array<DecimalPower, decimal_power_count> MakeDecimalPowers() {
    std::array<DecimalPower, decimal_power_count> powers{};
    std::uint32_t limbs[24] = {1};
    int used = 1;
    auto const bit = [&limbs](int index) { return (limbs[index / 32] >> (index % 32)) & 1U; };
    for (int power = 0; power < decimal_power_count; ++power) {
        int length = 32 * (used - 1) + (32 - std::countl_zero(limbs[used - 1]));
        int const lowest = length - 53;
        std::uint64_t mantissa = 0;
        for (int index = length - 1; index >= (lowest > 0 ? lowest : 0); --index) {
            mantissa = mantissa * 2 + bit(index);
        }
        if (lowest < 0) {
            mantissa <<= -lowest;
        } else if (lowest > 0) {
            bool sticky = false;
            for (int index = 0; index < lowest - 1; ++index) {
                sticky = sticky || bit(index) != 0;
            }
            if (bit(lowest - 1) != 0 && (sticky || (mantissa & 1) != 0)) {
                ++mantissa;
            }
            if (mantissa == std::uint64_t{1} << 53) {
                mantissa >>= 1;
                ++length;
            }
        }
        powers[power] = {static_cast<double>(mantissa) / 0x1p52, power + length - 1};
        std::uint64_t carry = 0;
        for (int index = 0; index < used; ++index) {
            std::uint64_t const product = std::uint64_t{limbs[index]} * 5 + carry;
            limbs[index] = static_cast<std::uint32_t>(product);
            carry = product >> 32;
        }
        if (carry != 0) {
            limbs[used++] = static_cast<std::uint32_t>(carry);
        }
    }
    return powers;
}

constexpr std::array<DecimalPower, decimal_power_count> decimal_powers = MakeDecimalPowers();

constexpr double PowerValue(DecimalPower power) {
    double value = power.significand;
    for (int step = 0; step < power.binary_exponent; ++step) {
        value *= 2;
    }
    return value;
}

static_assert(PowerValue(decimal_powers[0]) == 1e0 && PowerValue(decimal_powers[1]) == 1e1 &&
              PowerValue(decimal_powers[22]) == 1e22 && PowerValue(decimal_powers[23]) == 1e23 &&
              PowerValue(decimal_powers[37]) == 1e37 && PowerValue(decimal_powers[200]) == 1e200 &&
              PowerValue(decimal_powers[307]) == 1e307 && PowerValue(decimal_powers[308]) == 1e308);

// 2^exponent for exponent from -1022 to 1023.
double PowerOfTwo(int exponent) noexcept {
    return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

// The first estimate of the decimal exponent, for floor(log2(value)) = log2.
constexpr double log10_of_2 = 0.3010299956639812;

int EstimateReference(int log2) noexcept {
    return static_cast<int>(std::ceil(log2 * log10_of_2 - 1e-10));
}

// The same estimate in integers: L·log10(2) is never within 1e-10 of an integer for L ≠ 0 in
// the range of double, and floor(L·log10(2)) = (L·78913) >> 18 there.
constexpr int Estimate(int log2) noexcept {
    return log2 == 0 ? 0 : ((log2 * 78913) >> 18) + 1;
}

constexpr bool EstimateMatchesReference() {
    for (int log2 = -1075; log2 <= 1024; ++log2) {
        double const estimate = log2 * log10_of_2 - 1e-10;
        int const truncated = static_cast<int>(estimate);
        int const rounded_up = truncated + (estimate > truncated ? 1 : 0);
        if (rounded_up != Estimate(log2)) {
            return false;
        }
    }
    return true;
}
static_assert(EstimateMatchesReference());

// The digits as generated; the last may have reached 10 through rounding in double arithmetic.
// M- starts at no less than 2^-54·S and grows tenfold a digit, so the low test holds by the
// 18th digit; the bound only guards the buffers.
constexpr unsigned int max_generated_digits = 20;

struct GeneratedDigits {
    int digits[max_generated_digits];
    unsigned int count;
    int exponent; // decimal exponent of the first digit
};

// The end of one step of the digit loop, once the remainder R of the digit is known: the digit is
// stored, and true means generation ends (the low test alone, or both tests and 2R below S, keep
// the digit; otherwise it is one higher). The digit bound only guards the buffer.
bool PlaceDigit(GeneratedDigits & result, int digit, double r, double s, double m_high, double m_low,
                bool inclusive) noexcept {
    bool const low = inclusive ? r <= m_low : r < m_low;
    bool const high = inclusive ? r + m_high >= s : r + m_high > s;
    if (!low && !high && result.count + 1 < max_generated_digits) {
        result.digits[result.count++] = digit;
        return false;
    }
    bool const stands = low && (!high || 2 * r < s);
    result.digits[result.count++] = stands ? digit : digit + 1;
    return true;
}

// The shortest digits that identify a positive finite value: free-format generation after
// Steele and White, carried out in double arithmetic step by step. Both limits are inclusive
// when f is even.
//
// frexp gives value = f × 2^e with f an integer of `bits` significant bits: 53 for a normal
// value, fewer for a subnormal one (whose e is then -1074). R/S is the value and M+, M- are
// half the distances to the neighbouring doubles: R = 2f, S = 2^(1-e), M+ = M- = 1, or at an
// exact power of two, where the lower neighbour is twice as close, R = 4f, S = 2^(2-e), M+ = 2,
// M- = 1. These would leave the range of double for the largest and smallest values, so every
// quantity carries a common factor 2^c, chosen per value, which changes no quotient, comparison
// or rounding: the result is that of these steps in 53-bit arithmetic whatever the exponent.
// 10^k is the correctly rounded power. The loss of precision in R × 10 makes the last digits
// differ from the exact shortest form for about half of all doubles; that is the stored format.
GeneratedDigits ShortestDigitsReference(double value) noexcept {
    int frexp_exponent = 0;
    double const fraction = std::frexp(value, &frexp_exponent);
    double mantissa = 0;
    int exponent = 0;
    int bits = 0;
    if (frexp_exponent >= -1021) {
        mantissa = std::ldexp(fraction, 53);
        exponent = frexp_exponent - 53;
        bits = 53;
    } else {
        mantissa = std::ldexp(fraction, frexp_exponent + 1074);
        exponent = -1074;
        bits = frexp_exponent + 1074;
    }
    bool const inclusive = std::fmod(mantissa, 2.0) == 0.0;
    bool const doubled = mantissa == 0x1p52 && exponent > -1074;
    double const numerator = doubled ? 4 * mantissa : 2 * mantissa;
    int const denominator_exponent = doubled ? 2 - exponent : 1 - exponent; // S = 2^denominator_exponent
    double const high_margin = doubled ? 2.0 : 1.0;
    double const low_margin = 1.0;

    int decimal_exponent = EstimateReference(bits + exponent - 1);
    double r = 0;
    double s = 0;
    double m_high = 0;
    double m_low = 0;
    if (decimal_exponent >= 0) {
        // S × 10^k is exact: S is a power of two. Common factor 2^-(log2 S + binary exponent of 10^k).
        DecimalPower const power = decimal_powers[static_cast<unsigned int>(decimal_exponent)];
        int const scale = -(denominator_exponent + power.binary_exponent);
        s = power.significand;
        r = std::ldexp(numerator, scale);
        m_high = std::ldexp(high_margin, scale);
        m_low = std::ldexp(low_margin, scale);
    } else {
        // R, M+ and M- times 10^-k; only R × 10^-k rounds. Common factor 2^-(log2 S).
        DecimalPower const power = decimal_powers[static_cast<unsigned int>(-decimal_exponent)];
        int const scale = power.binary_exponent - denominator_exponent;
        s = 1.0;
        r = std::ldexp(numerator * power.significand, scale);
        m_high = std::ldexp(high_margin * power.significand, scale);
        m_low = std::ldexp(low_margin * power.significand, scale);
    }
    // The estimate is the exponent of the first digit or one above it.
    bool const reaches = inclusive ? r + m_high >= s : r + m_high > s;
    if (!reaches) {
        --decimal_exponent;
        r *= 10;
        m_high *= 10;
        m_low *= 10;
    }

    GeneratedDigits result{};
    result.exponent = decimal_exponent;
    for (;;) {
        // The digit is the number of whole S that fmod takes away, so that digit·S + fmod(R, S)
        // is R. Truncating the rounded quotient R/S instead gives one more whenever R/S lies just
        // below a whole number, and then 5e21 would print as 6e+21.
        double const remainder = std::fmod(r, s);
        int const digit = static_cast<int>(std::lround((r - remainder) / s));
        r = remainder;
        if (PlaceDigit(result, digit, r, s, m_high, m_low, inclusive)) {
            return result;
        }
        r *= 10;
        m_high *= 10;
        m_low *= 10;
    }
}

// The digit loop of ShortestDigitsReference with fmod replaced by an exact remainder, in
// doubles. Used for the rare start with R below 1 (a first digit of 0).
void GenerateDigitsInDoubles(GeneratedDigits & result, double r, double s, double m_high, double m_low,
                             bool inclusive) noexcept {
    // S split so that d·S can be formed exactly for a digit d below 16: high_part keeps 49
    // significant bits, low_part the other 4.
    double const high_part = std::bit_cast<double>(std::bit_cast<std::uint64_t>(s) & ~std::uint64_t{0xF});
    double const low_part = s - high_part;
    for (;;) {
        // The rounded quotient truncates to floor(R/S) or one above it. R - d·S is then exact:
        // R - product by Sterbenz's lemma, and the result is representable. A negative
        // remainder means the digit was one above; fmod's remainder is then one S more.
        int digit = static_cast<int>(r / s);
        double const factor = digit;
        double const product = NumberReading::Rounded(factor * s);
        double const product_error = (factor * high_part - product) + factor * low_part;
        double remainder = (r - product) - product_error;
        if (remainder < 0) {
            remainder += s;
            --digit;
        }
        r = remainder;
        if (PlaceDigit(result, digit, r, s, m_high, m_low, inclusive)) {
            return;
        }
        r *= 10;
        m_high *= 10;
        m_low *= 10;
    }
}

__extension__ typedef unsigned __int128 UnsignedWide;

// The digit loop of ShortestDigitsReference in 64-bit integers, for S in [1, 2) and R from 1 to
// below 32. Counted in units of 2^-52, S and every R are whole numbers below 2^57: R is at least
// 1, so its last place is at least 2^-52, and fmod's remainder keeps that unit. Each step then
// is exact integer work: the quotient and remainder by a reciprocal, and 10·R rounded to 53
// significant bits, half to even, as the double product rounds. The margins stay doubles, and
// the tests compare exactly what the double loop compares.
void GenerateDigitsInIntegers(GeneratedDigits & result, double r, double s, double m_high, double m_low,
                              bool inclusive) noexcept {
    std::uint64_t const denominator = static_cast<std::uint64_t>(s * 0x1p52);
    std::uint64_t numerator = static_cast<std::uint64_t>(r * 0x1p52);
    // 2^63 / S within a relative 2^-53, so the estimated quotient, below 32, is off by at most one.
    std::uint64_t const reciprocal = static_cast<std::uint64_t>(0x1p63 / s);
    for (;;) {
        auto digit = static_cast<std::int64_t>((static_cast<UnsignedWide>(numerator) * reciprocal) >> 115);
        auto remainder = static_cast<std::int64_t>(numerator - static_cast<std::uint64_t>(digit) * denominator);
        if (remainder < 0) {
            remainder += static_cast<std::int64_t>(denominator);
            --digit;
        } else if (remainder >= static_cast<std::int64_t>(denominator)) {
            remainder -= static_cast<std::int64_t>(denominator);
            ++digit;
        }
        // Exact: the remainder is below 2^57 units of 2^-52, so 2·rest < S is 2·remainder < S's units.
        double const rest = static_cast<double>(remainder) * 0x1p-52;
        if (PlaceDigit(result, static_cast<int>(digit), rest, s, m_high, m_low, inclusive)) {
            return;
        }
        std::uint64_t const tenfold = static_cast<std::uint64_t>(remainder) * 10;
        int const length = 64 - std::countl_zero(tenfold);
        int const excess = length > 53 ? length - 53 : 0;
        std::uint64_t const dropped = (std::uint64_t{1} << excess) - 1;
        std::uint64_t const odd = (tenfold >> excess) & (excess != 0 ? 1 : 0);
        numerator = (tenfold + (dropped >> 1) + odd) & ~dropped;
        m_high *= 10;
        m_low *= 10;
    }
}

// The same steps as ShortestDigitsReference, with the same roundings in the same order: the
// decomposition and all powers of two come from the bits, the estimate from integers, and the
// digit loop runs in integers that reproduce each rounding of the double loop.
GeneratedDigits ShortestDigits(double value) noexcept {
    std::uint64_t const bits = std::bit_cast<std::uint64_t>(value);
    std::uint64_t const fraction = bits & ((std::uint64_t{1} << 52) - 1);
    int const biased = static_cast<int>(bits >> 52);
    std::uint64_t mantissa = 0;
    int exponent = 0;
    int length = 0;
    if (biased != 0) {
        mantissa = fraction | std::uint64_t{1} << 52;
        exponent = biased - 1075;
        length = 53;
    } else {
        mantissa = fraction;
        exponent = -1074;
        length = 64 - std::countl_zero(fraction);
    }
    bool const inclusive = (mantissa & 1) == 0;
    bool const doubled = fraction == 0 && biased > 1;
    double const numerator = static_cast<double>(mantissa << (doubled ? 2 : 1));
    int const denominator_exponent = (doubled ? 2 : 1) - exponent;

    int decimal_exponent = Estimate(length + exponent - 1);
    double r = 0;
    double s = 0;
    double m_high = 0;
    double m_low = 0;
    if (decimal_exponent >= 0) {
        DecimalPower const & power = decimal_powers[static_cast<unsigned int>(decimal_exponent)];
        double const scale = PowerOfTwo(-(denominator_exponent + power.binary_exponent));
        s = power.significand;
        r = numerator * scale;
        m_low = scale;
    } else {
        DecimalPower const & power = decimal_powers[static_cast<unsigned int>(-decimal_exponent)];
        double const scale = PowerOfTwo(power.binary_exponent - denominator_exponent);
        s = 1.0;
        r = (numerator * power.significand) * scale;
        m_low = power.significand * scale;
    }
    m_high = doubled ? 2 * m_low : m_low;
    if (!(inclusive ? r + m_high >= s : r + m_high > s)) {
        --decimal_exponent;
        r *= 10;
        m_high *= 10;
        m_low *= 10;
    }

    GeneratedDigits result{};
    result.exponent = decimal_exponent;
    if (r >= 1) {
        GenerateDigitsInIntegers(result, r, s, m_high, m_low, inclusive);
    } else {
        GenerateDigitsInDoubles(result, r, s, m_high, m_low, inclusive);
    }
    return result;
}

// Turns generated digits into ASCII. A last digit raised past nine, which double arithmetic
// allows, carries into the digits before it ("8, 6, 10" is 8.7), and the zeros the carry leaves
// at the end are dropped. Returns the number of digits; `exponent` grows when the carry runs out.
unsigned int SettleDigits(GeneratedDigits & generated, char * digits) noexcept {
    unsigned int count = generated.count;
    for (unsigned int index = count - 1; index > 0; --index) {
        if (generated.digits[index] >= 10) {
            generated.digits[index] -= 10;
            ++generated.digits[index - 1];
        }
    }
    unsigned int offset = 0;
    if (generated.digits[0] >= 10) {
        generated.digits[0] -= 10;
        digits[0] = '1';
        offset = 1;
        ++generated.exponent;
    }
    for (unsigned int index = 0; index < count; ++index) {
        digits[offset + index] = static_cast<char>('0' + generated.digits[index]);
    }
    count += offset;
    while (count > 1 && digits[count - 1] == '0') {
        --count;
    }
    return count;
}

constexpr int lowest_fraction_exponent = -5;    // from here to -1: "0.000ddd"
constexpr int highest_positional_exponent = 20; // from 0 to here: digits, zero fill, '.' and rest
constexpr int lowest_long_exponent = -20;       // from here to -6: all digits and the exponent
constexpr unsigned int max_cut_digits = 10;     // |k| of 21 or more: the first digit and 9 more

// Lays out `count` digits (count ≥ 1, no trailing '0') with the first digit at 10^exponent.
unsigned int Layout(char const * digits, unsigned int count, int exponent, char * out) noexcept {
    char * cursor = out;
    if (exponent < 0 && exponent >= lowest_fraction_exponent) {
        *cursor++ = '0';
        *cursor++ = '.';
        unsigned int const zeros = static_cast<unsigned int>(-exponent - 1);
        std::memset(cursor, '0', zeros);
        cursor += zeros;
        std::memcpy(cursor, digits, count);
        cursor += count;
        return static_cast<unsigned int>(cursor - out);
    }
    if (exponent >= 0 && exponent <= highest_positional_exponent) {
        unsigned int const integer_digits = static_cast<unsigned int>(exponent) + 1;
        if (count <= integer_digits) {
            std::memcpy(cursor, digits, count);
            std::memset(cursor + count, '0', integer_digits - count);
            return integer_digits;
        }
        std::memcpy(cursor, digits, integer_digits);
        cursor += integer_digits;
        *cursor++ = '.';
        std::memcpy(cursor, digits + integer_digits, count - integer_digits);
        cursor += count - integer_digits;
        return static_cast<unsigned int>(cursor - out);
    }
    // The exponent forms. The cut can leave trailing zeros, which are dropped: they change
    // neither the value nor the exponent, which stays that of the first digit. Deliberate: the
    // stored rule adds one to k for each dropped zero, which would change the value.
    if (exponent < lowest_long_exponent || exponent > highest_positional_exponent) {
        count = count < max_cut_digits ? count : max_cut_digits;
        while (count > 1 && digits[count - 1] == '0') {
            --count;
        }
    }
    *cursor++ = digits[0];
    if (count > 1) {
        *cursor++ = '.';
        std::memcpy(cursor, digits + 1, count - 1);
        cursor += count - 1;
    }
    *cursor++ = 'e';
    if (exponent > 0) {
        *cursor++ = '+';
    }
    cursor += NumberWriting::WriteSigned(exponent, cursor);
    return static_cast<unsigned int>(cursor - out);
}

} // namespace

unsigned int NumberWriting::WriteUnsigned(unsigned long long value, char * out) noexcept {
    unsigned int const length = DecimalLength(value);
    WriteDigits(value, length, out);
    return length;
}

unsigned int NumberWriting::WriteSigned(long long value, char * out) noexcept {
    if (value >= 0) {
        return WriteUnsigned(static_cast<unsigned long long>(value), out);
    }
    *out = '-';
    return 1 + WriteUnsigned(0ULL - static_cast<unsigned long long>(value), out + 1);
}

unsigned int NumberWriting::WriteDouble(double value, char * out) noexcept {
    std::uint64_t const bits = std::bit_cast<std::uint64_t>(value);
    constexpr std::uint64_t exponent_mask = std::uint64_t{0x7FF} << 52;
    if ((bits & exponent_mask) == exponent_mask) {
        if ((bits & ~(exponent_mask | std::uint64_t{1} << 63)) != 0) {
            return WriteLiteral(NumberWriting::nan_text, out);
        }
        return (bits >> 63) != 0 ? WriteLiteral(negative_infinity_text, out) : WriteLiteral(infinity_text, out);
    }
    // The integer path. The conversion is guarded: out of the range of long long the truncation
    // cannot equal the value, which then takes the digit path.
    if (value >= -0x1p63 && value < 0x1p63) {
        long long const integer = static_cast<long long>(value);
        if (static_cast<double>(integer) == value && static_cast<std::uint32_t>(integer) != 0x80000000U) {
            return WriteSigned(integer, out);
        }
    }
    char * cursor = out;
    if ((bits >> 63) != 0) {
        *cursor++ = '-';
        value = -value;
    }
    GeneratedDigits generated = ShortestDigits(value);
    char digits[max_generated_digits + 1];
    unsigned int const count = SettleDigits(generated, digits);
    return static_cast<unsigned int>(cursor - out) + Layout(digits, count, generated.exponent, cursor);
}

unsigned int NumberWriting::WriteDoubleReference(double value, char * out) noexcept {
    if (std::isnan(value)) {
        return WriteLiteral(NumberWriting::nan_text, out);
    }
    if (std::isinf(value)) {
        return value < 0 ? WriteLiteral(negative_infinity_text, out) : WriteLiteral(infinity_text, out);
    }
    if (value >= -0x1p63 && value < 0x1p63) {
        long long const integer = static_cast<long long>(std::trunc(value));
        if (static_cast<double>(integer) == value &&
            (static_cast<unsigned long long>(integer) & 0xFFFFFFFFULL) != 0x80000000ULL) {
            return WriteSigned(integer, out);
        }
    }
    unsigned int length = 0;
    if (value < 0) {
        out[length++] = '-';
        value = -value;
    }
    GeneratedDigits generated = ShortestDigitsReference(value);
    char digits[max_generated_digits + 1];
    unsigned int const count = SettleDigits(generated, digits);
    return length + Layout(digits, count, generated.exponent, out + length);
}

} // namespace QELTA
