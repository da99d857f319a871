// The number texts, round steps and two-part texts of the unit classes.
#include "Base/Units/Internal/UnitText.h"

#include "Base/Text/Internal/NumberReading.h"
#include "Base/Text/Internal/NumberWriting.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace QELTA::UnitText {
namespace {

constexpr char decimal_point[] = ".";
constexpr char zero_text[] = "0";
constexpr char minus_text[] = "-";
constexpr char major_substitute = ';';

// Longest number text read from the stack; longer texts are copied to the heap.
constexpr unsigned int stack_text_size = 64;

// Doubles from -2^63 up to, not including, 2^63 truncate to a 64-bit integer.
constexpr double int64_limit = 9223372036854775808.0;

std::uint32_t DigitCount(unsigned long long value) noexcept {
    std::uint32_t digits = 1;
    while (value >= 10) {
        value /= 10;
        ++digits;
    }
    return digits;
}

std::uint32_t LessOrZero(std::uint32_t value, std::uint32_t less) noexcept {
    return value > less ? value - less : 0;
}

} // namespace

void SetNumber(double value, String & out) {
    char digits[NumberWriting::max_double_length];
    unsigned int const length = NumberWriting::WriteDouble(value, digits);
    out.clear();
    out.append(StringView(digits, length));
}

void AppendInteger(long long value, String & out) {
    if (value == std::numeric_limits<long long>::lowest()) {
        out.append(NumberWriting::nan_text);
        return;
    }
    char digits[NumberWriting::max_integer_length];
    out.append(StringView(digits, NumberWriting::WriteSigned(value, digits)));
}

double ReadNumber(StringView const & text) {
    // The reader stops only at a byte that cannot continue a number, so it reads a terminated copy.
    if (text.size() < stack_text_size) {
        char copy[stack_text_size];
        if (text.size() != 0) {
            std::memcpy(copy, text.data(), text.size());
        }
        copy[text.size()] = 0;
        return NumberReading::ReadDouble(copy);
    }
    String const copy(text);
    return NumberReading::ReadDouble(copy.c_str());
}

long long Truncate(double value) noexcept {
    if (!(value >= -int64_limit && value < int64_limit)) {
        return std::numeric_limits<long long>::lowest();
    }
    return static_cast<long long>(value);
}

bool RoundStep(double value, double & step, double & power) noexcept {
    if (!std::isfinite(value) || value == 0.0) {
        return false;
    }
    double l = std::log10(std::fabs(value));
    if (l < 0.0) {
        l -= 1.0;
    }
    power = std::pow(10.0, static_cast<int>(l));
    double const m = value / power;
    // A negative value has a negative m, fails the first three rules and always steps by 10;
    // existing grids are laid out by that rule, so it stays.
    if (std::fabs(m - 1.0) <= 0.75) {
        step = 1.0;
    } else if (std::fabs(m - 2.5) <= 0.75) {
        step = 2.5;
    } else if (std::fabs(m - 5.0) <= 1.75) {
        step = 5.0;
    } else {
        step = 10.0;
    }
    return true;
}

std::uint32_t PartDigits(double parts) noexcept {
    // 10^n reaches infinity by n = 309, where any count stops the search.
    std::uint32_t n = 1;
    double power = 10.0;
    while (power / parts < 1.0 && n < 400) {
        ++n;
        power *= 10.0;
    }
    return n;
}

void TwoParts::write(String & out, double value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
                     std::uint32_t min_digits) const {
    long long whole = Truncate(value);
    std::uint32_t const sub_min = LessOrZero(min_decimals, part_digits);
    std::uint32_t const sub_max = LessOrZero(max_decimals, part_digits);
    unsigned long long const magnitude =
        whole < 0 ? 0ull - static_cast<unsigned long long>(whole) : static_cast<unsigned long long>(whole);
    std::uint32_t const pad = LessOrZero(min_digits, DigitCount(magnitude));

    String minor_text;
    SetNumber(std::fmod(std::fabs(value), 1.0) * parts, minor_text);
    minor_text.formatNumberString(false, sub_min, sub_max, pad, '.', ',');
    double shown = NumberReading::ReadDouble(minor_text.c_str());
    if (shown >= parts) {
        // Rounding filled the major unit: 5.9999 feet with no decimals is 6' and not 5'12".
        minor_text.clear();
        minor_text.append(zero_text);
        minor_text.formatNumberString(add_comma, sub_min, sub_max, 0, '.', ',');
        shown = 0.0;
        if (value < 0.0) {
            whole -= whole == std::numeric_limits<long long>::lowest() ? 0 : 1;
        } else {
            whole += whole == std::numeric_limits<long long>::max() ? 0 : 1;
        }
    }

    out.clear();
    if (whole == 0) {
        if (value < 0.0 && shown != 0.0) {
            out.append(minus_text);
        }
        out.append(minor_text);
        out.append(minor);
        return;
    }
    AppendInteger(whole, out);
    if (add_comma) {
        out.formatNumberString(true, 0, 0, 0, '.', ',');
    }
    out.append(major);
    if (min_decimals != 0 || !(shown == 0.0)) {
        out.append(minor_text);
        out.append(minor);
    }
}

double TwoParts::read(StringView const & text) const {
    if (PartWalk::Walkable(major)) {
        // The number, the major abbreviation right behind it, and a number after blanks: the
        // major abbreviation's first place is there, as its search would find it.
        PartWalk walk(text);
        double major_value = 0.0;
        double minor_value = 0.0;
        if (walk.fits() && walk.number(major_value) && walk.follows(major)) {
            walk.skipBlanks();
            if (walk.number(minor_value)) {
                return combined(major_value, minor_value);
            }
        }
    }
    unsigned int separator = 0;
    unsigned int separator_size = 0;
    if (!major.isEmpty()) {
        separator = text.indexOf(major);
        separator_size = major.size();
        if (separator == StringView::not_found) {
            separator = text.indexOf(major_substitute);
            separator_size = 1;
        }
    }
    bool const has_separator = separator != StringView::not_found;
    unsigned int const minor_start = has_separator ? separator + separator_size : 0;
    bool const has_minor = !minor.isEmpty() && text.indexOf(minor, false, minor_start) != StringView::not_found;
    if (!has_separator) {
        return has_minor ? ReadNumber(text) / parts : ReadNumber(text);
    }
    StringView rest = text.substr(minor_start);
    if (!has_minor && rest.isEmpty()) {
        return ReadNumber(text);
    }
    rest.trimWhiteSpace();
    return combined(ReadNumber(text), ReadNumber(rest));
}

double TwoParts::combined(double major_value, double minor_value) const noexcept {
    if (std::isnan(major_value)) {
        return minor_value / parts;
    }
    // "-0'6"" reads as +0.5: -0 is not below 0. Stored texts were read so.
    return AddPart(major_value, minor_value, parts);
}

StringView TwoParts::nextSeparator(StringView const & text, StringView const & last) const {
    if (text.isEmpty()) {
        return decimal_point;
    }
    unsigned int const substitutes = last.count(major_substitute);
    if (minor.isEmpty() || last.hasSubString(minor) || substitutes >= 2) {
        return StringView();
    }
    if (!major.isEmpty() && substitutes == 0 && !last.hasSubString(major)) {
        return major;
    }
    return last.indexOf('.') != StringView::not_found ? minor : StringView(decimal_point);
}

} // namespace QELTA::UnitText
