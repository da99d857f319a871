// Angles in index units: conversions against the standard library, the "no angle" value, the
// text forms, the sine table over the whole turn, and orientations through quaternions.
#include "Base/Geometry/Angle.h"
#include "Base/Geometry/AngleDefinitions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>

namespace QELTA {
namespace {

using Orientation = Vector<3, Angle<double>>;
using Quaternion = Vector<4, double>;

double const nan = std::numeric_limits<double>::quiet_NaN();
int const no_angle = std::numeric_limits<int>::lowest();

std::string Text(Angle<int> const & angle) {
    StringAllocatingView out;
    StringStream<Angle<int>>::toString(angle, out);
    return std::string(out.view());
}

Angle<int> ReadInt(char const * text) {
    Angle<int> angle(12345); // so that a reader that leaves the value alone is caught
    StringStream<Angle<int>>::fromString(text, angle);
    return angle;
}

TEST(AngleTest, ConvertsDegreesAndRadiansToTheNearestIndex) {
    struct Case {
        double degrees;
        int index;
        unsigned short wrapped;
    } const cases[] = {
        {0.0, 0, 0},          {90.0, 16384, 16384},    {180.0, 32768, 32768}, {-90.0, -16384, 49152},
        {360.0, 65536, 0},    {720.5, 131163, 91},     {0.0027, 0, 0},        {0.0028, 1, 1},
        {-0.0028, -1, 65535}, {1e6, 182044444, 50972},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.degrees);
        EXPECT_EQ(Angle<int>::FromDegrees(test.degrees).value, test.index);
        EXPECT_EQ(Angle<unsigned short>::FromDegrees(test.degrees).value, test.wrapped);
        EXPECT_EQ(Angle<int>::FromRadians(test.degrees * std::numbers::pi / 180.0).value, test.index);
        EXPECT_NEAR(Angle<double>::FromDegrees(test.degrees).radians(), test.degrees * std::numbers::pi / 180.0,
                    1e-12 * std::fabs(test.degrees));
    }
    EXPECT_DOUBLE_EQ(Angle<int>(16384).degrees(), 90.0);
    EXPECT_DOUBLE_EQ(Angle<unsigned short>(49152).radians(), 1.5 * std::numbers::pi);
}

TEST(AngleTest, TheLowestIntMeansNoAngleAndReadsAsNaN) {
    Angle<int> const none = Angle<int>::Invalid();
    EXPECT_EQ(none.value, no_angle);
    EXPECT_FALSE(none.isValid());
    EXPECT_TRUE(std::isnan(none.index()));
    EXPECT_TRUE(std::isnan(none.degrees()));
    EXPECT_TRUE(std::isnan(none.radians()));
    EXPECT_TRUE(std::isnan(Angle<double>(none).value));
    EXPECT_TRUE(Angle<int>(no_angle + 1).isValid());
    // What cannot be an int angle becomes no angle, and no angle stays so through double.
    for (double index : {nan, 2147483648.0, -2147483648.0, 1e300, -std::numeric_limits<double>::infinity()}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(Angle<int>::FromIndex(index).value, no_angle);
    }
    EXPECT_EQ(Angle<int>(Angle<double>(nan)).value, no_angle);
    EXPECT_EQ(Angle<int>::FromIndex(2147483647.0).value, 2147483647);
    EXPECT_EQ(Angle<int>::FromIndex(-2147483647.0).value, -2147483647);
    EXPECT_TRUE(std::isnan(AngleDefinitions::IndexSin(none)));
    EXPECT_TRUE(std::isnan(AngleDefinitions::IndexCos(none)));
}

TEST(AngleTest, IntTextReadsAFloatAndTruncates) {
    struct Case {
        char const * text;
        int value;
    } const cases[] = {
        {"12.9", 12},       {"-12.9", -12},      {"16384", 16384}, {"1e3", 1000},          {"+7", 7},
        {"0.999", 0},       {"NaN", no_angle},   {"", no_angle},   {"abc", no_angle},      {"3e9", no_angle},
        {"-3e9", no_angle}, {"16384deg", 16384}, {" 1", no_angle}, {"16777217", 16777216}, // float has 24 bits
        {"5000000000", no_angle}, // the integer part of a float is read in 32 bits
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(ReadInt(test.text).value, test.value);
    }
}

TEST(AngleTest, IntTextPrintsThroughTheDoublePrinter) {
    EXPECT_EQ(Text(Angle<int>(16384)), "16384");
    EXPECT_EQ(Text(Angle<int>::Invalid()), "NaN");
    StringAllocatingView out{StringView("a=")};
    StringStream<Angle<int>>::toString(Angle<int>(3), out);
    EXPECT_EQ(out.view(), StringView("a=3"));
}

TEST(AngleTest, DoubleTextIsTheTextOfDouble) {
    for (char const * text : {"0.1", "-16384.5", "1e+21", "1e-7", "NaN", "12abc"}) {
        SCOPED_TRACE(text);
        Angle<double> angle;
        StringStream<Angle<double>>::fromString(text, angle);
        double plain = 0.0;
        StringStream<double>::fromString(text, plain);
        StringAllocatingView angle_text;
        StringAllocatingView plain_text;
        StringStream<Angle<double>>::toString(angle, angle_text);
        StringStream<double>::toString(plain, plain_text);
        EXPECT_EQ(angle_text.view(), plain_text.view());
    }
}

TEST(AngleDefinitionsTest, TheTableSpansAQuarterTurnWithBothEnds) {
    double const * table = AngleDefinitions::s_index_sin;
    ASSERT_EQ(table, AngleDefinitions::CalcIndexSin());
    EXPECT_EQ(table[0], 0.0);
    EXPECT_EQ(table[16384], 1.0);
}

TEST(AngleDefinitionsTest, SineAndCosineMatchTheStandardLibraryOverEveryQuadrant) {
    for (int index = -70001; index <= 140000; index += 7) {
        double const radians = index * std::numbers::pi / 32768.0; // up to 13.4, rounded by about 2e-15
        ASSERT_NEAR(AngleDefinitions::IndexSin(index), std::sin(radians), 4e-15) << index;
        ASSERT_NEAR(AngleDefinitions::IndexCos(index), std::cos(radians), 4e-15) << index;
    }
    for (int index : {0, 16384, 32768, 49152, 65536, -16384}) {
        SCOPED_TRACE(index);
        EXPECT_NEAR(AngleDefinitions::IndexSin(Angle<unsigned short>(static_cast<unsigned short>(index))),
                    std::sin(index * std::numbers::pi / 32768.0), 1e-15);
    }
}

TEST(AngleDefinitionsTest, QuadrantsMirrorTheFirstExactly) {
    for (int index = 0; index <= 16384; ++index) {
        double const first = AngleDefinitions::IndexSin(index);
        ASSERT_EQ(AngleDefinitions::IndexSin(32768 - index), first) << index;
        ASSERT_EQ(AngleDefinitions::IndexSin(32768 + index), -first) << index;
        ASSERT_EQ(AngleDefinitions::IndexSin(-index), -first) << index;
        ASSERT_EQ(AngleDefinitions::IndexCos(16384 - index), first) << index;
    }
}

TEST(AngleDefinitionsTest, FractionalIndicesInterpolateBetweenEntries) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> spread(-100000.0, 100000.0);
    for (int round = 0; round < 2000; ++round) {
        double const index = spread(random);
        double const radians = index * std::numbers::pi / 32768.0;
        ASSERT_NEAR(AngleDefinitions::IndexSin(Angle<double>(index)), std::sin(radians), 2e-9) << index;
        ASSERT_NEAR(AngleDefinitions::IndexCos(Angle<double>(index)), std::cos(radians), 2e-9) << index;
    }
    EXPECT_TRUE(std::isnan(AngleDefinitions::IndexSin(Angle<double>(nan))));
}

