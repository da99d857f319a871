// Angle units: wrapping, direction and zero point per axis, bearings on each compass point,
// inclinations up and down, and the texts of degrees, minutes and seconds at their edges.
#include "Base/Units/AngleUnit.h"
#include "Base/Units/LocationElevationUnit.h"
#include "Base/Units/UnitDefinitions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace QELTA {
namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();
double const degrees_per_index = 360.0 / 65536.0;

using Flags = Vector<3, bool>;
using Values = Vector<3, double>;

// An angle unit in degrees with the orientation given.
class OrientedDegrees : public AngleUnit {
  public:
    OrientedDegrees(Flags wrapped, Values max_angle, Values zero_point, Flags reversed)
        : AngleUnit("oriented", TranslatedString::DirectString("Oriented"), TranslatedString::DirectString("d"),
                    degrees_per_index, wrapped, max_angle, zero_point, reversed) {}
};

// The same angle within a turn.
void ExpectSameTurn(double a, double b) {
    double const difference = std::fmod(a - b, 65536.0);
    EXPECT_TRUE(std::fabs(difference) < 1e-9 || std::fabs(std::fabs(difference) - 65536.0) < 1e-9) << a << " " << b;
}

std::string Shown(ConstPointer<Unit> const & unit, double value, unsigned int min_decimals, unsigned int max_decimals,
                  bool comma = false, bool abbreviation = true) {
    return unit->toString(value, comma, min_decimals, max_decimals, 0, abbreviation, 0).c_str();
}

