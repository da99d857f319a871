// The statement parser: hand-worked values of the left-to-right walk, the terms it writes,
// variables, the bounds on hostile text, and a differential check against the plain recursion.
#include "Base/Formula/StatementParser.h"

#include "tests/Support/ReferenceEquation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

void ExpectSame(double actual, double expected) {
    if (std::isnan(expected)) {
        EXPECT_TRUE(std::isnan(actual)) << actual;
    } else {
        EXPECT_DOUBLE_EQ(actual, expected);
    }
}

double Value(std::string const & text) {
    return StatementParser::solve(StringView(text)).evaluate();
}

TEST(StatementParserTest, AppliesTermsStrictlyFromLeftToRight) {
    struct Case {
        char const * text;
        double value;
    } const cases[] = {
        {"", 0.0},
        {"2+3*4", 20.0},
        {"(2+3)*4", 20.0},
        {"2^3^2", 64.0},
        {"2*(3+4)+1", 15.0},
        // After a ')' the waiting operator is '*', so a '-' there is the sign of a factor.
        {"2*(3+4)-1", -14.0},
        {"(2+3) - 1", nan}, // a sign with no number behind it
        {"(2+3)+-1", 4.0},
        {"10-2-3", 5.0},
        {"1/4", 0.25},
        {"10%4", 2.0},
        {"7.5%2", 1.5},
        // Operators overwrite one another; a '-' behind an operator is a sign.
        {"2+*3", 6.0},
        {"2*-3", -6.0},
        {"2 - -3", 5.0},
        {"--2", 2.0},
        {"-5", -5.0},
        {"- 5", -5.0},
        {"2*+3", 5.0},
        // Side by side: numbers add, a bracket replaces, after a bracket terms multiply.
        {"3 4", 7.0},
        {"3(2)", 2.0},
        {"2(3)4", 12.0},
        {"(2)3", 6.0},
        {"(2)(3)", 6.0},
        {"((2))", 2.0},
        {"2*((1+1)*3)", 12.0},
        // A bracket behind an operator combines by it.
        {"2+(3)", 5.0},
        {"2-(3)", -1.0},
        {"8/(2)", 4.0},
        {"2^(3)", 8.0},
        {"7%(4)", 3.0},
        // The four functions, in radians, exactly so spelled.
        {"sqrt(16)", 4.0},
        {"cos(0)", 1.0},
        {"sin(0)", 0.0},
        {"tan(0)", 0.0},
        {"cos(0)+sqrt(9)*2", 8.0},
        {"2*sqrt(4+5)", 6.0},
        {"sqrt (16)", nan},
        {"SQRT(16)", nan},
        // Numbers as the library reads them.
        {".5+.25", 0.75},
        {"5.", 5.0},
        {"5.*2", 10.0},
        {".", 0.0},
        {"2.5e2", 250.0},
        {"1E1+1", 11.0},
        // White space: blank, tab and line feed separate.
        {"3\t4", 7.0},
        {"3\n*4", 12.0},
        {" 1 + 1 ", 2.0},
        // Unclosed and stray brackets.
        {"(2", nan},
        {"2)", nan},
        {"2)+3", nan},
        {"(", nan},
        {")", nan},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        ExpectSame(Value(test.text), test.value);
    }
}

TEST(StatementParserTest, WritesTheTermsOfTheText) {
    struct Case {
        char const * text;
        std::vector<EquationTerm> terms;
    } const cases[] = {
        {"", {}},
        {"2*(3)", {{0, 2.0}, {'(', '*'}, {'+', 3.0}, {')', 0.0}}},
        {"(1)2", {{'(', 0.0}, {'+', 1.0}, {')', 0.0}, {'*', 2.0}}},
        {"-cos(x)", {{'c', '-'}, {'+', nan}, {')', 0.0}}},
        {"1+2*", {{0, 1.0}, {'+', 2.0}}},
        {"sqrt(tan(sin(2", {{'q', 0.0}, {'t', '+'}, {'s', '+'}, {'+', 2.0}}},
        {"4^)", {{0, 4.0}, {')', '^'}}},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        Equation<double> const equation = StatementParser::solve(test.text);
        ASSERT_EQ(equation.terms.size(), test.terms.size());
        for (unsigned int i = 0; i < test.terms.size(); ++i) {
            SCOPED_TRACE(i);
            EXPECT_EQ(equation.terms[i].op, test.terms[i].op);
            ExpectSame(equation.terms[i].value, test.terms[i].value);
        }
    }
}

