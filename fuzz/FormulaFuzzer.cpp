// Fuzz target: formulas of arbitrary bytes with a table of definitions, expanded, solved and
// displayed. The first line is the formula; each further line "name=expression" a definition.
#include "Base/Formula/Formula.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace {

using QELTA::Formula;
using QELTA::String;
using QELTA::StringView;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > (1u << 20)) {
        return 0;
    }
    StringView const input(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    Formula formula;
    unsigned int line_start = 0;
    bool first = true;
    for (unsigned int index = 0; index <= input.size(); ++index) {
        if (index != input.size() && input[index] != '\n') {
            continue;
        }
        StringView const line = input.substr(line_start, index);
        line_start = index + 1;
        if (first) {
            formula.formula = String(line);
            first = false;
            continue;
        }
        unsigned int const equals = line.indexOf('=');
        if (equals != StringView::not_found) {
            formula.variables[String(line.substr(0, equals))] = String(line.substr(equals + 1));
        }
    }

    unsigned int const brackets = formula.formula.count('[');
    if (formula.dependentVariables().size() != brackets) {
        std::abort();
    }
    String const simplified = formula.simplifiedFormula();
    if (simplified.size() > formula.formula.size() && simplified.size() > QELTA::StatementParser::max_text_size) {
        std::abort();
    }
    double const value = formula.solve();
    Formula const copy = formula;
    double const again = copy.solve();
    if (std::isnan(value) != std::isnan(again) || (!std::isnan(value) && value != again)) {
        std::abort();
    }
    String const shown = formula.displayFormula(true);
    String const plain = formula.displayFormula(false);
    if (plain.indexOf('[') != String::not_found || plain.indexOf('*') != String::not_found) {
        std::abort();
    }
    (void)shown;
    return 0;
}