TEST(AngleUnitTest, WrapsReversesAndShiftsEachAxisOnItsOwn) {
    Values const whole_turn = Values::Filled(65536.0);
    Values const no_zero = Values::Filled(nan);
    OrientedDegrees const heading_wrapped(Flags(false, false, true), whole_turn, no_zero, Flags());
    OrientedDegrees const roll_reversed(Flags(), whole_turn, no_zero, Flags(true, false, false));
    // -90 to 90 on the inclination: a zero point of 0 keeps negative values negative.
    OrientedDegrees const signed_inclination(Flags(false, true, false), Values(65536.0, 16384.0, 65536.0),
                                             Values(nan, 0.0, nan), Flags());
    struct Case {
        char const * name;
        AngleUnit const * unit;
        double base;
        std::uint8_t axis;
        double shown;
    } const cases[] = {
        {"wrapped, below 0", &heading_wrapped, -16384.0, 2, 49152.0},
        {"wrapped, above a turn", &heading_wrapped, 70000.0, 2, 4464.0},
        {"wrapped, a turn", &heading_wrapped, 65536.0, 2, 0.0},
        {"other axes stay", &heading_wrapped, -16384.0, 0, -16384.0},
        {"reversed, not wrapped", &roll_reversed, 70000.0, 0, -70000.0},
        {"signed stays signed", &signed_inclination, -8192.0, 1, -8192.0},
        {"above the max angle", &signed_inclination, 60000.0, 1, -5536.0},
        {"axis 3 has no orientation", &roll_reversed, 70000.0, 3, 70000.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(test.unit->normalize(test.base, test.axis), test.shown);
        ExpectSameTurn(test.unit->denormalize(test.shown, test.axis), test.base);
        EXPECT_DOUBLE_EQ(test.unit->convertToUnit(test.base, test.axis), test.shown * degrees_per_index);
    }
    EXPECT_EQ(roll_reversed.denormalize(-70000.0, 0), 70000.0); // never wrapped
    // The default unit wraps nothing.
    EXPECT_EQ(UnitDefinitions::Degrees()->convertToUnit(16384.0, 2), 90.0);
    EXPECT_EQ(UnitDefinitions::Degrees()->convertToUnit(70000.0, 2), 384.521484375);
}

TEST(AngleUnitTest, ConvertsPointsAxisByAxis) {
    OrientedDegrees const heading_wrapped(Flags(false, false, true), Values::Filled(65536.0), Values::Filled(nan),
                                          Flags(false, true, false));
    Unit::Vertex const shown = heading_wrapped.convertToUnit(Unit::Vertex(-16384.0, 8192.0, -16384.0));
    EXPECT_EQ(shown, Unit::Vertex(-90.0, -45.0, 270.0));
    Unit::Vertex const back = heading_wrapped.convertFromUnit(shown);
    EXPECT_EQ(back, Unit::Vertex(-16384.0, 8192.0, 49152.0));
    EXPECT_EQ(heading_wrapped.convertToUnit(Unit::Ray(0.0, 0.0, -16384.0)), Unit::Ray(0.0, -0.0, 270.0));
}

TEST(AngleUnitTest, BearingsOnEachCompassPoint) {
    ConstPointer<Unit> const & degrees = UnitDefinitions::Degrees();
    struct Case {
        ConstPointer<Unit> unit;
        char const * name;
        double heading;
        double bearing;
    } const cases[] = {
        {UnitDefinitions::NorthOrientation(*degrees, true), "N:CW:decimal degrees", 0.0, 0.0},
        {UnitDefinitions::NorthOrientation(*degrees, true), "N:CW:decimal degrees", 16384.0, 270.0},
        {UnitDefinitions::NorthOrientation(*degrees, true), "N:CW:decimal degrees", -8192.0, 45.0},
        {UnitDefinitions::NorthOrientation(*degrees, false), "N:CCW:decimal degrees", 16384.0, 90.0},
        {UnitDefinitions::NorthOrientation(*degrees, false), "N:CCW:decimal degrees", -8192.0, 315.0},
        {UnitDefinitions::EastOrientation(*degrees, true), "E:CW:decimal degrees", 49152.0, 0.0},
        {UnitDefinitions::EastOrientation(*degrees, true), "E:CW:decimal degrees", 0.0, 270.0},
        {UnitDefinitions::EastOrientation(*degrees, true), "E:CW:decimal degrees", 40960.0, 45.0},
        {UnitDefinitions::EastOrientation(*degrees, false), "E:CCW:decimal degrees", 0.0, 90.0},
        {UnitDefinitions::SouthOrientation(*degrees, true), "S:CW:decimal degrees", 32768.0, 0.0},
        {UnitDefinitions::SouthOrientation(*degrees, true), "S:CW:decimal degrees", 16384.0, 90.0},
        {UnitDefinitions::SouthOrientation(*degrees, false), "S:CCW:decimal degrees", 16384.0, 270.0},
        {UnitDefinitions::WestOrientation(*degrees, true), "W:CW:decimal degrees", 0.0, 90.0},
        {UnitDefinitions::WestOrientation(*degrees, false), "W:CCW:decimal degrees", 0.0, 270.0},
        {UnitDefinitions::WestOrientation(*degrees, false), "W:CCW:decimal degrees", 16384.0 + 65536.0 * 3, 0.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.name << " " << test.heading);
        EXPECT_EQ(std::string(test.unit->name().c_str()), test.name);
        EXPECT_EQ(test.unit->convertToUnit(test.heading, 2), test.bearing);
        ExpectSameTurn(test.unit->convertFromUnit(test.bearing, 2), test.heading);
    }
    ConstPointer<Unit> const north = UnitDefinitions::NorthOrientation(*degrees, true);
    EXPECT_EQ(north->convertToUnit(-16384.0, 0), 270.0); // roll is wrapped too, not reversed
    EXPECT_EQ(north->axisAbbreviation(2).englishDefine().view(), StringView("Az"));
    EXPECT_EQ(north->translatedAxisName(1).englishDefine().view(), StringView("Pitch"));
    EXPECT_EQ(UnitDefinitions::NorthOrientation(*UnitDefinitions::Meters(), true), nullptr);
}

TEST(AngleUnitTest, InclinationsCountFromTheirZeroUpOrDown) {
    ConstPointer<Unit> const north = UnitDefinitions::NorthOrientation(*UnitDefinitions::Degrees(), true);
    ConstPointer<Unit> const up = UnitDefinitions::AppendInclinationOrientation(*north, Angle<double>(16384.0), true);
    ConstPointer<Unit> const down =
        UnitDefinitions::AppendInclinationOrientation(*north, Angle<double>(16384.0), false);
    EXPECT_EQ(std::string(up->name().c_str()), "N:CW:decimal degrees:90:UP");
    EXPECT_EQ(std::string(down->name().c_str()), "N:CW:decimal degrees:90:DOWN");
    EXPECT_EQ(
        std::string(UnitDefinitions::AppendInclinationOrientation(*north, Angle<double>(8192.0), true)->name().c_str()),
        "N:CW:decimal degrees:45:UP");
    struct Case {
        Unit const * unit;
        double base;
        double shown;
    } const cases[] = {
        {up.get(), 0.0, 90.0},
        {up.get(), 16384.0, 180.0},
        {up.get(), -16384.0, 0.0},
        {up.get(), -32768.0, -90.0},
        {up.get(), 20000.0, -29152.0 * degrees_per_index},
        {down.get(), 16384.0, 0.0},
        {down.get(), 0.0, 90.0},
        {down.get(), 32768.0, 270.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.unit->name().c_str() << " " << test.base);
        EXPECT_EQ(test.unit->convertToUnit(test.base, 1), test.shown);
        ExpectSameTurn(test.unit->convertFromUnit(test.shown, 1), test.base);
    }
    EXPECT_EQ(up->convertToUnit(16384.0, 2), 270.0); // the heading stays the compass bearing
    EXPECT_EQ(UnitDefinitions::AppendInclinationOrientation(*UnitDefinitions::Feet(), Angle<double>(0.0), true),
              nullptr);
}

TEST(AngleUnitTest, DegreesMinutesSecondsAtTheEdges) {
    ConstPointer<Unit> const & dms = UnitDefinitions::DegreesMinutesSeconds();
    struct Case {
        double degrees;
        unsigned int min_decimals;
        unsigned int max_decimals;
        char const * expected;
    } const cases[] = {
        {12.5125, 0, 4, "12°30'45\""},
        {12.0, 0, 4, "12°0'"},    // the minutes stay, the seconds go with no decimals left
        {12.0, 0, 6, "12°0'0\""}, // decimals left for the seconds keep them
        {12.5, 6, 6, "12°30'0.00\""},
        {-12.5, 0, 4, "-12°30'"},
        {-0.5, 0, 4, "-0°30'"},
        {0.0, 0, 4, "0°0'"},
        {-0.000000001, 0, 4, "0°0'"}, // rounds to zero: no sign
        {0.99999999, 0, 4, "1°0'"},   // 60 seconds carry into a minute, 60 minutes into a degree
        {10.0 + 59.0 / 60.0 + 59.9999 / 3600.0, 0, 4, "11°0'"},
        {359.0 + 59.0 / 60.0 + 59.9999 / 3600.0, 0, 4, "360°0'"},
        {359.0 + 59.0 / 60.0 + 59.9999 / 3600.0, 0, 8, "359°59'59.9999\""},
        {nan, 0, 4, "NaN°NaN'"}, // the seconds' "NaN" formats as 0
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.degrees << " " << test.min_decimals << "/" << test.max_decimals);
        EXPECT_EQ(Shown(dms, test.degrees, test.min_decimals, test.max_decimals), test.expected);
    }
    EXPECT_EQ(Shown(dms, 1234.5, 0, 4, true), "1,234°30'");
    EXPECT_EQ(Shown(dms, 12.5125, 0, 4, false, false), "12.5125");
    EXPECT_EQ(Shown(UnitDefinitions::DegreesMinutes(), 12.5, 0, 2), "12°30'");
    EXPECT_EQ(Shown(UnitDefinitions::DegreesMinutes(), 0.25, 0, 2), "15'");
    EXPECT_EQ(std::string(dms->convertToString(16384.0, false, 0, 4, 0, true, 0).c_str()), "90°0'");
}

