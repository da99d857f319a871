// Unit text: a length in feet rendered and read back, beside snprintf, fmt and std::from_chars.
#include "Base/Language/TranslatedString.h"
#include "Base/Units/Unit.h"

#include <benchmark/benchmark.h>

#include <charconv>
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
constexpr double feet_per_metre = 3.280839895013123;

ScaledUnit const & Feet() {
    static ScaledUnit const feet("feet", TranslatedString::DirectString("Feet"), TranslatedString::DirectString("ft"),
                                 feet_per_metre);
    return feet;
}

// Lengths in metres, as a drawing holds them.
std::vector<double> const & Values() {
    static std::vector<double> const values = [] {
        std::mt19937_64 random(17);
        std::uniform_real_distribution<double> spread(-1000.0, 1000.0);
        std::vector<double> result;
        for (std::size_t i = 0; i < value_count; ++i) {
            result.push_back(spread(random));
        }
        return result;
    }();
    return values;
}

// The same lengths as a person types them in feet: "12.50ft".
std::vector<std::string> const & Texts() {
    static std::vector<std::string> const texts = [] {
        std::vector<std::string> result;
        for (double value : Values()) {
            char text[48];
            std::snprintf(text, sizeof(text), "%.2fft", value * feet_per_metre);
            result.emplace_back(text);
        }
        return result;
    }();
    return texts;
}

void ToStringOurs(benchmark::State & state) {
    ScaledUnit const & feet = Feet();
    for (auto _ : state) {
        for (double value : Values()) {
            String const shown = feet.convertToString(value, false, 2, 2, 0, true, 0);
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}

void ToStringSnprintf(benchmark::State & state) {
    char text[48];
    for (auto _ : state) {
        for (double value : Values()) {
            benchmark::DoNotOptimize(std::snprintf(text, sizeof(text), "%.2fft", value * feet_per_metre));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}

#if QELTA_HAVE_FMT
void ToStringFmt(benchmark::State & state) {
    for (auto _ : state) {
        for (double value : Values()) {
            std::string const shown = fmt::format("{:.2f}ft", value * feet_per_metre);
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}
#endif

void FromStringOurs(benchmark::State & state) {
    ScaledUnit const & feet = Feet();
    for (auto _ : state) {
        for (std::string const & text : Texts()) {
            benchmark::DoNotOptimize(feet.convertFromString(StringView(text), 0));
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Texts().size()));
}

void FromStringFromChars(benchmark::State & state) {
    for (auto _ : state) {
        for (std::string const & text : Texts()) {
            double value = 0.0;
            std::from_chars(text.data(), text.data() + text.size(), value);
            benchmark::DoNotOptimize(value / feet_per_metre);
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Texts().size()));
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("ConvertToStringFeet2/QELTA", ToStringOurs);
    benchmark::RegisterBenchmark("ConvertToStringFeet2/snprintf(%.2fft)", ToStringSnprintf);
#if QELTA_HAVE_FMT
    benchmark::RegisterBenchmark("ConvertToStringFeet2/fmt::format({:.2f}ft)", ToStringFmt);
#endif
    benchmark::RegisterBenchmark("ConvertFromStringFeet/QELTA", FromStringOurs);
    benchmark::RegisterBenchmark("ConvertFromStringFeet/std::from_chars", FromStringFromChars);
    return true;
}();

} // namespace
} // namespace QELTA