TEST(StatementParserTest, ListsTheTermsOfEachVariable) {
    Equation<double> equation = StatementParser::solve("x*y+x");
    ASSERT_EQ(equation.variables.size(), 2u);
    Buffer<std::uint32_t> const & x = equation.variables.at(String("x"));
    ASSERT_EQ(x.size(), 2u);
    EXPECT_EQ(x[0], 0u);
    EXPECT_EQ(x[1], 2u);
    ASSERT_EQ(equation.variables.at(String("y")).size(), 1u);
    EXPECT_EQ(equation.variables.at(String("y"))[0], 1u);
    EXPECT_TRUE(std::isnan(equation.evaluate()));
    EXPECT_TRUE(equation.setVariable("x", 3.0));
    EXPECT_TRUE(std::isnan(equation.evaluate())); // y is still open
    EXPECT_TRUE(equation.setVariable("y", 2.0));
    EXPECT_DOUBLE_EQ(equation.evaluate(), 9.0);
    EXPECT_FALSE(equation.setVariable("z", 1.0));
}

TEST(StatementParserTest, ReadsVariableNamesToTheNextSeparator) {
    struct Case {
        char const * text;
        char const * name; // the one variable, given 5
        double value;
    } const cases[] = {
        {"x+1", "x", 6.0},
        {"2 x", "x", 7.0},
        {"x1.5*2", "x1.5", 10.0},
        {"sqrt(x)", "x", std::sqrt(5.0)},
        // A carriage return does not end a name, nor does a tab inside one.
        {"x\r+1", "x\r", 6.0},
        {"3\r4", "\r4", 8.0},
        {"a\tb*2", "a\tb", 10.0},
        // A function name without its bracket, or in another case, is a variable.
        {"cos*2", "cos", 10.0},
        {"Sin(2)", "Sin", 2.0},
        {"sqrt (4)", "sqrt", 4.0},
        // Unit suffixes are not known here.
        {"5m", "m", 10.0},
        {"[a]*2", "[a]", 10.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text);
        Equation<double> equation = StatementParser::solve(test.text);
        ASSERT_EQ(equation.variables.size(), 1u);
        EXPECT_TRUE(equation.setVariable(test.name, 5.0));
        ExpectSame(equation.evaluate(), test.value);
    }
    std::string const with_zero("a\0b+1", 5);
    Equation<double> equation = StatementParser::solve(StringView(with_zero));
    EXPECT_TRUE(equation.setVariable(StringView("a\0b", 3), 2.0));
    EXPECT_DOUBLE_EQ(equation.evaluate(), 3.0);
}

TEST(StatementParserTest, NumbersThatCannotBeReadActAsUnsetValues) {
    std::string const long_digits(400, '7');
    std::string const tiny = "0." + std::string(500, '0') + "1";
    struct Case {
        std::string text;
        double value;
    } const cases[] = {
        {"123456789012345678901234567890", nan},
        // A 0 behind the twentieth digit ends the number without overflow, a fixed rule of the
        // reader: the zeros left read as a second number.
        {"1" + std::string(25, '0') + "+1", 1e19},
        {long_digits + "*0", nan},
        {tiny, 0.0},   // fraction digits beyond the nineteenth are skipped
        {"2*-x", nan}, // a '-' behind an operator that starts no number
        {"1e400-1", std::numeric_limits<double>::infinity()},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.text.substr(0, 40));
        Equation<double> equation = StatementParser::solve(StringView(test.text));
        equation.setVariable("x", 1.0);
        ExpectSame(equation.evaluate(), test.value);
    }
}

