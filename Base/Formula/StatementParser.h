// StatementParser and Equation<double>: a line of arithmetic as a flat list of terms, and its
// value in one walk from left to right.
//
// An Equation is a plain value that owns its terms and its variable table; it has no lock, so
// one equation is evaluated by many threads only while none fills in variables. Nothing raises
// and nothing is reported: what cannot be read or evaluated gives NaN.
//
// Bounds on hostile text: a text longer than StatementParser::max_text_size bytes is not read
// and gives one NaN term; brackets nest at most Equation<double>::max_depth levels deep in an
// evaluation, and a deeper bracket makes the value NaN. The walk holds its brackets in a fixed
// array, never on the call stack, so no text can exhaust the stack.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

// One term of an equation. `op` is what the term does, applied to the running value:
//   0 or '+' add `value`, '-' subtract, '*' multiply, '/' divide, '^' raise to the power `value`
//   (pow), '%' take the remainder by `value` (fmod);
//   '(' open a plain bracket, 'c', 's', 't', 'q' open a bracket whose result goes through cos,
//   sin, tan or sqrt (radians, no change of units);
//   ')' close a bracket.
// For a bracket term `value` is not an operand but the operator waiting in front of the bracket,
// as its character code (0 when none). A NaN `value` is a variable that has no value yet.
struct EquationTerm {
    std::uint8_t op = 0;
    double value = 0.0;
};

template <class T>
class Equation;

// What the statement parser makes of a text: `terms` in the order of the text, and `variables`,
// from each variable name to the positions in `terms` at which it stands. A caller gives a
// variable its value by writing it into those terms (setVariable does so).
template <>
class QELTA_BASE_EXPORT Equation<double> {
  public:
    // Brackets deeper than this give NaN when evaluated.
    static constexpr std::uint32_t max_depth = 256;

    // One step of a walk, for showing how a value comes about (see explain).
    struct Step {
        std::uint32_t position; // of the term applied: a plain term, a bracket opened or closed
        std::uint32_t depth;    // brackets open around the term; a close step counts the outer level
        double running;         // the running value at that depth after the step
    };

    Dictionary<String, Buffer<std::uint32_t>> variables;
    Buffer<EquationTerm> terms;

    // Writes `value` into every term of the variable `name`; false when there is no such name.
    bool setVariable(StringView const & name, double value);

    // The walk from `position` on with `running` as the running value, strictly left to right
    // with no operator precedence ("2+3*4" is 20). It stops and answers NaN at a term whose
    // value is NaN, leaving `position` on that term. At a ')' outside any bracket opened in this
    // walk it answers `running`, with `position` on the ')'. Otherwise it runs to the end of the
    // terms and answers the running value with `position` at the end; a bracket still open there
    // answers NaN. A bracket's value replaces the running value when no operator waits in front
    // of it ("3(2)" is 2), while two numbers side by side add ("3 2" is 5).
    //
    // A NaN term inside a bracket ends only that bracket: its value, NaN, goes into the enclosing
    // level, and the walk goes on there from the term behind the NaN, so that the bracket's own
    // ')' closes the enclosing one. That pairing is part of how stored formulas evaluate
    // ("((x)^0" is 1, since pow(NaN, 0) is 1), so it stays.
    double evaluate(double running, std::uint32_t & position) const noexcept;

    // The value of all terms: the walk from position 0 with the running value 0, and NaN unless
    // the walk reached the end of the terms. An unset variable and a stray ")" so give NaN; no
    // terms give 0.
    double evaluate() const noexcept;

    // evaluate(), recording into `steps` (emptied first) each term as it is applied.
    double explain(Buffer<Step> & steps) const;
};

// Turns a line of arithmetic into an Equation<double>. Numbers are read by the library's number
// reader (an optional sign, digits, a fraction, an exponent). Blanks, tabs and line feeds
// separate; a carriage return does not, and becomes part of a name. An operator replaces the
// one waiting before it ("2+*3" is 6); a '-' right behind an operator is the sign of a number
// ("2*-3" is -6); after a ')' a term without an operator multiplies ("(2)3" is 6), and so
// does a '-' there, as a sign ("(2+3)-1" is -5: stored formulas are read so). "cos(",
// "sin(", "tan(" and "sqrt(" open function brackets, exactly so spelled. Anything else starts a
// variable name, which runs to the next line feed, blank, '%', '(', ')', '*', '+', '-', '/' or
// '^': units are not known here ("5m" is 5 and a variable "m"), and a text typed with unit
// suffixes goes through Unit::toFormula first.
//
// A number too long for the reader, and a '-' behind an operator that starts no number
// ("2*-x"), give a term with a NaN value that no variable name reaches: the equation is NaN. A
// '.' with no digit behind it reads as 0.
class QELTA_BASE_EXPORT StatementParser {
  public:
    // Longer texts give one NaN term.
    static constexpr std::uint32_t max_text_size = 1u << 20;

    StatementParser() = delete;

    // The equation of `text`.
    static Equation<double> solve(StringView const & text);

    // Appends the terms of `text` from the byte `position` on to `equation` (the positions in its
    // variables count all its terms) and leaves `position` at the end of the text.
    static void calc(std::uint32_t & position, StringView const & text, Equation<double> & equation);

    // The text that opens a bracket term with this op: "(", "cos(", "sin(", "tan(" or "sqrt(";
    // empty for any other op.
    static StringView BracketText(std::uint8_t op) noexcept;
};

} // namespace QELTA
