// Start to exit of a program that does nothing: the launcher beside a bare spawn and wait, each
// run the same number of times.
#include "Base/Host/LocalApplicationLauncher.h"

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>

extern char ** environ;

namespace QELTA {
namespace {

constexpr char program[] = "/bin/true";
constexpr int launches = 500;

void StartToExitQELTA(benchmark::State & state) {
    LocalApplicationLauncher launcher{StringView(program)};
    for (auto _ : state) {
        launcher.execute();
        benchmark::DoNotOptimize(launcher.exit_code);
    }
}

void StartToExitPosixSpawn(benchmark::State & state) {
    char * const argv[] = {const_cast<char *>(program), nullptr};
    for (auto _ : state) {
        pid_t pid = -1;
        int status = 0;
        if (posix_spawn(&pid, program, nullptr, nullptr, argv, environ) != 0 || waitpid(pid, &status, 0) != pid) {
            state.SkipWithError("posix_spawn failed");
            break;
        }
        benchmark::DoNotOptimize(status);
    }
}

BENCHMARK(StartToExitQELTA)
    ->Name("StartToExit/QELTA")
    ->Iterations(launches)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(StartToExitPosixSpawn)
    ->Name("StartToExit/posix_spawn")
    ->Iterations(launches)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace QELTA