TEST(AngleDefinitionsTest, QuarterTurnsGiveTheHandWorkedQuaternions) {
    double const h = std::sqrt(0.5);
    struct Case {
        char const * name;
        Orientation orientation;
        Quaternion quaternion;
    } const cases[] = {
        {"none", Orientation(), Quaternion(0.0, 0.0, 0.0, 1.0)},
        {"roll", Orientation(Angle<double>(16384.0), Angle<double>(), Angle<double>()), Quaternion(h, 0.0, 0.0, h)},
        {"pitch", Orientation(Angle<double>(), Angle<double>(16384.0), Angle<double>()), Quaternion(0.0, h, 0.0, h)},
        {"yaw", Orientation(Angle<double>(), Angle<double>(), Angle<double>(16384.0)), Quaternion(0.0, 0.0, h, h)},
        {"half yaw", Orientation(Angle<double>(), Angle<double>(), Angle<double>(32768.0)),
         Quaternion(0.0, 0.0, 1.0, 0.0)},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        Quaternion const q = AngleDefinitions::OrientationToQuaternion(test.orientation);
        for (unsigned int i = 0; i < 4; ++i) {
            EXPECT_NEAR(q[i], test.quaternion[i], 1e-15) << "component " << i;
        }
    }
    Orientation const back = AngleDefinitions::QuaternionToOrientation(Quaternion(0.0, 0.0, 0.0, 1.0));
    EXPECT_EQ(back, Orientation());
}

TEST(AngleDefinitionsTest, OrientationsComeBackWithinFloatAccuracy) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> any(-32767.0, 32767.0);
    std::uniform_real_distribution<double> below_vertical(-16000.0, 16000.0);
    for (int round = 0; round < 1000; ++round) {
        Orientation const orientation(Angle<double>(any(random)), Angle<double>(below_vertical(random)),
                                      Angle<double>(any(random)));
        Orientation const back =
            AngleDefinitions::QuaternionToOrientation(AngleDefinitions::OrientationToQuaternion(orientation));
        for (unsigned int i = 0; i < 3; ++i) {
            // A float keeps 24 bits: half a turn has about 0.002 index units of resolution.
            ASSERT_NEAR(back[i].value, orientation[i].value, 0.02) << "round " << round << " component " << i;
        }
    }
}

TEST(AngleDefinitionsTest, APitchOfAQuarterTurnClampsToExactlyAQuarterTurn) {
    for (double pitch : {16384.0, -16384.0}) {
        SCOPED_TRACE(pitch);
        Orientation const up{Angle<double>(), Angle<double>(pitch), Angle<double>()};
        EXPECT_EQ(AngleDefinitions::QuaternionToOrientation(AngleDefinitions::OrientationToQuaternion(up))[1].value,
                  pitch);
    }
    // Unnormalised, 2 (w y - z x) lies beyond 1, where asin has no value.
    Orientation const beyond = AngleDefinitions::QuaternionToOrientation(Quaternion(0.0, 0.7072, 0.0, 0.7072));
    EXPECT_EQ(beyond[1].value, 16384.0);
    EXPECT_EQ(AngleDefinitions::QuaternionToOrientation(Quaternion(0.0, -0.7072, 0.0, 0.7072))[1].value, -16384.0);
}

} // namespace
} // namespace QELTA
