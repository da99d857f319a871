// The unit catalogue: every factor against the published definition of its unit, the texts that
// stored settings depend on, one object per function even when threads race for it, and the
// units built on others.
#include "Base/Units/UnitDefinitions.h"

#include "Base/Language/Translator.h"
#include "Base/Units/AngleUnit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

// Published lengths in metres, masses in grams, volumes in cubic metres.
constexpr double foot = 0.3048;
constexpr double inch = 0.0254;
constexpr double survey_foot = 1200.0 / 3937.0;
constexpr double pound = 453.59237;
constexpr double gallon = 0.003785411784;
constexpr double astronomical_unit = 149597870700.0;
constexpr double exact = 2e-15; // a few units in the last place

ConstPointer<Unit> const & Find(std::string const & function) {
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        if (function == entry.function) {
            return entry.unit();
        }
    }
    static ConstPointer<Unit> const none;
    ADD_FAILURE() << "no unit " << function;
    return none;
}

// How many of the unit make one base unit.
double Factor(Unit const & unit) {
    return unit.matrix()(0, 0);
}

std::string Text(TranslatedString const & text) {
    return text.englishDefine().c_str();
}

// Each factor against the definition of the unit, to the double where the catalogue is exact.
struct Definition {
    char const * function;
    double factor;
    double tolerance; // relative
};

