// The clock and the storage form of a time, beside the standard library's clock, strftime and fmt.
#include "Base/Time/Time.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <ctime>
#include <random>
#include <vector>

#if defined(QELTA_HAVE_FMT)
#include <fmt/chrono.h>
#include <fmt/format.h>
#endif

namespace QELTA {
namespace {

constexpr unsigned long long second_ns = 1000000000ull;

void ClockQELTA(benchmark::State & state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Time::SystemTime());
    }
}

void ClockSteady(benchmark::State & state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::chrono::steady_clock::now());
    }
}

// Whole seconds spread over 1970 to 2480, the same for every formatter.
std::vector<unsigned long long> const & Seconds() {
    static std::vector<unsigned long long> const seconds = [] {
        std::mt19937_64 random(42);
        std::uniform_int_distribution<unsigned long long> pick(0, 16000000000ull);
        std::vector<unsigned long long> values(1024);
        for (unsigned long long & value : values) {
            value = pick(random);
        }
        return values;
    }();
    return seconds;
}

void StorageFormQELTA(benchmark::State & state) {
    std::vector<unsigned long long> const & seconds = Seconds();
    std::size_t index = 0;
    for (auto _ : state) {
        Time const time(seconds[index++ & 1023] * second_ns);
        StringAllocatingView const text = time.getAsString(false, "YYYY/MM/DD HH:mm:ss");
        benchmark::DoNotOptimize(text.data());
    }
}

void StorageFormStrftime(benchmark::State & state) {
    std::vector<unsigned long long> const & seconds = Seconds();
    std::size_t index = 0;
    for (auto _ : state) {
        std::time_t const value = static_cast<std::time_t>(seconds[index++ & 1023]);
        std::tm fields{};
        gmtime_r(&value, &fields);
        char text[32];
        std::size_t const size = std::strftime(text, sizeof text, "%Y/%m/%d %H:%M:%S", &fields);
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(text);
    }
}

#if defined(QELTA_HAVE_FMT)
void StorageFormFmt(benchmark::State & state) {
    std::vector<unsigned long long> const & seconds = Seconds();
    std::size_t index = 0;
    for (auto _ : state) {
        std::time_t const value = static_cast<std::time_t>(seconds[index++ & 1023]);
        std::tm fields{};
        gmtime_r(&value, &fields);
        std::string const text = fmt::format("{:%Y/%m/%d %H:%M:%S}", fields);
        benchmark::DoNotOptimize(text.data());
    }
}
#endif

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("SystemTime/QELTA", ClockQELTA);
    benchmark::RegisterBenchmark("SystemTime/steady_clock", ClockSteady);
    benchmark::RegisterBenchmark("TimeStorageForm/QELTA", StorageFormQELTA);
    benchmark::RegisterBenchmark("TimeStorageForm/gmtime_r+strftime", StorageFormStrftime);
#if defined(QELTA_HAVE_FMT)
    benchmark::RegisterBenchmark("TimeStorageForm/gmtime_r+fmt", StorageFormFmt);
#endif
    return true;
}();

} // namespace
} // namespace QELTA
