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

// What a term does, by its op byte, and what a closed bracket's value does: first the bracket's
// function, then the operator that waited in front of the bracket.
enum Action : std::uint8_t {
    ADD,
    SUBTRACT,
    MULTIPLY,
    DIVIDE,
    POWER,
    REMAINDER,
    CLOSE,
    OPEN,
    UNKNOWN, // gives NaN
    REPLACE, // no operator waited: the value replaces the running value; no function: unchanged
    COSINE,
    SINE,
    TANGENT,
    ROOT,
};

struct ActionTables {
    // A character as an index into the tables.
    static constexpr unsigned int At(char c) noexcept { return static_cast<unsigned char>(c); }

    std::uint8_t term[256];     // by a term's op
    std::uint8_t function[256]; // by a bracket term's op
    std::uint8_t outer[256];    // by the code a bracket term holds

    constexpr ActionTables() : term(), function(), outer() {
        for (unsigned int code = 0; code < 256; ++code) {
            term[code] = UNKNOWN;
            function[code] = UNKNOWN;
            outer[code] = UNKNOWN;
        }
        for (std::uint8_t * table : {term, outer}) {
            table[At('+')] = ADD;
            table[At('-')] = SUBTRACT;
            table[At('*')] = MULTIPLY;
            table[At('/')] = DIVIDE;
            table[At('^')] = POWER;
            table[At('%')] = REMAINDER;
        }
        term[0] = ADD;
        outer[0] = REPLACE;
        term[At(')')] = CLOSE;
        for (std::uint8_t * table : {function, outer}) {
            table[At('c')] = COSINE;
            table[At('s')] = SINE;
            table[At('t')] = TANGENT;
            table[At('q')] = ROOT;
        }
        function[At('(')] = REPLACE;
        for (char op : {'(', 'c', 's', 't', 'q'}) {
            term[At(op)] = OPEN;
        }
    }
};

constexpr ActionTables actions;

std::uint8_t OuterAction(double code) noexcept {
    return code >= 0.0 && code < 256.0 ? actions.outer[static_cast<unsigned int>(code)] : std::uint8_t{UNKNOWN};
}

[[gnu::always_inline]] inline double Apply(std::uint8_t action, double running, double value) noexcept {
    switch (action) {
    case REPLACE:
        return value;
    case ADD:
        return running + value;
    case SUBTRACT:
        return running - value;
    case MULTIPLY:
        return running * value;
    case DIVIDE:
        return running / value;
    case POWER:
        return std::pow(running, value);
    case REMAINDER:
        return std::fmod(running, value);
    case COSINE:
        return std::cos(value);
    case SINE:
        return std::sin(value);
    case TANGENT:
        return std::tan(value);
    case ROOT:
        return std::sqrt(value);
    default:
        return nan;
    }
}

// The running value of the level around an open bracket, and what its value does there.
struct Frame {
    double running;
    std::uint8_t function;
    std::uint8_t outer;
};

[[gnu::always_inline]] inline double Close(Frame const & frame, double value) noexcept {
    if (frame.function != REPLACE) {
        value = Apply(frame.function, 0.0, value);
    }
    return Apply(frame.outer, frame.running, value);
}

// The walk of Equation::evaluate without recursion: each open bracket keeps the running value
// of its level in `frames`. With `Record`, `record(position, depth, running)` sees every step.
template <bool Record, class Recorder>
double Walk(EquationTerm const * terms, std::uint32_t count, double running, std::uint32_t & position,
            Recorder && record) noexcept {
    if (position >= count) {
        return running;
    }
    Frame frames[Equation<double>::max_depth];
    std::uint32_t depth = 0;
    EquationTerm const * const end = terms + count;
    auto const at = [terms](EquationTerm const * term) { return static_cast<std::uint32_t>(term - terms); };
    for (EquationTerm const * term = terms + position; term != end; ++term) {
        double const value = term->value;
        if (std::isnan(value)) [[unlikely]] {
            if (depth == 0) {
                position = at(term);
                return nan;
            }
            --depth;
            running = Close(frames[depth], nan);
            if constexpr (Record) {
                record(at(term), depth, running);
            }
            continue;
        }
        switch (actions.term[term->op]) {
        case ADD:
            running += value;
            break;
        case SUBTRACT:
            running -= value;
            break;
        case MULTIPLY:
            running *= value;
            break;
        case DIVIDE:
            running /= value;
            break;
        case POWER:
            running = std::pow(running, value);
            break;
        case REMAINDER:
            running = std::fmod(running, value);
            break;
        case CLOSE:
            if (depth == 0) {
                position = at(term);
                return running;
            }
            --depth;
            running = Close(frames[depth], running);
            break;
        case OPEN:
            if (depth == Equation<double>::max_depth) {
                position = at(term);
                return nan;
            }
            frames[depth] = Frame{running, actions.function[term->op], OuterAction(value)};
            ++depth;
            running = 0.0;
            if constexpr (!Record) {
                // The term that almost always follows, an addition, taken in the same step.
                if (term + 1 != end && actions.term[term[1].op] == ADD && !std::isnan(term[1].value)) {
                    ++term;
                    running += term->value;
                }
            }
            break;
        case UNKNOWN:
            running = nan;
            break;
        default:
            __builtin_unreachable(); // the term table holds no other action
        }
        if constexpr (Record) {
            record(at(term), depth, running);
        }
    }
    position = count;
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
    return Walk<false>(terms.data(), terms.size(), running, position, [](std::uint32_t, std::uint32_t, double) {});
}

double Equation<double>::evaluate() const noexcept {
    std::uint32_t position = 0;
    double const value = evaluate(0.0, position);
    return position == terms.size() ? value : nan;
}

double Equation<double>::explain(Buffer<Step> & steps) const {
    steps.clear();
    std::uint32_t position = 0;
    double const value = Walk<true>(terms.data(), terms.size(), 0.0, position,
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
        position = text.size();
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