TEST(AngleUnitTest, ReadsDegreesMinutesAndSeconds) {
    ConstPointer<Unit> const & dms = UnitDefinitions::DegreesMinutesSeconds();
    struct Case {
        char const * text;
        double degrees;
    } const cases[] = {
        {"12°30'15\"", 12.0 + 30.0 / 60.0 + 15.0 / 3600.0},
        {"12° 30' 15\"", 12.0 + 30.0 / 60.0 + 15.0 / 3600.0},
        {"12;30;45", 12.5125},
        {"12°30", 12.5}, // a number behind the last abbreviation is the next part
        {"12°30'15", 12.0 + 30.0 / 60.0 + 15.0 / 3600.0},
        {"12°", 12.0},
        {"12", 12.0},
        {"30'", 0.5},
        {"15\"", 15.0 / 3600.0},
        {"12°15\"", 12.0 + 15.0 / 3600.0},
        {"-12°30'", -12.5},
        {"-0°0'30\"", 30.0 / 3600.0}, // kept: -0 is not below 0
        {"359°59'59.9999\"", 359.0 + 59.0 / 60.0 + 59.9999 / 3600.0},
        {"°'\"", 0.0}, // abbreviations alone read as 0 degrees
        {"abc", nan},
        {"", nan},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        double const read = dms->fromString(test.text, 0);
        if (std::isnan(test.degrees)) {
            EXPECT_TRUE(std::isnan(read));
        } else {
            EXPECT_NEAR(read, test.degrees, 1e-12);
        }
    }
    EXPECT_NEAR(dms->convertFromString("90°0'0\"", 0), 16384.0, 1e-9);
    EXPECT_NEAR(UnitDefinitions::DegreesMinutes()->fromString("12°30'", 0), 12.5, 1e-12);
}

