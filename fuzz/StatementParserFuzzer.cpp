// Fuzz target: statements of arbitrary bytes parsed and walked, with every variable open and
// then filled, against the plain recursion; and the scanner started in the middle of the text.
#include "Base/Formula/StatementParser.h"

#include "tests/Support/ReferenceEquation.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

using QELTA::Equation;
using QELTA::StatementParser;
using QELTA::StringView;

// Depths the recursion may take on the fuzzer's stack.
constexpr std::uint32_t reference_depth = 200;

void Agree(Equation<double> const & equation) {
    double const ours = equation.evaluate();
    if (QELTA::Testing::BracketDepth(equation) > reference_depth) {
        return;
    }
    double const reference = QELTA::Testing::ReferenceValue(equation);
    bool const same = std::isnan(reference) ? std::isnan(ours) : std::memcmp(&ours, &reference, sizeof(double)) == 0;
    if (!same) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > StatementParser::max_text_size) {
        return 0;
    }
    // The view has no terminator: reading past it is what the sanitizer must catch.
    StringView const text(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    Equation<double> equation = StatementParser::solve(text);
    std::uint32_t positions = 0;
    for (auto const & entry : equation.variables) {
        for (std::uint32_t position : entry.value()) {
            if (position >= equation.terms.size() || !std::isnan(equation.terms[position].value)) {
                std::abort();
            }
        }
        positions += entry.value().size();
    }
    if (positions > equation.terms.size()) {
        std::abort();
    }
    Agree(equation);
    double value = 1.5;
    for (auto const & entry : equation.variables) {
        equation.setVariable(entry.key(), value);
        value = -value * 2.0;
    }
    Agree(equation);
    // Recording the steps takes the same walk.
    QELTA::Buffer<Equation<double>::Step> steps;
    double const explained = equation.explain(steps);
    double const evaluated = equation.evaluate();
    bool const same =
        std::isnan(evaluated) ? std::isnan(explained) : std::memcmp(&explained, &evaluated, sizeof(double)) == 0;
    if (!same || steps.size() > equation.terms.size()) {
        std::abort();
    }

    std::uint32_t position = static_cast<std::uint32_t>(size / 2);
    Equation<double> rest = StatementParser::solve("1+");
    StatementParser::calc(position, text, rest);
    if (position != size && size != 0) {
        std::abort();
    }
    Agree(rest);
    return 0;
}
