// UnitText: the number texts, round steps and two-part texts that the unit classes share.
//
// Plain functions with no state and no lock; nothing raises. Texts that hold no number read as
// NaN, and NaN or out-of-range values truncate as the processor's conversion does.
#pragma once

#include "Base/Text/Internal/NumberReading.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cmath>
#include <cstdint>
#include <cstring>

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

// Walks a short compound text from its start, number by number and abbreviation by
// abbreviation, in a terminated copy of it. Where each number is followed by its abbreviation,
// this finds what the search for each abbreviation finds, in one pass; anything else is left to
// that search.
class PartWalk {
  public:
    static constexpr unsigned int max_size = 63;

    explicit PartWalk(StringView const & text) noexcept : fits_(text.size() <= max_size) {
        if (fits_) {
            std::memcpy(copy_, text.data() == nullptr ? "" : text.data(), text.size());
            end_ = copy_ + text.size();
        }
        *end_ = 0;
    }

    // False for a text longer than max_size, which is not copied.
    bool fits() const noexcept { return fits_; }

    // The number here, read as ReadNumber reads it, moving behind it; false when nothing was read.
    bool number(double & value) noexcept {
        char const * const start = at_;
        value = NumberReading::ReadDoubleAt(at_);
        return at_ != start;
    }

    // Moves behind `abbreviation` when the text goes on with it here.
    bool follows(StringView const & abbreviation) noexcept {
        unsigned int const size = abbreviation.size();
        if (static_cast<unsigned int>(end_ - at_) < size) {
            return false;
        }
        for (unsigned int i = 0; i < size; ++i) {
            if (at_[i] != abbreviation[i]) {
                return false;
            }
        }
        at_ += size;
        return true;
    }

    // Moves behind blanks, tabs and carriage returns.
    void skipBlanks() noexcept {
        while (StringView::IsWhiteSpace(*at_)) {
            ++at_;
        }
    }

    // Whether the first place of `abbreviation` in a text can be found by walking to it: it is
    // not empty and begins with a byte that no number and no blank holds.
    static bool Walkable(StringView const & abbreviation) noexcept {
        if (abbreviation.isEmpty()) {
            return false;
        }
        char const first = abbreviation[0];
        return !StringView::IsNumeric(first) && (first | 0x20) != 'e' && !StringView::IsWhiteSpace(first);
    }

  private:
    char copy_[max_size + 1];
    char const * at_ = copy_;
    char * end_ = copy_;
    bool fits_;
};

// `result` with `part` / `parts` added, or taken away when `result` is below 0; a NaN part
// changes nothing.
inline double AddPart(double result, double part, double parts) noexcept {
    if (std::isnan(part)) {
        return result;
    }
    return result < 0.0 ? result - part / parts : result + part / parts;
}

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

    // The value of a major and a minor number, either of which may be NaN.
    double combined(double major_value, double minor_value) const noexcept;
};

} // namespace QELTA::UnitText
