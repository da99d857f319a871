// Formula: a named, displayable expression with `[name]` inputs, its own table of variables
// defined by other expressions, and its value.
//
// A Formula is a plain value: copies are deep (the unit is shared, as units are), moves leave
// the source empty, and it has no lock. Nothing raises: a formula that cannot be evaluated
// solves to NaN.
//
// Bounds on hostile tables: expansion stops before the text would grow beyond
// StatementParser::max_text_size bytes, or once max_expansion_work bytes have been searched; the
// names not expanded then stay in brackets and the formula solves to NaN.
#pragma once

#include "Base/Export.h"
#include "Base/Formula/StatementParser.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitCategory.h"

#include <cstdint>

namespace QELTA {

// `formula` names an input as "[name]". An entry of `variables` defines the input `name` by
// another expression, which simplifiedFormula puts in its place in brackets; an input without
// an entry stays open, and only equation() lets a caller give it a value. `category` and
// `unit` say what the result measures; `unit` may be null. The expression holds plain numbers:
// a definition typed with unit suffixes ("12ft") goes through its unit's Unit::toFormula before
// it enters the table. toFormula turns every term into a number, names too, so a text with
// inputs still open does not go through it.
class QELTA_BASE_EXPORT Formula {
  public:
    static constexpr unsigned long long max_expansion_work = 1ull << 26;

    TranslatedString translated_name;
    String id; // the key of the formula in its table
    String description;
    String source;
    String formula;
    UnitCategory category = UnitCategory::UNDEFINED;
    ConstPointer<Unit> unit;
    Dictionary<String, String> variables; // input name to its defining expression
    // Free for the application: copies carry them, and nothing in this library reads them.
    std::uint32_t user_values[2] = {0, 0};
    bool user_flags[2] = {false, false};

    // Every name in square brackets in `formula`, in order and with repeats: each '[' starts a
    // new name (also inside an open one: brackets don't nest), ']' ends it, and an unclosed name
    // runs to the end.
    StringBuffer dependentVariables() const;

    // `formula` with each entry of `variables`, in the table's order, put in place of its
    // "[name]" as "(expression)", in one pass from left to right for each entry. There is one
    // round and no repetition to a fixed point: an expression's own "[other]" is expanded only
    // when the entry for "other" comes later in the table's order. So a name defined by itself
    // expands once and stays open inside its expansion.
    String simplifiedFormula() const;

    // DisplayString of simplifiedFormula() or of `formula`.
    String displayFormula(bool simplify) const;

    // The equation of simplifiedFormula(); its open inputs are variables named "[name]".
    Equation<double> equation() const;

    // The value of simplifiedFormula(); NaN while any input is open.
    double solve() const;

    // Markup for a rich-text label. First "_" starts a subscript and "^" a superscript (closing an
    // open subscript first); a line feed, blank, '%', '(', ')', '*', '+', '-', '/' or '^' ends the
    // part that is open (the subscript when both are), as does the end of the text. Each byte is
    // looked at once, so a '^' that ends a superscript stays a '^'. Then "sqrt" becomes "√",
    // brackets '[' and ']' go, '*' becomes "×", '/' "÷", and every backslash '/'.
    // "x_1^2" gives "x<sub>1</sub><sup>2</sup>".
    static String DisplayString(StringView const & text);
};

} // namespace QELTA
