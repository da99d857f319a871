// Two-part units: their text, its reading and their steps.
#include "Base/Units/TwoPartUnit.h"

#include "Base/Units/Internal/UnitText.h"

#include <limits>

namespace QELTA {

TwoPartUnit::TwoPartUnit(StringView const & name, TranslatedString const & label,
                         TranslatedString const & major_abbreviation, TranslatedString const & minor_abbreviation,
                         double factor, double parts)
    : ScaledUnit(name, label, major_abbreviation, factor), major_abbreviation_(major_abbreviation),
      minor_abbreviation_(minor_abbreviation), parts_(parts), part_digits_(UnitText::PartDigits(parts)) {}

void TwoPartUnit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                           std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                           std::uint8_t axis) const {
    if (!add_abbreviation) {
        Unit::toString(out, value, add_comma, min_decimals, max_decimals, min_digits, false, axis);
        return;
    }
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    texts.write(out, value, add_comma, min_decimals, max_decimals, min_digits);
}

double TwoPartUnit::fromString(StringView const & text, std::uint8_t /*axis*/) const {
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    return texts.read(text);
}

StringView TwoPartUnit::getNextPreferredSeparator(StringView const & text, std::uint8_t /*axis*/) const {
    StringViewBuffer const pieces = OperatorSplit(text);
    UnitText::TwoParts const texts{Shown(major_abbreviation_), Shown(minor_abbreviation_), parts_, part_digits_};
    return texts.nextSeparator(text, pieces[pieces.size() - 1]);
}

double TwoPartUnit::epsilon(double value, std::uint8_t axis) const {
    double const u = convertToUnit(value, axis);
    if (u > 1.0) {
        return Unit::epsilon(value, axis);
    }
    double const in_parts = parts_ * u;
    if (in_parts == 0.0) {
        return convertFromUnit(1.0 / parts_, axis);
    }
    double step = 0.0;
    double power = 0.0;
    if (!UnitText::RoundStep(in_parts, step, power)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    // A negative value steps by 10 minor parts of its size, upward: the sign is not kept here.
    return convertFromUnit(step * power / parts_, axis);
}

Unit * TwoPartUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new TwoPartUnit(name, label, major_abbreviation_, minor_abbreviation_, factor(), parts_);
}

} // namespace QELTA
