// Index sine from the quarter-turn table beside std::sin on the same angles.
#include "Base/Geometry/AngleDefinitions.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace QELTA {
namespace {

constexpr std::size_t angle_count = 4096;

// Index angles over several turns, both signs.
std::vector<int> const & Indices() {
    static std::vector<int> const indices = [] {
        std::mt19937_64 random(17);
        std::uniform_int_distribution<int> spread(-4 * 65536, 4 * 65536);
        std::vector<int> result;
        for (std::size_t i = 0; i < angle_count; ++i) {
            result.push_back(spread(random));
        }
        return result;
    }();
    return indices;
}

// The same angles with a fraction, for the interpolating sine.
std::vector<double> const & FractionalIndices() {
    static std::vector<double> const indices = [] {
        std::mt19937_64 random(17);
        std::uniform_real_distribution<double> spread(-4 * 65536.0, 4 * 65536.0);
        std::vector<double> result;
        for (std::size_t i = 0; i < angle_count; ++i) {
            result.push_back(spread(random));
        }
        return result;
    }();
    return indices;
}

constexpr double radians_per_index = std::numbers::pi / 32768.0;

void SinOurs(benchmark::State & state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (int index : Indices()) {
            sum += AngleDefinitions::IndexSin(index);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Indices().size()));
}

void SinStd(benchmark::State & state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (int index : Indices()) {
            sum += std::sin(index * radians_per_index);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * Indices().size()));
}

void FractionalSinOurs(benchmark::State & state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (double index : FractionalIndices()) {
            sum += AngleDefinitions::IndexSin(Angle<double>(index));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * FractionalIndices().size()));
}

void FractionalSinStd(benchmark::State & state) {
    for (auto _ : state) {
        double sum = 0.0;
        for (double index : FractionalIndices()) {
            sum += std::sin(index * radians_per_index);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<long long>(state.iterations() * FractionalIndices().size()));
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("IndexSin/QELTA", SinOurs);
    benchmark::RegisterBenchmark("IndexSin/std::sin", SinStd);
    benchmark::RegisterBenchmark("IndexSinFractional/QELTA", FractionalSinOurs);
    benchmark::RegisterBenchmark("IndexSinFractional/std::sin", FractionalSinStd);
    return true;
}();

} // namespace
} // namespace QELTA
