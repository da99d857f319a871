// Angle units: orientation per axis, and the texts of degrees, minutes and seconds.
#include "Base/Units/AngleUnit.h"

#include "Base/Language/Translator.h"
#include "Base/Text/Internal/NumberReading.h"
#include "Base/Units/Internal/UnitText.h"

#include <cmath>
#include <limits>

namespace QELTA {
namespace {

constexpr char const * orientation_axis_texts[3] = {"Roll", "Inclination", "Heading"};

constexpr char decimal_point[] = ".";
constexpr char zero_text[] = "0";
constexpr char minus_text[] = "-";
constexpr char part_substitute = ';';

// 100 / 3600: a hundredth of a degree in the seconds of the packed form.
constexpr double packed_seconds = 0.027777777777777776;
constexpr double packed_minor_parts = 3600.0;
// A remainder of the minutes' hundredths above this is a whole minute (seconds stop at 0.60).
constexpr double packed_whole_minute = 0.99;
// Degrees from here on do not fit the 32-bit degrees of the packed text.
constexpr double packed_degree_limit = 2147483648.0;

// Rounds of ten that the search for a part step may take: more than a double's range.
constexpr unsigned int max_step_search = 700;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr long long int64_lowest = std::numeric_limits<long long>::lowest();

std::uint32_t LessOrZero(std::uint32_t value, std::uint32_t less) noexcept {
    return value > less ? value - less : 0;
}

// The length of the text form of `value`, "NaN" for the lowest value.
std::uint32_t TextLength(long long value) noexcept {
    if (value == int64_lowest) {
        return 3;
    }
    std::uint32_t length = value < 0 ? 2 : 1;
    for (unsigned long long rest = value < 0 ? 0ull - static_cast<unsigned long long>(value) : value; rest >= 10;
         rest /= 10) {
        ++length;
    }
    return length;
}

// Where an abbreviation of a compound text was found, searching from `start`; an empty
// abbreviation counts as found there with no length, and ";" may stand for one that allows it.
struct Separator {
    unsigned int position = StringView::not_found;
    unsigned int end = 0;

    bool found() const noexcept { return position != StringView::not_found; }

    static Separator Find(StringView const & text, StringView const & abbreviation, unsigned int start,
                          bool substitute) noexcept {
        Separator separator;
        if (abbreviation.isEmpty()) {
            separator.position = start;
            separator.end = start;
            return separator;
        }
        separator.position = text.indexOf(abbreviation, false, start);
        unsigned int size = abbreviation.size();
        if (separator.position == StringView::not_found && substitute) {
            separator.position = text.indexOf(part_substitute, start);
            size = 1;
        }
        if (separator.found()) {
            separator.end = separator.position + size;
        }
        return separator;
    }
};

// The leading number of a piece of a compound text, after blanks, tabs and carriage returns.
double PieceNumber(StringView piece) {
    piece.trimWhiteSpace();
    return UnitText::ReadNumber(piece);
}

} // namespace

// AngleUnit

AngleUnit::AngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
                     double factor)
    : ScaledUnit(name, label, abbreviation, factor), max_angle_(Vector<3, double>::Filled(full_turn)),
      zero_point_(Vector<3, double>::Filled(nan)) {}

AngleUnit::AngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
                     double factor, Vector<3, bool> const & wrapped, Vector<3, double> const & max_angle,
                     Vector<3, double> const & zero_point, Vector<3, bool> const & reversed)
    : ScaledUnit(name, label, abbreviation, factor), max_angle_(max_angle), zero_point_(zero_point), wrapped_(wrapped),
      reversed_(reversed) {
    for (unsigned int axis = 0; axis < 3; ++axis) {
        axis_names_[axis] =
            TranslatedString(Translator::DefaultID(orientation_axis_texts[axis]), orientation_axis_texts[axis]);
        axis_abbreviations_[axis] = axis_names_[axis];
    }
}

double AngleUnit::normalize(double value, std::uint8_t axis) const {
    if (axis > 2) {
        return value;
    }
    if (!wrapped_[axis]) {
        return reversed_[axis] ? -value : value;
    }
    double const zero = zero_point_[axis];
    double v = std::fmod(value, circle_);
    if (!std::isnan(zero)) {
        v -= zero;
    }
    if (v > max_angle_[axis]) {
        v -= circle_;
    }
    if (reversed_[axis]) {
        v = -v;
    }
    v = std::fmod(v, circle_);
    if (v < 0.0 && (std::isnan(zero) || zero > 0.0)) {
        v += circle_;
    }
    return v;
}

