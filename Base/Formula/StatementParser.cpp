// The statement parser's scanner and the left-to-right walk of an equation.
#include "Base/Formula/StatementParser.h"

#include "Base/Text/Internal/NumberReading.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace QELTA {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Number texts shorter than this that end the text are read from a copy on the stack.
constexpr unsigned int stack_number_size = 64;

struct FunctionName {
    char const * text; // with its bracket
    unsigned int size;
    std::uint8_t op;
};

constexpr char plain_bracket[] = "(";
constexpr FunctionName function_names[] = {{"cos(", 4, 'c'}, {"sin(", 4, 's'}, {"tan(", 4, 't'}, {"sqrt(", 5, 'q'}};

bool EndsName(char c) noexcept {
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

bool IsDigit(char c) noexcept {
    return static_cast<unsigned int>(static_cast<unsigned char>(c)) - '0' <= 9;
}

char const * SkipDigits(char const * text, char const * end) noexcept {
    while (text < end && IsDigit(*text)) {
        ++text;
    }
    return text;
}

// The end of the longest run from `text` that has the shape "[+-][+]digits.digits[eE][+-]digits",
// every part optional. The number reader never reads beyond that run, and of the bytes behind it
// looks at the first one at most.
char const * NumberRunEnd(char const * text, char const * end) noexcept {
    if (text < end && (*text == '+' || *text == '-')) {
        ++text;
    }
    if (text < end && *text == '+') {
        ++text;
    }
    text = SkipDigits(text, end);
    if (text < end && *text == '.') {
        text = SkipDigits(text + 1, end);
    }
    if (text < end && (*text == 'e' || *text == 'E')) {
        ++text;
        if (text < end && (*text == '+' || *text == '-')) {
            ++text;
        }
        text = SkipDigits(text, end);
    }
    return text;
}

// Reads the number at `text` with the library's reader and moves `text` behind it, by one byte
// at least. The reader stops only at a byte that cannot continue a number, so a number that
// runs to the end of the view, which promises no terminator, is read from a terminated copy.
double ReadNumber(char const *& text, char const * end) {
    char const * const start = text;
    char const * const run_end = NumberRunEnd(start, end);
    double value = nan;
    if (run_end < end) {
        char const * read = start;
        value = NumberReading::ReadDoubleAt(read);
        text = read;
    } else {
        auto const size = static_cast<unsigned int>(run_end - start);
        char stack_copy[stack_number_size];
        String heap_copy;
        char const * copy = stack_copy;
        if (size < stack_number_size) {
            std::memcpy(stack_copy, start, size);
            stack_copy[size] = 0;
        } else {
            heap_copy.append(start, size);
            copy = heap_copy.c_str();
        }
        char const * read = copy;
        value = NumberReading::ReadDoubleAt(read);
        text = start + (read - copy);
    }
    if (text == start) {
        ++text; // a '.' or a sign that starts no number
    }
    return value;
}

void AddTerm(Equation<double> & equation, std::uint8_t op, double value) {
    equation.terms.add(EquationTerm{op, value});
}

// The function of a bracket term on the bracket's value.
double ApplyFunction(std::uint8_t op, double value) noexcept {
    switch (op) {
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

// A closed bracket's value taken into the running value of the level around it, by the operator
// that waited in front of the bracket: 0 replaces, a function code replaces by the function's
// value, an unknown code gives NaN.
double Combine(int outer, double running, double value) noexcept {
    switch (outer) {
    case 0:
        return value;
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
    case 'c':
    case 'q':
    case 's':
    case 't':
        return ApplyFunction(static_cast<std::uint8_t>(outer), value);
    default:
        return nan;
    }
}

// The operator code that a bracket term holds as its value; -1 for a value no byte has.
int OuterCode(double value) noexcept {
    return value >= 0.0 && value < 256.0 ? static_cast<int>(value) : -1;
}

struct Frame {
    double running;
    int outer;
    std::uint8_t function;
};

// The walk of Equation::evaluate without recursion: each open bracket keeps the running value
// of its level in `frames`. `observe(position, depth, running)` sees every step taken.
template <class Observer>
double Walk(EquationTerm const * terms, std::uint32_t count, double running, std::uint32_t & position,
            Observer && observe) noexcept {
    Frame frames[Equation<double>::max_depth];
    std::uint32_t depth = 0;
    std::uint32_t at = position;
    for (; at < count; ++at) {
        EquationTerm const & term = terms[at];
        if (std::isnan(term.value)) {
            if (depth == 0) {
                position = at;
                return nan;
            }
            --depth;
            running = Combine(frames[depth].outer, frames[depth].running, ApplyFunction(frames[depth].function, nan));
            observe(at, depth, running);
            continue;
        }
        switch (term.op) {
        case 0:
        case '+':
            running += term.value;
            break;
        case '-':
            running -= term.value;
            break;
        case '*':
            running *= term.value;
            break;
        case '/':
            running /= term.value;
            break;
        case '^':
            running = std::pow(running, term.value);
            break;
        case '%':
            running = std::fmod(running, term.value);
            break;
        case ')':
            if (depth == 0) {
                position = at;
                return running;
            }
            --depth;
            running =
                Combine(frames[depth].outer, frames[depth].running, ApplyFunction(frames[depth].function, running));
            break;
        case '(':
        case 'c':
        case 's':
        case 't':
        case 'q':
            if (depth == Equation<double>::max_depth) {
                position = at;
                return nan;
            }
            frames[depth] = Frame{running, OuterCode(term.value), term.op};
            ++depth;
            running = 0.0;
            break;
        default:
            running = nan;
            break;
        }
        observe(at, depth, running);
    }
    position = at;
    return depth == 0 ? running : nan;
}

} // namespace

// Equation<double>

bool Equation<double>::setVariable(StringView const & name, double value) {
    auto const found = variables.find(String(name));
    if (found == variables.end()) {
        return false;
    }
    for (std::uint32_t position : found->value()) {
        terms[position].value = value;
    }
    return true;
}

double Equation<double>::evaluate(double running, std::uint32_t & position) const noexcept {
    return Walk(terms.data(), terms.size(), running, position, [](std::uint32_t, std::uint32_t, double) {});
}

double Equation<double>::evaluate() const noexcept {
    std::uint32_t position = 0;
    double const value = evaluate(0.0, position);
    return position == terms.size() ? value : nan;
}

double Equation<double>::explain(Buffer<Step> & steps) const {
    steps.clear();
    std::uint32_t position = 0;
    double const value = Walk(terms.data(), terms.size(), 0.0, position,
                              [&steps](std::uint32_t at, std::uint32_t depth, double running) {
                                  steps.add(Step{at, depth, running});
                              });
    return position == terms.size() ? value : nan;
}

// StatementParser

StringView StatementParser::BracketText(std::uint8_t op) noexcept {
    if (op == '(') {
        return plain_bracket;
    }
    for (FunctionName const & function : function_names) {
        if (function.op == op) {
            return StringView(function.text, function.size);
        }
    }
    return StringView();
}

Equation<double> StatementParser::solve(StringView const & text) {
    Equation<double> equation;
    std::uint32_t position = 0;
    calc(position, text, equation);
    return equation;
}

void StatementParser::calc(std::uint32_t & position, StringView const & text, Equation<double> & equation) {
    if (text.size() > max_text_size) {
        AddTerm(equation, 0, nan);
        position = text.size();
        return;
    }
    if (position >= text.size()) {
        return;
    }
    char const * const begin = text.data();
    char const * const end = begin + text.size();
    char const * at = begin + position;
    std::uint8_t pending = 0;
    while (at < end) {
        char const c = *at;
        switch (c) {
        case '\t':
        case '\n':
        case ' ':
            ++at;
            continue;
        case '-':
            if (pending == 0) {
                pending = '-';
                ++at;
                continue;
            }
            [[fallthrough]];
        case '.':
        case '0':
        case '1':
        case '2':
        case '3':
        case '4':
        case '5':
        case '6':
        case '7':
        case '8':
        case '9':
            AddTerm(equation, pending, ReadNumber(at, end));
            pending = 0;
            continue;
        case '%':
        case '*':
        case '+':
        case '/':
        case '^':
            pending = static_cast<std::uint8_t>(c);
            ++at;
            continue;
        case '(':
            AddTerm(equation, '(', pending);
            pending = '+';
            ++at;
            continue;
        case ')':
            AddTerm(equation, ')', pending);
            pending = '*';
            ++at;
            continue;
        default:
            break;
        }
        if (c == 'c' || c == 's' || c == 't') {
            auto const left = static_cast<unsigned int>(end - at);
            bool found = false;
            for (FunctionName const & function : function_names) {
                if (left >= function.size && std::memcmp(at, function.text, function.size) == 0) {
                    AddTerm(equation, function.op, pending);
                    pending = '+';
                    at += function.size;
                    found = true;
                    break;
                }
            }
            if (found) {
                continue;
            }
        }
        char const * name_end = at + 1;
        while (name_end < end && !EndsName(*name_end)) {
            ++name_end;
        }
        String name(at, static_cast<unsigned int>(name_end - at));
        equation.variables[std::move(name)].add(equation.terms.size());
        AddTerm(equation, pending, nan);
        pending = 0;
        at = name_end;
    }
    position = text.size();
}

} // namespace QELTA
