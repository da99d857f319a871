// ReferenceEquation: the walk of an equation written as the plain recursion it is described by,
// for differential checks of Equation<double>::evaluate, which walks without recursion.
//
// Each bracket recurses once, so only equations of modest depth may go through it.
#pragma once

#include "Base/Formula/StatementParser.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace QELTA::Testing {

inline double ReferenceFunction(int code, double value) {
    switch (code) {
    case 'c':
        return std::cos(value);
    case 's':
        return std::sin(value);
    case 't':
        return std::tan(value);
    case 'q':
        return std::sqrt(value);
    default:
        return value;
    }
}

inline double ReferenceApply(int op, double running, double value) {
    switch (op) {
    case 0:
    case '+':
        return running + value;
    case '-':
        return running - value;
    case '*':
        return running * value;
    case '/':
        return running / value;
    case '^':
        return std::pow(running, value);
    case '%':
        return std::fmod(running, value);
    default:
        return std::numeric_limits<double>::quiet_NaN();
    }
}

inline double ReferenceEvaluate(Equation<double> const & equation, double running, std::uint32_t & position) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    std::uint32_t const count = equation.terms.size();
    for (; position < count; ++position) {
        EquationTerm const term = equation.terms[position];
        if (std::isnan(term.value)) {
            return nan;
        }
        if (term.op == ')') {
            return running;
        }
        if (term.op == '(' || term.op == 'c' || term.op == 's' || term.op == 't' || term.op == 'q') {
            int const outer = term.value >= 0.0 && term.value < 256.0 ? static_cast<int>(term.value) : -1;
            ++position;
            double inner = ReferenceEvaluate(equation, 0.0, position);
            if (position >= count) {
                return nan;
            }
            inner = ReferenceFunction(term.op, inner);
            if (outer == 0) {
                running = inner;
            } else if (outer == 'c' || outer == 'q' || outer == 's' || outer == 't') {
                running = ReferenceFunction(outer, inner);
            } else if (outer == '*' || outer == '+' || outer == '-' || outer == '/' || outer == '^' || outer == '%') {
                running = ReferenceApply(outer, running, inner);
            } else {
                running = nan;
            }
            continue;
        }
        running = ReferenceApply(term.op, running, term.value);
    }
    return running;
}

// The value of the whole equation: NaN unless the walk reaches the end of the terms.
inline double ReferenceValue(Equation<double> const & equation) {
    std::uint32_t position = 0;
    double const value = ReferenceEvaluate(equation, 0.0, position);
    return position == equation.terms.size() ? value : std::numeric_limits<double>::quiet_NaN();
}

// Brackets open at the deepest point of the terms, counted as written.
inline std::uint32_t BracketDepth(Equation<double> const & equation) {
    std::uint32_t depth = 0;
    std::uint32_t deepest = 0;
    for (EquationTerm const & term : equation.terms) {
        if (term.op == '(' || term.op == 'c' || term.op == 's' || term.op == 't' || term.op == 'q') {
            deepest = ++depth > deepest ? depth : deepest;
        } else if (term.op == ')' && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

} // namespace QELTA::Testing