double AngleUnit::denormalize(double value, std::uint8_t axis) const {
    if (axis > 2) {
        return value;
    }
    double v = reversed_[axis] ? -value : value;
    if (!wrapped_[axis]) {
        return v;
    }
    double const zero = zero_point_[axis];
    if (!std::isnan(zero)) {
        v += zero;
    }
    v = std::fmod(v, circle_);
    if (v < 0.0 && (std::isnan(zero) || zero > 0.0)) {
        v += circle_;
    }
    return v;
}

Unit::Ray AngleUnit::convertToUnit(Ray const & base) const {
    double const f = factor();
    return Ray(normalize(base[0], 0) * f, normalize(base[1], 1) * f, normalize(base[2], 2) * f);
}

Unit::Vertex AngleUnit::convertToUnit(Vertex const & base) const {
    double const f = factor();
    return Vertex(normalize(base[0], 0) * f, normalize(base[1], 1) * f, normalize(base[2], 2) * f);
}

double AngleUnit::convertToUnit(double const & value, std::uint8_t axis) const {
    return normalize(value, axis) * factor();
}

Unit::Ray AngleUnit::convertFromUnit(Ray const & in_unit) const {
    double const f = factor();
    return Ray(denormalize(in_unit[0] / f, 0), denormalize(in_unit[1] / f, 1), denormalize(in_unit[2] / f, 2));
}

Unit::Vertex AngleUnit::convertFromUnit(Vertex const & in_unit) const {
    double const f = factor();
    return Vertex(denormalize(in_unit[0] / f, 0), denormalize(in_unit[1] / f, 1), denormalize(in_unit[2] / f, 2));
}

double AngleUnit::convertFromUnit(double const & value, std::uint8_t axis) const {
    return denormalize(value / factor(), axis);
}

double AngleUnit::epsilon(double value, std::uint8_t /*axis*/) const {
    return value / factor();
}

Unit * AngleUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new AngleUnit(name, label, abbreviation(0), factor(), wrapped_, max_angle_, zero_point_, reversed_);
}

double AngleUnit::partEpsilon(double value, std::uint8_t axis, double parts) const {
    double const u = convertToUnit(value, axis);
    if (value > 1.0) {
        return Unit::epsilon(value, 0);
    }
    // s overflows to infinity within max_step_search rounds, where any u but 0 reaches 1 and
    // infinity times 0 is NaN, which is not below 1; the bound holds for a count of 0 too.
    double s = parts;
    for (unsigned int round = 0; std::fabs(s * u) < 1.0 && round < max_step_search; ++round) {
        s *= 10.0;
    }
    double const step = 1.0 / s;
    return convertFromUnit(step - std::fmod(u, step) + u, 0);
}

// TwoPartAngleUnit

TwoPartAngleUnit::TwoPartAngleUnit(StringView const & name, TranslatedString const & label,
                                   TranslatedString const & major_abbreviation,
                                   TranslatedString const & minor_abbreviation, double parts, AngleUnit const & unit)
    : TwoPartAngleUnit(name, label, major_abbreviation, minor_abbreviation, parts, unit.factor(), unit.wrapped(),
                       unit.maxAngle(), unit.zeroPoint(), unit.reversed()) {}

TwoPartAngleUnit::TwoPartAngleUnit(StringView const & name, TranslatedString const & label,
                                   TranslatedString const & major_abbreviation,
                                   TranslatedString const & minor_abbreviation, double parts, double factor,
                                   Vector<3, bool> const & wrapped, Vector<3, double> max_angle,
                                   Vector<3, double> zero_point, Vector<3, bool> reversed)
    : AngleUnit(name, label, major_abbreviation, factor, wrapped, max_angle, zero_point, reversed),
      major_abbreviation_(major_abbreviation), minor_abbreviation_(minor_abbreviation), parts_(parts),
      part_digits_(UnitText::PartDigits(parts)) {}

void TwoPartAngleUnit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                                std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                                std::uint8_t axis) const {
    if (!add_abbreviation) {
        Unit::toString(out, value, add_comma, min_decimals, max_decimals, min_digits, false, axis);
        return;
    }
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    texts.write(out, value, add_comma, min_decimals, max_decimals, min_digits);
}

