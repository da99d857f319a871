// The unit manager: units in force and their listeners, defaults, settings files, options,
// custom units, and units read from names, suffixes and column labels.
#include "Base/Units/UnitManager.h"

#include "Base/Units/UnitDefinitions.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

namespace QELTA {
namespace {

using Units = UnitDefinitions;

std::string NameOf(ConstPointer<Unit> const & unit) {
    return unit == nullptr ? std::string("null") : std::string(unit->name().data(), unit->name().size());
}

// Counts the notifications of one resource.
struct Counter {
    int calls = 0;
    BasicResourceListener * listener = new BasicResourceListener([this] { ++calls; });
};

class UnitManagerTest : public Testing::TempFolderTest {
  protected:
    File settings() const { return Path("application_units.ini"); }
};

TEST_F(UnitManagerTest, ChangeTellsEachListenerOnceAndReadsBackInAFreshManager) {
    UnitManager manager(settings());
    EXPECT_EQ(NameOf(manager.unit(UnitCategory::DISTANCE)), "null");
    EXPECT_EQ(NameOf(manager.unit(UnitCategory::TIME)), "seconds");
    manager.setToDefaultMetric(false);
    Counter first;
    Counter second;
    manager.unitResource(UnitCategory::DISTANCE).addListener(first.listener, true);
    manager.unitResource(UnitCategory::DISTANCE).addListener(second.listener, true);
    manager.setUnit(UnitCategory::DISTANCE, Units::Feet());
    manager.setUnit(UnitCategory::DISTANCE, Units::Feet()); // the same unit: no news
    EXPECT_EQ(first.calls, 1);
    EXPECT_EQ(second.calls, 1);
    manager.setUnit(UnitCategory::COORDINATE, manager.unit("NEH:feet"));
    ASSERT_TRUE(manager.saveINIOptions(false));

    UnitManager fresh(settings());
    ASSERT_TRUE(fresh.readINIOptions());
    EXPECT_EQ(NameOf(fresh.unit(UnitCategory::DISTANCE)), "feet");
    EXPECT_EQ(NameOf(fresh.unit(UnitCategory::COORDINATE)), "NEH:feet");
    EXPECT_EQ(NameOf(fresh.unit(UnitCategory::ORIENTATION)), "N:CW:decimal degrees:90:UP");
    EXPECT_EQ(NameOf(fresh.unit(UnitCategory::LATLON)), "LATLONALT:degrees minutes seconds");
    EXPECT_EQ(NameOf(fresh.temperatureResource().value()), "celsius");
}

TEST_F(UnitManagerTest, MetricAndImperialDefaults) {
    struct Case {
        UnitCategory category;
        char const * metric;
        char const * imperial;
    } const cases[] = {
        {UnitCategory::ANGLE, "decimal degrees", "decimal degrees"},
        {UnitCategory::DISTANCE, "meters", "feet"},
        {UnitCategory::COORDINATE, "ENH:meters", "ENH:feet"},
        {UnitCategory::SURFACE_AREA, "square meters", "square feet"},
        {UnitCategory::VOLUME, "cubic meters", "cubic feet"},
        {UnitCategory::WEIGHT, "kilograms", "pounds"},
        {UnitCategory::UNDEFINED, "null", "null"},
    };
    UnitManager manager(settings());
    manager.setToDefaultMetric(false);
    UnitManager imperial(settings());
    imperial.setToDefaultImperial(false);
    for (Case const & test : cases) {
        SCOPED_TRACE(static_cast<int>(test.category));
        EXPECT_EQ(NameOf(manager.unit(test.category)), test.metric);
        EXPECT_EQ(NameOf(imperial.unit(test.category)), test.imperial);
    }
    EXPECT_EQ(NameOf(imperial.temperatureResource().value()), "fahrenheit");
    EXPECT_EQ(&manager.unitResource(UnitCategory::UNDEFINED), &manager.unitResource(UnitCategory::DISTANCE));

    // The axis order stays when the length under it changes.
    manager.setUnit(UnitCategory::COORDINATE, manager.unit("NEH:meters"));
    Counter counter;
    manager.unitResource(UnitCategory::DISTANCE).addListener(counter.listener, true);
    manager.setToDefaultImperial(true);
    EXPECT_EQ(NameOf(manager.unit(UnitCategory::COORDINATE)), "NEH:feet");
    manager.setToDefaultImperial(true);
    EXPECT_EQ(counter.calls, 1);
}

TEST_F(UnitManagerTest, DamagedSettingsLeaveValidUnitsAndAreRewrittenWhole) {
    Testing::WriteAll(root() + "/application_units.ini",
                      "distance_space_unit=furlongs\nvolume_unit=\nweight_unit=ENH:\x01\xff:x\n"
                      "angle_unit=N:CW:degrees:1e999999:UP\ngarbage without equals\n\x00\x01\x02=\n"
                      "coordinate_space_unit=LATLONALT:ENH:feet\n");
    UnitManager manager(settings());
    manager.setToDefaultMetric(false);
    manager.readINIOptions();
    for (UnitCategory category : {UnitCategory::ANGLE, UnitCategory::ORIENTATION, UnitCategory::DISTANCE,
                                  UnitCategory::COORDINATE, UnitCategory::SURFACE_AREA, UnitCategory::VOLUME,
                                  UnitCategory::WEIGHT, UnitCategory::TIME, UnitCategory::LATLON}) {
        EXPECT_NE(manager.unit(category), nullptr) << static_cast<int>(category);
    }
    EXPECT_EQ(NameOf(manager.unit(UnitCategory::DISTANCE)), "meters");
    ASSERT_TRUE(manager.saveINIOptions(false));
    std::string const saved = Testing::ReadAll(root() + "/application_units.ini");
    EXPECT_EQ(saved.find("garbage"), std::string::npos);
    EXPECT_EQ(saved.find("furlongs"), std::string::npos);
    EXPECT_NE(saved.find("distance_space_unit=meters"), std::string::npos);
    EXPECT_NE(saved.find("volume_unit=cubic meters"), std::string::npos);
}

TEST_F(UnitManagerTest, CustomUnitsKeepTheirOwnSetting) {
    UnitOptionList options;
    for (ConstPointer<Unit> const & unit : {Units::Millimeters(), Units::Microns()}) {
        options.add(ConstPointer<UnitOption>(new BasicUnitOption(unit, TranslatedString())));
    }
    auto make = [&] {
        auto manager = std::make_unique<UnitManager>(settings());
        manager->addSpecialUnit(DynamicPointer<CustomUnit>(new BasicCustomUnit(
            "tolerance_unit", TranslatedString::DirectString("Tolerance"), UnitCategory::DISTANCE, options)));
        manager->addSpecialUnit(DynamicPointer<CustomUnit>(
            new ReferenceCustomUnit("survey_unit", TranslatedString(), UnitCategory::DISTANCE)));
        manager->setToDefaultMetric(false);
        return manager;
    };
    auto manager = make();
    EXPECT_EQ(NameOf(manager->specialUnit("tolerance_unit")), "millimeters");
    manager->setUnit(UnitCategory::DISTANCE, Units::Feet());
    EXPECT_EQ(NameOf(manager->specialUnit("survey_unit")), "feet");
    manager->specialUnitResource("tolerance_unit").set(Units::Centimeters());
    ASSERT_TRUE(manager->saveINIOptions(false));
    EXPECT_NE(Testing::ReadAll(root() + "/application_units.ini").find("tolerance_unit=centimeters"),
              std::string::npos);

    auto fresh = make();
    ASSERT_TRUE(fresh->readINIOptions());
    EXPECT_EQ(NameOf(fresh->specialUnit("tolerance_unit")), "centimeters");
    EXPECT_EQ(NameOf(fresh->specialUnit("survey_unit")), "feet");
    EXPECT_FALSE(fresh->hasSpecialUnit("other"));
    EXPECT_EQ(fresh->specialUnit("other"), nullptr);
}

TEST_F(UnitManagerTest, TiedManagerFollowsTheUnitsOfTheMomentOfTheTie) {
    UnitManager leader(settings());
    leader.setToDefaultImperial(false);
    {
        UnitManager follower(settings());
        follower.setToDefaultMetric(false);
        follower.tieToManager(leader);
        EXPECT_EQ(NameOf(follower.unit(UnitCategory::DISTANCE)), "meters");
        leader.setUnit(UnitCategory::DISTANCE, Units::Inches());
        // The copy taken at the tie held feet.
        EXPECT_EQ(NameOf(follower.unit(UnitCategory::DISTANCE)), "feet");
        EXPECT_EQ(NameOf(follower.unit(UnitCategory::WEIGHT)), "pounds");
    }
    leader.setUnit(UnitCategory::DISTANCE, Units::Meters()); // the follower is gone and detached
    UnitManager orphan(settings());
    {
        UnitManager short_lived(settings());
        orphan.tieToManager(short_lived);
    } // the tie's listener goes with the last resource it listened to
}

TEST(UnitLookupTest, FindsUnitsByTextAndComposedNames) {
    struct Case {
        char const * text;
        char const * name;
    } const cases[] = {
        {"", "null"},
        {"Meters", "meters"},
        {"METERS", "meters"},
        {"metre", "meters"},
        {"Foot_Survey_US", "us survey feet"},
        {"tons", "long tons"},
        {"yards", "null"},
        {"decimal degrees", "decimal degrees"},
        {"US gallons", "US gallons"}, // the option's id
        {"ENH:feet", "ENH:feet"},
        {"neh:METRE", "NEH:meters"},
        {"LATLONALT:degrees minutes", "LATLONALT:degrees minutes"},
        {"QQQ:feet", "null"},
        {"ENH:yards", "null"},
        {"N:CW:decimal degrees", "N:CW:decimal degrees:90:UP"},
        {"N:CW:decimal degrees:90:UP", "N:CW:decimal degrees:90:UP"},
        {"N:XX:degrees", "N:CCW:decimal degrees:90:UP"},
        {"w:CW:radians:45:DOWN", "W:CW:radians:45:DOWN"},
        {"N:CW:feet", "null"},
        {"Q:CW:degrees", "null"},
        {"a:b:c:d", "null"},
        {"N:CW:degrees:90", "null"},
        {"ENH:NEH:feet", "null"},
    };
    UnitManager manager{File()};
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(NameOf(manager.unit(StringView(test.text))), test.name);
    }
    // A stored name never reads back as another unit, and every option's unit reads back.
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        ConstPointer<Unit> const found = manager.unit(entry.unit()->name());
        SCOPED_TRACE(entry.function);
        EXPECT_TRUE(found == nullptr || found->name() == entry.unit()->name());
    }
    for (UnitCategory category : {UnitCategory::ANGLE, UnitCategory::DISTANCE, UnitCategory::SURFACE_AREA,
                                  UnitCategory::VOLUME, UnitCategory::WEIGHT, UnitCategory::LATLON}) {
        for (ConstPointer<UnitOption> const & option : manager.unitOptions(category)) {
            for (ConstPointer<UnitOption> const & sub : option->subOptions()) {
                EXPECT_EQ(NameOf(manager.unit(sub->unit()->name())), NameOf(sub->unit()));
            }
            EXPECT_EQ(NameOf(manager.unit(option->unit()->name())), NameOf(option->unit()));
        }
    }
}