TEST(StatementParserTest, ReadsNothingBehindTheView) {
    // Each view stops inside a number; the bytes behind it would continue the number. An
    // exponent without digits counts as 65535, so "12345e" is infinite, as the reader has it.
    char const text[] = "12345e7.5";
    struct Case {
        unsigned int size;
        double value;
    } const cases[] = {{1, 1.0}, {2, 12.0}, {6, std::numeric_limits<double>::infinity()}, {7, 12345e7}, {8, 12345e7}};
    for (Case const & test : cases) {
        SCOPED_TRACE(test.size);
        std::vector<char> exact(text, text + test.size); // no terminator: the sanitizer sees an over-read
        ExpectSame(StatementParser::solve(StringView(exact.data(), test.size)).evaluate(), test.value);
    }
}

TEST(StatementParserTest, AppendsFromAPositionAndMovesItToTheEnd) {
    Equation<double> equation = StatementParser::solve("3*");
    std::uint32_t position = 4;
    StatementParser::calc(position, "abc x+2", equation);
    EXPECT_EQ(position, 7u);
    ASSERT_EQ(equation.variables.size(), 1u);
    EXPECT_EQ(equation.variables.at(String("x"))[0], 1u); // counted over all terms
    equation.setVariable("x", 4.0);
    EXPECT_DOUBLE_EQ(equation.evaluate(), 9.0); // the '*' waiting at the end of "3*" is gone
    position = 40;
    StatementParser::calc(position, "1", equation);
    EXPECT_EQ(position, 1u);
    EXPECT_EQ(equation.terms.size(), 3u);
}

TEST(StatementParserTest, WalkStopsOnAStrayCloseOrAnUnsetValue) {
    Equation<double> const stray = StatementParser::solve("2)+3");
    std::uint32_t position = 0;
    EXPECT_DOUBLE_EQ(stray.evaluate(0.0, position), 2.0);
    EXPECT_EQ(position, 1u);
    position = 2;
    EXPECT_DOUBLE_EQ(stray.evaluate(2.0, position), 5.0);
    EXPECT_EQ(position, 3u);

    Equation<double> const open = StatementParser::solve("1+x*2");
    position = 0;
    EXPECT_TRUE(std::isnan(open.evaluate(0.0, position)));
    EXPECT_EQ(position, 1u);

    Equation<double> const unclosed = StatementParser::solve("(1+2");
    position = 0;
    EXPECT_TRUE(std::isnan(unclosed.evaluate(0.0, position)));
    EXPECT_EQ(position, 3u);
}

TEST(StatementParserTest, NaNInsideABracketClosesOnlyThatBracket) {
    // x ends the inner bracket; its ')' then closes the outer one, and the walk goes on: pow(NaN, 0) is 1.
    EXPECT_DOUBLE_EQ(Value("((x)^0"), 1.0);
    EXPECT_TRUE(std::isnan(Value("((x)^0)")));
    EXPECT_TRUE(std::isnan(Value("(x)+1")));
}

TEST(StatementParserTest, CombinesByTheCodeAHandMadeBracketHolds) {
    struct Case {
        double code;
        double value; // of 10 then a bracket holding 16
    } const cases[] = {
        {0.0, 16.0}, {'+', 26.0},           {'-', -6.0}, {'*', 160.0}, {'/', 0.625}, {'%', 10.0},
        {'q', 4.0},  {'c', std::cos(16.0)}, {'a', nan},  {'(', nan},   {-1.0, nan},  {1e300, nan},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.code);
        Equation<double> equation;
        equation.terms.add({0, 10.0});
        equation.terms.add({'(', test.code});
        equation.terms.add({'+', 16.0});
        equation.terms.add({')', 0.0});
        ExpectSame(equation.evaluate(), test.value);
    }
}

