// Text log files: what one message costs its caller (the median and the 99th percentile of
// single calls), and records per second that reach the file from 1, 2 and 4 logging threads;
// ours, a Log with an AsciiFileOutputStream, beside spdlog's asynchronous file logger with the
// same text and a line of the same fields, when libspdlog-dev is installed. Then the crash
// check of the file stream run 1000 times: a child logging from 8 threads killed at a random
// moment must leave a gap-free prefix that reads back.
#include "Base/Files/File.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/Log.h"
#include "tests/Support/LogKillRound.h"

#include <benchmark/benchmark.h>

#if QELTA_HAVE_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

constexpr char sample_text[] = "Copied 12 of 40 files to the project folder";
constexpr unsigned int batch = 4096;
constexpr unsigned int batches = 64;
constexpr unsigned int records_per_run = 200000;
constexpr unsigned long long wait_ns = 60ull * 1000 * 1000 * 1000;
constexpr std::size_t peer_queue = batch * batches;

using Clock = std::chrono::steady_clock;

// A file of its own in the temporary folder, removed at the end.
class ScratchFile {
  public:
    explicit ScratchFile(char const * name)
        : path_((std::filesystem::temp_directory_path() / ("qelta-bench-" + std::to_string(::getpid()) + "-" + name))
                    .string()) {}
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    std::string const & path() const { return path_; }

  private:
    std::string path_;
};

double Percentile(std::vector<double> & samples, double share) {
    std::size_t const at = std::min(samples.size() - 1, static_cast<std::size_t>(share * samples.size()));
    std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(at), samples.end());
    return samples[at];
}

// Each iteration is one batch of single calls, timed one by one; the iteration's time is the
// chosen percentile of the batch, so that the report shows that percentile per call.
template <class Call, class Settle>
void TimeCalls(benchmark::State & state, double share, Call && call, Settle && settle) {
    std::vector<double> samples(batch);
    for (auto _ : state) {
        for (unsigned int i = 0; i < batch; ++i) {
            auto const start = Clock::now();
            call();
            samples[i] = std::chrono::duration<double>(Clock::now() - start).count();
        }
        state.SetIterationTime(Percentile(samples, share));
        settle();
    }
}

void CallerCostQELTA(benchmark::State & state, double share) {
    ScratchFile const file("caller.txt");
    Log log;
    AsciiFileOutputStream stream(File(String(file.path().c_str())), false);
    log.addStream(&stream, false);
    StringView const text(sample_text);
    TimeCalls(
        state, share, [&] { log.addMessage(InfoPipe::no_id, text, 2); }, [&] { stream.waitUntilWritten(wait_ns); });
    state.counters["dropped"] = static_cast<double>(stream.droppedMessages());
}

// Records of `threads` loggers, timed until they are all in the file.
void ThroughputQELTA(benchmark::State & state) {
    auto const threads = static_cast<unsigned int>(state.range(0));
    for (auto _ : state) {
        ScratchFile const file("throughput.txt");
        auto const start = Clock::now();
        {
            Log log;
            AsciiFileOutputStream stream(File(String(file.path().c_str())), false);
            log.addStream(&stream, false);
            std::vector<std::thread> loggers;
            for (unsigned int t = 0; t < threads; ++t) {
                loggers.emplace_back([&log, threads] {
                    for (unsigned int n = 0; n < records_per_run / threads; ++n) {
                        log.addMessage(InfoPipe::no_id, StringView(sample_text), 2);
                    }
                });
            }
            for (std::thread & logger : loggers) {
                logger.join();
            }
            stream.waitUntilWritten(wait_ns);
            state.counters["dropped"] = static_cast<double>(stream.droppedMessages());
        }
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations() * records_per_run);
}

