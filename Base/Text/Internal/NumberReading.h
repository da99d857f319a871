// NumberReading: the number readers behind StringStream, working on raw zero-terminated bytes.
//
// All functions are static, reentrant and allocation-free; they keep no state. They read from the
// pointer until the first byte that cannot continue the number and never look at a size, so the
// text must end in such a byte (a String always does). They never skip white space and never
// raise: text that cannot be read gives the type's Invalid value, that is all bits set for the
// unsigned types, the lowest value for the signed types and a quiet NaN for float and double.
// The rules, including their oddities, are a stored format and must not change.
#pragma once

#include <limits>
#include <type_traits>

namespace QELTA {

struct NumberReading {
    // The number of digits an unsigned type of this size reads at most: 3, 5, 10 or 20.
    template <class T>
    static constexpr unsigned int max_digits = sizeof(T) == 1   ? 3
                                               : sizeof(T) == 2 ? 5
                                               : sizeof(T) == 4 ? 10
                                                                : 20;

    // Reads an optional '+' and then decimal digits. No digit, a '-', a wrap at the last possible
    // digit, or a byte from '1' to '8' right behind the last possible digit gives all bits set. A
    // '0' or '9' in that place is not taken as overflow and ends the number; stored files depend
    // on this rule. The last digit is added in the type's width and only a result below the value
    // before it counts as a wrap, so "256" as unsigned char is Invalid but "300" reads as 44.
    template <class T>
    static T ReadUnsigned(char const * text) noexcept {
        return ReadUnsignedAt<T>(text);
    }

    // ReadUnsigned, moving `text` behind what was read: behind the last digit taken, behind all
    // the digits of a number too large for the type, and nowhere when no digit was found.
    template <class T>
    static T ReadUnsignedAt(char const *& text) noexcept {
        static_assert(std::is_unsigned_v<T> && !std::is_same_v<T, bool>);
        if (text == nullptr) {
            return std::numeric_limits<T>::max();
        }
        char const * digits = text + (*text == '+');
        T value = 0;
        if (!ReadDigits(digits, value)) {
            SkipDigitsAfter(text, digits);
            return std::numeric_limits<T>::max();
        }
        text = digits;
        return value;
    }

    // Reads an optional '+' or '-' and then the magnitude with the rules of ReadUnsigned, in the
    // unsigned type of the same size (which again skips one '+': "-+5" reads as -5). A magnitude
    // with all bits set gives the lowest value, Invalid. Otherwise the magnitude, negated for
    // '-', is taken modulo 2^bits: "200" as signed char reads as -56.
    template <class T>
    static T ReadSigned(char const * text) noexcept {
        return ReadSignedAt<T>(text);
    }

    // ReadSigned, moving `text` as ReadUnsignedAt does; nowhere when no digit was found.
    template <class T>
    static T ReadSignedAt(char const *& text) noexcept {
        static_assert(std::is_signed_v<T> && std::is_integral_v<T>);
        using Magnitude = std::make_unsigned_t<T>;
        if (text == nullptr) {
            return std::numeric_limits<T>::lowest();
        }
        bool const negative = *text == '-';
        char const * rest = text + (negative || *text == '+');
        char const * const start = rest;
        Magnitude const magnitude = ReadUnsignedAt<Magnitude>(rest);
        if (rest != start) {
            text = rest;
        }
        if (magnitude == std::numeric_limits<Magnitude>::max()) {
            return std::numeric_limits<T>::lowest();
        }
        return static_cast<T>(negative ? static_cast<Magnitude>(0U - magnitude) : magnitude);
    }

    // Reads "[+-][+]digits[.digits][(e|E)[+-]digits]". The integer part is read as an unsigned
    // 64-bit value with the digit rule of ReadUnsigned (and no further '+'); no digit there, or a
    // part that reads as all bits set, gives NaN. When the text starts with '.' (after the signs) the integer part
    // is 0: ".5" and "-.5" read, "." alone reads as 0. A fraction needs a digit right after the
    // '.' ("5.e3" reads as 5); its first 19 digits form F, which is added as F × 10^-n with n
    // the digits taken, and further digits are skipped. The exponent is read with the unsigned
    // short rule, so an exponent without digits counts as 65535. 10^e is the product of two
    // table entries for e up to 308, and infinity (or 0 for 10^-e) from 309 on; "0e400" is NaN.
    // The sign is applied last. The result is built in double arithmetic and is not always the
    // double nearest to the text ("0.3" reads as 0.30000000000000004); that is the stored
    // format, do not replace it by a correctly rounding reader.
    static double ReadDouble(char const * text) noexcept { return ReadFloating<unsigned long long>(text); }

