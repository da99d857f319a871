// The colour tables: named colours and the nearest name, and the rows of the index palette.
#include "Base/Color/ACIColor.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Language/Translator.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Testing::Std;

std::string English(TranslatedString const & text) {
    return Std(text.englishTranslation().view());
}

LABColor Lab(RGBColor const & color) {
    return LABColor(XYZColor(color));
}

TEST(NamedColorTest, PrintedRowsAndSpellings) {
    struct Row {
        unsigned int index;
        char const * name;
        RGBColor rgb;
    };
    // Rows of the register with their place in it, and the names kept as they were first spelled.
    Row const rows[] = {
        {0, "Jet Black", RGBColor(10, 10, 13)},
        {1, "Pure White", RGBColor(255, 255, 255)},
        {2, "Green Beige", RGBColor(190, 189, 127)},
        {5, "Signal Yellow", RGBColor(229, 190, 1)},
        {37, "Luminous Orange", RGBColor(255, 35, 1)},
        {40, "Traffic Orange", RGBColor(245, 64, 33)},
        {45, "Flame Red", RGBColor(175, 43, 30)},
        {87, "Signal Blue", RGBColor(30, 45, 110)},
        {136, "Signal Green", RGBColor(49, 127, 67)},
        {147, "Signal Grey", RGBColor(150, 153, 146)},
        {209, "Traffic Black", RGBColor(30, 30, 30)},
        {210, "Papyrus White", RGBColor(215, 215, 215)},
        {212, "Pearl Dark Grey", RGBColor(130, 130, 130)},
    };
    Buffer<std::pair<LABColor, TranslatedString>> const & table = LABColor::RALClassicColors();
    ASSERT_EQ(table.size(), 213u);
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(English(table[row.index].second), row.name);
        EXPECT_EQ(table[row.index].second.translationID(), Translator::DefaultID(StringView(row.name)));
        EXPECT_EQ(table[row.index].first, Lab(row.rgb));
    }
    struct Spelling {
        unsigned int index;
        char const * name;
    };
    for (Spelling const & row : {Spelling{14, "Light ivory"}, Spelling{43, "Salmon range"}, Spelling{66, "Pure  Red"},
                                 Spelling{85, "Saphire Blue"}, Spelling{88, "Brillant Blue"}}) {
        EXPECT_EQ(English(table[row.index].second), row.name);
    }
}

TEST(NamedColorTest, NamesOfTellingColours) {
    struct Row {
        RGBColor rgb;
        char const * name;
    };
    Row const rows[] = {
        {RGBColor(0, 0, 0), "Jet Black"},
        {RGBColor(10, 10, 10), "Jet Black"},
        // The name is taken of the colour brought back to bytes, in with 2.2 and out with 1/2.4:
        // 13 comes back as 18, no longer below 14, and is searched.
        {RGBColor(13, 13, 13), "Black Blue"},
        // White comes back with blue 254 (0.0556 * 0.9505 - 0.204 + 1.057 * 1.089 = 0.99992), so
        // it is searched too, and Pure White itself is never a candidate.
        {RGBColor(255, 255, 255), "Traffic White"},
        {RGBColor(255, 255, 254), "Traffic White"},
        // Nearest to row 2, which the search starts from with the index of row 0.
        {RGBColor(190, 189, 127), "Jet Black"},
        {RGBColor(250, 210, 1), "Traffic Yellow"},
        {RGBColor(255, 0, 0), "Luminous Bright Red"},
        {RGBColor(128, 128, 128), "Pearl Dark Grey"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(English(row.rgb.getName()), row.name);
    }
    EXPECT_EQ(English(ACIColor(1).getName()), "Luminous Bright Red");
}

// The search in lanes against a plain walk of the table as the names are defined, on random colours
// and on the rows themselves, where equal rows test that the first of equal distances wins.
TEST(NamedColorTest, NearestNameMatchesAPlainSearch) {
    Buffer<std::pair<LABColor, TranslatedString>> const & table = LABColor::RALClassicColors();
    std::vector<LABColor> labs;
    for (auto const & row : table) {
        labs.push_back(row.first);
    }
    std::mt19937 random(23);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int i = 0; i < 3000; ++i) {
        labs.push_back(Lab(RGBColor(byte(random), byte(random), byte(random))));
    }
    for (LABColor const & lab : labs) {
        RGBColor const back{XYZColor(lab)};
        unsigned int expected = 0;
        if (back.red == 255 && back.green == 255 && back.blue == 255) {
            expected = 1;
        } else if (back.red >= 14 || back.green >= 14 || back.blue >= 14) {
            auto const distance = [&](unsigned int row) {
                LABColor const & other = table[row].first;
                return (lab.l - other.l) * (lab.l - other.l) + (lab.a - other.a) * (lab.a - other.a) +
                       (lab.b - other.b) * (lab.b - other.b);
            };
            float best = distance(2);
            for (unsigned int row = 3; row < table.size(); ++row) {
                if (distance(row) < best) {
                    best = distance(row);
                    expected = row;
                }
            }
        }
        ASSERT_EQ(&lab.getName(), &table[expected].second) << Std(back.getHexRGB().view());
    }
}

