// The location and elevation unit: each axis to its own unit.
#include "Base/Units/LocationElevationUnit.h"

#include <utility>

namespace QELTA {

LocationElevationUnit::LocationElevationUnit(StringView name, TranslatedString label, Unit const * location,
                                             Unit const * elevation)
    : Unit(name, std::move(label)), location_(location), elevation_(elevation) {
    for (std::uint32_t axis = 0; axis < 3; ++axis) {
        axis_names_[axis] = forAxis(axis).translatedAxisName(axis);
        axis_abbreviations_[axis] = forAxis(axis).axisAbbreviation(axis);
    }
}

Unit::Ray LocationElevationUnit::convertToUnit(Ray const & base) const {
    Ray result = location_->convertToUnit(base);
    result[2] = elevation_->convertToUnit(base[2], 2);
    return result;
}

Unit::Vertex LocationElevationUnit::convertToUnit(Vertex const & base) const {
    Vertex result = location_->convertToUnit(base);
    result[2] = elevation_->convertToUnit(base[2], 2);
    return result;
}

double LocationElevationUnit::convertToUnit(double const & value, std::uint8_t axis) const {
    return forAxis(axis).convertToUnit(value, axis);
}

Unit::Ray LocationElevationUnit::convertFromUnit(Ray const & in_unit) const {
    Ray result = location_->convertFromUnit(in_unit);
    result[2] = elevation_->convertFromUnit(in_unit[2], 2);
    return result;
}

Unit::Vertex LocationElevationUnit::convertFromUnit(Vertex const & in_unit) const {
    Vertex result = location_->convertFromUnit(in_unit);
    result[2] = elevation_->convertFromUnit(in_unit[2], 2);
    return result;
}

double LocationElevationUnit::convertFromUnit(double const & value, std::uint8_t axis) const {
    return forAxis(axis).convertFromUnit(value, axis);
}

TranslatedString const & LocationElevationUnit::abbreviation(std::uint8_t axis) const {
    return forAxis(axis).abbreviation(axis);
}

String LocationElevationUnit::convertToString(double const & value, bool add_comma, std::uint32_t min_decimals,
                                              std::uint32_t max_decimals, std::uint32_t min_digits,
                                              bool add_abbreviation, std::uint8_t axis) const {
    return forAxis(axis).convertToString(value, add_comma, min_decimals, max_decimals, min_digits, add_abbreviation,
                                         axis);
}

void LocationElevationUnit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                                     std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                                     std::uint8_t axis) const {
    forAxis(axis).toString(out, value, add_comma, min_decimals, max_decimals, min_digits, add_abbreviation, axis);
}

double LocationElevationUnit::convertFromString(StringView const & text, std::uint8_t axis) const {
    return forAxis(axis).convertFromString(text, axis);
}

double LocationElevationUnit::fromString(StringView const & text, std::uint8_t axis) const {
    return forAxis(axis).fromString(text, axis);
}

TranslatedString LocationElevationUnit::translatedAxisName(std::uint32_t index) const {
    return forAxis(index).translatedAxisName(index);
}

StringView LocationElevationUnit::getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const {
    return forAxis(axis).getNextPreferredSeparator(text, axis);
}

void LocationElevationUnit::toFormula(StringAllocatingView & text, std::uint8_t axis) const {
    forAxis(axis).toFormula(text, axis);
}

double LocationElevationUnit::epsilon(double value, std::uint8_t axis) const {
    return forAxis(axis).epsilon(value, axis);
}

Unit const * LocationElevationUnit::subUnit(std::uint8_t axis) const {
    return forAxis(axis).subUnit(axis);
}

Unit::Matrix4 LocationElevationUnit::matrix() const {
    return Matrix4::Identity();
}

Unit * LocationElevationUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new LocationElevationUnit(name, label, location_, elevation_);
}

} // namespace QELTA
