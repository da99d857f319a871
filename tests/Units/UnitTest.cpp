// The simple units: round trips through every kind, the offset on rays, the matrix unit's signed
// lengths, rendering with each formatting argument, parsing, steps, formulas and identity.
#include "Base/Units/Unit.h"

#include "Base/Language/Translator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace QELTA {
namespace {

using Matrix4 = Matrix<double, 4, 4>;
using Point = Vertex<3, double>;
using Direction = Ray<3, double>;

double const nan = std::numeric_limits<double>::quiet_NaN();
double const feet_per_metre = 3.280839895013123;

TranslatedString Plain(char const * text) {
    return TranslatedString::DirectString(text);
}

// Axis names that differ from the abbreviations.
class NamedAxesUnit : public ScaledUnit {
  public:
    NamedAxesUnit() : ScaledUnit("metre", Plain("Metre"), Plain("m"), 1.0) {
        char const * const names[4] = {"East", "North", "Up", "Time"};
        for (unsigned int axis = 0; axis < 4; ++axis) {
            axis_names_[axis] = Plain(names[axis]);
        }
    }
};

struct Units {
    ScaledUnit metre{"metre", Plain("Metre"), Plain("m"), 1.0};
    ScaledUnit foot{"foot", Plain("Foot"), Plain("ft"), feet_per_metre};
    ScaledUnit bare{"bare", Plain("Bare"), Plain(""), 1.0};
    ScaledOffsetUnit fahrenheit{"fahrenheit", Plain("Fahrenheit"), Plain("F"), 1.8, 32.0};
    ReferenceUnit survey_foot{"survey_foot", Plain("Survey Foot"), foot};
    // Doubles, then a quarter turn about z: x goes to y.
    MatrixUnit turned{"turned", Plain("Turned"),
                      Matrix4::Rotation(Angle<double>(16384.0), Direction(0.0, 0.0, 1.0)) * Matrix4::Scale(2.0), metre};
    // x, y, z scaled by 2, 3, 4 and moved by (10, 0, 0), over feet.
    MatrixUnit stretched{"stretched", Plain("Stretched"), Stretch(), foot};

