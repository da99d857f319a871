// The cost of setting a resource beside a plain compare and assignment, and of telling one
// listener beside a std::function call.
#include "Base/Settings/ResourceBase.h"

#include <benchmark/benchmark.h>

#include <functional>

namespace QELTA {
namespace {

void ResourceSetEqualQELTA(benchmark::State & state) {
    Resource<int> resource(7);
    int value = 7;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        resource.set(value);
        benchmark::ClobberMemory();
    }
}

void ResourceSetEqualPlain(benchmark::State & state) {
    int stored = 7;
    int value = 7;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        if (stored != value) {
            stored = value;
        }
        benchmark::DoNotOptimize(stored);
        benchmark::ClobberMemory();
    }
}

void ResourceSetNoListenerQELTA(benchmark::State & state) {
    Resource<int> resource(0);
    int value = 0;
    for (auto _ : state) {
        ++value;
        benchmark::DoNotOptimize(value);
        resource.set(value);
        benchmark::ClobberMemory();
    }
}

void ResourceSetNoListenerPlain(benchmark::State & state) {
    int stored = 0;
    int value = 0;
    for (auto _ : state) {
        ++value;
        benchmark::DoNotOptimize(value);
        if (stored != value) {
            stored = value;
        }
        benchmark::DoNotOptimize(stored);
        benchmark::ClobberMemory();
    }
}

void ResourceNotifyOneQELTA(benchmark::State & state) {
    Resource<int> resource(0);
    long long calls = 0;
    resource.addListener(new BasicResourceListener([&calls] { ++calls; }), true);
    int value = 0;
    for (auto _ : state) {
        ++value;
        benchmark::DoNotOptimize(value);
        resource.set(value);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(calls);
}

// The baseline: what a caller would write by hand, compare, assign and call one function.
void ResourceNotifyOneFunction(benchmark::State & state) {
    long long calls = 0;
    std::function<void()> const listener = [&calls] { ++calls; };
    int stored = 0;
    int value = 0;
    for (auto _ : state) {
        ++value;
        benchmark::DoNotOptimize(value);
        if (stored != value) {
            stored = value;
            listener();
        }
        benchmark::DoNotOptimize(stored);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(calls);
}

BENCHMARK(ResourceSetEqualQELTA)->Name("ResourceSetEqual/QELTA");
BENCHMARK(ResourceSetEqualPlain)->Name("ResourceSetEqual/plain");
BENCHMARK(ResourceSetNoListenerQELTA)->Name("ResourceSetNoListener/QELTA");
BENCHMARK(ResourceSetNoListenerPlain)->Name("ResourceSetNoListener/plain");
BENCHMARK(ResourceNotifyOneQELTA)->Name("ResourceNotifyOne/QELTA");
BENCHMARK(ResourceNotifyOneFunction)->Name("ResourceNotifyOne/std::function");

} // namespace
} // namespace QELTA
