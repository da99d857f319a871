// UnitDefinitions: the catalogue of named units, and the units built on another unit: coordinate
// axes, latitude, longitude and altitude, compass bearings and inclinations.
//
// The catalogue is the table of UnitCatalogue.def. Each function without arguments builds its
// unit on the first call, once even when threads call at the same time, and keeps it for the
// life of the process: it is never freed, so the reference it returns stays valid through exit.
// The functions that take a unit build a new unit on each call, which the caller shares; the
// given unit must outlive a coordinate unit built on it. Nothing raises: a function that needs an
// angle unit and is given another kind returns null. Units shown from several threads follow
// Unit.h on their translation caches.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Angle.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitCategory.h"

#include <span>

namespace QELTA {

class QELTA_BASE_EXPORT UnitDefinitions {
  public:
    UnitDefinitions() = delete;

    // One function for each named unit: Meters(), Feet(), FeetInches(), Degrees(), ...
#define QELTA_UNIT(function, category) static ConstPointer<Unit> const & function();
#include "Base/Units/UnitCatalogue.def"

    // Coordinate units on `unit`: XYZ(), NorthingEastingElevation(), ... The form that takes a
    // handle shares `unit` for as long as the coordinate unit lives, and gives null for null.
#define QELTA_COORDINATE_UNIT(function, ...)                                                                           \
    static ConstPointer<Unit> function(Unit const & unit);                                                             \
    static ConstPointer<Unit> function(ConstPointer<Unit> const & unit);
    // Compass bearings on the angle unit `unit`: NorthOrientation(), EastOrientation(), ...
#define QELTA_COMPASS_UNIT(function, ...) static ConstPointer<Unit> function(Unit const & unit, bool clockwise);
#include "Base/Units/UnitCatalogue.def"

    // A copy of `unit` of the same kind named "LATLONALT:" + its name, whose axes are latitude,
    // longitude and altitude.
    static ConstPointer<Unit> LatLonAlt(Unit const & unit);

    // A copy of the angle unit `unit` whose inclination axis is wrapped to at most half a turn and
    // reads 0 at `zero` (up) or at `zero` counted downward, named unit's name + ":" + zero in
    // degrees + ":UP" or ":DOWN": "N:CW:decimal degrees:90:UP".
    static ConstPointer<Unit> AppendInclinationOrientation(Unit const & unit, Angle<double> const & zero, bool up);

    // A copy of the angle unit `unit` under `name` and `label` that is wrapped on no axis; null
    // for a unit of another kind.
    static ConstPointer<Unit> Unwrapped(Unit const & unit, StringView const & name, TranslatedString const & label);

    // A named unit of the catalogue: the name of its function, its kind of quantity, and the
    // function itself.
    struct Entry {
        char const * function;
        UnitCategory category;
        ConstPointer<Unit> const & (*unit)();
    };
    // Every named unit, in the order of the table.
    static std::span<Entry const> Catalogue() noexcept;

    // The name, abbreviation and abbreviation key of one axis.
    struct AxisText {
        char const * name;
        char const * abbreviation;
        char const * key;
    };

  private:
    static void NameAxes(Unit & unit, AxisText const (&axes)[3]);
};

} // namespace QELTA
