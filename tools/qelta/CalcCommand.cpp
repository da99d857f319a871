// qelta calc: a line of arithmetic walked from left to right, with its variables, step by step.
#include "tools/qelta/Command.h"

#include "Base/Formula/Formula.h"
#include "Base/Formula/StatementParser.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/Unit.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

constexpr char command_name[] = "calc";

struct CalcArguments {
    std::string expression;
    std::vector<std::string> settings;    // NAME=NUMBER
    std::vector<std::string> definitions; // NAME=EXPRESSION
    bool explain = false;
    std::string unit_name;
    ConstPointer<Unit> unit; // the unit of --unit
};

// The unit a person names by `text`: a name the unit manager reads, else a catalogue unit.
ConstPointer<Unit> NamedUnit(std::string const & text, std::string & error) {
    if (ConstPointer<Unit> unit = CurrentUnits().unit(StringView(text))) {
        return unit;
    }
    UnitDefinitions::Entry const * entry = FindCatalogueUnit(text, error);
    return entry != nullptr ? entry->unit() : nullptr;
}

// "name=text" split at its first '='; false when there is none or the name is empty.
bool SplitAssignment(std::string const & assignment, std::string & name, std::string & text) {
    std::string::size_type const equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
        return false;
    }
    name = assignment.substr(0, equals);
    text = assignment.substr(equals + 1);
    return true;
}

std::string Shown(StringView const & text) {
    std::string shown;
    for (char const c : text) {
        if (c == '\r') {
            shown += "\\r";
        } else if (c == '\t') {
            shown += "\\t";
        } else {
            shown += c;
        }
    }
    return shown;
}

// The variable standing at each term, for the explanation.
Dictionary<std::uint32_t, String> NamesByTerm(Equation<double> const & equation) {
    Dictionary<std::uint32_t, String> names;
    for (auto const & [name, positions] : equation.variables) {
        for (std::uint32_t position : positions) {
            names[position] = name;
        }
    }
    return names;
}

bool OpensBracket(std::uint8_t op) {
    return op == '(' || op == 'c' || op == 's' || op == 't' || op == 'q';
}

// A term as it reads in the walk: "+ 3", "* x (4)", "- sqrt(", ")".
std::string TermText(Equation<double> const & equation, std::uint32_t position,
                     Dictionary<std::uint32_t, String> const & names) {
    EquationTerm const & term = equation.terms[position];
    if (term.op == ')') {
        return ")";
    }
    bool const bracket = OpensBracket(term.op);
    std::uint8_t const waiting = bracket ? static_cast<std::uint8_t>(term.value) : term.op;
    std::string text;
    if (waiting != 0) {
        text += static_cast<char>(waiting);
        text += ' ';
    }
    if (bracket) {
        return text + std::string(StatementParser::BracketText(term.op));
    }
    auto const name = names.find(position);
    if (name != names.end()) {
        text += Shown(name->value()) + " (" + NumberText(term.value).c_str() + ")";
    } else {
        text += NumberText(term.value).c_str();
    }
    return text;
}

// Each step indented by the brackets open where its term is written.
void Explain(Equation<double> const & equation) {
    Buffer<Equation<double>::Step> steps;
    equation.explain(steps);
    Dictionary<std::uint32_t, String> const names = NamesByTerm(equation);
    std::puts("term  applied                       running");
    for (Equation<double>::Step const & step : steps) {
        EquationTerm const & term = equation.terms[step.position];
        // A step at an open bracket counts the level inside it; a term without value inside a
        // bracket ends that bracket and counts the level outside.
        std::uint32_t indent = step.depth;
        if (OpensBracket(term.op)) {
            indent = step.depth - 1;
        } else if (std::isnan(term.value)) {
            indent = step.depth + 1;
        }
        std::string applied(2 * indent, ' ');
        applied += TermText(equation, step.position, names);
        std::printf("%4u  %-30s%s\n", step.position + 1, applied.c_str(), NumberText(step.running).c_str());
    }
}

