// The colour models: conversions against the published formulas with the library's constants,
// round trips, packings, hexadecimal and comma-separated text, blending, and the scanner's reader.
#include "Base/Color/ACIColor.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/HSLColor.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Files/Scanner.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

namespace QELTA {
namespace {

using Testing::Std;

template <class T>
std::string Text(T const & value) {
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    return Std(out.view());
}

template <class T>
T Read(char const * text) {
    T value;
    StringStream<T>::fromString(StringView(text), value);
    return value;
}

std::string Show(RGBColor const & c) {
    return Text(c);
}

RGBColor RandomColor(std::mt19937 & random) {
    std::uniform_int_distribution<int> byte(0, 255);
    return RGBColor(byte(random), byte(random), byte(random), byte(random));
}

// The published sRGB curve and matrix, in double, with this library's deliberate choices: the
// exponent 2.2 on the way in, 1/2.4 on the way out, and the rounded constants of the way back.
double Linear(double c) {
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.2);
}

double Display(double c) {
    return c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1.0 / 2.4) - 0.055;
}

struct ReferenceXYZ {
    double x, y, z;
};

ReferenceXYZ ToXYZ(RGBColor const & c) {
    double const r = Linear(c.red / 255.0), g = Linear(c.green / 255.0), b = Linear(c.blue / 255.0);
    return {0.4124 * r + 0.3576 * g + 0.1805 * b, 0.2126 * r + 0.7152 * g + 0.0722 * b,
            0.0193 * r + 0.1192 * g + 0.9505 * b};
}

// CIE L*a*b* with the white point (0.9505, 1) in x and y, and z taken as it is.
double F(double t) {
    return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0;
}

TEST(XYZColorTest, MatchesThePublishedFormulasOverRandomColours) {
    std::mt19937 random(7);
    for (int i = 0; i < 2000; ++i) {
        RGBColor const rgb = RandomColor(random);
        SCOPED_TRACE(Show(rgb));
        ReferenceXYZ const expected = ToXYZ(rgb);
        XYZColor const xyz(rgb);
        EXPECT_NEAR(xyz.x, expected.x, 2e-5);
        EXPECT_NEAR(xyz.y, expected.y, 2e-5);
        EXPECT_NEAR(xyz.z, expected.z, 2e-5);
        EXPECT_NEAR(xyz.alpha, rgb.alpha / 255.0, 1e-6);

        LABColor const lab(xyz);
        double const fx = F(expected.x / 0.9505), fy = F(expected.y), fz = F(expected.z);
        EXPECT_NEAR(lab.l, 116.0 * fy - 16.0, 2e-3);
        EXPECT_NEAR(lab.a, 500.0 * (fx - fy), 5e-3);
        EXPECT_NEAR(lab.b, 200.0 * (fy - fz), 5e-3);
    }
}

TEST(XYZColorTest, HandWorkedColours) {
    // White: x and z are the sums of the matrix rows; z is not divided by its white value, so
    // white has b = 200 (1 - 1.089^(1/3)) = -5.7655.
    XYZColor const white{RGBColor(255, 255, 255)};
    EXPECT_NEAR(white.x, 0.9505, 1e-5);
    EXPECT_NEAR(white.y, 1.0, 1e-5);
    EXPECT_NEAR(white.z, 1.089, 1e-5);
    LABColor const white_lab(white);
    EXPECT_NEAR(white_lab.l, 100.0, 1e-3);
    EXPECT_NEAR(white_lab.a, 0.0, 1e-3);
    EXPECT_NEAR(white_lab.b, -5.7655, 1e-3);
    // Pure red is the first column of the matrix.
    XYZColor const red{RGBColor(255, 0, 0)};
    EXPECT_NEAR(red.x, 0.4124, 1e-5);
    EXPECT_NEAR(red.y, 0.2126, 1e-5);
    EXPECT_NEAR(red.z, 0.0193, 1e-5);
    // Up to 10/255 the curve is linear both ways, but the rounded constants of the way back give
    // white's blue as 0.0556 * 0.9505 - 0.204 + 1.057 * 1.089 = 0.99992: blue comes back a unit low.
    for (unsigned char grey : {5, 10}) {
        EXPECT_EQ(RGBColor(XYZColor(RGBColor(grey, grey, grey))), RGBColor(grey, grey, grey - 1)) << int(grey);
    }
    EXPECT_EQ(RGBColor(XYZColor(RGBColor(0, 0, 0))), RGBColor(0, 0, 0));
    // 128/255 goes in with 2.2 and out with 1/2.4: it comes back as 135, not 128.
    EXPECT_EQ(RGBColor(XYZColor(RGBColor(128, 128, 128))).red, 135);
}

