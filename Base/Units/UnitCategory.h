// UnitCategory: the kinds of quantity the application keeps a current unit for, and their names.
//
// A plain enumeration; the text form is a stable storage format (settings and formula tables
// hold the names). Nothing here has state or a lock, and nothing raises: an unknown name reads
// as UNDEFINED.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

// The values are stored by number and by name: never renumber them.
enum class UnitCategory : std::uint8_t {
    UNDEFINED = 0,
    ANGLE = 1,
    ORIENTATION = 2,
    DISTANCE = 3,
    COORDINATE = 4,
    SURFACE_AREA = 5,
    VOLUME = 6,
    WEIGHT = 7,
    SPEED = 8,
    ACCELERATION = 9,
    ROTATIONAL_SPEED = 10,
    TIME = 11,
    FORCE = 12,
    RATIO = 13,
    LATLON = 14,
};

// The enumerator's own name, "UNDEFINED" to "LATLON". Reading compares the hash of the text
// with the hash of each name and never the bytes, so a text that merely shares a name's hash
// reads as that name; an unknown text reads as UNDEFINED. A value outside the table writes
// nothing.
template <>
class QELTA_BASE_EXPORT StringStream<UnitCategory> {
  public:
    static void fromString(StringView const & text, UnitCategory & value) noexcept;
    static void toString(UnitCategory const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

} // namespace QELTA