TEST(UnitLookupTest, DetectsUnitsFromSuffixesAndLabels) {
    struct Case {
        char const * text;
        UnitCategory category;
        char const * name;
    } const cases[] = {
        {"5'6\"", UnitCategory::DISTANCE, "feet inches"},
        {"12° 30' 15\"", UnitCategory::ANGLE, "degrees minutes seconds"},
        {"12°30'", UnitCategory::UNDEFINED, "degrees minutes"},
        {"100", UnitCategory::DISTANCE, "null"},
        {"12.5 kg", UnitCategory::DISTANCE, "null"},
        {"12.5 FT", UnitCategory::DISTANCE, "feet"},
        {"3 cm", UnitCategory::UNDEFINED, "centimeters"},
        {"3 Inches", UnitCategory::DISTANCE, "inches"},
        {"3'", UnitCategory::DISTANCE, "us survey feet"}, // a later option of the same text wins
        {"45 deg", UnitCategory::ANGLE, "decimal degrees"},
        {"45°", UnitCategory::ORIENTATION, "decimal degrees"},
        {"1.5 radians", UnitCategory::ANGLE, "radians"},
        {"45 degrees", UnitCategory::LATLON, "LATLONALT:decimal degrees"},
        {"Dist [m]", UnitCategory::DISTANCE, "meters"},
        {"Easting (ft)", UnitCategory::COORDINATE, "ENH:feet"},
        {"Easting (ft)", UnitCategory::UNDEFINED, "feet"},
        {"Angle DMS", UnitCategory::ANGLE, "degrees minutes seconds"},
        {"Weight (kilograms)", UnitCategory::DISTANCE, "null"},
        {"Label (", UnitCategory::UNDEFINED, "null"},
    };
    UnitManager manager{File()};
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        Buffer<String> const label{String(test.text)};
        ConstPointer<Unit> const parsed = manager.parseUnit(StringView(test.text), test.category);
        ConstPointer<Unit> const labelled = manager.determineUnit(label, test.category);
        EXPECT_EQ(NameOf(parsed != nullptr ? parsed : labelled), test.name);
    }
    EXPECT_EQ(manager.parseUnit("1 m 2 m 3 m 4 m", UnitCategory::DISTANCE), nullptr); // four parts
}