Definition const definitions[] = {
    {"Meters", 1.0, exact},
    {"Feet", 1.0 / foot, exact},
    {"Inches", 1.0 / inch, exact},
    {"Centimeters", 100.0, exact},
    {"Kilometers", 1e-3, exact},
    {"Micron", 1e6, exact},
    {"Millimeters", 1e3, exact},
    {"USSurveyFeet", 1.0 / survey_foot, exact},
    {"Microinches", 1e6 / inch, exact},
    {"Mils", 1e3 / inch, exact},
    {"Angstrom", 1e10, exact},
    {"Nanometers", 1e9, exact},
    {"Decimeters", 10.0, exact},
    {"Dekameters", 0.1, exact},
    {"Hectometers", 0.01, exact},
    {"Gigameters", 1e-9, exact},
    {"AstronomicalUnits", 1.0 / astronomical_unit, exact},
    {"LightYears", 1.0 / 9460730472580800.0, exact},
    {"Links", 1.0 / (0.66 * foot), exact},  // 0.66 international feet
    {"Chains", 1.0 / (66.0 * foot), exact}, // 66 international feet
    {"BenoitChains", 1.0 / 20.1167824943759, 1e-12},
    {"BenoitLinks", 1.0 / 0.201167824943759, 1e-12},
    {"GoldCoastFeet", 20926201.0 / 6378300.0, 1e-9},
    {"GermanMeters", 1.0 / 1.0000135965, exact},
    {"GermanLegalMeters", 1.0 / 1.0000135965, 1e-9},
    {"GunterChains", 1.0 / (66.0 * survey_foot), exact},
    {"GunterLinks", 1.0 / (0.66 * survey_foot), exact},
    {"InternationalFeet", 1.0 / foot, exact},
    {"InternationalInches", 1.0 / inch, exact},
    {"InternationalMiles", 1.0 / 1609.344, exact},
    {"IndianYards", 1.0 / 0.91439523, exact}, // the Indian yard of 1937
    {"NauticalMiles", 1.0 / 1852.0, exact},
    {"Rods", 1.0 / (16.5 * survey_foot), exact},
    {"SouthAfricanRoods", 1.0 / (12.0 * 0.31485557516), 2e-9}, // 12 Cape feet
    {"SearsChains", 39.370147 / 792.0, 2e-13},                 // 39.370147 Sears inches to the metre
    {"SearsLinks", 39.370147 / 7.92, 2e-13},
    {"SearsYards", 39.370147 / 36.0, exact},
    {"ClarkesFeet", 39.370432 / 12.0, exact}, // 39.370432 Clarke's inches to the metre
    {"ClarkesYards", 39.370432 / 36.0, exact},
    {"ClarkesChains", 39.370432 / 792.0, exact},
    {"ClarkesLinks", 39.370432 / 7.92, exact},
    {"MilesPerHour", 3600.0 / 1609.344, exact},
    {"KilometersPerHour", 3.6, exact},
    {"FeetPerSecond", 1.0 / foot, exact},
    {"MetersPerSecond", 1.0, exact},
    {"MillimetersPerSecond", 1e3, exact},
    {"RotationsPerMinute", 60.0, exact},
    // The pound is stored to six digits, 0.00220462 to the gram, and the other imperial masses
    // are counted from it.
    {"Pounds", 1.0 / pound, 1.2e-6},
    {"Ounces", 16.0 / pound, 1.2e-6},
    {"LongTons", 1.0 / (2240.0 * pound), 1.2e-6},
    {"ShortTons", 1.0 / (2000.0 * pound), 1.2e-6},
    {"MetricTons", 1e-6, exact},
    {"Kilograms", 1e-3, exact},
    {"Grams", 1.0, exact},
    {"Milliseconds", 1e3, exact},
    {"Seconds", 1.0, exact},
    {"Minutes", 1.0 / 60.0, exact},
    {"Hours", 1.0 / 3600.0, exact},
    {"SqrMeters", 1.0, exact},
    {"SqrKilometers", 1e-6, exact},
    {"SqrFeet", 1.0 / (foot * foot), exact},
    {"SqrYards", 1.0 / (9.0 * foot * foot), exact},
    {"SqrInches", 1.0 / (inch * inch), exact},
    {"Ares", 1e-2, exact},
    {"Hectares", 1e-4, exact},
    {"Acres", 1.0 / 4046.8564224, 3.6e-5}, // the catalogue's acre is 4047 square metres
    {"CubicMeters", 1.0, exact},
    {"CubicFeet", 1.0 / (foot * foot * foot), exact},
    {"CubicYards", 1.0 / (27.0 * foot * foot * foot), exact},
    {"CubicInches", 1.0 / (inch * inch * inch), exact},
    {"Liters", 1e3, exact},
    {"Gallon", 1.0 / gallon, exact},
    {"Barrel", 1.0 / (31.5 * gallon), exact}, // the US barrel of 31.5 gallons
    {"Hertz", 1.0, exact},
    {"MegaHertz", 1e-6, exact},
    {"Celsius", 1.0, exact},
    {"Volts", 1.0, exact},
    {"Millivolts", 1e3, exact},
    {"Percent", 100.0, exact},
    {"Pixels", 1.0, exact},
    {"DotsPerInch", inch, exact},
    {"SurfaceNormalPercent", 100.0, exact},
    {"FeetInches", 1.0 / foot, exact},
    {"USSurveyFeetInches", 1.0 / survey_foot, exact},
    {"MinutesSeconds", 1.0 / 60.0, exact},
    {"Fahrenheit", 1.8, exact},
    {"Kelvin", 1.0, exact},
    {"Degrees", 360.0 / 65536.0, exact},
    {"DegreesMinutes", 360.0 / 65536.0, exact},
    {"DegreesMinutesSeconds", 360.0 / 65536.0, exact},
    {"DDDMMSS", 360.0 / 65536.0, exact},
    {"Radians", 1.0 / 32768.0, exact}, // half turns: the number shown is a multiple of pi
    {"Gradians", 400.0 / 65536.0, exact},
};

// Factors that match no definition of their unit's name. Stored values were converted with them,
// so they stay as they are.
struct Kept {
    char const * function;
    double factor;
    char const * note;
};

Kept const kept[] = {
    {"Yards", 0.1016, "not 1.0936, the yards per metre"},
    {"Microns", 1e9, "nanometres, not the 1e6 of Micron"},
    {"Parsecs", 1.0 / (206000.0 * astronomical_unit), "206000 au, not 648000/pi"},
    {"Brealey", 1.0 / 375.0, "375 m"},
    {"CAGridUnits", 1.0 / 0.999738, "0.999738 m"},
    {"BritishChains", 0.20116756, "the metres of a link"},
};