double TwoPartAngleUnit::fromString(StringView const & text, std::uint8_t /*axis*/) const {
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    return texts.read(text);
}

StringView TwoPartAngleUnit::getNextPreferredSeparator(StringView const & text, std::uint8_t /*axis*/) const {
    StringViewBuffer const pieces = OperatorSplit(text);
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    return texts.nextSeparator(text, pieces[pieces.size() - 1]);
}

double TwoPartAngleUnit::epsilon(double value, std::uint8_t axis) const {
    return partEpsilon(value, axis, parts_);
}

Unit * TwoPartAngleUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new TwoPartAngleUnit(name, label, major_abbreviation_, minor_abbreviation_, parts_, factor(), wrapped_,
                                max_angle_, zero_point_, reversed_);
}

// ThreePartAngleUnit

ThreePartAngleUnit::ThreePartAngleUnit(StringView const & name, TranslatedString const & label,
                                       TranslatedString const & major_abbreviation,
                                       TranslatedString const & middle_abbreviation,
                                       TranslatedString const & minor_abbreviation, double middle_parts,
                                       double minor_parts, AngleUnit const & unit)
    : ThreePartAngleUnit(name, label, major_abbreviation, middle_abbreviation, minor_abbreviation, middle_parts,
                         minor_parts, unit.factor(), unit.wrapped(), unit.maxAngle(), unit.zeroPoint(),
                         unit.reversed()) {}

ThreePartAngleUnit::ThreePartAngleUnit(StringView const & name, TranslatedString const & label,
                                       TranslatedString const & major_abbreviation,
                                       TranslatedString const & middle_abbreviation,
                                       TranslatedString const & minor_abbreviation, double middle_parts,
                                       double minor_parts, double factor, Vector<3, bool> const & wrapped,
                                       Vector<3, double> max_angle, Vector<3, double> zero_point,
                                       Vector<3, bool> reversed)
    : AngleUnit(name, label, major_abbreviation, factor, wrapped, max_angle, zero_point, reversed),
      major_abbreviation_(major_abbreviation), middle_abbreviation_(middle_abbreviation),
      minor_abbreviation_(minor_abbreviation), middle_parts_(middle_parts), minor_parts_(minor_parts),
      part_digits_(UnitText::PartDigits(minor_parts)) {}

void ThreePartAngleUnit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                                  std::uint8_t axis) const {
    if (!add_abbreviation) {
        Unit::toString(out, value, add_comma, min_decimals, max_decimals, min_digits, false, axis);
        return;
    }
    bool const negative = value < 0.0;
    double const a = std::fabs(value);
    long long major = UnitText::Truncate(a);
    long long const middle_count = UnitText::Truncate(middle_parts_);
    long long middle = UnitText::Truncate(middle_parts_ * a);
    // A middle part that does not truncate stays the lowest value and prints "NaN", as the
    // degrees do; a count below 1 has no remainder to take.
    if (middle != int64_lowest) {
        middle = middle_count > 0 ? middle % middle_count : 0;
    }
    std::uint32_t const sub_min = LessOrZero(min_decimals, part_digits_);
    std::uint32_t const sub_max = LessOrZero(max_decimals, part_digits_);
    std::uint32_t const pad = LessOrZero(min_digits, TextLength(middle) + TextLength(major));

    String minor_text;
    UnitText::SetNumber(std::fmod(middle_parts_ * a, 1.0) * minor_parts_ / middle_parts_, minor_text);
    minor_text.formatNumberString(false, sub_min, sub_max, pad, '.', ',');
    double shown = NumberReading::ReadDouble(minor_text.c_str());
    if (shown >= minor_parts_ / middle_parts_) {
        minor_text.clear();
        minor_text.append(zero_text);
        minor_text.formatNumberString(false, sub_min, sub_max, 0, '.', ',');
        shown = 0.0;
        middle += middle != int64_lowest ? 1 : 0;
    }
    if (static_cast<double>(middle) >= middle_parts_ && major != int64_lowest) {
        middle = 0;
        major = UnitText::Truncate(a) + 1;
    }

    out.clear();
    if (negative && (major != 0 || middle != 0 || !(shown == 0.0))) {
        out.append(minus_text);
    }
    if (add_comma) {
        String head;
        UnitText::AppendInteger(major, head);
        out.append(head.formatNumberString(true, 0, 0, 0, '.', ','));
    } else {
        UnitText::AppendInteger(major, out);
    }
    out.append(Shown(major_abbreviation_));
    UnitText::AppendInteger(middle, out);
    out.append(Shown(middle_abbreviation_));
    // Unlike the two-part texts, the seconds stay whenever decimals are left for them.
    if (sub_max != 0 || !(shown == 0.0)) {
        out.append(minor_text);
        out.append(Shown(minor_abbreviation_));
    }
}