TEST(UnitOptionTest, MembersAndTitles) {
    UnitManager manager{File()};
    UnitOptionList const & distance = manager.distanceUnitOptions();
    ASSERT_EQ(distance.size(), 5u);
    EXPECT_TRUE(distance[1]->hasMemberUnit(Units::FeetInches()));
    EXPECT_FALSE(distance[1]->hasMemberUnit(Units::USSurveyFeetInches()));
    EXPECT_FALSE(distance[1]->hasMemberUnit(nullptr));
    EXPECT_EQ(UnitManager::ActiveOption(distance, Units::USSurveyFeetInches()), distance[2]);
    EXPECT_EQ(std::string(distance[0]->title().englishDefine().c_str()), "Meters (m)");
    UnitOptionList const angle_subs = manager.angleUnitOptions()[0]->subOptions();
    ASSERT_EQ(angle_subs.size(), 4u);
    EXPECT_EQ(std::string(angle_subs[2]->title().translation().data(), angle_subs[2]->title().translation().size()),
              "DDD°MM'SS\"");
    UnitOptionList const & orders = manager.coordinateSpaceFormatOptions();
    ASSERT_EQ(orders.size(), 5u);
    EXPECT_TRUE(orders[0]->hasMemberUnit(manager.unit("ENH:feet")));
    EXPECT_FALSE(orders[0]->hasMemberUnit(manager.unit("NEH:feet")));
    EXPECT_EQ(NameOf(orders[4]->unit(Units::Inches())), "YXZ:inches");

    struct Case {
        char const * name;
        bool metric;
        bool imperial;
    } const names[] = {{"us survey feet", false, true},
                       {"kilometers", true, false},
                       {"decimal degrees", true, true},
                       {"metric tons", true, false}};
    for (Case const & test : names) {
        SCOPED_TRACE(test.name);
        ConstPointer<Unit> const unit = manager.unit(StringView(test.name));
        EXPECT_EQ(UnitManager::canBeMetric(unit), test.metric);
        EXPECT_EQ(UnitManager::canBeImperial(unit), test.imperial);
    }
    EXPECT_FALSE(UnitManager::canBeMetric(nullptr));

    manager.setToDefaultMetric(false);
    ConstPointer<Unit> const offset = manager.orientationOffsetUnit();
    ASSERT_NE(offset, nullptr);
    EXPECT_EQ(NameOf(offset), "orientation_offset");
    // 400 degrees isn't folded into one turn once nothing is wrapped.
    double const turn_and_more = Units::Degrees()->convertFromUnit(400.0, 2);
    EXPECT_NEAR(std::fabs(offset->convertToUnit(turn_and_more, 2)), 400.0, 1e-9);
}

} // namespace
} // namespace QELTA