TEST(UnitDefinitionsTest, EveryFactorMatchesItsDefinition) {
    std::set<std::string> checked;
    for (Definition const & definition : definitions) {
        SCOPED_TRACE(definition.function);
        double const factor = Factor(*Find(definition.function));
        EXPECT_NEAR(factor, definition.factor, definition.tolerance * definition.factor);
        checked.insert(definition.function);
    }
    for (Kept const & row : kept) {
        SCOPED_TRACE(::testing::Message() << row.function << ": " << row.note);
        EXPECT_NEAR(Factor(*Find(row.function)), row.factor, exact * row.factor);
        checked.insert(row.function);
    }
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        EXPECT_EQ(checked.count(entry.function), 1u) << entry.function << " has no definition to check";
    }
    EXPECT_EQ(checked.size(), UnitDefinitions::Catalogue().size());
}

TEST(UnitDefinitionsTest, OffsetUnitsMoveTheirZero) {
    EXPECT_EQ(UnitDefinitions::Kelvin()->convertToUnit(0.0, 0), 273.15);
    EXPECT_EQ(UnitDefinitions::Fahrenheit()->convertToUnit(100.0, 0), 212.0);
}

// The texts that settings files and translations are keyed by, where they look like mistakes.
TEST(UnitDefinitionsTest, KeepsTheStoredTextsAsTheyAre) {
    struct Case {
        ConstPointer<Unit> const & unit;
        char const * name;
        char const * label;
        char const * abbreviation;
        char const * key;
    } const cases[] = {
        {UnitDefinitions::Meters(), "meters", "meters", "m", "meters_abv"},
        {UnitDefinitions::Minutes(), "minutes", "minutes", "m", "minutes_abv"},
        {UnitDefinitions::Micron(), "micron", "microns", "μm", "micron_abv"},
        {UnitDefinitions::Microns(), "microns", "microns", "nm", "microns_abv"},
        {UnitDefinitions::Microinches(), "microinches", "microinches", "µin", "micro_inches_abv"},
        {UnitDefinitions::Yards(), "yards", "yards", "yards", "yards_abv"},
        {UnitDefinitions::Brealey(), "brealey", "brealey", "'", "feet_abv"},
        {UnitDefinitions::CAGridUnits(), "brealey", "brealey", "breadley_abv", "gr"},
        {UnitDefinitions::GunterLinks(), "gunter link", "gunter link", "li", "links_abv"},
        {UnitDefinitions::SouthAfricanRoods(), "south african roods", "south african roods", "'", "SA_roods_abv"},
        {UnitDefinitions::FeetPerSecond(), "feet per secons", "feet per second", "f/s", "feet_per_second_abv"},
        {UnitDefinitions::MillimetersPerSecond(), "meters per second", "millimeters per second", "mm/s",
         "millimeters_per_second_abv"},
        {UnitDefinitions::Liters(), "liters", "liters", "r", "liters_abv"},
        {UnitDefinitions::Gallon(), "US gallons", "US gallons", "gal", "gallons_abv"},
        {UnitDefinitions::Barrel(), "US barrels", "US barrels", "bbl", "use_barrels_abv"},
        {UnitDefinitions::Ounces(), "ounces", "ounces", "℥", "ounce_abv"},
        {UnitDefinitions::Kelvin(), "kelvin", "kelvin", "°K", "kelvin_abv"},
        {UnitDefinitions::Pixels(), "pixel", "pixel", "px", "pixel_abv"},
        {UnitDefinitions::SurfaceNormalPercent(), "surface percent", "percent", "%", "percent_abv"},
        {UnitDefinitions::USSurveyFeet(), "us survey feet", "U.S. survey feet", "'", "us_feet_abv"},
        {UnitDefinitions::AstronomicalUnits(), "astronomical_units", "astronomical units", "au",
         "astronomical_units_abv"},
        {UnitDefinitions::FeetInches(), "feet inches", "feet inches", "'", "feet_abv"},
        {UnitDefinitions::Degrees(), "decimal degrees", "degrees", "°", "angle_degrees_abv"},
        {UnitDefinitions::DDDMMSS(), "degrees.minsec", "degrees minutes seconds", ".", "angle_dddmmss_abv"},
        {UnitDefinitions::Radians(), "radians", "radians", "π", "radians_abv"},
        {UnitDefinitions::Gradians(), "gradians", "gradians", "ᵍ", "gradians_abv"},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(std::string(test.unit->name().c_str()), test.name);
        TranslatedString const label = test.unit->translatedName();
        EXPECT_EQ(Text(label), test.label);
        EXPECT_EQ(label.translationID(), Translator::DefaultID(test.label));
        TranslatedString const & abbreviation = test.unit->abbreviation(0);
        EXPECT_EQ(Text(abbreviation), test.abbreviation);
        EXPECT_EQ(abbreviation.translationID(), Translator::DefaultFastID(test.key));
    }
    // The names are the identities of stored settings: they are not all different.
    EXPECT_EQ(UnitDefinitions::MillimetersPerSecond()->name().view(),
              UnitDefinitions::MetersPerSecond()->name().view());
    EXPECT_NE(*UnitDefinitions::MillimetersPerSecond(), *UnitDefinitions::MetersPerSecond());
}