#if QELTA_HAVE_SPDLOG
// spdlog's asynchronous logger on a file, its queue as deep as the runs need, with a line of the
// same four fields.
struct SpdLogger {
    explicit SpdLogger(std::string const & path)
        : pool(std::make_shared<spdlog::details::thread_pool>(peer_queue, 1)),
          logger(std::make_shared<spdlog::async_logger>("bench",
                                                        std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true),
                                                        pool, spdlog::async_overflow_policy::block)) {
        logger->set_pattern("%y-%m-%d %H:%M:%S:%f\t%v\t%l\t4711");
    }
    // Returns when every record is in the file.
    void finish() {
        logger.reset();
        pool.reset();
    }

    std::shared_ptr<spdlog::details::thread_pool> pool;
    std::shared_ptr<spdlog::async_logger> logger;
};

void CallerCostSpdlog(benchmark::State & state, double share) {
    ScratchFile const file("caller-spdlog.txt");
    SpdLogger peer(file.path());
    TimeCalls(
        state, share, [&] { peer.logger->info(sample_text); }, [] {});
    peer.finish();
}

void ThroughputSpdlog(benchmark::State & state) {
    auto const threads = static_cast<unsigned int>(state.range(0));
    for (auto _ : state) {
        ScratchFile const file("throughput-spdlog.txt");
        auto const start = Clock::now();
        {
            SpdLogger peer(file.path());
            std::vector<std::thread> loggers;
            for (unsigned int t = 0; t < threads; ++t) {
                loggers.emplace_back([&peer, threads] {
                    for (unsigned int n = 0; n < records_per_run / threads; ++n) {
                        peer.logger->info(sample_text);
                    }
                });
            }
            for (std::thread & logger : loggers) {
                logger.join();
            }
            peer.finish();
        }
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations() * records_per_run);
}
#endif

// The crash check, 1000 rounds; the time is that of the whole run.
void KillRounds(benchmark::State & state) {
    ScratchFile const file("kill.txt");
    std::mt19937 random(20240517);
    unsigned int passed = 0;
    unsigned long long lines = 0;
    for (auto _ : state) {
        for (int round = 0; round < 1000; ++round) {
            Testing::KillRoundResult const result = Testing::KillRound(QELTA_LOG_KILL_CHILD, file.path(), random);
            if (result.ok) {
                ++passed;
            } else {
                std::fprintf(stderr, "round %d: %s\n", round, result.error.c_str());
            }
            lines += result.lines;
        }
    }
    state.counters["passed"] = passed;
    state.counters["lines_per_round"] = static_cast<double>(lines) / 1000.0;
}

void Register() {
    benchmark::RegisterBenchmark("LogCallerP50/QELTA", CallerCostQELTA, 0.5)->Iterations(batches)->UseManualTime();
    benchmark::RegisterBenchmark("LogCallerP99/QELTA", CallerCostQELTA, 0.99)->Iterations(batches)->UseManualTime();
#if QELTA_HAVE_SPDLOG
    benchmark::RegisterBenchmark("LogCallerP50/spdlog async", CallerCostSpdlog, 0.5)
        ->Iterations(batches)
        ->UseManualTime();
    benchmark::RegisterBenchmark("LogCallerP99/spdlog async", CallerCostSpdlog, 0.99)
        ->Iterations(batches)
        ->UseManualTime();
#endif
    for (int threads : {1, 2, 4}) {
        benchmark::RegisterBenchmark("LogRecordsToFile/QELTA", ThroughputQELTA)
            ->Arg(threads)
            ->Iterations(3)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
#if QELTA_HAVE_SPDLOG
        benchmark::RegisterBenchmark("LogRecordsToFile/spdlog async", ThroughputSpdlog)
            ->Arg(threads)
            ->Iterations(3)
            ->UseManualTime()
            ->Unit(benchmark::kMillisecond);
#endif
    }
    if (std::getenv("QELTA_BENCH_KILL") != nullptr) {
        benchmark::RegisterBenchmark("LogKill1000/QELTA", KillRounds)->Iterations(1)->Unit(benchmark::kSecond);
    }
}

int const registered = (Register(), 0);

} // namespace
} // namespace QELTA
