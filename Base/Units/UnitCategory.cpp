// The names of the unit categories.
#include "Base/Units/UnitCategory.h"

namespace QELTA {
namespace {

constexpr char const * category_names[] = {"UNDEFINED",        "ANGLE",  "ORIENTATION", "DISTANCE", "COORDINATE",
                                           "SURFACE_AREA",     "VOLUME", "WEIGHT",      "SPEED",    "ACCELERATION",
                                           "ROTATIONAL_SPEED", "TIME",   "FORCE",       "RATIO",    "LATLON"};
constexpr unsigned int category_count = sizeof(category_names) / sizeof(category_names[0]);

} // namespace

void StringStream<UnitCategory>::fromString(StringView const & text, UnitCategory & value) noexcept {
    unsigned long long const hash = text.hash();
    value = UnitCategory::UNDEFINED;
    for (unsigned int index = 0; index < category_count; ++index) {
        if (StringView(category_names[index]).hash() == hash) {
            value = static_cast<UnitCategory>(index);
            return;
        }
    }
}

void StringStream<UnitCategory>::toString(UnitCategory const & value, StringAllocatingView & out) {
    unsigned int const index = static_cast<unsigned int>(value);
    out.borrow(index < category_count ? StringView(category_names[index]) : StringView());
}

char const * StringStream<UnitCategory>::getValidRegex() noexcept {
    return ".*";
}

} // namespace QELTA
