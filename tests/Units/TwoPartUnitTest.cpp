// Two-part units: feet and inches at the edges of the parts (carry at 12 inches, negatives, zero),
// reading every form a person types, round trips, the next separator and the steps.
#include "Base/Units/TwoPartUnit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace QELTA {
namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

TranslatedString Plain(char const * text) {
    return TranslatedString::DirectString(text);
}

// Feet and inches over metres, 0.3048 m to the foot.
TwoPartUnit const feet_inches("feet inches", Plain("Feet Inches"), Plain("'"), Plain("\""), 1.0 / 0.3048, 12.0);

std::string Shown(double feet, unsigned int min_decimals, unsigned int max_decimals, bool comma = false,
                  bool abbreviation = true) {
    return feet_inches.toString(feet, comma, min_decimals, max_decimals, 0, abbreviation, 0).c_str();
}

TEST(TwoPartUnitTest, RendersWholeFeetAndInchesAtTheEdges) {
    struct Case {
        double feet;
        unsigned int min_decimals;
        unsigned int max_decimals;
        char const * expected;
    } const cases[] = {
        {5.5, 0, 0, "5'6\""},
        {5.0, 0, 0, "5'"},
        {0.5, 0, 0, "6\""},
        {-0.5, 0, 0, "-6\""},
        {-5.5, 0, 0, "-5'6\""},
        {0.0, 0, 0, "0\""}, // the minor abbreviation, not the major one
        {-0.0, 0, 0, "0\""},
        {11.0 / 12.0, 0, 0, "11\""},
        {5.99999, 0, 2, "6'"},                 // 11.99988 inches round to 12 and carry
        {-0.99999, 0, 2, "-1'"},               // the carry moves away from zero
        {0.99999, 0, 2, "1'"},                 // and gives a major part where there was none
        {1.0 + 11.5 / 12.0, 0, 3, "1'11.5\""}, // decimals count from the foot: 3 - 2 for the inches
        {5.0, 3, 3, "5'0.0\""},                // min_decimals keeps the zero remainder
        {2.0 + 1.0 / 1200.0, 0, 4, "2'0.01\""},
        {1e300, 0, 0, "NaN'"}, // beyond 64 bits the whole part reads as NaN
        {nan, 0, 0, "NaN'"},   // the remainder's "NaN" formats as 0
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.feet << " " << test.min_decimals << "/" << test.max_decimals);
        EXPECT_EQ(Shown(test.feet, test.min_decimals, test.max_decimals), test.expected);
    }
    EXPECT_EQ(Shown(1234.5, 0, 0, true), "1,234'6\"");
    EXPECT_EQ(Shown(5.5, 0, 2, false, false), "5.5"); // without abbreviations the parts go too
    EXPECT_EQ(feet_inches.convertToString(1.6764, false, 0, 0, 0, true, 0).c_str(), std::string("5'6\""));
}

TEST(TwoPartUnitTest, ReadsEachFormOfFeetAndInches) {
    struct Case {
        char const * text;
        double feet;
    } const cases[] = {
        {"5'6\"", 5.5},   {"5' 6\"", 5.5}, {"5'6", 5.5}, // the minor abbreviation may be left out
        {"5;6", 5.5},                                    // ";" stands for the major abbreviation
        {"5'", 5.0},                                     // nothing behind the separator
        {"5", 5.0},       {"6\"", 0.5},                  // inches alone
        {"-5'6\"", -5.5},                                // the inches are taken away from negative feet
        {"-6\"", -0.5},   {"-0'6\"", 0.5},               // kept: -0 is not below 0
        {"'6\"", 0.5},                                   // no feet: the inches alone
        {"5'x", 5.0},                                    // no inches: the feet alone
        {"5'6\"\n", 5.5}, {"abc", nan},    {"'\"", nan}, {"", nan},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        double const read = feet_inches.fromString(test.text, 0);
        if (std::isnan(test.feet)) {
            EXPECT_TRUE(std::isnan(read));
        } else {
            EXPECT_DOUBLE_EQ(read, test.feet);
        }
    }
    EXPECT_NEAR(feet_inches.convertFromString("5'6\"", 0), 1.6764, 1e-15);
}

TEST(TwoPartUnitTest, WholeInchesSurviveTheRoundTrip) {
    for (int feet = 0; feet <= 30; ++feet) {
        for (int inches = 0; inches < 24; ++inches) {
            double const value = (inches < 12 ? 1.0 : -1.0) * (feet + inches % 12 / 12.0);
            std::string const text = Shown(value, 0, 2);
            SCOPED_TRACE(text);
            EXPECT_NEAR(feet_inches.fromString(text, 0), value, 1e-12);
        }
    }
}

TEST(TwoPartUnitTest, SuggestsTheNextSeparator) {
    struct Case {
        char const * text;
        char const * next;
    } const cases[] = {
        {"", "."},    {"5", "'"},   {"5'", "."},      {"5'6.", "\""}, {"5'6\"", ""},
        {"5;6", "."}, {"5;6;", ""}, {"5'6\"+2", "'"}, {"5.5'", "\""},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(std::string(feet_inches.getNextPreferredSeparator(test.text, 0)), test.next);
    }
}

TEST(TwoPartUnitTest, StepsInInchesBelowAFoot) {
    struct Case {
        double metres;
        double step;
    } const cases[] = {
        {10.0, 50.0 * 0.3048}, // 32.8 ft: Unit's rule, 50 ft
        {0.1, 5.0 * 0.0254},   // 3.94 in: 5 in
        {0.02, 1.0 * 0.0254},  // 0.79 in: 1 in
        {0.0, 0.0254},         // one inch
        {-0.1, 10.0 * 0.0254}, // -3.94 in: 10 in, upward
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.metres);
        EXPECT_NEAR(feet_inches.epsilon(test.metres, 0), test.step, 1e-12);
    }
    EXPECT_TRUE(std::isnan(feet_inches.epsilon(nan, 0)));
}

} // namespace
} // namespace QELTA