    static Matrix4 Stretch() {
        Matrix4 m;
        m(0, 0) = 2.0;
        m(1, 1) = 3.0;
        m(2, 2) = 4.0;
        m(0, 3) = 10.0;
        return m;
    }
};

class UnitTest : public ::testing::Test {
  protected:
    Units units;
};

std::string Text(String const & text) {
    return std::string(text.c_str());
}

TEST_F(UnitTest, EveryKindTakesBaseValuesThereAndBack) {
    Unit const * const kinds[] = {&units.metre,       &units.foot,   &units.fahrenheit,
                                  &units.survey_foot, &units.turned, &units.stretched};
    for (Unit const * unit : kinds) {
        for (double value : {0.0, 1.0, -2.5, 1234.5678, 1e-9, -7e6}) {
            for (std::uint8_t axis = 0; axis < 3; ++axis) {
                SCOPED_TRACE(::testing::Message() << unit->name().c_str() << " " << value << " axis " << int{axis});
                double const tolerance = 1e-12 * (1.0 + std::fabs(value));
                EXPECT_NEAR(unit->convertFromUnit(unit->convertToUnit(value, axis), axis), value, tolerance);
                Point const point(value, -value, value * 0.5);
                Direction const direction(value, value * 3.0, -1.0);
                Point const point_back = unit->convertFromUnit(unit->convertToUnit(point));
                Direction const direction_back = unit->convertFromUnit(unit->convertToUnit(direction));
                for (unsigned int i = 0; i < 3; ++i) {
                    EXPECT_NEAR(point_back[i], point[i], tolerance);
                    EXPECT_NEAR(direction_back[i], direction[i], 1e-12 * (1.0 + std::fabs(direction[i])));
                }
            }
        }
    }
}

TEST_F(UnitTest, TheOffsetIsAppliedToRaysLikeToPoints) {
    EXPECT_DOUBLE_EQ(units.fahrenheit.convertToUnit(100.0, 0), 212.0);
    EXPECT_EQ(units.fahrenheit.convertToUnit(Direction(0.0, 10.0, 100.0)), Direction(32.0, 50.0, 212.0));
    EXPECT_EQ(units.fahrenheit.convertToUnit(Point(0.0, 10.0, 100.0)), Point(32.0, 50.0, 212.0));
}

TEST_F(UnitTest, AMatrixUnitGivesSingleValuesAsLengthsWithTheSignOfTheValue) {
    struct Case {
        char const * name;
        Unit const * unit;
        double value;
        std::uint8_t axis;
        double expected;
    } const cases[] = {
        {"turned x", &units.turned, 3.0, 0, 6.0},
        {"turned negative", &units.turned, -3.0, 1, -6.0},
        {"stretched x, no move", &units.stretched, 1.0, 0, 2.0 * feet_per_metre},
        {"stretched y", &units.stretched, 1.0, 1, 3.0 * feet_per_metre},
        {"stretched z", &units.stretched, -1.0, 2, -4.0 * feet_per_metre},
        {"w passes", &units.stretched, 5.0, 3, 5.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_NEAR(test.unit->convertToUnit(test.value, test.axis), test.expected, 1e-12);
    }
    EXPECT_TRUE(std::signbit(units.turned.convertToUnit(0.0, 0))); // 0 is not above 0
    // Points take the whole transform, directions the 3x3 block.
    Point const moved = units.stretched.convertToUnit(Point(1.0, 1.0, 1.0));
    EXPECT_NEAR(moved[0], 2.0 * feet_per_metre + 10.0, 1e-12);
    EXPECT_NEAR(moved[2], 4.0 * feet_per_metre, 1e-12);
    EXPECT_NEAR(units.stretched.convertToUnit(Direction(1.0, 1.0, 1.0))[0], 2.0 * feet_per_metre, 1e-12);
    Direction const turned = units.turned.convertToUnit(Direction(1.0, 0.0, 0.0));
    EXPECT_NEAR(turned[0], 0.0, 1e-15);
    EXPECT_NEAR(turned[1], 2.0, 1e-15);
}

TEST_F(UnitTest, RendersWithEachFormattingArgument) {
    struct Case {
        double value;
        bool comma;
        unsigned int min_decimals;
        unsigned int max_decimals;
        unsigned int min_digits;
        bool abbreviation;
        char const * expected;
    } const cases[] = {
        {1234.5678, false, 0, 100, 0, false, "1234.5678"}, // nothing asked: the default text
        {1234.5678, true, 0, 100, 0, false, "1,234.5678"},
        {1234.5678, false, 6, 6, 0, false, "1234.567800"},
        {1234.5678, false, 0, 2, 0, false, "1234.57"},
        {1234.5678, false, 0, 0, 0, false, "1235"},
        {12.5, false, 0, 100, 5, false, "12.500"}, // digits in all: decimals grow first
        {12.5, false, 0, 1, 5, false, "0012.5"},   // then zeros go in front
        {1234.5678, true, 2, 2, 0, true, "1,234.57m"},
        {0.1, false, 0, 100, 0, false, "0.1"},
        {1e21, false, 0, 100, 0, false, "1e+21"}, // short enough to stay as printed
        {1.5, false, 0, 3, 0, false, "1.5"},      // max_decimals not above the length
        {-2.25, false, 0, 1, 0, true, "-2.3m"},   // half away from zero on the digits
        {nan, false, 0, 100, 0, true, "NaNm"},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.expected);
        String const shown = units.metre.toString(test.value, test.comma, test.min_decimals, test.max_decimals,
                                                  test.min_digits, test.abbreviation, 0);
        EXPECT_EQ(Text(shown), test.expected);
    }
    String reused("old text");
    units.metre.toString(reused, 2.5, false, 0, 100, 0, true, 0);
    EXPECT_EQ(Text(reused), "2.5m");
}

TEST_F(UnitTest, ConvertsToTextInTheUnit) {
    struct Case {
        Unit const * unit;
        double base;
        unsigned int min_decimals;
        unsigned int max_decimals;
        char const * expected;
    } const cases[] = {
        {&units.foot, 1.0, 0, 2, "3.28ft"},
        {&units.foot, 0.3048, 0, 2, "1ft"},
        {&units.fahrenheit, 100.0, 0, 1, "212F"},
        {&units.survey_foot, 1.0, 0, 2, "3.28ft"},
        {&units.bare, 12.5, 0, 3, "12.5"},
        {&units.turned, 1.0, 0, 2, "1m"}, // the texts of a matrix unit are its target's, conversion included
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.expected);
        EXPECT_EQ(Text(test.unit->convertToString(test.base, false, test.min_decimals, test.max_decimals, 0, true, 0)),
                  test.expected);
    }
}

