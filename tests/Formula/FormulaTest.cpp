// Formulas: their inputs, the one-pass expansion and its bounds, their value, units typed into
// them, and their display text.
#include "Base/Formula/Formula.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

std::string Text(String const & text) {
    return std::string(text.data(), text.size());
}

Formula MakeFormula(char const * text, std::vector<std::pair<char const *, char const *>> const & variables = {}) {
    Formula formula;
    formula.formula = text;
    for (auto const & [name, expression] : variables) {
        formula.variables[String(name)] = String(expression);
    }
    return formula;
}

TEST(FormulaTest, ListsEveryBracketedNameInOrder) {
    struct Case {
        char const * text;
        std::vector<std::string> names;
    } const cases[] = {
        {"[a]+[b]*[a]", {"a", "b", "a"}},
        {"a+b", {}},
        {"", {}},
        {"[]", {""}},
        {"[a[b]c]", {"a", "b"}}, // a '[' inside a name starts the next
        {"[width", {"width"}},
        {"x]y[z", {"z"}},
        {"[ x \r]", {" x \r"}},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        StringBuffer const names = MakeFormula(test.text).dependentVariables();
        ASSERT_EQ(names.size(), test.names.size());
        for (unsigned int i = 0; i < names.size(); ++i) {
            EXPECT_EQ(Text(names[i]), test.names[i]);
        }
    }
}

TEST(FormulaTest, ExpandsAndSolves) {
    struct Case {
        Formula formula;
        char const * simplified;
        double value;
    } const cases[] = {
        {MakeFormula("[a]*2", {{"a", "2+3"}}), "(2+3)*2", 10.0},
        {MakeFormula("[a]+[a]", {{"a", "1"}}), "(1)+(1)", 2.0},
        {MakeFormula("[a]+1"), "[a]+1", NAN},
        {MakeFormula(""), "", 0.0},
        {MakeFormula("[a]", {{"b", "1"}}), "[a]", NAN},
        // Matches are found from left to right and the inserted text is not searched again.
        {MakeFormula("[a]", {{"a", "[a]+1"}}), "([a]+1)", NAN},
        {MakeFormula("[aa]", {{"a", "1"}}), "[aa]", NAN},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(Text(test.formula.formula));
        EXPECT_EQ(Text(test.formula.simplifiedFormula()), test.simplified);
        if (std::isnan(test.value)) {
            EXPECT_TRUE(std::isnan(test.formula.solve()));
        } else {
            EXPECT_DOUBLE_EQ(test.formula.solve(), test.value);
        }
    }
}

TEST(FormulaTest, ExpandsADefinitionOnlyWhenItsInputComesLaterInTheTable) {
    Formula chain;
    chain.variables[String("a")];
    chain.variables[String("b")];
    auto entry = chain.variables.begin();
    std::string const first = Text(entry->key());
    std::string const second = Text((++entry)->key());
    auto bracketed = [](std::string const & name) { return "[" + name + "]"; };
    // The first entry's definition names the second: one pass expands both.
    chain.formula = String((bracketed(first) + "*2").c_str());
    chain.variables[String(first.c_str())] = String((bracketed(second) + "+1").c_str());
    chain.variables[String(second.c_str())] = "4";
    EXPECT_EQ(Text(chain.simplifiedFormula()), "((4)+1)*2");
    EXPECT_DOUBLE_EQ(chain.solve(), 10.0);
    // The other way round the inner input stays open.
    Formula reversed = chain; // a copy keeps the table's order
    reversed.formula = String((bracketed(second) + "*2").c_str());
    reversed.variables[String(second.c_str())] = String((bracketed(first) + "+1").c_str());
    reversed.variables[String(first.c_str())] = "4";
    EXPECT_EQ(Text(reversed.simplifiedFormula()), "(" + bracketed(first) + "+1)*2");
    EXPECT_TRUE(std::isnan(reversed.solve()));
    // It can still be filled through the equation.
    Equation<double> equation = reversed.equation();
    EXPECT_TRUE(equation.setVariable(String(bracketed(first).c_str()), 4.0));
    EXPECT_DOUBLE_EQ(equation.evaluate(), 10.0);
}

TEST(FormulaTest, StopsExpandingBeforeTheTextGrowsTooLarge) {
    std::string many;
    for (int i = 0; i < 2000; ++i) {
        many += "[a]";
    }
    Formula formula = MakeFormula(many.c_str(), {{"a", many.c_str()}});
    EXPECT_EQ(Text(formula.simplifiedFormula()), many);
    EXPECT_TRUE(std::isnan(formula.solve()));

    // Forty entries, each defined by two of the next: doubling at every step the order allows.
    Formula doubling;
    doubling.formula = "[v0]";
    for (int i = 0; i < 40; ++i) {
        std::string const next = "[v" + std::to_string(i + 1) + "]";
        doubling.variables[String(("v" + std::to_string(i)).c_str())] = String((next + next).c_str());
    }
    EXPECT_LE(doubling.simplifiedFormula().size(), StatementParser::max_text_size);
    EXPECT_TRUE(std::isnan(doubling.solve()));
}