    // The rules of ReadDouble, except that the integer part is read in 32 bits and gives NaN when
    // it does not fit: unlike the unsigned int reader, whose weak wrap check lets "9999999999"
    // through as 1410065407, the last possible digit is checked against the full 32-bit range.
    // The value is built in double and rounded to float once, at the end.
    static float ReadFloat(char const * text) noexcept { return static_cast<float>(ReadFloating<unsigned int>(text)); }

    // ReadDouble and ReadFloat, moving `text` behind what was read: behind the exponent, the
    // fraction or the integer part, whichever came last; behind the digits of an integer part
    // too large; nowhere when no digit was found.
    static double ReadDoubleAt(char const *& text) noexcept { return ReadFloating<unsigned long long>(text, 0); }
    static float ReadFloatAt(char const *& text) noexcept {
        return static_cast<float>(ReadFloating<unsigned int>(text, 0));
    }

    // The integer of a delimited field: an optional sign ('-' only for signed types; a '+' may
    // follow the first sign, as in ReadSigned) and all the digits that follow. A value outside
    // the type's range, or none at all, gives Invalid (all bits set for unsigned types, the
    // lowest value for signed ones). `text` moves behind every digit, also those of a value too
    // large, and nowhere when no digit was found. Unlike ReadSigned and ReadUnsigned this has no
    // digit limit and no wrap: "300" as unsigned char is Invalid, and "0001" reads as 1.
    template <class T>
    static T ReadBoundedAt(char const *& text) noexcept {
        static_assert(std::is_integral_v<T> && !std::is_same_v<T, bool>);
        constexpr T invalid = std::is_signed_v<T> ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
        if (text == nullptr) {
            return invalid;
        }
        char const * digits = text;
        bool negative = false;
        if constexpr (std::is_signed_v<T>) {
            negative = *digits == '-';
            digits += negative || *digits == '+';
        }
        digits += *digits == '+';
        if (DigitAt(digits) > 9) {
            return invalid;
        }
        // Largest magnitude the type can take; anything above it is out of range.
        constexpr unsigned long long positive_limit = static_cast<unsigned long long>(std::numeric_limits<T>::max());
        constexpr unsigned long long negative_limit = positive_limit + (std::is_signed_v<T> ? 1 : 0);
        unsigned long long const limit = negative ? negative_limit : positive_limit;
        unsigned long long magnitude = 0;
        bool too_large = false;
        for (unsigned int digit = DigitAt(digits); digit <= 9; digit = DigitAt(++digits)) {
            if (too_large || magnitude > (limit - digit) / 10) {
                too_large = true;
            } else {
                magnitude = magnitude * 10 + digit;
            }
        }
        text = digits;
        if (too_large) {
            return invalid;
        }
        if (negative) {
            return static_cast<T>(0 - static_cast<std::make_unsigned_t<T>>(magnitude));
        }
        return static_cast<T>(magnitude);
    }

    // Keeps a product rounded on its own, so that a compiler allowed to contract does not fuse it
    // with the addition or subtraction that follows into one fused multiply-add, which would round differently.
    static double Rounded(double value) noexcept {
#if defined(__GNUC__) && defined(__x86_64__)
        __asm__("" : "+x"(value));
#elif defined(__GNUC__) && defined(__aarch64__)
        __asm__("" : "+w"(value));
#endif
        return value;
    }

  private:
    static constexpr double powers[8] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7};
    static constexpr double powers_of_8[39] = {1e0,   1e8,   1e16,  1e24,  1e32,  1e40,  1e48,  1e56,  1e64,  1e72,
                                               1e80,  1e88,  1e96,  1e104, 1e112, 1e120, 1e128, 1e136, 1e144, 1e152,
                                               1e160, 1e168, 1e176, 1e184, 1e192, 1e200, 1e208, 1e216, 1e224, 1e232,
                                               1e240, 1e248, 1e256, 1e264, 1e272, 1e280, 1e288, 1e296, 1e304};
    static constexpr double negative_powers[8] = {1e-0, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7};
    static constexpr double negative_powers_of_8[39] = {
        1e-0,   1e-8,   1e-16,  1e-24,  1e-32,  1e-40,  1e-48,  1e-56,  1e-64,  1e-72,  1e-80,  1e-88,  1e-96,
        1e-104, 1e-112, 1e-120, 1e-128, 1e-136, 1e-144, 1e-152, 1e-160, 1e-168, 1e-176, 1e-184, 1e-192, 1e-200,
        1e-208, 1e-216, 1e-224, 1e-232, 1e-240, 1e-248, 1e-256, 1e-264, 1e-272, 1e-280, 1e-288, 1e-296, 1e-304};
    static constexpr double fraction_scales[20] = {1e-0,  1e-1,  1e-2,  1e-3,  1e-4,  1e-5,  1e-6,
                                                   1e-7,  1e-8,  1e-9,  1e-10, 1e-11, 1e-12, 1e-13,
                                                   1e-14, 1e-15, 1e-16, 1e-17, 1e-18, 1e-19};
    static constexpr unsigned int max_fraction_digits = 19;
    static constexpr unsigned int max_table_exponent = 308;

