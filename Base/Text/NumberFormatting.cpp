// Number text: decimal rounding and layout of a number that is already text, and column letters.
#include "Base/Text/Internal/NumberWriting.h"
#include "Base/Text/String.h"

#include <cstring>

namespace QELTA {
namespace {

constexpr unsigned int scratch_size = 64;
constexpr unsigned int no_run = 0xFFFFFFFF;
// Longest result that is built; anything longer cannot be held and reports as too big.
constexpr unsigned long long max_result_size = 0x7FFFFFFF;

char const zero_block[scratch_size + 1] = "0000000000000000000000000000000000000000000000000000000000000000";

void AppendZeros(String & out, unsigned long long count) {
    while (count != 0) {
        unsigned int const part = count < scratch_size ? static_cast<unsigned int>(count) : scratch_size;
        out.append(zero_block, part);
        count -= part;
    }
}

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

} // namespace

String & String::formatNumberString(unsigned int decimals) {
    return formatNumberString(false, decimals, decimals, 0, '.', ',');
}

String & String::formatNumberString(bool add_comma, unsigned int decimals) {
    return formatNumberString(add_comma, decimals, decimals, 0, '.', ',');
}

String & String::formatNumberString(bool add_comma, unsigned int min_decimals, unsigned int max_decimals,
                                    unsigned int min_digits, char decimal, char comma) {
    if (!add_comma && min_decimals == 0 && min_digits == 0 && max_decimals > size_) {
        return *this;
    }

    unsigned long long exponent = 0;
    unsigned int end = size_;
    unsigned int const e_at = indexOf("e", true);
    if (e_at != not_found) {
        if (e_at + 1 < size_ && data_[e_at + 1] == '-') {
            *this = "0";
            end = size_;
        } else {
            end = e_at;
            for (unsigned int i = e_at + 1; i < size_; ++i) {
                char const c = data_[i];
                if (c == '+') {
                    continue;
                }
                if (!IsDigit(c)) {
                    *this = NumberWriting::nan_text;
                    return *this;
                }
                if (exponent <= max_result_size) { // saturates; such a text is refused below anyway
                    exponent = exponent * 10 + static_cast<unsigned int>(c - '0');
                }
            }
        }
    }

    bool const negative = size_ != 0 && data_[0] == '-';

    // Position 0 holds the carry digit; the integer digits follow from position 1, then the fraction.
    char scratch[scratch_size];
    std::memset(scratch, '0', sizeof(scratch));
    unsigned int integer_digits = 0;
    unsigned int fraction_digits = 0;
    bool in_fraction = false;
    bool seen_digit = false;
    unsigned int zeros_start = no_run;
    unsigned int nines_start = no_run;
    bool carried = false;

    // Every byte that can continue the walk is ASCII, so a byte from 0x80 up ends it whatever
    // character it starts.
    for (unsigned int i = negative ? 1 : 0; i < end; ++i) {
        char const c = data_[i];
        if (in_fraction && fraction_digits == max_decimals) {
            if (!IsDigit(c)) {
                *this = NumberWriting::nan_text;
                return *this;
            }
            if (c >= '5') {
                unsigned int const kept = integer_digits + fraction_digits;
                if (nines_start == no_run) {
                    if (kept == 0) {
                        // Ends here, without the sign or the minimum digits ("-0.5" gives "1"):
                        // texts were always rounded so, and this stays.
                        *this = "1";
                        return *this;
                    }
                    ++scratch[kept];
                    zeros_start = no_run;
                } else {
                    if (nines_start == 1) {
                        scratch[0] = '1';
                        carried = true;
                    } else {
                        ++scratch[nines_start - 1];
                    }
                    std::memset(scratch + nines_start, '0', kept + 1 - nines_start);
                    if (nines_start > integer_digits) {
                        fraction_digits = nines_start - integer_digits - 1;
                    }
                }
            }
            break;
        }
        if (c == ',') {
            continue;
        }
        if (c == '.') {
            if (in_fraction) {
                break;
            }
            in_fraction = true;
            continue;
        }
        if ((c == 'I' || c == 'i') && integer_digits + fraction_digits == 0 && !in_fraction && i + 2 < end &&
            data_[i + 1] == 'n' && data_[i + 2] == 'f') {
            *this = negative ? "-Inf" : "Inf";
            return *this;
        }
        if (!IsDigit(c)) {
            break;
        }
        if (c == '0' && !seen_digit && !in_fraction) {
            continue;
        }
        seen_digit = true;
        unsigned int const position = integer_digits + fraction_digits + 1;
        if (position >= scratch_size) {
            if (in_fraction) {
                break;
            }
            *this = negative ? "SMALL" : "BIG";
            return *this;
        }
        scratch[position] = c;
        if (in_fraction) {
            ++fraction_digits;
        } else {
            ++integer_digits;
        }
        if (c == '9') {
            nines_start = nines_start == no_run ? position : nines_start;
            zeros_start = no_run;
        } else if (c == '0') {
            zeros_start = in_fraction && zeros_start == no_run ? position : zeros_start;
            nines_start = no_run;
        } else {
            zeros_start = no_run;
            nines_start = no_run;
        }
    }
    if (zeros_start != no_run) {
        fraction_digits = zeros_start - integer_digits - 1;
    }

    // The carry digit, when set, becomes the first integer digit.
    char const * const integer_text = carried ? scratch : scratch + 1;
    unsigned int const shown_integer = integer_digits + (carried ? 1 : 0);
    unsigned long long const layout_integer = shown_integer == 0 ? 1 : shown_integer;
    char const * const fraction_text = scratch + 1 + integer_digits;

    unsigned long long shown_decimals = min_decimals > (max_decimals < fraction_digits ? max_decimals : fraction_digits)
                                            ? min_decimals
                                            : (max_decimals < fraction_digits ? max_decimals : fraction_digits);
    unsigned long long leading_zeros = 0;
    if (min_digits > shown_decimals + layout_integer) {
        unsigned long long const missing = min_digits - shown_decimals - layout_integer;
        unsigned long long const room = max_decimals > shown_decimals ? max_decimals - shown_decimals : 0;
        shown_decimals += missing < room ? missing : room;
        leading_zeros = min_digits > shown_decimals + layout_integer ? min_digits - shown_decimals - layout_integer : 0;
    }
    bool const show_sign = negative && shown_integer + fraction_digits != 0;

    unsigned long long const result_size = (show_sign ? 1 : 0) + leading_zeros + 2 * layout_integer +
                                           (shown_integer == 0 ? 0 : exponent) + 1 + shown_decimals;
    if (result_size > max_result_size) {
        *this = negative ? "SMALL" : "BIG";
        return *this;
    }

    String out;
    out.ensureCapacity(static_cast<unsigned int>(result_size));
    if (show_sign) {
        out.append('-');
    }
    AppendZeros(out, leading_zeros);
    if (shown_integer == 0) {
        out.append('0');
    } else {
        for (unsigned int i = 0; i < shown_integer; ++i) {
            if (add_comma && i != 0 && (shown_integer - i) % 3 == 0) {
                out.append(comma);
            }
            out.append(integer_text[i]);
        }
        AppendZeros(out, exponent);
    }
    if (shown_decimals != 0) {
        out.append(decimal);
        out.append(fraction_text, fraction_digits);
        AppendZeros(out, shown_decimals - fraction_digits);
    }
    *this = std::move(out);
    return *this;
}

String String::NumberString(double value, bool add_comma, unsigned int min_decimals, unsigned int max_decimals,
                            unsigned int min_digits, char decimal, char comma) {
    char printed[NumberWriting::max_double_length];
    String text(printed, NumberWriting::WriteDouble(value, printed));
    text.formatNumberString(add_comma, min_decimals, max_decimals, min_digits, decimal, comma);
    return text;
}

String String::ToAlphaString(unsigned int n) {
    if (n == 0xFFFFFFFF) {
        return String();
    }
    char letters[8];
    unsigned int count = 0;
    while (true) {
        letters[sizeof(letters) - 1 - count++] = static_cast<char>('A' + n % 26);
        n /= 26;
        if (n == 0) {
            break;
        }
        --n;
    }
    return String(letters + sizeof(letters) - count, count);
}

} // namespace QELTA