double ThreePartAngleUnit::fromString(StringView const & text, std::uint8_t /*axis*/) const {
    StringView const major = Shown(major_abbreviation_);
    StringView const middle = Shown(middle_abbreviation_);
    StringView const minor = Shown(minor_abbreviation_);
    if (!std::isnan(middle_parts_) && !std::isnan(minor_parts_) && UnitText::PartWalk::Walkable(major) &&
        UnitText::PartWalk::Walkable(middle) && UnitText::PartWalk::Walkable(minor)) {
        // Each number right in front of its abbreviation: there each abbreviation has its first
        // place, as its search would find it.
        UnitText::PartWalk walk(text);
        double major_value = 0.0;
        double middle_value = 0.0;
        double minor_value = 0.0;
        if (walk.fits() && walk.number(major_value) && walk.follows(major) &&
            (walk.skipBlanks(), walk.number(middle_value)) && walk.follows(middle) &&
            (walk.skipBlanks(), walk.number(minor_value)) && walk.follows(minor)) {
            double const result = std::isnan(major_value) ? 0.0 : major_value;
            return UnitText::AddPart(UnitText::AddPart(result, middle_value, middle_parts_), minor_value, minor_parts_);
        }
    }

    Separator const first = Separator::Find(text, major, 0, true);
    unsigned int const middle_start = first.found() ? first.end : 0;
    Separator const second = Separator::Find(text, middle, middle_start, true);
    unsigned int const minor_start = second.found() ? second.end : middle_start;
    Separator const third = Separator::Find(text, minor, minor_start, false);

    if (std::isnan(middle_parts_) && !std::isnan(minor_parts_)) {
        return UnitText::ReadNumber(text) / minor_parts_;
    }
    if (!first.found() && std::isnan(minor_parts_) && !std::isnan(middle_parts_)) {
        return UnitText::ReadNumber(text) / middle_parts_;
    }
    if (!first.found() && !second.found() && !third.found()) {
        return UnitText::ReadNumber(text);
    }

    // Each piece ends at its own abbreviation; the text behind the last one found belongs to the
    // part after it.
    Separator const * const separators[3] = {&first, &second, &third};
    StringView pieces[3];
    bool present[3] = {false, false, false};
    unsigned int start = 0;
    int last = -1;
    for (int part = 0; part < 3; ++part) {
        if (separators[part]->found()) {
            pieces[part] = text.substr(start, separators[part]->position);
            present[part] = true;
            start = separators[part]->end;
            last = part;
        }
    }
    if (last < 2) {
        pieces[last + 1] = text.substr(start);
        present[last + 1] = true;
    }

    double result = present[0] ? UnitText::ReadNumber(pieces[0]) : nan;
    if (std::isnan(result)) {
        result = 0.0;
    }
    if (present[1]) {
        result = UnitText::AddPart(result, PieceNumber(pieces[1]), middle_parts_);
    }
    if (present[2]) {
        result = UnitText::AddPart(result, PieceNumber(pieces[2]), minor_parts_);
    }
    return result;
}

StringView ThreePartAngleUnit::getNextPreferredSeparator(StringView const & text, std::uint8_t /*axis*/) const {
    if (text.isEmpty()) {
        return decimal_point;
    }
    StringViewBuffer const pieces = OperatorSplit(text);
    StringView const last = pieces[pieces.size() - 1];
    unsigned int const substitutes = last.count(part_substitute);
    StringView const major = Shown(major_abbreviation_);
    StringView const middle = Shown(middle_abbreviation_);
    StringView const minor = Shown(minor_abbreviation_);
    if (minor.isEmpty() || last.hasSubString(minor) || substitutes >= 3) {
        return StringView();
    }
    if (!major.isEmpty() && !last.hasSubString(major) && substitutes == 0) {
        return major;
    }
    if (!middle.isEmpty() && !last.hasSubString(middle) && substitutes < 2) {
        return middle;
    }
    return last.indexOf('.') != StringView::not_found ? minor : StringView(decimal_point);
}

