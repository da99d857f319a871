// The parallel loop of the deferred blocks: OpenMP where the library is built with it, a plain
// loop otherwise. This is the only file that uses OpenMP.
#include "Base/Files/Internal/ParallelDecompress.h"

#include <mutex>

#if defined(_OPENMP)
#include <omp.h>
#endif

#if defined(__SANITIZE_THREAD__)
// The OpenMP runtime is not instrumented, so ThreadSanitizer can't see the ordering its fork and
// join give; these calls tell it. Region entry acquires what the starting thread released before
// the fork; each worker releases at its end what the starting thread acquires after the join. The
// workers never acquire each other's releases, so a race between two blocks is still reported.
// The function that forks is itself left uninstrumented: the compiler hands the loop its shared
// variables through a record it writes after the release, which the runtime orders but the
// sanitizer can't see. All work on the blocks happens in instrumented functions.
extern "C" void __tsan_acquire(void * address);
extern "C" void __tsan_release(void * address);
#define QELTA_FORKS_UNDER_RUNTIME __attribute__((no_sanitize_thread))
#else
#define QELTA_FORKS_UNDER_RUNTIME
#endif

namespace QELTA::Internal {
namespace {

#if defined(_OPENMP) && defined(__SANITIZE_THREAD__)
char s_fork_mark;
char s_join_mark;
void ForkReleased() noexcept {
    __tsan_release(&s_fork_mark);
}
void ForkAcquired() noexcept {
    __tsan_acquire(&s_fork_mark);
}
void JoinReleased() noexcept {
    __tsan_release(&s_join_mark);
}
void JoinAcquired() noexcept {
    __tsan_acquire(&s_join_mark);
}
#elif defined(_OPENMP)
void ForkReleased() noexcept {}
void ForkAcquired() noexcept {}
void JoinReleased() noexcept {}
void JoinAcquired() noexcept {}
#endif

// The failure of the lowest index seen so far.
class FirstFailure {
  public:
    void record(long long index, std::exception_ptr failure) {
        std::lock_guard<std::mutex> const hold(mutex_);
        if (!failure_ || index < index_) {
            index_ = index;
            failure_ = std::move(failure);
        }
    }
    std::exception_ptr take() {
        std::lock_guard<std::mutex> const hold(mutex_);
        return std::move(failure_);
    }

  private:
    std::mutex mutex_;
    long long index_ = 0;
    std::exception_ptr failure_;
};

[[gnu::noinline]] void DecompressOne(BinaryCompressionObject * objects, long long index, FirstFailure * failures) {
    try {
        Compressor::DecompressData(objects[index]);
    } catch (...) {
        failures->record(index, std::current_exception());
    }
}

#if defined(_OPENMP)
QELTA_FORKS_UNDER_RUNTIME void DecompressInTeam(BinaryCompressionObject * objects, long long count, int team,
                                                FirstFailure * failures) {
    ForkReleased();
#pragma omp parallel num_threads(team)
    {
        ForkAcquired();
#pragma omp for schedule(dynamic, 1)
        for (long long i = 0; i < count; ++i) {
            DecompressOne(objects, i, failures);
        }
        JoinReleased();
    }
    JoinAcquired();
}
#endif

} // namespace

std::exception_ptr DecompressSideBySide(BinaryCompressionObject * objects, unsigned long long count,
                                        unsigned int threads) {
    FirstFailure failures;
    long long const last = static_cast<long long>(count);
#if defined(_OPENMP)
    int const team = threads != 0 ? static_cast<int>(threads) : omp_get_num_procs();
    if (team > 1 && count > 1) {
        DecompressInTeam(objects, last, team, &failures);
        return failures.take();
    }
#else
    (void)threads;
#endif
    for (long long i = 0; i < last; ++i) {
        DecompressOne(objects, i, &failures);
    }
    return failures.take();
}

} // namespace QELTA::Internal