TEST(AngleUnitTest, WholeSecondsSurviveTheRoundTrip) {
    ConstPointer<Unit> const & dms = UnitDefinitions::DegreesMinutesSeconds();
    ConstPointer<Unit> const & packed = UnitDefinitions::DDDMMSS();
    for (int degrees = 0; degrees < 360; degrees += 7) {
        for (int minutes = 0; minutes < 60; minutes += 7) {
            for (int seconds = 0; seconds < 60; seconds += 11) {
                for (double sign : {1.0, -1.0}) {
                    double const value = sign * (degrees + minutes / 60.0 + seconds / 3600.0);
                    std::string const text = Shown(dms, value, 0, 4);
                    std::string const packed_text = Shown(packed, value, 0, 2);
                    SCOPED_TRACE(text + " " + packed_text);
                    if (degrees != 0 || sign > 0.0) { // "-0°30'" reads +0.5, as kept above
                        EXPECT_NEAR(dms->fromString(text, 0), value, 1e-9);
                    }
                    EXPECT_NEAR(packed->fromString(packed_text, 0), value, 1e-9);
                }
            }
        }
    }
}

TEST(AngleUnitTest, PacksDegreesMinutesAndSecondsInOneNumber) {
    ConstPointer<Unit> const & packed = UnitDefinitions::DDDMMSS();
    struct Case {
        double degrees;
        unsigned int max_decimals;
        char const * expected;
    } const cases[] = {
        {12.5125, 2, "12.3045"}, {12.5125, 4, "12.3045"}, {-12.5125, 2, "-12.3045"}, {5.0825, 2, "5.0457"},
        {12.5, 2, "12.300"},     {nan, 2, "NaN"},         {1e10, 2, "NaN"},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.expected);
        EXPECT_EQ(Shown(packed, test.degrees, 0, test.max_decimals), test.expected);
        EXPECT_EQ(Shown(packed, test.degrees, 0, test.max_decimals, false, false), test.expected);
    }
    EXPECT_NEAR(packed->fromString("12.3045", 0), 12.5125, 1e-12);
    EXPECT_NEAR(packed->fromString("-12.3045", 0), -12.5125, 1e-12);
    EXPECT_NEAR(packed->fromString("5.0457", 0), 5.0825, 1e-12);
    EXPECT_TRUE(std::isnan(packed->fromString("x", 0)));
    EXPECT_EQ(std::string(packed->getNextPreferredSeparator("12.3045", 0)), ".");
}

