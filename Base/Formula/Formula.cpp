// A formula's inputs, its expansion, its value and its display text.
#include "Base/Formula/Formula.h"

namespace QELTA {
namespace {

constexpr char sub_open[] = "<sub>";
constexpr char sup_open[] = "<sup>";
// Written with a backslash so that the second pass of DisplayString can turn every '/' of the
// text into a division sign without touching the tags; the last step makes them "</sub>".
constexpr char sub_close[] = "<\\sub>";
constexpr char sup_close[] = "<\\sup>";

struct Replacement {
    char const * from;
    char const * to;
};

// The second pass of DisplayString, in this order.
constexpr Replacement display_replacements[] = {
    {"sqrt", "\xE2\x88\x9A"}, // √
    {"[", ""},
    {"]", ""},
    {"*", "\xC3\x97"}, // ×
    {"/", "\xC3\xB7"}, // ÷
    {"\\", "/"},
};

bool EndsDisplayPart(char c) noexcept {
    switch (c) {
    case '\n':
    case ' ':
    case '%':
    case '(':
    case ')':
    case '*':
    case '+':
    case '-':
    case '/':
    case '^':
        return true;
    default:
        return false;
    }
}

// The number of matches of `needle` in `text`, found as String::replace finds them.
unsigned long long CountMatches(String const & text, StringView const & needle) {
    unsigned long long count = 0;
    unsigned int position = text.indexOf(needle);
    while (position != String::not_found) {
        ++count;
        position = text.indexOf(needle, false, position + needle.size());
    }
    return count;
}

} // namespace

StringBuffer Formula::dependentVariables() const {
    StringBuffer names;
    bool open = false;
    unsigned int run_start = 0;
    StringView const text = formula.view();
    // Bytes of an open name are appended in runs, up to the next bracket.
    for (unsigned int index = 0; index < text.size(); ++index) {
        char const c = text[index];
        if (c != '[' && c != ']') {
            continue;
        }
        if (open) {
            names.last().append(text.substr(run_start, index));
        }
        if (c == '[') {
            names.add(String());
            run_start = index + 1;
        }
        open = c == '[';
    }
    if (open) {
        names.last().append(text.substr(run_start));
    }
    return names;
}

String Formula::simplifiedFormula() const {
    String text = formula;
    unsigned long long work = 0;
    String needle;
    String replacement;
    for (auto const & [name, expression] : variables) {
        if (text.indexOf('[') == String::not_found) {
            break; // no entry can match any more
        }
        needle.clear();
        needle.append('[').append(name.view()).append(']');
        // A search costs at most the text times the needle.
        work += static_cast<unsigned long long>(text.size()) * needle.size();
        if (work > max_expansion_work) {
            break;
        }
        unsigned long long const matches = CountMatches(text, needle);
        if (matches == 0) {
            continue;
        }
        replacement.clear();
        replacement.append('(').append(expression.view()).append(')');
        unsigned long long const grown = text.size() + matches * replacement.size() - matches * needle.size();
        if (replacement.size() > needle.size() && grown > StatementParser::max_text_size) {
            break;
        }
        text.replace(needle, replacement);
    }
    return text;
}

String Formula::displayFormula(bool simplify) const {
    return DisplayString(simplify ? simplifiedFormula() : formula);
}

Equation<double> Formula::equation() const {
    return StatementParser::solve(simplifiedFormula());
}

double Formula::solve() const {
    return equation().evaluate();
}

String Formula::DisplayString(StringView const & text) {
    String shown;
    shown.ensureCapacity(text.size() + 16);
    bool in_sub = false;
    bool in_sup = false;
    for (char const c : text) {
        if (c == '_' && !in_sub) {
            shown.append(sub_open);
            in_sub = true;
        } else if (c == '^' && !in_sup) {
            if (in_sub) {
                shown.append(sub_close);
                in_sub = false;
            }
            shown.append(sup_open);
            in_sup = true;
        } else if ((in_sub || in_sup) && EndsDisplayPart(c)) {
            shown.append(in_sub ? sub_close : sup_close);
            (in_sub ? in_sub : in_sup) = false;
            shown.append(c);
        } else {
            shown.append(c);
        }
    }
    if (in_sub) {
        shown.append(sub_close);
    }
    if (in_sup) {
        shown.append(sup_close);
    }
    for (Replacement const & step : display_replacements) {
        shown.replace(step.from, step.to);
    }
    return shown;
}

} // namespace QELTA
