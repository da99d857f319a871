// The names of the unit categories, as settings and formula tables store them.
#include "Base/Units/UnitCategory.h"

#include <gtest/gtest.h>

#include <string>

namespace QELTA {
namespace {

std::string Written(UnitCategory value) {
    StringAllocatingView out;
    StringStream<UnitCategory>::toString(value, out);
    return std::string(out.view());
}

UnitCategory Read(StringView const & text) {
    UnitCategory value = UnitCategory::LATLON;
    StringStream<UnitCategory>::fromString(text, value);
    return value;
}

TEST(UnitCategoryTest, WritesAndReadsEachStoredName) {
    char const * const names[] = {"UNDEFINED",        "ANGLE",  "ORIENTATION", "DISTANCE", "COORDINATE",
                                  "SURFACE_AREA",     "VOLUME", "WEIGHT",      "SPEED",    "ACCELERATION",
                                  "ROTATIONAL_SPEED", "TIME",   "FORCE",       "RATIO",    "LATLON"};
    for (unsigned int number = 0; number < 15; ++number) {
        SCOPED_TRACE(names[number]);
        auto const value = static_cast<UnitCategory>(number);
        EXPECT_EQ(Written(value), names[number]);
        EXPECT_EQ(Read(names[number]), value);
    }
}

TEST(UnitCategoryTest, ReadsByHashAlone) {
    struct Case {
        char const * text;
        UnitCategory value;
    } const cases[] = {
        {"ANGM$", UnitCategory::ANGLE}, // M$ adds to the hash what LE adds
        {"angle", UnitCategory::UNDEFINED}, {"WEIGHT ", UnitCategory::UNDEFINED},
        {"", UnitCategory::UNDEFINED},      {"mass", UnitCategory::UNDEFINED},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(Read(test.text), test.value);
    }
}

TEST(UnitCategoryTest, AppendsToTextAndWritesNothingOutsideTheTable) {
    StringAllocatingView out{StringView("category=")};
    StringStream<UnitCategory>::toString(UnitCategory::TIME, out);
    EXPECT_EQ(std::string(out.view()), "category=TIME");
    EXPECT_EQ(Written(static_cast<UnitCategory>(15)), "");
    EXPECT_EQ(Written(static_cast<UnitCategory>(255)), "");
}

} // namespace
} // namespace QELTA