    static unsigned int DigitAt(char const * text) noexcept {
        return static_cast<unsigned int>(static_cast<unsigned char>(*text)) - '0';
    }

    // The digit rule, from the first byte that must be a digit. Returns false for Invalid; on
    // success `text` points behind the last digit taken. Digits before the last possible one
    // cannot overflow, so the loop has a fixed bound and no checks, and unrolls completely.
    // With `full_range_check` the last possible digit must keep the value within T; without it
    // only a result below the value before it counts as a wrap, the stored rule of the readers.
    template <class T, bool full_range_check = false>
    static bool ReadDigits(char const *& text, T & value) noexcept {
        using Work = std::conditional_t<(sizeof(T) <= sizeof(unsigned int)), unsigned int, unsigned long long>;
        constexpr unsigned int last = max_digits<T> - 1;
        char const * const begin = text;
        unsigned int digit = DigitAt(begin);
        if (digit > 9) {
            return false;
        }
        Work work = digit;
#pragma GCC unroll 20
        for (unsigned int index = 1; index < last; ++index) {
            digit = DigitAt(begin + index);
            if (digit > 9) {
                text = begin + index;
                value = static_cast<T>(work);
                return true;
            }
            work = work * 10 + digit;
        }
        digit = DigitAt(begin + last);
        if (digit > 9) {
            text = begin + last;
            value = static_cast<T>(work);
            return true;
        }
        T const before = static_cast<T>(work);
        T const after = static_cast<T>(work * 10 + digit);
        if constexpr (full_range_check) {
            static_assert(sizeof(T) < sizeof(unsigned long long), "the check widens to 64 bits");
            if (static_cast<unsigned long long>(work) * 10 + digit > std::numeric_limits<T>::max()) {
                return false;
            }
        }
        if (after < before || DigitAt(begin + last + 1) - 1 < 8) {
            return false;
        }
        text = begin + last + 1;
        value = after;
        return true;
    }

    // Moves `end` behind the digits from `digits` on, when there is at least one.
    static void SkipDigitsAfter(char const *& end, char const * digits) noexcept {
        if (DigitAt(digits) > 9) {
            return;
        }
        while (DigitAt(digits) <= 9) {
            ++digits;
        }
        end = digits;
    }

    template <class Integer>
    static double ReadFloating(char const * text) noexcept {
        return ReadFloating<Integer>(text, 0);
    }

    // The second argument only tells this form, which moves `end`, from the one above.
    template <class Integer>
    static double ReadFloating(char const *& end, int) noexcept {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        char const * text = end;
        if (text == nullptr) {
            return nan;
        }
        bool negative = false;
        if (*text == '-' || *text == '+') {
            negative = *text == '-';
            ++text;
            text += *text == '+';
        }
        double value = 0.0;
        if (*text != '.') {
            Integer integer = 0;
            char const * const digits = text;
            constexpr bool narrow = sizeof(Integer) < sizeof(unsigned long long);
            if (!ReadDigits<Integer, narrow>(text, integer) || integer == std::numeric_limits<Integer>::max()) {
                SkipDigitsAfter(end, digits);
                return nan;
            }
            value = static_cast<double>(integer);
        }
        if (*text == '.' && DigitAt(text + 1) <= 9) {
            ++text;
            unsigned long long fraction = 0;
            unsigned int count = 0;
            unsigned int digit = DigitAt(text);
            while (digit <= 9 && count < max_fraction_digits) {
                fraction = fraction * 10 + digit;
                ++count;
                digit = DigitAt(text + count);
            }
            text += count;
            while (DigitAt(text) <= 9) {
                ++text;
            }
            value = value + Rounded(static_cast<double>(fraction) * fraction_scales[count]);
        }
        if ((*text | 0x20) == 'e') {
            ++text;
            bool const negative_exponent = *text == '-';
            text += negative_exponent || *text == '+';
            unsigned short exponent = 0;
            if (!ReadDigits(text, exponent)) {
                exponent = std::numeric_limits<unsigned short>::max();
            }
            double power = 0.0;
            if (exponent <= max_table_exponent) {
                power = negative_exponent ? negative_powers[exponent & 7] * negative_powers_of_8[exponent >> 3]
                                          : powers[exponent & 7] * powers_of_8[exponent >> 3];
            } else if (!negative_exponent) {
                power = std::numeric_limits<double>::infinity();
            }
            value *= power;
        }
        end = text;
        return negative ? -value : value;
    }
};

} // namespace QELTA
