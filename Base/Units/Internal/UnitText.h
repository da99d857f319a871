// UnitText: the number texts, round steps and two-part texts that the unit classes share.
//
// Plain functions with no state and no lock; nothing raises. Texts that hold no number read as
// NaN, and NaN or out-of-range values truncate as the processor's conversion does.
#pragma once

#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA::UnitText {

// Replaces `out` by the default text of `value` (the text form of StringStream<double>).
void SetNumber(double value, String & out);

// Appends the text form of a 64-bit integer: its digits, and "NaN" for the lowest value.
void AppendInteger(long long value, String & out);

// The leading number of `text`, read by the rules of StringStream<double>; nothing beyond the
// view is read. No number gives NaN.
double ReadNumber(StringView const & text);

// `value` truncated toward zero. NaN and values outside the 64-bit range give the lowest value,
// as the processor's conversion does, so that they print "NaN".
long long Truncate(double value) noexcept;

// The round step rule of Unit::epsilon on `value`: `power` is the power of ten of its size and
// `step` 1, 2.5, 5 or 10 by how close value / power is to each. A negative value always gets 10.
// False (and nothing set) for 0, an infinity or NaN.
bool RoundStep(double value, double & step, double & power) noexcept;

// The smallest n of at least 1 for which 10^n / parts is not below 1: the digits of the whole
// number of the minor part (2 for 12 and 60, 4 for 3600).
std::uint32_t PartDigits(double parts) noexcept;

// A value shown as a whole major part and a remainder in minor parts ("5'6""), with the texts of
// the two abbreviations as they are shown now.
struct TwoParts {
    StringView major;
    StringView minor;
    double parts;
    std::uint32_t part_digits;

    // Replaces `out` by `value` (in the major unit) in parts, with the formatting arguments of
    // Unit::toString counted from the major unit.
    void write(String & out, double value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
               std::uint32_t min_digits) const;
    // The major value that `text` shows; ";" may stand for the major abbreviation.
    double read(StringView const & text) const;
    // What to type next after `text`, whose last term is `last`.
    StringView nextSeparator(StringView const & text, StringView const & last) const;
};

} // namespace QELTA::UnitText
