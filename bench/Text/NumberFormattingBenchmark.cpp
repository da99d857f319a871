// Number text for display: formatNumberString and NumberString beside snprintf and fmt.
#include "Base/Text/String.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#if QELTA_HAVE_FMT
#include <fmt/format.h>
#endif

namespace QELTA {
namespace {

constexpr std::size_t value_count = 4096;

// Measured values with a few decimals, as a table of lengths shows them.
std::vector<double> const & Values() {
    static std::vector<double> const values = [] {
        std::mt19937_64 random(17);
        std::uniform_real_distribution<double> spread(-100000.0, 100000.0);
        std::vector<double> result;
        for (std::size_t i = 0; i < value_count; ++i) {
            result.push_back(spread(random));
        }
        return result;
    }();
    return values;
}

// The same values as the text the double printer hands to formatNumberString.
std::vector<String> const & Texts() {
    static std::vector<String> const texts = [] {
        std::vector<String> result;
        for (double value : Values()) {
            char digits[40];
            std::snprintf(digits, sizeof(digits), "%.17g", value);
            result.emplace_back(digits);
        }
        return result;
    }();
    return texts;
}

void FormatText(benchmark::State & state) {
    String shown;
    for (auto _ : state) {
        for (String const & text : Texts()) {
            shown.clear();
            shown.append(text);
            shown.formatNumberString(2);
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Texts().size()));
}

void FormatDouble(benchmark::State & state) {
    for (auto _ : state) {
        for (double value : Values()) {
            String const shown = String::NumberString(value, false, 2, 2, 0, '.', ',');
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}

void FormatSnprintf(benchmark::State & state) {
    char digits[48];
    for (auto _ : state) {
        for (double value : Values()) {
            benchmark::DoNotOptimize(std::snprintf(digits, sizeof(digits), "%.2f", value));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}

#if QELTA_HAVE_FMT
void FormatFmt(benchmark::State & state) {
    for (auto _ : state) {
        for (double value : Values()) {
            std::string const shown = fmt::format("{:.2f}", value);
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}
#endif

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("FormatNumberString2/QELTA", FormatText);
    benchmark::RegisterBenchmark("FormatNumberString2/snprintf(%.2f)", FormatSnprintf);
    benchmark::RegisterBenchmark("NumberString2/QELTA", FormatDouble);
    benchmark::RegisterBenchmark("NumberString2/snprintf(%.2f)", FormatSnprintf);
#if QELTA_HAVE_FMT
    benchmark::RegisterBenchmark("FormatNumberString2/fmt::format({:.2f})", FormatFmt);
    benchmark::RegisterBenchmark("NumberString2/fmt::format({:.2f})", FormatFmt);
#endif
    return true;
}();

} // namespace
} // namespace QELTA