// Random formulas and tables within the bounds: the expansion gives what replacing every
// "[name]" with std::string, entry by entry in the table's order, gives.
TEST(FormulaTest, ExpansionAgreesWithPlainReplacement) {
    char const * const pieces[] = {"[a]", "[b]", "[ab]", "[", "]", "a", "1", "+", "*", "(", ")", " "};
    char const * const names[] = {"a", "b", "ab", "", "c"};
    std::mt19937 random(10);
    auto pick = [&random](unsigned int count) {
        return std::uniform_int_distribution<unsigned int>(0, count - 1)(random);
    };
    auto text = [&](unsigned int length) {
        std::string made;
        for (unsigned int n = pick(length); n > 0; --n) {
            made += pieces[pick(sizeof(pieces) / sizeof(pieces[0]))];
        }
        return made;
    };
    for (int round = 0; round < 5000; ++round) {
        Formula formula;
        formula.formula = String(text(12).c_str());
        for (unsigned int n = pick(4); n > 0; --n) {
            formula.variables[String(names[pick(5)])] = String(text(6).c_str());
        }
        std::string expected = Text(formula.formula);
        for (auto const & [name, expression] : formula.variables) {
            std::string const needle = "[" + Text(name) + "]";
            std::string const replacement = "(" + Text(expression) + ")";
            for (std::size_t at = expected.find(needle); at != std::string::npos; at = expected.find(needle, at)) {
                expected.replace(at, needle.size(), replacement);
                at += replacement.size();
            }
        }
        ASSERT_EQ(Text(formula.simplifiedFormula()), expected) << Text(formula.formula);
    }
}

String InFeet(char const * typed) {
    static ScaledUnit const feet("feet", TranslatedString::DirectString("Feet"), TranslatedString::DirectString("ft"),
                                 3.280839895013123);
    StringAllocatingView text{StringView(typed)};
    feet.toFormula(text, 0);
    return String(text.view());
}

TEST(FormulaTest, TakesTextsTypedInAUnitThroughTheUnit) {
    // Definitions go through the unit before they enter the table; an input stays open.
    Formula slope = MakeFormula("sqrt([run]*[run]+([rise]*[rise]))");
    slope.category = UnitCategory::DISTANCE;
    slope.variables[String("run")] = InFeet("12ft");
    EXPECT_EQ(Text(slope.variables.at(String("run"))), "12");
    Equation<double> equation = slope.equation();
    EXPECT_TRUE(equation.setVariable("[rise]", 5.0));
    EXPECT_DOUBLE_EQ(equation.evaluate(), 13.0);

    // A text with no inputs left may go through whole, after expanding.
    Formula area = MakeFormula("[width]*[depth]+[extra]", {{"width", "12ft"}, {"depth", "2.5 ft"}, {"extra", "1e1ft"}});
    String const in_feet = InFeet(area.simplifiedFormula().c_str());
    EXPECT_EQ(Text(in_feet), "(12)*(2.5)+(1*10^1)");
    EXPECT_DOUBLE_EQ(StatementParser::solve(in_feet).evaluate(), 40.0);
    EXPECT_TRUE(std::isnan(area.solve())); // unread, "ft" is a variable

    // The unit turns names into numbers too, so an open input is lost.
    EXPECT_TRUE(std::isnan(StatementParser::solve(InFeet("[rise]*2ft")).evaluate()));
}

TEST(FormulaTest, DisplaysAsRichText) {
    struct Case {
        char const * text;
        char const * shown;
    } const cases[] = {
        {"x_1^2", "x<sub>1</sub><sup>2</sup>"},
        {"a*b/c", "a\xC3\x97"
                  "b\xC3\xB7"
                  "c"},
        {"x_ab+1", "x<sub>ab</sub>+1"},
        {"v^2/2", "v<sup>2</sup>\xC3\xB7"
                  "2"},
        {"sqrt([a]_0)", "\xE2\x88\x9A(a<sub>0</sub>)"},
        // A '^' that ends a superscript is looked at once only, and stays.
        {"a^b^c", "a<sup>b</sup>^c"},
        // With both open, an end closes the subscript first, the end of the text both.
        {"a^b_c d", "a<sup>b<sub>c</sub> d</sup>"},
        {"m_x_y", "m<sub>x_y</sub>"},
        {"1\\2", "1/2"},
        {"", ""},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        EXPECT_EQ(Text(Formula::DisplayString(test.text)), test.shown);
    }
    Formula formula = MakeFormula("[r]^2*3", {{"r", "a_1"}});
    EXPECT_EQ(Text(formula.displayFormula(false)), "r<sup>2</sup>\xC3\x97"
                                                   "3");
    EXPECT_EQ(Text(formula.displayFormula(true)), "(a<sub>1</sub>)<sup>2</sup>\xC3\x97"
                                                  "3");
}

} // namespace
} // namespace QELTA
