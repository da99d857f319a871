// The cost of reporting through an empty LogPtr beside a plain null-checked virtual call, and
// the stored text form of a record beside snprintf of the same four fields.
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>

namespace QELTA {
namespace {

// The baseline: what a caller would write by hand, one test of a pointer and one virtual call.
class Receiver {
  public:
    virtual ~Receiver() = default;
    virtual void addMessage(unsigned int index, StringView const & text, unsigned char level) = 0;
    virtual bool cancelRequested() const = 0;
};

void EmptyLogPtrQELTA(benchmark::State & state) {
    LogPtr log;
    benchmark::DoNotOptimize(&log);
    StringView const text("copying file 12 of 40");
    for (auto _ : state) {
        log.addMessage(log.index(), text, 1);
        benchmark::DoNotOptimize(log.cancelRequested());
        benchmark::ClobberMemory();
    }
}

void EmptyLogPtrNullCheck(benchmark::State & state) {
    Receiver * receiver = nullptr;
    benchmark::DoNotOptimize(&receiver);
    StringView const text("copying file 12 of 40");
    for (auto _ : state) {
        if (receiver != nullptr) {
            receiver->addMessage(0xFFFFFFFFu, text, 1);
        }
        bool const cancel = receiver != nullptr && receiver->cancelRequested();
        benchmark::DoNotOptimize(cancel);
        benchmark::ClobberMemory();
    }
}

// 2021-02-03 04:05:06.123456789 UTC.
constexpr unsigned long long sample_ns = 1612325106123456789ull;
constexpr char sample_text[] = "Copied 12 of 40 files to the project folder";

void LogRecordTextQELTA(benchmark::State & state) {
    LogMessage const message(Time(sample_ns), sample_text, 2, 4711);
    for (auto _ : state) {
        StringAllocatingView out;
        StringStream<LogMessage>::toString(message, out);
        benchmark::DoNotOptimize(out.data());
    }
}

// The same four fields, with the time broken down by gmtime_r; the text needs no escape, which
// favours snprintf, since it does not look for any.
void LogRecordTextSnprintf(benchmark::State & state) {
    for (auto _ : state) {
        std::time_t const seconds = static_cast<std::time_t>(sample_ns / 1000000000ull);
        std::tm fields{};
        gmtime_r(&seconds, &fields);
        char line[256];
        int const size =
            std::snprintf(line, sizeof line, "%02d-%02d-%02d %02d:%02d:%02d:%06u\t%s\t%u\t%u", fields.tm_year % 100,
                          fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec,
                          static_cast<unsigned int>(sample_ns % 1000000000ull / 1000), sample_text, 2u, 4711u);
        benchmark::DoNotOptimize(size);
        benchmark::DoNotOptimize(line);
    }
}

BENCHMARK(EmptyLogPtrQELTA)->Name("EmptyLogPtr/QELTA");
BENCHMARK(EmptyLogPtrNullCheck)->Name("EmptyLogPtr/null check");
BENCHMARK(LogRecordTextQELTA)->Name("LogRecordText/QELTA");
BENCHMARK(LogRecordTextSnprintf)->Name("LogRecordText/snprintf");

} // namespace
} // namespace QELTA