std::string Nested(unsigned int depth) {
    return std::string(depth, '(') + "1" + std::string(depth, ')');
}

TEST(StatementParserTest, BoundsTheNestingAndTheText) {
    EXPECT_DOUBLE_EQ(Value(Nested(Equation<double>::max_depth)), 1.0);
    EXPECT_TRUE(std::isnan(Value(Nested(Equation<double>::max_depth + 1))));
    EXPECT_TRUE(std::isnan(Value(Nested(100000))));
    EXPECT_TRUE(std::isnan(Value(std::string(100000, '(') + "1")));

    std::string huge(StatementParser::max_text_size + 1, ' ');
    huge[0] = '1';
    Equation<double> const too_long = StatementParser::solve(StringView(huge));
    EXPECT_EQ(too_long.terms.size(), 1u);
    EXPECT_TRUE(std::isnan(too_long.evaluate()));
    huge.pop_back();
    EXPECT_DOUBLE_EQ(Value(huge), 1.0);
}

TEST(StatementParserTest, ExplainsEachStepInTheOrderApplied) {
    Buffer<Equation<double>::Step> steps;
    EXPECT_DOUBLE_EQ(StatementParser::solve("2+3*4").explain(steps), 20.0);
    ASSERT_EQ(steps.size(), 3u);
    double const running[] = {2.0, 5.0, 20.0};
    for (unsigned int i = 0; i < 3; ++i) {
        EXPECT_EQ(steps[i].position, i);
        EXPECT_EQ(steps[i].depth, 0u);
        EXPECT_DOUBLE_EQ(steps[i].running, running[i]);
    }
    // 2, open (depth 1, running 0), +3, close (back at depth 0, 3 replaces 2), *4.
    EXPECT_DOUBLE_EQ(StatementParser::solve("2(3)4").explain(steps), 12.0);
    ASSERT_EQ(steps.size(), 5u);
    EXPECT_EQ(steps[1].depth, 1u);
    EXPECT_EQ(steps[3].depth, 0u);
    EXPECT_DOUBLE_EQ(steps[3].running, 3.0);
}

// Random texts of numbers, variables, operators, brackets and functions: the walk without
// recursion gives what the plain recursion gives, bit for bit, with and without its steps recorded.
TEST(StatementParserTest, WalkAgreesWithThePlainRecursion) {
    char const * const pieces[] = {"1", "2.5", "0", "-3", "x",     "y",    "+",    "-",    "*", "/",  "^",   "%",
                                   "(", "(",   ")", ")",  "sqrt(", "cos(", "sin(", "tan(", " ", ".5", "1e2", "\r"};
    std::mt19937 random(19);
    std::uniform_int_distribution<unsigned int> piece(0, sizeof(pieces) / sizeof(pieces[0]) - 1);
    std::uniform_int_distribution<unsigned int> length(0, 24);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (unsigned int n = length(random); n > 0; --n) {
            text += pieces[piece(random)];
        }
        Equation<double> equation = StatementParser::solve(StringView(text));
        equation.setVariable("x", 0.5);
        Buffer<Equation<double>::Step> steps;
        double const explained = equation.explain(steps);
        double const ours = equation.evaluate();
        double const reference = Testing::ReferenceValue(equation);
        ASSERT_EQ(std::isnan(explained), std::isnan(ours)) << text;
        ASSERT_TRUE(std::isnan(ours) || std::memcmp(&ours, &explained, sizeof(double)) == 0) << text;
        if (std::isnan(reference)) {
            ASSERT_TRUE(std::isnan(ours)) << text;
        } else {
            ASSERT_EQ(std::memcmp(&ours, &reference, sizeof(double)), 0) << text << " " << ours << " " << reference;
        }
    }
}

} // namespace
} // namespace QELTA