TEST(UnitDefinitionsTest, CompoundUnitsShowTheirParts) {
    struct Case {
        ConstPointer<Unit> const & unit;
        double base;
        char const * shown;
    } const cases[] = {
        {UnitDefinitions::FeetInches(), 5.5 * foot, "5'6\""},
        {UnitDefinitions::USSurveyFeetInches(), 5.5 * survey_foot, "5'6\""},
        {UnitDefinitions::MinutesSeconds(), 150.0, "2m30s"},
        {UnitDefinitions::DegreesMinutes(), 16384.0 + 8192.0 / 90.0, "90°30'"},
        {UnitDefinitions::DDDMMSS(), 8192.0 + 8192.0 / 45.0 * 0.5125, "45.3045"},
        {UnitDefinitions::Radians(), 16384.0, "0.5π"},
        {UnitDefinitions::Gradians(), 16384.0, "100ᵍ"},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.shown);
        EXPECT_EQ(std::string(test.unit->convertToString(test.base, false, 0, 4, 0, true, 0).c_str()), test.shown);
        EXPECT_NEAR(test.unit->convertFromString(test.shown, 0), test.base, 1e-9 * (1.0 + test.base));
    }
}

TEST(UnitDefinitionsTest, ThreadsRacingForTheFirstCallGetOneObject) {
    std::span<UnitDefinitions::Entry const> const catalogue = UnitDefinitions::Catalogue();
    std::vector<std::vector<Unit const *>> seen(4, std::vector<Unit const *>(catalogue.size()));
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < seen.size(); ++thread) {
        threads.emplace_back([&, thread] {
            // Half of the threads walk the table backwards, so that they meet in the middle.
            for (std::size_t i = 0; i < catalogue.size(); ++i) {
                std::size_t const index = thread % 2 == 0 ? i : catalogue.size() - 1 - i;
                seen[thread][index] = catalogue[index].unit().get();
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    std::set<Unit const *> const distinct(seen[0].begin(), seen[0].end());
    EXPECT_EQ(distinct.size(), catalogue.size());
    EXPECT_EQ(distinct.count(nullptr), 0u);
    for (std::size_t thread = 1; thread < seen.size(); ++thread) {
        EXPECT_EQ(seen[thread], seen[0]);
    }
    EXPECT_EQ(&UnitDefinitions::Meters(), &UnitDefinitions::Meters());
}

TEST(UnitDefinitionsTest, CoordinateUnitsTurnAndNameTheirAxes) {
    Unit const & metres = *UnitDefinitions::Meters();
    struct Case {
        ConstPointer<Unit> unit;
        char const * name;
        Unit::Vertex x_goes_to;
        char const * axes[3][2];
    } const cases[] = {
        {UnitDefinitions::XYZ(metres), "XYZ:meters", {0.0, 1.0, 0.0}, {{"X", "X"}, {"Y", "Y"}, {"Z", "Z"}}},
        {UnitDefinitions::YXZ(metres), "YXZ:meters", {1.0, 0.0, 0.0}, {{"Y", "Y"}, {"X", "X"}, {"Z", "Z"}}},
        {UnitDefinitions::NorthingEastingElevation(metres),
         "NEH:meters",
         {1.0, 0.0, 0.0},
         {{"Northing", "N"}, {"Easting", "E"}, {"Elevation", "H"}}},
        {UnitDefinitions::EastingNorthingElevation(metres),
         "ENH:meters",
         {0.0, 1.0, 0.0},
         {{"Easting", "E"}, {"Northing", "N"}, {"Elevation", "H"}}},
        {UnitDefinitions::WestingSouthingElevation(metres),
         "WSH:meters",
         {0.0, -1.0, 0.0},
         {{"Westing", "W"}, {"Southing", "S"}, {"Elevation", "H"}}},
        {UnitDefinitions::NorthingElevationEasting(metres),
         "NHE:meters",
         {1.0, 0.0, 0.0},
         {{"Northing", "N"}, {"Elevation", "H"}, {"Easting", "E"}}},
        {UnitDefinitions::EastingElevationNorthing(metres),
         "EHN:meters",
         {0.0, 1.0, 0.0},
         {{"Easting", "E"}, {"Elevation", "H"}, {"Northing", "N"}}},
        {UnitDefinitions::WestingElevationSouthing(metres),
         "WHS:meters",
         {0.0, -1.0, 0.0},
         {{"Westing", "W"}, {"Elevation", "H"}, {"South", "S"}}},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(std::string(test.unit->name().c_str()), test.name);
        EXPECT_EQ(Text(test.unit->translatedName()), "meters");
        Unit::Vertex const x = test.unit->convertToUnit(Unit::Vertex(1.0, 0.0, 0.0));
        Unit::Vertex const y = test.unit->convertToUnit(Unit::Vertex(0.0, 1.0, 0.0));
        for (unsigned int axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(x[axis], test.x_goes_to[axis], 1e-15);
            EXPECT_EQ(Text(test.unit->translatedAxisName(axis)), test.axes[axis][0]);
            EXPECT_EQ(Text(test.unit->axisAbbreviation(axis)), test.axes[axis][1]);
        }
        EXPECT_NEAR(x.dot(y), 0.0, 1e-15); // a turn or a mirror keeps the axes apart
    }
    EXPECT_NE(UnitDefinitions::XYZ(metres).get(), UnitDefinitions::XYZ(metres).get());
    EXPECT_EQ(*UnitDefinitions::XYZ(metres), *UnitDefinitions::XYZ(metres));
    ConstPointer<Unit> const feet_east = UnitDefinitions::EastingNorthingElevation(*UnitDefinitions::Feet());
    EXPECT_NEAR(feet_east->convertToUnit(Unit::Vertex(0.0, foot, 0.0))[0], -1.0, 1e-12);
}

TEST(UnitDefinitionsTest, LatLonAltKeepsTheKindOfUnit) {
    ConstPointer<Unit> const lat_lon = UnitDefinitions::LatLonAlt(*UnitDefinitions::DegreesMinutesSeconds());
    EXPECT_EQ(std::string(lat_lon->name().c_str()), "LATLONALT:degrees minutes seconds");
    EXPECT_NE(dynamic_cast<ThreePartAngleUnit const *>(lat_lon.get()), nullptr);
    char const * const axes[3][3] = {{"Latitude", "LAT", "latitude_abv"},
                                     {"Longitude", "LON", "longitude_abv"},
                                     {"Altitude", "ALT", "altitude_abv"}};
    for (unsigned int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(Text(lat_lon->translatedAxisName(axis)), axes[axis][0]);
        EXPECT_EQ(Text(lat_lon->axisAbbreviation(axis)), axes[axis][1]);
        EXPECT_EQ(lat_lon->axisAbbreviation(axis).translationID(), Translator::DefaultFastID(axes[axis][2]));
    }
    EXPECT_EQ(std::string(lat_lon->convertToString(8192.0 + 8192.0 / 90.0, false, 0, 4, 0, true, 1).c_str()), "45°30'");
}

} // namespace
} // namespace QELTA