TEST(ACIColorTest, PaletteRows) {
    struct Row {
        unsigned char index;
        RGBColor rgb;
    };
    Row const rows[] = {
        {0, RGBColor(0, 0, 0)},         {1, RGBColor(255, 0, 0)},       {2, RGBColor(255, 255, 0)},
        {3, RGBColor(0, 255, 0)},       {4, RGBColor(0, 255, 255)},     {5, RGBColor(0, 0, 255)},
        {6, RGBColor(255, 0, 255)},     {7, RGBColor(255, 255, 255)},   {8, RGBColor(65, 65, 65)},
        {9, RGBColor(128, 128, 128)},   {10, RGBColor(255, 0, 0)},      {11, RGBColor(255, 170, 170)},
        {12, RGBColor(189, 0, 0)},      {13, RGBColor(189, 126, 126)},  {14, RGBColor(129, 0, 0)},
        {15, RGBColor(129, 86, 86)},    {16, RGBColor(104, 0, 0)},      {17, RGBColor(104, 69, 69)},
        {18, RGBColor(79, 0, 0)},       {19, RGBColor(79, 53, 53)},     {20, RGBColor(255, 63, 0)},
        {250, RGBColor(51, 51, 51)},    {251, RGBColor(80, 80, 80)},    {252, RGBColor(105, 105, 105)},
        {253, RGBColor(130, 130, 130)}, {254, RGBColor(190, 190, 190)}, {255, RGBColor(255, 255, 255)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(int(row.index));
        EXPECT_EQ(ACIColor(row.index).getRBGAColor(), row.rgb);
    }
    // The hue rows: the block of 15 degrees, the value level, full on the even row and a third
    // saturated on the odd one, by the published hexcone, to within the palette's own rounding.
    double const levels[] = {255, 189, 129, 104, 79};
    for (unsigned int index = 10; index < 250; ++index) {
        SCOPED_TRACE(index);
        double const h = (index - 10) / 10 * 15 / 60.0;
        double const v = levels[index % 10 / 2];
        double const s = index % 2 == 0 ? 1.0 : 1.0 / 3.0;
        auto const channel = [&](double n) {
            double const k = std::fmod(n + h, 6.0);
            return v - v * s * std::max(0.0, std::min({k, 4.0 - k, 1.0}));
        };
        RGBColor const rgb = ACIColor(static_cast<unsigned char>(index)).getRBGAColor();
        EXPECT_NEAR(rgb.red, channel(5), 1.5);
        EXPECT_NEAR(rgb.green, channel(3), 1.5);
        EXPECT_NEAR(rgb.blue, channel(1), 1.5);
        EXPECT_EQ(rgb.alpha, 255);
    }
}

} // namespace
} // namespace QELTA