TEST(AngleUnitTest, SuggestsTheNextSeparatorOfThreeParts) {
    ConstPointer<Unit> const & dms = UnitDefinitions::DegreesMinutesSeconds();
    struct Case {
        char const * text;
        char const * next;
    } const cases[] = {
        {"", "."},          {"12", "°"},    {"12°", "'"},    {"12°30'", "."},   {"12°30'15.", "\""},
        {"12°30'15\"", ""}, {"12;30", "'"}, {"12;30;", "."}, {"12;30;15;", ""},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(std::string(dms->getNextPreferredSeparator(test.text, 0)), test.next);
    }
}

TEST(AngleUnitTest, StepsAreTakenInTheUnitOrInItsParts) {
    struct Case {
        ConstPointer<Unit> const & unit;
        double base;
        double degrees;
    } const cases[] = {
        {UnitDefinitions::Degrees(), 1.0, 1.0},                         // a step in the unit
        {UnitDefinitions::DegreesMinutesSeconds(), 0.5, 10.0 / 3600.0}, // up to 10 seconds
        {UnitDefinitions::DegreesMinutes(), 0.5, 2.0 / 600.0},          // up to 2 tenths of a minute
        {UnitDefinitions::DegreesMinutesSeconds(), 5.0, 0.025},         // above 1: Unit's rule
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.unit->name().c_str() << " " << test.base);
        EXPECT_NEAR(test.unit->epsilon(test.base, 0) * degrees_per_index, test.degrees, 1e-12);
    }
}

TEST(LocationElevationUnitTest, SendsEachAxisToItsUnit) {
    ConstPointer<Unit> const lat_lon = UnitDefinitions::LatLonAlt(*UnitDefinitions::Degrees());
    ConstPointer<Unit> const & feet = UnitDefinitions::Feet();
    LocationElevationUnit const unit("place", TranslatedString::DirectString("Place"), lat_lon.get(), feet.get());
    EXPECT_EQ(unit.abbreviation(2).englishDefine().view(), StringView("'"));
    EXPECT_EQ(unit.abbreviation(0).englishDefine().view(), StringView("°"));
    EXPECT_EQ(unit.abbreviation(3).englishDefine().view(), StringView("°"));
    EXPECT_EQ(unit.translatedAxisName(1).englishDefine().view(), StringView("Longitude"));
    EXPECT_EQ(unit.translatedAxisName(2).englishDefine().view(), StringView("Z"));
    Unit::Vertex const base(16384.0, 8192.0, 3.048);
    Unit::Vertex const shown = unit.convertToUnit(base);
    Unit::Vertex const back = unit.convertFromUnit(shown);
    Unit::Vertex const expected(90.0, 45.0, 10.0);
    for (unsigned int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(shown[axis], expected[axis], 1e-12);
        EXPECT_NEAR(back[axis], base[axis], 1e-12);
    }
    EXPECT_EQ(std::string(unit.convertToString(0.3048 * 5.5, false, 0, 2, 0, true, 2).c_str()), "5.5'");
    EXPECT_EQ(std::string(unit.convertToString(8192.0, false, 0, 2, 0, true, 0).c_str()), "45°");
    LocationElevationUnit const other("place", TranslatedString::DirectString("Other"), feet.get(), lat_lon.get());
    EXPECT_EQ(unit, other); // the identity matrix leaves the name alone to compare
}

} // namespace
} // namespace QELTA
