// LocationElevationUnit: one unit made of two, a unit for the horizontal location (axes 0 and 1)
// and a unit for the elevation (axis 2), such as latitude and longitude in degrees with a height
// in feet.
//
// The unit holds plain pointers to the two units, which must be given (not null) and outlive it;
// it is immutable and has no lock. Nothing raises: everything is the two units' own behaviour.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"

#include <cstdint>

namespace QELTA {

// Every operation of one axis goes to the elevation unit for axis 2 and to the location unit for
// any other axis, with its arguments unchanged. Vertices and rays are converted whole by the
// location unit, which keeps its first two components, and their third component by the
// elevation unit on axis 2. The matrix is the identity whatever the two units are, so two
// location units compare by name alone.
class QELTA_BASE_EXPORT LocationElevationUnit : public Unit {
  public:
    // Axis names and abbreviations 0 and 1 are the location unit's, 2 the elevation unit's.
    LocationElevationUnit(StringView name, TranslatedString label, Unit const * location, Unit const * elevation);

    using Unit::clone;
    using Unit::toString;

    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    TranslatedString const & abbreviation(std::uint8_t axis) const override;
    String convertToString(double const & value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
                           std::uint32_t min_digits, bool add_abbreviation, std::uint8_t axis) const override;
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    double convertFromString(StringView const & text, std::uint8_t axis) const override;
    double fromString(StringView const & text, std::uint8_t axis) const override;
    TranslatedString translatedAxisName(std::uint32_t index) const override;
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
    void toFormula(StringAllocatingView & text, std::uint8_t axis) const override;
    double epsilon(double value, std::uint8_t axis) const override;
    Unit const * subUnit(std::uint8_t axis) const override;
    Matrix4 matrix() const override;
    // A new unit on the same two units.
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

  private:
    Unit const & forAxis(std::uint32_t axis) const noexcept { return axis == 2 ? *elevation_ : *location_; }

    Unit const * location_;
    Unit const * elevation_;
};

} // namespace QELTA
