// AngleUnit: angles shown in a unit with wrapping, direction and zero point per axis, and their
// compound texts: degrees and minutes, degrees, minutes and seconds, and the packed DDD.MMSS.
//
// Immutable once built (the catalogue sets the orientation of the copies it makes) and shared
// like every unit; abbreviations fill their translation caches on first show, as Unit.h says.
// Nothing raises: text without a number reads as NaN and NaN goes through every conversion.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Vector.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"

#include <cstdint>

namespace QELTA {

// An angle's base scale is 65536 index units to the turn. The factor is how many of this unit
// make one index unit (degrees 360/65536). Each of the three axes (0 roll, 1 inclination,
// 2 heading) may be wrapped into a range ending at its max angle, reversed, and shifted so that
// its zero point reads 0; a NaN zero point means no shift. Axis 3 has none of these and passes
// through normalize and denormalize unchanged. By default nothing is wrapped, reversed or shifted.
class QELTA_BASE_EXPORT AngleUnit : public ScaledUnit {
  public:
    static constexpr double full_turn = 65536.0;

    AngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
              double factor);

    using ScaledUnit::clone;
    using ScaledUnit::toString;

    // normalize each component with its axis, then the factor.
    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    // The factor undone, then denormalize each component with its axis.
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    // `value` taken as a step in this unit: value / factor, unlike every other unit.
    double epsilon(double value, std::uint8_t axis) const override;
    // The copy keeps the orientation; its axes are named "Roll", "Inclination" and "Heading".
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    // From the base scale to the orientation shown, still in index units. Unwrapped: the value,
    // negated if reversed. Wrapped: into one turn less the zero point, less a turn above the max
    // angle, negated if reversed, and lifted by a turn when negative unless the zero point is 0
    // or below: that is how a signed range such as -90 to 90 stays signed.
    virtual double normalize(double value, std::uint8_t axis) const;
    // The way back from the orientation shown to the base scale.
    virtual double denormalize(double value, std::uint8_t axis) const;

    Vector<3, double> const & maxAngle() const noexcept { return max_angle_; }
    Vector<3, double> const & zeroPoint() const noexcept { return zero_point_; }
    Vector<3, bool> const & wrapped() const noexcept { return wrapped_; }
    Vector<3, bool> const & reversed() const noexcept { return reversed_; }

  protected:
    friend class UnitDefinitions; // sets the orientation of the copies it makes

    // Names the axes "Roll", "Inclination" and "Heading", in names and abbreviations alike.
    AngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
              double factor, Vector<3, bool> const & wrapped, Vector<3, double> const & max_angle,
              Vector<3, double> const & zero_point, Vector<3, bool> const & reversed);

    // A step for the compound texts: Unit's rule above 1 (on axis 0), else `value` in this unit
    // lifted to the next multiple of the largest power-of-ten fraction of 1/parts that it reaches.
    double partEpsilon(double value, std::uint8_t axis, double parts) const;

    double circle_ = full_turn; // one turn in index units, always
    Vector<3, double> max_angle_;
    Vector<3, double> zero_point_;
    Vector<3, bool> wrapped_;
    Vector<3, bool> reversed_;
};

// Degrees and minutes ("12°30'"), with the texts, reading and steps of TwoPartUnit.
class QELTA_BASE_EXPORT TwoPartAngleUnit : public AngleUnit {
  public:
    // The factor and the orientation are `unit`'s.
    TwoPartAngleUnit(StringView const & name, TranslatedString const & label,
                     TranslatedString const & major_abbreviation, TranslatedString const & minor_abbreviation,
                     double parts, AngleUnit const & unit);
    TwoPartAngleUnit(StringView const & name, TranslatedString const & label,
                     TranslatedString const & major_abbreviation, TranslatedString const & minor_abbreviation,
                     double parts, double factor, Vector<3, bool> const & wrapped, Vector<3, double> max_angle,
                     Vector<3, double> zero_point, Vector<3, bool> reversed);