TEST_F(UnitTest, ReadsTheLeadingNumberAndIgnoresWhatFollows) {
    struct Case {
        Unit const * unit;
        StringView text;
        double in_unit;
        double base;
    } const cases[] = {
        {&units.metre, "12.5m", 12.5, 12.5},
        {&units.foot, "-3e2ft", -300.0, -300.0 * 0.3048},
        {&units.fahrenheit, "212F", 212.0, 100.0},
        {&units.survey_foot, "10ft", 10.0, 3.048},
        {&units.metre, StringView("12345", 2), 12.0, 12.0}, // nothing beyond the view is read
        {&units.metre, "", nan, nan},
        {&units.metre, StringView(), nan, nan},
        {&units.metre, "abc", nan, nan},
        {&units.metre, " 12", nan, nan}, // no white space is skipped
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(std::string(test.text));
        double const in_unit = test.unit->fromString(test.text, 0);
        double const base = test.unit->convertFromString(test.text, 0);
        if (std::isnan(test.in_unit)) {
            EXPECT_TRUE(std::isnan(in_unit));
            EXPECT_TRUE(std::isnan(base));
        } else {
            EXPECT_DOUBLE_EQ(in_unit, test.in_unit);
            EXPECT_NEAR(base, test.base, 1e-12 * std::fabs(test.base));
        }
    }
    std::string const long_text = "12.5" + std::string(100, '0') + "1m"; // digits beyond the 19th are skipped
    EXPECT_EQ(units.metre.fromString(long_text, 0), 12.5);
}

TEST_F(UnitTest, EpsilonPicksARoundStepOfTheValuesSize) {
    struct Case {
        Unit const * unit;
        double value;
        double step;
    } const cases[] = {
        {&units.metre, 1.75, 1.0},
        {&units.metre, 1.76, 2.5},
        {&units.metre, 0.3, 0.25},
        {&units.metre, 3.25, 2.5},
        {&units.metre, 3.26, 5.0},
        {&units.metre, 6.75, 5.0},
        {&units.metre, 7.0, 10.0},
        {&units.metre, 350.0, 500.0},
        {&units.metre, 0.01, 0.01},
        // Negative values always step by 10 of their power of ten.
        {&units.metre, -1.0, -10.0},
        {&units.metre, -0.3, -1.0},
        {&units.metre, -350.0, -1000.0},
        // The step is round in the unit: 1 m is 3.28 ft, which steps by 5 ft.
        {&units.foot, 1.0, 1.524},
        // 1.5 m is 3 in a unit of doubled length, stepping by 2.5 of it; the target would give 1.
        {&units.turned, 1.5, 1.25},
        {&units.foot, 0.0, 0.3048},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(::testing::Message() << test.unit->name().c_str() << " " << test.value);
        EXPECT_NEAR(test.unit->epsilon(test.value, 0), test.step, 1e-12 * std::fabs(test.step));
    }
    EXPECT_TRUE(std::isnan(units.metre.epsilon(nan, 0)));
    EXPECT_TRUE(std::isnan(units.metre.epsilon(std::numeric_limits<double>::infinity(), 0)));
}

TEST_F(UnitTest, ToFormulaTurnsTermsIntoTheirNumbers) {
    struct Case {
        Unit const * unit;
        char const * text;
        char const * formula;
    } const cases[] = {
        {&units.foot, "12.5ft+3ft", "12.5+3"},
        {&units.foot, "2e3ft*(1.5ft-0.5)", "2*10^3*(1.5-0.5)"},
        {&units.foot, "12.5 ft + 3", "12.5 + 3"},
        {&units.foot, "1.50ft^2", "1.5^2"},
        {&units.foot, "4%3", "4%3"},
        {&units.survey_foot, "7ft/2ft", "7/2"},
        {&units.metre, "abc+1", "NaN+1"},
        {&units.metre, "", ""},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        StringAllocatingView text{StringView(test.text)};
        test.unit->toFormula(text, 0);
        EXPECT_EQ(std::string(text.view()), test.formula);
    }
}