TEST(XYZColorTest, RoundTripsFollowTheTwoCurves) {
    std::mt19937 random(11);
    for (int i = 0; i < 2000; ++i) {
        RGBColor const rgb = RandomColor(random);
        SCOPED_TRACE(Show(rgb));
        RGBColor const back{XYZColor(rgb)};
        unsigned char const channels[3] = {rgb.red, rgb.green, rgb.blue};
        unsigned char const got[3] = {back.red, back.green, back.blue};
        for (int c = 0; c < 3; ++c) {
            double const expected = std::trunc(Display(Linear(channels[c] / 255.0)) * 255.0);
            EXPECT_NEAR(got[c], expected, 1.0) << "channel " << c;
        }
        EXPECT_EQ(back.alpha, rgb.alpha);
        // L*a*b* adds no more than a unit to the way through XYZ.
        RGBColor const through_lab{XYZColor(LABColor(XYZColor(rgb)))};
        EXPECT_NEAR(through_lab.red, back.red, 1);
        EXPECT_NEAR(through_lab.green, back.green, 1);
        EXPECT_NEAR(through_lab.blue, back.blue, 1);
    }
}

TEST(XYZColorTest, LABToXYZClampsToTheWhiteBox) {
    XYZColor const beyond(LABColor(150.0f, 200.0f, -200.0f, 0.5f));
    EXPECT_EQ(beyond.x, 0.9505f);
    EXPECT_EQ(beyond.y, 1.0f);
    EXPECT_EQ(beyond.z, 1.089f);
    EXPECT_EQ(beyond.alpha, 0.5f);
    XYZColor const below(LABColor(-50.0f, 0.0f, 0.0f, 1.0f));
    EXPECT_EQ(below.y, 0.0f);
}

TEST(RGBColorTest, ConstructorsClampOrWrap) {
    struct Row {
        char const * name;
        RGBColor color;
        RGBColor expected;
    };
    Row const rows[] = {
        {"floats clamp", RGBColor(1.5f, -0.5f, 0.5f, 1.0f), RGBColor(255, 0, 127, 255)},
        {"doubles clamp", RGBColor(2.0, 0.25, std::nan(""), 0.0), RGBColor(255, 63, 0, 0)},
        {"vector of 3 wraps", RGBColor(Vector<3, float>(1.5f, 0.0f, 1.0f)), RGBColor(126, 0, 255, 255)},
        {"vector of 4 wraps", RGBColor(Vector<4, double>(-0.01, 0.5, 1.0, 0.5)), RGBColor(254, 127, 255, 127)},
        {"grey and alpha", RGBColor(Vector<2, float>(0.5f, 0.25f)), RGBColor(127, 127, 127, 63)},
        {"grey", RGBColor(Vector<1, double>::Filled(1.0)), RGBColor(255, 255, 255, 255)},
        {"bytes", RGBColor(1, 2, 3), RGBColor(1, 2, 3, 255)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.color, row.expected) << Show(row.color);
    }
}

