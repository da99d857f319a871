// The design palettes, and the colour options saved with the user's settings.
#include "Base/Color/ColorPalettes.h"
#include "Base/Color/ColorOptions.h"
#include "Base/Color/RGBColor.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <string>

namespace QELTA {
namespace {

using Testing::Std;

TEST(ColorPalettesTest, LengthsAndEnds) {
    struct Row {
        char const * name;
        Buffer<RGBColor> (*palette)();
        unsigned int size;
        char const * first;
        char const * last;
    };
    Row const rows[] = {
        {"Rainbow", ColorPalettes::RainbowPalette, 12, "FF00FF", "FF0200"},
        {"Strata", ColorPalettes::StrataPalette, 12, "2F486D", "95874C"},
        {"RainbowContrast", ColorPalettes::RainbowContrastPalette, 6, "8931EF", "E11845"},
        {"EarthMineral", ColorPalettes::EarthMineralPalette, 12, "20120C", "EBC976"},
        {"Blueprint", ColorPalettes::BlueprintPalette, 12, "0A1830", "40E0A3"},
        {"MidnightSignal", ColorPalettes::MidnightSignalPalette, 12, "0A1026", "FF6E96"},
        {"TacticalField", ColorPalettes::TacticalFieldPalette, 12, "121C16", "E8D280"},
        {"MonochromeAccent", ColorPalettes::MonochromeAccentPalette, 12, "121212", "DCDCDC"},
        {"SedimentLayer", ColorPalettes::SedimentLayerPalette, 12, "213658", "DECC98"},
        {"SafetyGlow", ColorPalettes::SafetyGlowPalette, 12, "1C1C1C", "FFEAAA"},
        {"EnergyFlow", ColorPalettes::EnergyFlowPalette, 12, "061E38", "F05656"},
        {"OceanBeacon", ColorPalettes::OceanBeaconPalette, 12, "081E50", "181818"},
        {"AeroSystem", ColorPalettes::AeroSystemPalette, 12, "080A10", "F8F8F8"},
        {"VitalScan", ColorPalettes::VitalScanPalette, 12, "08181C", "7878E0"},
        {"UrbanStructure", ColorPalettes::UrbanStructurePalette, 12, "24282C", "9060C4"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        Buffer<RGBColor> const palette = row.palette();
        ASSERT_EQ(palette.size(), row.size);
        EXPECT_EQ(Std(palette[0].getHexARGB().view()), std::string("FF") + row.first);
        EXPECT_EQ(Std(palette[row.size - 1].getHexARGB().view()), std::string("FF") + row.last);
    }
}

class ColorOptionsTest : public Testing::TempFolderTest {
  protected:
    void TearDown() override {
        ApplicationOptions::UserOptions().setToDefaults();
        TempFolderTest::TearDown();
    }
};

TEST_F(ColorOptionsTest, SavedWithTheUserSettingsInBothForms) {
    ApplicationOptions & options = ApplicationOptions::UserOptions();
    ColorOptions::error_color.set(RGBColor(1, 2, 3, 4));
    ColorOptions::valid_color.set(RGBColor(250, 0, 128, 255));
    File ascii = Path("user_settings.ini");
    File binary = Path("user_settings.inib");
    {
        INIFactory factory;
        options.addToINI(factory);
        factory.writeToAsciiFile(ascii, false);
        factory.writeToBinaryFile(binary);
    }
    std::string const text = Testing::ReadAll(SystemPath("user_settings.ini"));
    EXPECT_NE(text.find("color_settings-error_color=1,2,3,4\n"), std::string::npos) << text;
    for (File * file : {&ascii, &binary}) {
        options.setToDefaults();
        ASSERT_NE(ColorOptions::error_color.value(), RGBColor(1, 2, 3, 4));
        INIFactory factory;
        options.addToINI(factory);
        if (file == &ascii) {
            factory.readAsciiFile(*file);
        } else {
            factory.readBinaryFile(*file);
        }
        EXPECT_EQ(ColorOptions::error_color.value(), RGBColor(1, 2, 3, 4));
        EXPECT_EQ(ColorOptions::valid_color.value(), RGBColor(250, 0, 128, 255));
    }
}

TEST_F(ColorOptionsTest, PaletteTellsOnlyOfAChange) {
    int heard = 0;
    auto * const listener = new BasicResourceListener([&heard] { ++heard; });
    ColorOptions::default_palette.addListener(listener, true);
    Buffer<RGBColor> const start = ColorOptions::default_palette.value();
    ColorOptions::default_palette.set(Buffer<RGBColor>(start));
    EXPECT_EQ(heard, 0);
    Buffer<RGBColor> changed(start);
    changed[changed.size() - 1].alpha = 0;
    ColorOptions::default_palette.set(changed);
    ColorOptions::default_palette.set(start);
    EXPECT_EQ(heard, 2);
    ColorOptions::default_palette.removeListener(listener);
    delete listener;
}

} // namespace
} // namespace QELTA
