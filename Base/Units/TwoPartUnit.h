// TwoPartUnit: a scaled unit shown as a whole major part and a minor remainder, such as feet and
// inches ("5'6"") or minutes and seconds.
//
// Immutable once built and shared like every unit; its abbreviations fill their translation
// caches on first show, as Unit.h says. Nothing raises: text without a number reads as NaN, and
// a NaN value renders "NaN" between the abbreviations.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"

#include <cstdint>

namespace QELTA {

// Every conversion is the ScaledUnit's: the value stays a plain number of the major unit; only
// the text and the steps differ. `parts` minor parts make one major part (12 inches to the
// foot); part digits, the digits of the minor part's whole number (2 for 12 and for 60), are
// taken off the decimals asked for, which count from the major unit.
class QELTA_BASE_EXPORT TwoPartUnit : public ScaledUnit {
  public:
    // The ScaledUnit's abbreviation is the major one.
    TwoPartUnit(StringView const & name, TranslatedString const & label, TranslatedString const & major_abbreviation,
                TranslatedString const & minor_abbreviation, double factor, double parts);

    using ScaledUnit::clone;
    using ScaledUnit::toString;

    // With add_abbreviation false, the plain number of Unit::toString. Otherwise the whole part
    // with the major abbreviation and the remainder with the minor one, with no blank: "5'6"".
    // A value below one major part shows the remainder alone ("6"", "-6"", and "0"" for 0); the
    // remainder is left out of a whole value when min_decimals is 0 ("5'"). A remainder that
    // rounds up to a full major part carries into it ("6'", never "5'12"").
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    // "5'6"" and "5;6" read 5.5, "6"" reads 0.5, "5'" and "5" read 5. The minor number is taken
    // away from a negative major one ("-5'6"" is -5.5); "-0'6"" reads +0.5, since -0 is not
    // below 0.
    double fromString(StringView const & text, std::uint8_t axis) const override;
    // ".", then the major abbreviation, "." again and the minor abbreviation, judged on the last
    // term; nothing once the minor abbreviation or two ";" are there.
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
    // Above one major unit, Unit's rule; below it, a round step of minor parts (one minor part
    // for 0, NaN for NaN). Negative values step by 10 minor parts of their size, upward.
    double epsilon(double value, std::uint8_t axis) const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    // The major abbreviation is abbreviation(axis).
    TranslatedString const & minorAbbreviation() const noexcept { return minor_abbreviation_; }

  private:
    mutable TranslatedString major_abbreviation_; // mutable for the translation cache only
    mutable TranslatedString minor_abbreviation_;
    double parts_;
    std::uint32_t part_digits_;
};

} // namespace QELTA