    using AngleUnit::clone;
    using AngleUnit::toString;

    // As TwoPartUnit: "12°30'", "30'" below one degree, "12°" for whole degrees.
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    double fromString(StringView const & text, std::uint8_t axis) const override;
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
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

// Degrees, minutes and seconds ("12°30'15""). `middle_parts` middle parts make one major part
// (60); `minor_parts` minor parts make one major part, not one middle part (3600). Part digits
// come from minor_parts (4 for 3600) and are taken off the decimals asked for.
class QELTA_BASE_EXPORT ThreePartAngleUnit : public AngleUnit {
  public:
    ThreePartAngleUnit(StringView const & name, TranslatedString const & label,
                       TranslatedString const & major_abbreviation, TranslatedString const & middle_abbreviation,
                       TranslatedString const & minor_abbreviation, double middle_parts, double minor_parts,
                       AngleUnit const & unit);
    ThreePartAngleUnit(StringView const & name, TranslatedString const & label,
                       TranslatedString const & major_abbreviation, TranslatedString const & middle_abbreviation,
                       TranslatedString const & minor_abbreviation, double middle_parts, double minor_parts,
                       double factor, Vector<3, bool> const & wrapped, Vector<3, double> max_angle,
                       Vector<3, double> zero_point, Vector<3, bool> reversed);

    using AngleUnit::clone;
    using AngleUnit::toString;

    // With add_abbreviation false, the plain number of Unit::toString. Otherwise the three parts
    // with their abbreviations; the minutes are always written ("12°0'"), the seconds only when
    // decimals are left for them or they are not 0. Seconds that round up to a minute carry into
    // the minutes, and those into the degrees ("1°0'"). A negative value that shows as all zeros
    // has no sign.
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    // Each number belongs to the abbreviation behind it; ";" may stand for the major and the
    // middle abbreviation ("12;30;45" reads 12.5125). A number behind the last abbreviation
    // found belongs to the next part ("12°30" reads 12.5). Minutes and seconds are taken away
    // from negative degrees; "-0°30'" reads +0.5, since -0 is not below 0.
    double fromString(StringView const & text, std::uint8_t axis) const override;
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
    double epsilon(double value, std::uint8_t axis) const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    // The major abbreviation is abbreviation(axis).
    TranslatedString const & middleAbbreviation() const noexcept { return middle_abbreviation_; }
    TranslatedString const & minorAbbreviation() const noexcept { return minor_abbreviation_; }

  private:
    mutable TranslatedString major_abbreviation_; // mutable for the translation cache only
    mutable TranslatedString middle_abbreviation_;
    mutable TranslatedString minor_abbreviation_;
    double middle_parts_;
    double minor_parts_;
    std::uint32_t part_digits_;
};

// The surveyor's packed form: degrees, a point, two digits of minutes, two of seconds and the
// seconds' fraction behind them, so that 12.3045 is 12°30'45". The text has no abbreviation.
class QELTA_BASE_EXPORT DDMMSSAngleUnit : public AngleUnit {
  public:
    DDMMSSAngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
                    AngleUnit const & unit);
    DDMMSSAngleUnit(StringView const & name, TranslatedString const & label, TranslatedString const & abbreviation,
                    double factor, Vector<3, bool> const & wrapped, Vector<3, double> max_angle,
                    Vector<3, double> zero_point, Vector<3, bool> reversed);

    using AngleUnit::clone;
    using AngleUnit::toString;

    // The decimals apply to the seconds as a fraction of 100, and rounding never carries into
    // the minutes. Values of 2^31 degrees or more, infinities and NaN give "NaN".
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    double fromString(StringView const & text, std::uint8_t axis) const override;
    // Always ".".
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
    double epsilon(double value, std::uint8_t axis) const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

  private:
    [[maybe_unused]] std::uint32_t packed_ = 1; // always 1; kept so the object's layout stays
};

} // namespace QELTA