// Why a walk gave no value, for standard error.
std::string Reason(Equation<double> const & equation) {
    // A variable without value first: it also ends its bracket early, which shifts the pairs.
    std::uint32_t first_open = equation.terms.size();
    String open_name;
    for (auto const & [name, positions] : equation.variables) {
        for (std::uint32_t position : positions) {
            if (std::isnan(equation.terms[position].value) && position < first_open) {
                first_open = position;
                open_name = name;
            }
        }
    }
    if (first_open < equation.terms.size()) {
        return "'" + Shown(open_name) + "' has no value (term " + std::to_string(first_open + 1) +
               "); give it one with --set";
    }
    std::uint32_t position = 0;
    equation.evaluate(0.0, position);
    if (position < equation.terms.size()) {
        EquationTerm const & term = equation.terms[position];
        std::string const where = " (term " + std::to_string(position + 1) + ")";
        if (term.op == ')') {
            return "a ')' closes no bracket" + where;
        }
        if (std::isnan(term.value)) {
            return "a number that cannot be read" + where;
        }
        return "brackets nested deeper than " + std::to_string(Equation<double>::max_depth) + where;
    }
    Buffer<Equation<double>::Step> steps;
    equation.explain(steps);
    if (!steps.isEmpty() && steps.last().depth != 0) {
        return "a bracket is not closed";
    }
    return "the value is not a number";
}

int RunCalc(CalcArguments const & arguments) {
    Formula formula;
    formula.formula = String(arguments.expression);
    if (arguments.unit != nullptr) {
        StringAllocatingView text{StringView(arguments.expression)};
        arguments.unit->toFormula(text, 0);
        formula.formula = String(text.view());
        std::printf("in %s  %s\n", arguments.unit->name().c_str(), formula.formula.c_str());
    }
    std::string name;
    std::string text;
    for (std::string const & definition : arguments.definitions) {
        SplitAssignment(definition, name, text);
        formula.variables[String(name)] = String(text);
    }
    Equation<double> equation = formula.equation();
    for (std::string const & setting : arguments.settings) {
        SplitAssignment(setting, name, text);
        double value = 0.0;
        StringStream<double>::fromString(StringView(text), value);
        if (!equation.setVariable(StringView(name), value)) {
            std::fflush(stdout);
            std::fprintf(stderr, "qelta %s: the expression has no variable '%s'\n", command_name, Shown(name).c_str());
            return exit_failure;
        }
    }
    if (!arguments.definitions.empty()) {
        String const simplified = formula.simplifiedFormula();
        std::printf("expanded  %s\n", simplified.c_str());
    }
    if (arguments.explain) {
        Explain(equation);
    }
    double const value = equation.evaluate();
    std::printf("%s\n", NumberText(value).c_str());
    if (arguments.unit != nullptr && !std::isnan(value)) {
        std::printf("%s\n", arguments.unit->toString(value, false, 0, 4, 0, true, 0).c_str());
    }
    if (std::isnan(value)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta %s: %s\n", command_name, Reason(equation).c_str());
        return exit_failure;
    }
    return exit_ok;
}

void PrintValue(char const * text) {
    std::printf("  %-22s = %s\n", text, NumberText(StatementParser::solve(text).evaluate()).c_str());
}

} // namespace

void DemoCalc() {
    std::puts("\n== Formulas");
    std::puts("A line of arithmetic is walked once from left to right, with no precedence:");
    for (char const * text : {"2+3*4", "(2+3)*4", "3(2)", "2(3)4", "sqrt(16)+1"}) {
        PrintValue(text);
    }
    std::puts("A formula names its inputs in brackets; its table defines some of them. Slope length");
    std::puts("sqrt([run]*[run]+([rise]*[rise])) with run typed as \"12ft\", which goes through the");
    std::puts("unit first, and rise a variable set to 5 (feet, 3.2808 to the metre):");
    ScaledUnit const feet("feet", TranslatedString::DirectString("Feet"), TranslatedString::DirectString("ft"),
                          3.280839895013123);
    Formula slope;
    slope.translated_name = TranslatedString::DirectString("Slope length");
    slope.formula = "sqrt([run]*[run]+([rise]*[rise]))";
    slope.category = UnitCategory::DISTANCE;
    StringAllocatingView run{StringView("12ft")};
    feet.toFormula(run, 0);
    slope.variables[String("run")] = String(run.view());
    std::printf("  expanded               %s\n", slope.simplifiedFormula().c_str());
    std::printf("  shown                  %s\n", slope.displayFormula(false).c_str());
    Equation<double> equation = slope.equation();
    equation.setVariable("[rise]", 5.0);
    double const length = equation.evaluate();
    StringAllocatingView category;
    StringStream<UnitCategory>::toString(slope.category, category);
    String const metres = String::NumberString(feet.convertFromUnit(length, 0), false, 0, 4, 0, '.', ',');
    std::printf("  %-22s = %s (%.*s), %s m\n", "value", feet.toString(length, false, 0, 4, 0, true, 0).c_str(),
                static_cast<int>(category.size()), category.data(), metres.c_str());
}

void AddCalcCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<CalcArguments>();
    CLI::App & calc =
        AddCommand(qelta, "calc", "a line of arithmetic walked from left to right, with variables",
                   "Terms apply strictly from left to right, with no operator precedence: \"2+3*4\" is 20.\n"
                   "Operators: + - * / ^ (power) % (remainder); functions cos( sin( tan( sqrt( in radians.\n"
                   "Two terms side by side add (\"3 4\" is 7); a bracket with no operator in front replaces\n"
                   "the running value (\"3(2)\" is 2); after a ')' a term with no operator multiplies, and\n"
                   "a '-' there is the sign of that term (\"(2)-1\" is -2). Any other word is a variable.\n"
                   "Prints the value; --explain first lists each term as it is applied, indented by the\n"
                   "brackets open around it, with the running value after it. A value that cannot be had\n"
                   "(a variable without value, a bracket left open) prints NaN, says why and exits 1.\n"
                   "With --unit NAME the values are typed in that unit with its suffixes: each term becomes\n"
                   "its number in the unit (\"5'6\\\"\" in feet and inches is 5.5), before the walk, so no\n"
                   "variables remain; the value is printed again in the unit. NAME is read as by\n"
                   "'qelta units set', else as by 'qelta convert'.\n"
                   "Examples: qelta calc \"2+3*4\" --explain\n"
                   "          qelta calc \"x*x+1\" --set x=3\n"
                   "          qelta calc \"[a]*2\" --define a=2+3\n"
                   "          qelta calc \"5'6\\\"+1'8\\\"\" --unit \"feet inches\"",
                   [arguments] { return RunCalc(*arguments); });
    calc.add_option("EXPRESSION", arguments->expression, "the text to evaluate")->required();
    calc.add_option("--set", arguments->settings, "gives the variable NAME the value NUMBER")
        ->type_name("NAME=NUMBER")
        ->check(CLI::Validator(
            [](std::string & setting) -> std::string {
                std::string name;
                std::string text;
                double value = 0.0;
                if (SplitAssignment(setting, name, text)) {
                    StringStream<double>::fromString(StringView(text), value);
                }
                return name.empty() || std::isnan(value) ? "'" + setting + "' is not NAME=NUMBER" : std::string();
            },
            "NAME=NUMBER"));
    calc.add_option("--define", arguments->definitions, "defines the input [NAME] by EXPRESSION")
        ->type_name("NAME=EXPRESSION")
        ->check(CLI::Validator(
            [](std::string & definition) -> std::string {
                std::string name;
                std::string text;
                return SplitAssignment(definition, name, text) ? std::string()
                                                               : "'" + definition + "' is not NAME=EXPRESSION";
            },
            "NAME=EXPRESSION"));
    calc.add_flag("--explain", arguments->explain, "lists the terms in the order they are applied");
    calc.add_option("--unit", arguments->unit_name, "the unit the values are typed in, with its suffixes")
        ->type_name("NAME")
        ->check(CLI::Validator(
            [arguments](std::string & name) -> std::string {
                std::string error;
                arguments->unit = NamedUnit(name, error);
                return arguments->unit == nullptr ? error : std::string();
            },
            "NAME"));
}

} // namespace QELTA::Tool