TEST_F(UnitTest, SuggestsTheNextSeparatorFromTheLastTerm) {
    struct Case {
        Unit const * unit;
        char const * text;
        char const * next;
    } const cases[] = {
        {&units.metre, "", "."},
        {&units.metre, "12", "."},
        {&units.metre, "12.5", "m"},
        {&units.metre, "12.5m", ""},
        {&units.metre, "1.5m+2.5", "m"},
        {&units.bare, "12.5", ""},
        {&units.survey_foot, "12.5", "ft"},
        // Empty pieces between operators are dropped, but a text of operators leaves one empty piece.
        {&units.metre, "1.5m+", ""},
        {&units.metre, "+-/*^()%", "."},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(std::string(test.unit->getNextPreferredSeparator(test.text, 0)), test.next);
    }
}

TEST_F(UnitTest, AxisTextsDefaultToTheTranslatableLetters) {
    char const * const letters[4] = {"X", "Y", "Z", "W"};
    char const * const keys[4] = {"x_axis_abv", "y_axis_abv", "z_axis_abv", "w_axis_abv"};
    for (unsigned int axis = 0; axis < 4; ++axis) {
        SCOPED_TRACE(letters[axis]);
        TranslatedString const name = units.foot.translatedAxisName(axis);
        EXPECT_EQ(name.englishDefine().view(), StringView(letters[axis]));
        EXPECT_EQ(name.translationID(), Translator::DefaultFastID(keys[axis]));
        EXPECT_EQ(units.foot.axisAbbreviation(axis).englishDefine().view(), StringView(letters[axis]));
    }
}

TEST_F(UnitTest, CloneCrossesTheAxisNamesIntoTheAbbreviations) {
    NamedAxesUnit const named;
    std::unique_ptr<Unit const> const copy(named.clone());
    EXPECT_EQ(*copy, named);
    EXPECT_EQ(copy->axisAbbreviation(0).englishDefine().view(), StringView("East"));
    EXPECT_EQ(copy->axisAbbreviation(3).englishDefine().view(), StringView("Time"));
    EXPECT_EQ(copy->translatedAxisName(0).englishDefine().view(), StringView("X")); // its own default
    EXPECT_EQ(std::string(copy->translatedName().englishDefine().view()), "Metre");

    Unit const * const kinds[] = {&units.foot, &units.fahrenheit, &units.survey_foot, &units.stretched};
    for (Unit const * unit : kinds) {
        SCOPED_TRACE(unit->name().c_str());
        std::unique_ptr<Unit const> const renamed(unit->clone("other", Plain("Other")));
        EXPECT_EQ(renamed->convertToUnit(Point(1.0, 2.0, 3.0)), unit->convertToUnit(Point(1.0, 2.0, 3.0)));
        EXPECT_NE(*renamed, *unit);
        EXPECT_EQ(std::string(renamed->name().c_str()), "other");
    }
}

TEST_F(UnitTest, EqualityIsTheMatrixAndTheName) {
    ScaledOffsetUnit const kelvin_like("fahrenheit", Plain("Other label"), Plain("K"), 1.8, 273.15);
    EXPECT_EQ(kelvin_like, units.fahrenheit); // the offset is not in the matrix
    ScaledUnit const same_factor("fahrenheit", Plain("F"), Plain("F"), 1.8);
    EXPECT_EQ(same_factor, units.fahrenheit);
    ScaledUnit const renamed("Fahrenheit", Plain("F"), Plain("F"), 1.8);
    EXPECT_NE(renamed, units.fahrenheit);
    EXPECT_EQ(units.survey_foot.matrix(), units.foot.matrix());
    EXPECT_NE(units.survey_foot, units.foot);
    ScaledUnit const broken("broken", Plain(""), Plain(""), nan);
    EXPECT_NE(broken, broken);
}

} // namespace
} // namespace QELTA
