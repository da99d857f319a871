// Statements: generated expressions parsed and evaluated, and one expression evaluated over and
// over with a changing variable, beside muParser on the same texts.
//
// The texts are built so that their value is the same under the left-to-right walk and under
// operator precedence: a sum is put in brackets before it is multiplied or divided, and no '-'
// follows a ')'. The setup checks each text under both (to 1e-9, relative, since the number
// readers round differently) and drops those that differ.
#include "Base/Formula/StatementParser.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#if QELTA_HAVE_MUPARSER
#include <muParser.h>
#endif

namespace QELTA {
namespace {

constexpr std::size_t text_count = 100000;
constexpr long long repeat_count = 10000000;

double a_value = 1.25;
double b_value = -0.5;
double c_value = 3.0;

// One expression of `terms` operands; an operand may be a bracket or a function of its own.
class TextMaker {
  public:
    explicit TextMaker(std::mt19937_64 & random) : random_(random) {}

    std::string expression(int terms, int depth) {
        std::string text;
        bool has_sum = false; // a '+' or '-' at this level
        bool after_close = false;
        for (int i = 0; i < terms; ++i) {
            if (i > 0) {
                char op = "+-*/"[pick(4)];
                if (op == '-' && after_close) {
                    op = '+';
                }
                if ((op == '*' || op == '/') && has_sum) {
                    text = "(" + text + ")";
                    has_sum = false;
                }
                has_sum = has_sum || op == '+' || op == '-';
                text += op;
            }
            int const inner = depth < 3 && terms - i > 2 && pick(4) == 0 ? 2 + static_cast<int>(pick(4)) : 0;
            after_close = false;
            if (inner > 0) {
                static char const * const openers[] = {"(", "(", "sin(", "cos(", "sqrt("};
                text += openers[pick(5)];
                text += expression(inner, depth + 1);
                text += ")";
                i += inner - 1;
                after_close = true;
            } else if (pick(5) == 0) {
                text += "abc"[pick(3)];
            } else {
                text += number();
            }
        }
        return text;
    }

  private:
    unsigned int pick(unsigned int count) { return std::uniform_int_distribution<unsigned int>(0, count - 1)(random_); }

    std::string number() {
        char digits[32];
        switch (pick(3)) {
        case 0:
            std::snprintf(digits, sizeof(digits), "%u", 1 + pick(99));
            break;
        case 1:
            std::snprintf(digits, sizeof(digits), "%u.%02u", pick(100), pick(100));
            break;
        default:
            std::snprintf(digits, sizeof(digits), "%u.5", pick(10));
            break;
        }
        return digits;
    }

    std::mt19937_64 & random_;
};

double Ours(std::string const & text) {
    Equation<double> equation = StatementParser::solve(StringView(text));
    equation.setVariable("a", a_value);
    equation.setVariable("b", b_value);
    equation.setVariable("c", c_value);
    return equation.evaluate();
}

bool Close(double ours, double peer) {
    if (std::isnan(ours) || std::isnan(peer)) {
        return std::isnan(ours) && std::isnan(peer);
    }
    if (std::isinf(ours) || std::isinf(peer)) {
        return ours == peer;
    }
    return std::fabs(ours - peer) <= 1e-9 * std::fmax(1.0, std::fabs(peer));
}

#if QELTA_HAVE_MUPARSER
mu::Parser & Peer() {
    static mu::Parser * const parser = [] {
        auto * const made = new mu::Parser;
        made->DefineVar("a", &a_value);
        made->DefineVar("b", &b_value);
        made->DefineVar("c", &c_value);
        return made;
    }();
    return *parser;
}

double PeerValue(std::string const & text) {
    try {
        Peer().SetExpr(text);
        return Peer().Eval();
    } catch (mu::Parser::exception_type const &) {
        return std::nan("");
    }
}
#endif

// Texts of 5 to 40 operands that both rules give the same value (fixed seed).
std::vector<std::string> const & Texts() {
    static std::vector<std::string> const texts = [] {
        std::mt19937_64 random(23);
        TextMaker maker(random);
        std::uniform_int_distribution<int> terms(5, 40);
        std::vector<std::string> made;
        while (made.size() < text_count) {
            std::string text = maker.expression(terms(random), 0);
#if QELTA_HAVE_MUPARSER
            if (!Close(Ours(text), PeerValue(text))) {
                continue;
            }
#endif
            made.push_back(std::move(text));
        }
        return made;
    }();
    return texts;
}

// The expression evaluated over and over: 17 operands in six brackets, three of them functions.
constexpr char repeated_text[] = "(x*1.5+2.25)*(x+-0.75)/3+(sin(x)*2)+(cos(x/4)*x)+sqrt(x*x+1)+(x/7)+0.125";

double XAt(long long step) {
    return 0.001 * static_cast<double>(step % 10000);
}

void ParseAndEvaluateOurs(benchmark::State & state) {
    std::vector<std::string> const & texts = Texts();
    for (auto _ : state) {
        for (std::string const & text : texts) {
            benchmark::DoNotOptimize(Ours(text));
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * texts.size()));
}

void RepeatOurs(benchmark::State & state) {
    Equation<double> equation = StatementParser::solve(repeated_text);
    Buffer<std::uint32_t> const positions = equation.variables.at(String("x"));
    long long step = 0;
    for (auto _ : state) {
        double const x = XAt(step++);
        for (std::uint32_t position : positions) {
            equation.terms[position].value = x;
        }
        benchmark::DoNotOptimize(equation.evaluate());
    }
    state.SetItemsProcessed(state.iterations());
}

#if QELTA_HAVE_MUPARSER
void ParseAndEvaluateMuParser(benchmark::State & state) {
    std::vector<std::string> const & texts = Texts();
    mu::Parser & parser = Peer();
    for (auto _ : state) {
        for (std::string const & text : texts) {
            parser.SetExpr(text);
            benchmark::DoNotOptimize(parser.Eval());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * texts.size()));
}

void RepeatMuParser(benchmark::State & state) {
    double x = 0.0;
    mu::Parser parser;
    parser.DefineVar("x", &x);
    parser.SetExpr(repeated_text);
    long long step = 0;
    for (auto _ : state) {
        x = XAt(step++);
        benchmark::DoNotOptimize(parser.Eval());
    }
    state.SetItemsProcessed(state.iterations());
}
#endif

[[maybe_unused]] bool const registered = [] {
#if QELTA_HAVE_MUPARSER
    // The repeated text must mean the same to both before its times are compared.
    {
        double x = 0.0;
        mu::Parser parser;
        parser.DefineVar("x", &x);
        parser.SetExpr(repeated_text);
        Equation<double> equation = StatementParser::solve(repeated_text);
        for (long long step = 0; step < 10000; step += 37) {
            x = XAt(step);
            equation.setVariable("x", x);
            if (!Close(equation.evaluate(), parser.Eval())) {
                std::fprintf(stderr, "the repeated text differs at x = %g\n", x);
                return false;
            }
        }
    }
#endif
    benchmark::RegisterBenchmark("ParseAndEvaluate100k/QELTA", ParseAndEvaluateOurs)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("EvaluateWithVariable/QELTA", RepeatOurs)->Iterations(repeat_count);
#if QELTA_HAVE_MUPARSER
    benchmark::RegisterBenchmark("ParseAndEvaluate100k/muParser", ParseAndEvaluateMuParser)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("EvaluateWithVariable/muParser", RepeatMuParser)->Iterations(repeat_count);
#endif
    return true;
}();

} // namespace
} // namespace QELTA