TEST(RGBColorTest, PackingsRoundTripAndOrderTheirBytes) {
    RGBColor const c(0x11, 0x22, 0x33, 0x44);
    EXPECT_EQ(c.convertToRGBA32BitColor(), 0x11223344u);
    EXPECT_EQ(c.convertToABGR32BitColor(), 0x44332211u);
    EXPECT_EQ(c.convertTo24BitColor(), 0x112233u);
    EXPECT_EQ(RGBColor::CreateARGB32BitColor(0x44112233u), c);
    RGBColor opaque;
    opaque.create24BitColor(0xAA112233u);
    EXPECT_EQ(opaque, RGBColor(0x11, 0x22, 0x33, 255));

    std::mt19937 random(3);
    for (int i = 0; i < 500; ++i) {
        RGBColor const color = RandomColor(random);
        EXPECT_EQ(RGBColor::CreateRGBA32BitColor(color.convertToRGBA32BitColor()), color);
        std::uint32_t in_memory = 0;
        std::memcpy(&in_memory, &color, sizeof(in_memory));
        EXPECT_EQ(color.convertToABGR32BitColor(), in_memory);
        EXPECT_EQ(RGBColor(color.get4F()), color);
    }
}

TEST(RGBColorTest, HexadecimalText) {
    struct Row {
        char const * text;
        RGBColor expected;
    };
    RGBColor const error = RGBColor::ErrorColor();
    Row const rows[] = {
        {"#FF8040", RGBColor(255, 128, 64, 255)},
        {"80FF8040", RGBColor(255, 128, 64, 128)},
        {"#80ff8040", RGBColor(255, 128, 64, 128)},
        {"abc", error},
        {"#abcde", error},
        {"FFFFFFFF", RGBColor(255, 255, 255, 255)},
        {"FFFFFFFFF", error},
        {"123456789", error},
        {"FF8040zz", RGBColor(255, 128, 64, 0)},
        {"zzzzzz", RGBColor(0, 0, 0, 255)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(RGBColor::FromHexARGB(StringView(row.text)), row.expected);
    }
    RGBColor const c(255, 128, 64, 128);
    EXPECT_EQ(Std(c.getHexARGB().view()), "80FF8040");
    EXPECT_EQ(Std(c.getHexRGBA().view()), "FF804080");
    EXPECT_EQ(Std(c.getHexRGB().view()), "FF8040");

    std::mt19937 random(5);
    for (int i = 0; i < 500; ++i) {
        RGBColor const color = RandomColor(random);
        EXPECT_EQ(RGBColor::FromHexARGB(color.getHexARGB().view()), color) << Show(color);
        RGBColor opaque = color;
        opaque.alpha = 255;
        EXPECT_EQ(RGBColor::FromHexARGB(("#" + Std(color.getHexRGB().view())).c_str()), opaque);
    }
}

TEST(RGBColorTest, LightnessAndContrast) {
    RGBColor const white(255, 255, 255, 10);
    RGBColor const black(0, 0, 0, 10);
    EXPECT_TRUE(white.isLight());
    EXPECT_FALSE(black.isLight());
    EXPECT_EQ(white.contrastingColor(), RGBColor(0, 0, 0, 255));
    EXPECT_EQ(black.contrastingColor(), RGBColor(255, 255, 255, 255));
    // The weights fall on x, y and z: 0.299 * 0.9505 + 0.587 + 0.144 * 1.089.
    EXPECT_NEAR(white.luminance(), 1.02803, 1e-4);
}

TEST(RGBColorTest, Blending) {
    RGBColor const a(10, 20, 30, 40);
    RGBColor const b(250, 240, 230, 220);
    EXPECT_EQ(RGBColor::Average(a, b, 0.0f), a);
    EXPECT_EQ(RGBColor::Average(a, b, -3.0f), a);
    EXPECT_EQ(RGBColor::Average(a, b, 1.0f), b);
    EXPECT_EQ(RGBColor::AverageLAB(a, b, 0.0f), a);
    EXPECT_EQ(RGBColor::AverageLAB(a, b, 2.0f), b);
    EXPECT_EQ(RGBColor::Average(RGBColor(0, 0, 0, 255), RGBColor(255, 255, 255, 255), 0.5f),
              RGBColor(127, 127, 127, 255));
    EXPECT_EQ(RGBColor::Average(RGBColor(255, 0, 0), RGBColor(0, 255, 0), RGBColor(0, 0, 255)),
              RGBColor(85, 85, 85, 255));
    // Halfway in L*a*b*, alpha included: (50, 0, -2.8828), whose grey comes out through the
    // curve of 1/2.4 as 119 (blue 118, since white's z is not scaled to 1).
    RGBColor const mid = RGBColor::AverageLAB(RGBColor(0, 0, 0, 0), RGBColor(255, 255, 255, 254), 0.5f);
    EXPECT_EQ(mid, RGBColor(119, 118, 118, 127));
}

TEST(HSBColorTest, PrimariesGreysAndRoundTrips) {
    struct Row {
        RGBColor rgb;
        int hue;
        unsigned char saturation, brightness;
    };
    Row const rows[] = {
        {RGBColor(255, 0, 0), 0, 255, 255},
        {RGBColor(255, 255, 0), 10922, 255, 255},
        {RGBColor(0, 255, 0), 21845, 255, 255},
        {RGBColor(0, 0, 255), 43690, 255, 255},
        {RGBColor(255, 0, 255), 54613, 255, 255},
        {RGBColor(128, 128, 128), 0, 0, 128},
        {RGBColor(0, 0, 0), 0, 0, 0},
        {RGBColor(255, 128, 128), 0, 127, 255},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(Show(row.rgb));
        HSBColor const hsb(row.rgb);
        EXPECT_EQ(hsb.hue.value, row.hue);
        EXPECT_EQ(hsb.saturation, row.saturation);
        EXPECT_EQ(hsb.brightness, row.brightness);
    }
    std::mt19937 random(13);
    for (int i = 0; i < 2000; ++i) {
        RGBColor const rgb = RandomColor(random);
        SCOPED_TRACE(Show(rgb));
        RGBColor const back{HSBColor(rgb)};
        EXPECT_NEAR(back.red, rgb.red, 2);
        EXPECT_NEAR(back.green, rgb.green, 2);
        EXPECT_NEAR(back.blue, rgb.blue, 2);
        EXPECT_EQ(back.alpha, rgb.alpha);
    }
}

TEST(HSBColorTest, VectorFormAndAbsentHue) {
    HSBColor const odd(Vector<4, float>(0.0f, 2.0f, 0.5f, 1.0f));
    EXPECT_EQ(odd.saturation, 1);
    EXPECT_EQ(odd.brightness, 127);
    EXPECT_EQ(odd.alpha, 255);
    EXPECT_EQ(HSBColor(Vector<4, float>(90.0f, -1.0f, 1.0f, 0.0f)), HSBColor(Angle<int>(16384), 0, 255, 0));
    EXPECT_FALSE(HSBColor(Vector<4, float>(std::nanf(""), 1.0f, 1.0f, 1.0f)).hue.isValid());
    EXPECT_EQ(RGBColor(HSBColor(Angle<int>::Invalid(), 255, 255, 9)), RGBColor(0, 0, 0, 9));
    // A hue beyond the full turn, and a negative one, wrap.
    EXPECT_EQ(RGBColor(HSBColor(Angle<int>(65536 + 21845), 255, 255, 255)),
              RGBColor(HSBColor(Angle<int>(21845), 255, 255, 255)));
    EXPECT_EQ(RGBColor(HSBColor(Angle<int>(-21846), 255, 255, 255)),
              RGBColor(HSBColor(Angle<int>(43690), 255, 255, 255)));
}

TEST(HSBColorTest, ConvertColorCarriesThroughTheNearestPair) {
    LABColor const red{XYZColor(RGBColor(255, 0, 0))};
    LABColor const dark_red{XYZColor(RGBColor(128, 0, 0))};
    LABColor const blue{XYZColor(RGBColor(0, 0, 255))};
    LABColor const green{XYZColor(RGBColor(0, 255, 0))};
    Buffer<std::pair<LABColor, LABColor>> const map{{red, blue}, {green, dark_red}};
    // Nearest to red: blue, and the brightness lost from red to dark red carried over.
    HSBColor const plain = HSBColor::ConvertColor(dark_red, map, false, false);
    EXPECT_EQ(plain, HSBColor(RGBColor(XYZColor(blue))));
    HSBColor const shifted = HSBColor::ConvertColor(dark_red, map, true, true);
    HSBColor const from_dark{RGBColor(XYZColor(dark_red))};
    HSBColor const from_red{RGBColor(XYZColor(red))};
    EXPECT_EQ(shifted.brightness, plain.brightness + from_dark.brightness - from_red.brightness);
    // alpha 1.0 truncated without scaling.
    EXPECT_EQ(shifted.alpha, 1);
    EXPECT_EQ(HSBColor::ConvertColor(red, {}, true, false), HSBColor(RGBColor(0, 0, 0)));
}

TEST(HSLColorTest, LuminanceIsTheValueOfTheHexcone) {
    EXPECT_EQ(RGBColor(HSLColor(Angle<int>(0), 255, 255, 255)), RGBColor(255, 0, 0));
    EXPECT_EQ(RGBColor(HSLColor(Angle<int>(21845), 255, 128, 7)), RGBColor(0, 128, 0, 7));
    // A negative hue counts from the full turn.
    EXPECT_EQ(RGBColor(HSLColor(Angle<int>(-21845), 255, 255, 255)),
              RGBColor(HSLColor(Angle<int>(43691), 255, 255, 255)));
    // White and black both land on the first sixth: hue u = 1 degree, luminance 0.
    for (RGBColor const c : {RGBColor(255, 255, 255, 3), RGBColor(0, 0, 0, 3)}) {
        HSLColor const hsl(c);
        EXPECT_EQ(hsl.hue.value, 182);
        EXPECT_EQ(hsl.saturation, 255);
        EXPECT_EQ(hsl.luminance, 0);
        EXPECT_EQ(hsl.alpha, 3);
    }
    EXPECT_EQ(HSLColor(ACIColor(3)), HSLColor());
}

TEST(ACIColorTest, IndexOfHueBrightnessAndSaturation) {
    struct Row {
        char const * name;
        HSBColor hsb;
        unsigned char index;
    };
    Row const rows[] = {
        {"red", HSBColor(RGBColor(255, 0, 0)), 10},
        {"15 degrees", HSBColor(Angle<int>(2731), 255, 255, 255), 20},
        {"dark", HSBColor(Angle<int>(0), 255, 70, 255), 18},
        {"dim", HSBColor(Angle<int>(0), 255, 140, 255), 14},
        {"pale", HSBColor(Angle<int>(0), 100, 255, 255), 11},
        {"grey has hue 0", HSBColor(RGBColor(128, 128, 128)), 15},
        {"last block", HSBColor(Angle<int>(65354), 255, 255, 255), 240},
        {"no hue, white", HSBColor(Angle<int>::Invalid(), 0, 255, 255), 255},
        {"no hue, black", HSBColor(Angle<int>::Invalid(), 0, 0, 255), 250},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(ACIColor(row.hsb).index, row.index);
    }
    EXPECT_EQ(ACIColor(RGBColor(255, 0, 0)).getRBGAColor(), RGBColor(255, 0, 0, 255));
}

TEST(ColorTextTest, WritesAndReadsEachModel) {
    EXPECT_EQ(Text(RGBColor(255, 128, 64, 0)), "255,128,64,0");
    EXPECT_EQ(Text(HSBColor(Angle<int>(21845), 1, 2, 3)), "21845,1,2,3");
    EXPECT_EQ(Text(HSLColor(Angle<int>::Invalid(), 1, 2, 3)), "NaN,1,2,3");
    EXPECT_EQ(Text(LABColor(50.0f, 0.5f, -0.25f, 1.0f)), "50,0.5,-0.25,1");
    EXPECT_EQ(Text(XYZColor(0.1f, 0.0f, 1.0f, 1.0f)), "0.10000000149011612,0,1,1");
    EXPECT_EQ(Text(ACIColor(250)), "250");

    struct Row {
        char const * text;
        RGBColor expected;
    };
    Row const rows[] = {
        {"1,2,3,4", RGBColor(1, 2, 3, 4)},   {"1,2", RGBColor(1, 2, 255, 255)},    {"", RGBColor(255, 255, 255, 255)},
        {"1,x,3,4", RGBColor(1, 255, 3, 4)}, {"300,0,0,0", RGBColor(44, 0, 0, 0)}, {"1,2,3,4,5", RGBColor(1, 2, 3, 4)},
        {"1,,3", RGBColor(1, 255, 3, 255)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Read<RGBColor>(row.text), row.expected);
    }
    HSBColor const no_hue = Read<HSBColor>("NaN,1,2,3");
    EXPECT_FALSE(no_hue.hue.isValid());
    EXPECT_EQ(no_hue.saturation, 1);
    HSLColor const missing = Read<HSLColor>("100");
    EXPECT_EQ(missing, HSLColor(Angle<int>(100), 255, 255, 255));
    EXPECT_FALSE(Read<HSBColor>("").hue.isValid());
    LABColor const short_lab = Read<LABColor>("1,2");
    EXPECT_EQ(short_lab.a, 2.0f);
    EXPECT_TRUE(std::isnan(short_lab.b) && std::isnan(short_lab.alpha));
    EXPECT_STREQ(StringStream<ACIColor>::getValidRegex(), StringStream<unsigned char>::getValidRegex());
    EXPECT_STREQ(StringStream<LABColor>::getValidRegex(), ".*");
    // A view is read to its end and no further.
    EXPECT_EQ(Read<ACIColor>("7").index, 7);
    ACIColor cut;
    StringStream<ACIColor>::fromString(StringView("123", 1), cut);
    EXPECT_EQ(cut.index, 1);
}

TEST(ColorTextTest, EveryModelRoundTripsThroughText) {
    std::mt19937 random(17);
    for (int i = 0; i < 500; ++i) {
        RGBColor const rgb = RandomColor(random);
        SCOPED_TRACE(Show(rgb));
        EXPECT_EQ(Read<RGBColor>(Text(rgb).c_str()), rgb);
        HSBColor const hsb(rgb);
        EXPECT_EQ(Read<HSBColor>(Text(hsb).c_str()), hsb);
        HSLColor const hsl(rgb);
        EXPECT_EQ(Read<HSLColor>(Text(hsl).c_str()), hsl);
        XYZColor const xyz(rgb);
        EXPECT_EQ(Read<XYZColor>(Text(xyz).c_str()), xyz);
        LABColor const lab(xyz);
        EXPECT_EQ(Read<LABColor>(Text(lab).c_str()), lab);
    }
}

TEST(ScannerColorTest, ReadsHexIndicesAndRefusesTheRest) {
    Scanner scanner(StringView("#FF0000FF,7,256,-1,1.5,abcd,,#,#11223344x,0"), ',');
    RGBColor const error = RGBColor::ErrorColor();
    RGBColor const expected[] = {
        RGBColor(255, 0, 0, 255),
        RGBColor(255, 255, 255, 255),
        error,
        error,
        RGBColor(255, 0, 0, 255),
        error,
        error,
        RGBColor(0, 0, 0, 0),
        RGBColor(0x44, 0x33, 0x22, 0x11),
        RGBColor(0, 0, 0, 255),
    };
    for (unsigned int i = 0; i < std::size(expected); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(scanner.getNext<RGBColor>(), expected[i]);
    }
    EXPECT_EQ(scanner.getNext<RGBColor>(), error);
    std::uint32_t empty_value = 0;
    std::memcpy(&empty_value, &error, sizeof(empty_value));
    EXPECT_EQ(empty_value, 0x00FEFFFFu);
}

} // namespace
} // namespace QELTA
