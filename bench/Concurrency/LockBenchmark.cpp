// Uncontended locks: a lock named by address and a lock held directly, beside the standard
// library's shared and plain mutexes on one thread.
#include "Base/Concurrency/RWLock.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <shared_mutex>

namespace QELTA {
namespace {

int named_object = 0;

void ReadByAddressQELTA(benchmark::State & state) {
    for (auto _ : state) {
        RLock const guard(&named_object);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void WriteByAddressQELTA(benchmark::State & state) {
    for (auto _ : state) {
        WLock const guard(&named_object);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void ReadDirectQELTA(benchmark::State & state) {
    RWLock lock;
    for (auto _ : state) {
        RLock const guard(lock);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void WriteDirectQELTA(benchmark::State & state) {
    RWLock lock;
    for (auto _ : state) {
        WLock const guard(lock);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

// A read lock inside a read lock already held: no mutex is taken.
void RecursiveReadQELTA(benchmark::State & state) {
    RWLock lock;
    RLock const outer(lock);
    for (auto _ : state) {
        RLock const guard(lock);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void ReadSharedMutex(benchmark::State & state) {
    std::shared_mutex mutex;
    for (auto _ : state) {
        std::shared_lock<std::shared_mutex> const guard(mutex);
        benchmark::DoNotOptimize(guard.owns_lock());
    }
}

void WriteSharedMutex(benchmark::State & state) {
    std::shared_mutex mutex;
    for (auto _ : state) {
        std::unique_lock<std::shared_mutex> const guard(mutex);
        benchmark::DoNotOptimize(guard.owns_lock());
    }
}

void WriteRecursiveMutex(benchmark::State & state) {
    std::recursive_mutex mutex;
    for (auto _ : state) {
        std::unique_lock<std::recursive_mutex> const guard(mutex);
        benchmark::DoNotOptimize(guard.owns_lock());
    }
}

// Each iteration locks an address the table has never seen: lookup, insertion and the lock.
// Every run (repetitions too) takes the next unused addresses of one block that is never touched
// or freed, as the table keeps its entries for good.
void FirstLockQELTA(benchmark::State & state) {
    constexpr std::size_t block_size = 16000000;
    static char const * const block = new char[block_size];
    static std::atomic<std::size_t> used{0};
    std::size_t const wanted = static_cast<std::size_t>(state.max_iterations);
    std::size_t next = used.fetch_add(wanted);
    if (next + wanted > block_size) {
        state.SkipWithError("no unused addresses left");
        return;
    }
    for (auto _ : state) {
        WLock const guard(block + next++);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void FirstLockSharedMutex(benchmark::State & state) {
    for (auto _ : state) {
        auto * const mutex = new std::shared_mutex;
        mutex->lock();
        mutex->unlock();
        benchmark::DoNotOptimize(mutex);
        delete mutex;
    }
}

// Every thread reads its own object: no contention, only the shared table.
void DistinctReadersQELTA(benchmark::State & state) {
    static int objects[64];
    void const * const key = &objects[state.thread_index() * 16 % 64];
    for (auto _ : state) {
        RLock const guard(key);
        benchmark::DoNotOptimize(guard.isLocked());
    }
}

void DistinctReadersSharedMutex(benchmark::State & state) {
    static std::shared_mutex mutexes[64];
    std::shared_mutex & mutex = mutexes[state.thread_index() * 16 % 64];
    for (auto _ : state) {
        std::shared_lock<std::shared_mutex> const guard(mutex);
        benchmark::DoNotOptimize(guard.owns_lock());
    }
}

[[maybe_unused]] bool const registered = [] {
    benchmark::RegisterBenchmark("ReadLockByAddress/QELTA", ReadByAddressQELTA);
    benchmark::RegisterBenchmark("ReadLockByAddress/shared_mutex", ReadSharedMutex);
    benchmark::RegisterBenchmark("WriteLockByAddress/QELTA", WriteByAddressQELTA);
    benchmark::RegisterBenchmark("WriteLockByAddress/shared_mutex", WriteSharedMutex);
    benchmark::RegisterBenchmark("ReadLock/QELTA", ReadDirectQELTA);
    benchmark::RegisterBenchmark("ReadLock/shared_mutex", ReadSharedMutex);
    benchmark::RegisterBenchmark("WriteLock/QELTA", WriteDirectQELTA);
    benchmark::RegisterBenchmark("WriteLock/shared_mutex", WriteSharedMutex);
    benchmark::RegisterBenchmark("RecursiveReadLock/QELTA", RecursiveReadQELTA);
    benchmark::RegisterBenchmark("RecursiveReadLock/recursive_mutex", WriteRecursiveMutex);
    benchmark::RegisterBenchmark("FirstLockOfNewAddress/QELTA", FirstLockQELTA)->Iterations(100000);
    benchmark::RegisterBenchmark("FirstLockOfNewAddress/shared_mutex", FirstLockSharedMutex)->Iterations(100000);
    for (int threads : {1, 2, 4}) {
        benchmark::RegisterBenchmark("ReadLockDistinctAddresses/QELTA", DistinctReadersQELTA)->Threads(threads);
        benchmark::RegisterBenchmark("ReadLockDistinctAddresses/shared_mutex", DistinctReadersSharedMutex)
            ->Threads(threads);
    }
    return true;
}();

} // namespace
} // namespace QELTA