double ThreePartAngleUnit::epsilon(double value, std::uint8_t axis) const {
    return partEpsilon(value, axis, minor_parts_);
}

Unit * ThreePartAngleUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new ThreePartAngleUnit(name, label, major_abbreviation_, middle_abbreviation_, minor_abbreviation_,
                                  middle_parts_, minor_parts_, factor(), wrapped_, max_angle_, zero_point_, reversed_);
}

// DDMMSSAngleUnit

DDMMSSAngleUnit::DDMMSSAngleUnit(StringView const & name, TranslatedString const & label,
                                 TranslatedString const & abbreviation, AngleUnit const & unit)
    : DDMMSSAngleUnit(name, label, abbreviation, unit.factor(), unit.wrapped(), unit.maxAngle(), unit.zeroPoint(),
                      unit.reversed()) {}

DDMMSSAngleUnit::DDMMSSAngleUnit(StringView const & name, TranslatedString const & label,
                                 TranslatedString const & abbreviation, double factor, Vector<3, bool> const & wrapped,
                                 Vector<3, double> max_angle, Vector<3, double> zero_point, Vector<3, bool> reversed)
    : AngleUnit(name, label, abbreviation, factor, wrapped, max_angle, zero_point, reversed) {}

void DDMMSSAngleUnit::toString(String & out, double const & value, bool /*add_comma*/, std::uint32_t min_decimals,
                               std::uint32_t max_decimals, std::uint32_t /*min_digits*/, bool /*add_abbreviation*/,
                               std::uint8_t /*axis*/) const {
    double const a = std::fabs(value);
    out.clear();
    if (!(a < packed_degree_limit)) {
        UnitText::SetNumber(nan, out);
        return;
    }
    int const degrees = static_cast<int>(a);
    double const m = (a - degrees) * 60.0;
    int const minutes = static_cast<int>(m);

    String seconds_text;
    UnitText::SetNumber((m - minutes) * 0.6, seconds_text);
    seconds_text.formatNumberString(false, min_decimals, max_decimals, 0, '.', ',');
    StringView seconds = seconds_text.view();
    if (seconds.size() > 2) {
        seconds.removeFirst(2); // the "0." of the fraction
    }
    String minutes_text;
    UnitText::AppendInteger(minutes, minutes_text);
    minutes_text.formatNumberString(false, 0, 0, 2, '.', ',');

    if (value < 0.0) {
        out.append(minus_text);
    }
    UnitText::AppendInteger(degrees, out);
    out.append(decimal_point);
    out.append(minutes_text);
    out.append(seconds);
}

double DDMMSSAngleUnit::fromString(StringView const & text, std::uint8_t /*axis*/) const {
    double const n = UnitText::ReadNumber(text);
    if (std::isnan(n)) {
        return n;
    }
    double const a = std::fabs(n);
    double const degrees = std::trunc(a);
    double const t = std::fabs(a - degrees) * 100.0;
    double minutes = std::trunc(t);
    // "7.14" is 7.1399999999999997 as a double, which would read as 13 minutes and 99.99
    // seconds. Seconds stop below 60, so a remainder this close to a whole minute is that
    // minute, short by the rounding of the double alone.
    if (t - minutes > packed_whole_minute) {
        minutes += 1.0;
    }
    double const seconds = t > minutes ? t - minutes : 0.0;
    double const result = degrees + minutes / 60.0 + seconds * packed_seconds;
    return n < 0.0 ? -result : result;
}

StringView DDMMSSAngleUnit::getNextPreferredSeparator(StringView const & /*text*/, std::uint8_t /*axis*/) const {
    return decimal_point;
}

double DDMMSSAngleUnit::epsilon(double value, std::uint8_t axis) const {
    return partEpsilon(value, axis, packed_minor_parts);
}

Unit * DDMMSSAngleUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new DDMMSSAngleUnit(name, label, abbreviation(0), factor(), wrapped_, max_angle_, zero_point_, reversed_);
}

} // namespace QELTA
