// Number text: our readers and printer beside std::from_chars, std::to_chars and snprintf.
#include "Base/Text/StringStream.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr std::size_t value_count = 4096;

// Values with few significant digits, as measured data usually has.
std::vector<double> const & ShortDoubles() {
    static std::vector<double> const values = [] {
        std::mt19937_64 random(7);
        std::vector<double> result;
        for (std::size_t i = 0; i < value_count; ++i) {
            double const scale[] = {1, 10, 100, 1000, 1e4};
            result.push_back(static_cast<double>(random() % 1000000) / scale[random() % 5] - 500.0);
        }
        return result;
    }();
    return values;
}

// Doubles with random bits (finite), which need the full 17 digits.
std::vector<double> const & RandomDoubles() {
    static std::vector<double> const values = [] {
        std::mt19937_64 random(11);
        std::uniform_real_distribution<double> exponent(-30, 30);
        std::vector<double> result;
        for (std::size_t i = 0; i < value_count; ++i) {
            result.push_back(std::pow(10.0, exponent(random)) * (random() % 2 ? 1 : -1));
        }
        return result;
    }();
    return values;
}

// Zero-terminated texts with their lengths, from the printer of the standard library.
struct Texts {
    std::vector<std::string> items;
};

Texts MakeTexts(bool integers) {
    std::mt19937_64 random(integers ? 3 : 5);
    Texts texts;
    for (std::size_t i = 0; i < value_count; ++i) {
        char digits[32];
        std::to_chars_result result{};
        if (integers) {
            result = std::to_chars(digits, digits + sizeof(digits), static_cast<int>(random() >> (random() % 64)));
        } else {
            result = std::to_chars(digits, digits + sizeof(digits), ShortDoubles()[i]);
        }
        texts.items.emplace_back(digits, result.ptr);
    }
    return texts;
}

Texts const & IntegerTexts() {
    static Texts const texts = MakeTexts(true);
    return texts;
}

Texts const & DoubleTexts() {
    static Texts const texts = MakeTexts(false);
    return texts;
}

void OursToText(benchmark::State & state, std::vector<double> const & values) {
    // One target, cleared for each value, as a writer of many values uses it: clear() keeps the
    // allocation, so this measures the conversion and not the heap.
    StringAllocatingView out;
    for (auto _ : state) {
        for (double value : values) {
            out.clear();
            StringStream<double>::toString(value, out);
            benchmark::DoNotOptimize(out.view().data());
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * values.size()));
}

void ToCharsToText(benchmark::State & state, std::vector<double> const & values) {
    char digits[32];
    for (auto _ : state) {
        for (double value : values) {
            auto const result = std::to_chars(digits, digits + sizeof(digits), value);
            benchmark::DoNotOptimize(result.ptr);
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * values.size()));
}

void SnprintfToText(benchmark::State & state, std::vector<double> const & values) {
    char digits[40];
    for (auto _ : state) {
        for (double value : values) {
            benchmark::DoNotOptimize(std::snprintf(digits, sizeof(digits), "%.17g", value));
            benchmark::ClobberMemory();
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * values.size()));
}

template <class T>
void OursFromText(benchmark::State & state, Texts const & texts) {
    for (auto _ : state) {
        for (std::string const & text : texts.items) {
            T value{};
            StringStream<T>::fromString(StringView(text.c_str(), static_cast<unsigned int>(text.size())), value);
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * texts.items.size()));
}

template <class T>
void FromCharsFromText(benchmark::State & state, Texts const & texts) {
    for (auto _ : state) {
        for (std::string const & text : texts.items) {
            T value{};
            std::from_chars(text.data(), text.data() + text.size(), value);
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * texts.items.size()));
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("DoubleToTextShort/QELTA",
                                 [](benchmark::State & s) { OursToText(s, ShortDoubles()); });
    benchmark::RegisterBenchmark("DoubleToTextShort/std::to_chars",
                                 [](benchmark::State & s) { ToCharsToText(s, ShortDoubles()); });
    benchmark::RegisterBenchmark("DoubleToTextShort/snprintf(%.17g)",
                                 [](benchmark::State & s) { SnprintfToText(s, ShortDoubles()); });
    benchmark::RegisterBenchmark("DoubleToTextRandom/QELTA",
                                 [](benchmark::State & s) { OursToText(s, RandomDoubles()); });
    benchmark::RegisterBenchmark("DoubleToTextRandom/std::to_chars",
                                 [](benchmark::State & s) { ToCharsToText(s, RandomDoubles()); });
    benchmark::RegisterBenchmark("DoubleToTextRandom/snprintf(%.17g)",
                                 [](benchmark::State & s) { SnprintfToText(s, RandomDoubles()); });
    benchmark::RegisterBenchmark("TextToDouble/QELTA",
                                 [](benchmark::State & s) { OursFromText<double>(s, DoubleTexts()); });
    benchmark::RegisterBenchmark("TextToDouble/std::from_chars",
                                 [](benchmark::State & s) { FromCharsFromText<double>(s, DoubleTexts()); });
    benchmark::RegisterBenchmark("TextToInt/QELTA", [](benchmark::State & s) { OursFromText<int>(s, IntegerTexts()); });
    benchmark::RegisterBenchmark("TextToInt/std::from_chars",
                                 [](benchmark::State & s) { FromCharsFromText<int>(s, IntegerTexts()); });
    return true;
}();

} // namespace
} // namespace QELTA
