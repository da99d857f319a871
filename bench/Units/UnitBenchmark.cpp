// Unit text: a length in feet rendered and read back, beside snprintf, fmt and std::from_chars;
// feet and inches and degrees-minutes-seconds beside the plain scaled unit of the same values.
#include "Base/Language/TranslatedString.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitDefinitions.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <memory>
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

// Angles in index units (65536 to the turn), as orientations hold them.
std::vector<double> const & Angles() {
    static std::vector<double> const angles = [] {
        std::mt19937_64 random(23);
        std::uniform_real_distribution<double> spread(0.0, 65536.0);
        std::vector<double> result;
        for (std::size_t i = 0; i < value_count; ++i) {
            result.push_back(spread(random));
        }
        return result;
    }();
    return angles;
}

// Each value shown by `unit` with the formatting arguments given, as the reading benchmarks read.
std::vector<std::string> UnitTexts(Unit const & unit, std::vector<double> const & values, unsigned int min_decimals,
                                   unsigned int max_decimals) {
    std::vector<std::string> result;
    for (double value : values) {
        result.emplace_back(unit.convertToString(value, false, min_decimals, max_decimals, 0, true, 0).c_str());
    }
    return result;
}

// Shows every value; decimals count from the major unit, so 4 leaves 2 for inches and seconds.
void ShowAll(benchmark::State & state, Unit const & unit, std::vector<double> const & values, unsigned int min_decimals,
             unsigned int max_decimals) {
    for (auto _ : state) {
        for (double value : values) {
            String const shown = unit.convertToString(value, false, min_decimals, max_decimals, 0, true, 0);
            benchmark::DoNotOptimize(shown.data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * values.size()));
}

void ReadAll(benchmark::State & state, Unit const & unit, std::vector<std::string> const & texts) {
    for (auto _ : state) {
        for (std::string const & text : texts) {
            benchmark::DoNotOptimize(unit.convertFromString(StringView(text), 0));
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * texts.size()));
}

void FeetInchesToStringSnprintf(benchmark::State & state) {
    char text[64];
    for (auto _ : state) {
        for (double value : Values()) {
            double const feet = value * feet_per_metre;
            double const whole = std::trunc(feet);
            benchmark::DoNotOptimize(
                std::snprintf(text, sizeof(text), "%.0f'%.2f\"", whole, std::fabs(feet - whole) * 12.0));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Values().size()));
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("ConvertToStringFeet2/QELTA", ToStringOurs);
    benchmark::RegisterBenchmark("ConvertToStringFeet2/snprintf(%.2fft)", ToStringSnprintf);
#if QELTA_HAVE_FMT
    benchmark::RegisterBenchmark("ConvertToStringFeet2/fmt::format({:.2f}ft)", ToStringFmt);
#endif
    benchmark::RegisterBenchmark("ConvertFromStringFeet/QELTA", FromStringOurs);
    benchmark::RegisterBenchmark("ConvertFromStringFeet/std::from_chars", FromStringFromChars);

    // The compound texts against the plain scaled unit of the same values, which the case above
    // measures against the standard library.
    struct Case {
        char const * name;
        Unit const * unit;
        std::vector<double> const * values;
        unsigned int min_decimals;
        unsigned int max_decimals;
    };
    static Case const shown[] = {
        {"ConvertToStringFeetInches/QELTA", UnitDefinitions::FeetInches().get(), &Values(), 0, 4},
        {"ConvertToStringFeetInches/ScaledUnit(feet)", UnitDefinitions::Feet().get(), &Values(), 2, 2},
        {"ConvertToStringDMS/QELTA", UnitDefinitions::DegreesMinutesSeconds().get(), &Angles(), 0, 6},
        {"ConvertToStringDMS/AngleUnit(degrees)", UnitDefinitions::Degrees().get(), &Angles(), 2, 2},
    };
    for (Case const & test : shown) {
        benchmark::RegisterBenchmark(test.name, [&test](benchmark::State & state) {
            ShowAll(state, *test.unit, *test.values, test.min_decimals, test.max_decimals);
        });
        std::string read_name = test.name;
        read_name.replace(0, std::string("ConvertToString").size(), "ConvertFromString");
        auto const texts = std::make_shared<std::vector<std::string>>(
            UnitTexts(*test.unit, *test.values, test.min_decimals, test.max_decimals));
        benchmark::RegisterBenchmark(read_name.c_str(),
                                     [&test, texts](benchmark::State & state) { ReadAll(state, *test.unit, *texts); });
    }
    benchmark::RegisterBenchmark("ConvertToStringFeetInches/snprintf(%.0f'%.2f\")", FeetInchesToStringSnprintf);
    return true;
}();

} // namespace
} // namespace QELTA
