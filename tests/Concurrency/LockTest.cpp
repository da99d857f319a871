// Read/write locks under real threads: recursion, the waiting-writer rule and its two exceptions,
// exclusion under load, timed attempts and the lock table.
#include "Base/Concurrency/ConcurrentOperation.h"
#include "Base/Concurrency/RWLock.h"
#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Time/TimeSpan.h"
#include "tests/Support/Eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::Eventually;
using Clock = std::chrono::steady_clock;

// Whether another thread would get a read lock now.
bool OtherThreadCanRead(RWLock & lock) {
    bool granted = false;
    std::thread([&] {
        granted = lock.tryReadLock();
        if (granted) {
            lock.readUnlock();
        }
    }).join();
    return granted;
}

bool OtherThreadCanWrite(RWLock & lock) {
    bool granted = false;
    std::thread([&] {
        granted = lock.tryWriteLock();
        if (granted) {
            lock.writeUnlock();
        }
    }).join();
    return granted;
}

TEST(RWLockTest, RecursionBothWays) {
    RWLock lock;
    lock.readLock();
    lock.readLock();
    EXPECT_EQ(lock.numOfReadLocks(), 1u);
    EXPECT_EQ(lock.numOfReadLocksHeld(), 2u);
    EXPECT_FALSE(OtherThreadCanWrite(lock));
    lock.readUnlock();
    EXPECT_FALSE(OtherThreadCanWrite(lock));
    lock.readUnlock();
    EXPECT_TRUE(OtherThreadCanWrite(lock));

    lock.writeLock();
    lock.writeLock();
    lock.readLock(); // a writer may read too
    EXPECT_EQ(lock.numOfWriteLocksHeld(), 2u);
    lock.readUnlock();
    lock.writeUnlock();
    EXPECT_FALSE(OtherThreadCanRead(lock));
    lock.writeUnlock();
    EXPECT_TRUE(OtherThreadCanRead(lock));
    EXPECT_EQ(lock.numOfWriteLocks(), 0u);
}

// More read locks at once than a thread keeps at hand, given back in another order: each keeps
// its own depth, and each lock is free for a writer exactly when its last read lock is back.
TEST(RWLockTest, ManyReadLocksAtOnceKeepTheirDepths) {
    constexpr unsigned int count = 12;
    std::vector<RWLock> locks(count);
    for (unsigned int i = 0; i < count; ++i) {
        for (unsigned int depth = 0; depth <= i % 3; ++depth) {
            locks[i].readLock();
        }
    }
    for (unsigned int i = 0; i < count; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(locks[i].numOfReadLocksHeld(), i % 3 + 1);
        EXPECT_EQ(locks[i].numOfReadLocks(), 1u);
    }
    unsigned int const order[count] = {5, 0, 11, 3, 8, 1, 10, 6, 2, 9, 4, 7};
    for (unsigned int i : order) {
        SCOPED_TRACE(i);
        for (unsigned int depth = 0; depth <= i % 3; ++depth) {
            EXPECT_FALSE(OtherThreadCanWrite(locks[i]));
            locks[i].readUnlock();
        }
        EXPECT_EQ(locks[i].numOfReadLocksHeld(), 0u);
        EXPECT_TRUE(OtherThreadCanWrite(locks[i]));
    }
    for (unsigned int i = 0; i < count; ++i) {
        EXPECT_EQ(locks[i].numOfReadLocks(), 0u);
    }
}

// Many addresses in turn, twice over: each keeps its one entry, whatever the thread remembers.
TEST(RWLockTest, EveryAddressKeepsItsOwnEntry) {
    constexpr unsigned int count = 200;
    std::vector<int> objects(count);
    std::vector<RWLock *> first(count);
    for (unsigned int i = 0; i < count; ++i) {
        first[i] = RWLock::getEntry(&objects[i]);
    }
    std::vector<RWLock *> sorted = first;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
    for (unsigned int round = 0; round < 2; ++round) {
        for (unsigned int i = 0; i < count; ++i) {
            SCOPED_TRACE(i);
            ASSERT_EQ(RWLock::getEntry(&objects[i]), first[i]);
            WLock const guard(&objects[i]);
            EXPECT_TRUE(WLock::HasLock(*first[i]));
            EXPECT_FALSE(RLock::HasLock(*first[(i + 1) % count]));
        }
    }
    std::thread([&] {
        for (unsigned int i = 0; i < count; ++i) {
            EXPECT_EQ(RWLock::getEntry(&objects[i]), first[i]);
        }
    }).join();
}

TEST(RWLockTest, WaitingWriterHoldsBackOnlyNewReaders) {
    RWLock lock;
    std::atomic<int> step{0};
    std::atomic<bool> reread{false};
    std::atomic<bool> wrote{false};
    std::thread reader([&] {
        lock.readLock();
        step = 1;
        ASSERT_TRUE(Eventually([&] { return step.load() == 2; }));
        reread = lock.tryReadLock(); // already reads: passes the waiting writer
        if (reread) {
            lock.readUnlock();
        }
        step = 3;
        ASSERT_TRUE(Eventually([&] { return step.load() == 4; }));
        lock.readUnlock();
    });
    ASSERT_TRUE(Eventually([&] { return step.load() == 1; }));
    std::thread writer([&] {
        lock.writeLock();
        wrote = true;
        lock.writeUnlock();
    });
    // Once the writer waits, a thread that does not read yet is refused.
    ASSERT_TRUE(Eventually([&] { return !OtherThreadCanRead(lock); }));
    EXPECT_FALSE(wrote.load());

    bool primary_read = false;
    std::thread([&] {
        ThreadFunctions::SetPrimaryThreadID(ThreadFunctions::CurrentThreadID());
        primary_read = lock.tryReadLock();
        if (primary_read) {
            lock.readUnlock();
        }
        ThreadFunctions::SetPrimaryThreadID(ThreadFunctions::no_thread);
    }).join();
    EXPECT_TRUE(primary_read);

    step = 2;
    ASSERT_TRUE(Eventually([&] { return step.load() == 3; }));
    EXPECT_TRUE(reread.load());
    EXPECT_FALSE(wrote.load());
    step = 4;
    reader.join();
    writer.join();
    EXPECT_TRUE(wrote.load());
}

TEST(RWLockTest, WritersExcludeEveryoneUnderLoad) {
    int key = 0;
    long long first = 0;
    long long second = 0;
    std::atomic<int> torn{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                if ((i + t) % 3 == 0) {
                    WLock const guard(&key);
                    ++first;
                    ++second;
                } else {
                    RLock const guard(&key);
                    RLock const nested(&key);
                    if (first != second) {
                        ++torn;
                    }
                }
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    EXPECT_EQ(torn.load(), 0);
    EXPECT_EQ(first, 4000);
}

TEST(RWLockTest, TimedAttemptsEndWithinTheirBudget) {
    int key = 0;
    std::atomic<bool> held{false};
    std::atomic<bool> done{false};
    std::thread owner([&] {
        WLock const guard(&key);
        held = true;
        ASSERT_TRUE(Eventually([&] { return done.load(); }));
    });
    ASSERT_TRUE(Eventually([&] { return held.load(); }));

    struct Row {
        char const * name;
        unsigned long long timeout_ns;
        bool write;
    };
    Row const rows[] = {
        {"read, below a millisecond", 500000, false},
        {"write, below a millisecond", 500000, true},
        {"read, 50 ms", 50000000, false},
        {"write, 50 ms", 50000000, true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        auto const start = Clock::now();
        bool const locked = row.write ? WLock(&key, row.timeout_ns).isLocked() : RLock(&key, row.timeout_ns).isLocked();
        auto const elapsed = Clock::now() - start;
        EXPECT_FALSE(locked);
        EXPECT_LT(elapsed, std::chrono::nanoseconds(row.timeout_ns) + std::chrono::milliseconds(500));
    }
    // A span is taken as a million times shorter: 100 s waits 0.1 ms.
    auto const start = Clock::now();
    EXPECT_FALSE(WLock(&key, TimeSpan(100000000000ll)).isLocked());
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(1));

    bool locked = true;
    RLock const attempt(&key, locked);
    EXPECT_FALSE(locked);
    EXPECT_FALSE(attempt.isLocked());
    done = true;
    owner.join();
    EXPECT_TRUE(RLock(&key, 0ull).isLocked());
}

TEST(RWLockTest, TimedWriterLetsReadersGoWhenItGivesUp) {
    int key = 0;
    std::atomic<bool> reading{false};
    std::atomic<bool> done{false};
    std::thread reader([&] {
        RLock const guard(&key);
        reading = true;
        ASSERT_TRUE(Eventually([&] { return done.load(); }));
    });
    ASSERT_TRUE(Eventually([&] { return reading.load(); }));
    EXPECT_FALSE(WLock(&key, 20000000ull).isLocked());
    EXPECT_TRUE(OtherThreadCanRead(*RWLock::getEntry(&key)));
    done = true;
    reader.join();
}

TEST(RWLockTest, GuardsOfNullKeysAndTheTable) {
    RLock const none(nullptr);
    EXPECT_FALSE(none.isLocked());
    bool untouched = true;
    RLock const attempt(nullptr, untouched);
    EXPECT_TRUE(untouched);
    EXPECT_FALSE(RLock::HasLock(nullptr));

    int never_locked = 0;
    EXPECT_FALSE(RLock::HasLock(&never_locked));
    EXPECT_FALSE(WLock::HasLock(&never_locked));
    EXPECT_EQ(RWLock::findEntry(&never_locked), nullptr);

    int key = 0;
    {
        RLock read(&key);
        EXPECT_TRUE(RLock::HasLock(&key));
        EXPECT_FALSE(WLock::HasLock(&key));
        RLock const moved(std::move(read));
        EXPECT_FALSE(read.isLocked());
        EXPECT_TRUE(moved.isLocked());
    }
    EXPECT_FALSE(RLock::HasLock(&key));
    {
        WLock const write(&key);
        EXPECT_TRUE(RLock::HasLock(&key));
        EXPECT_TRUE(WLock::HasLock(&key));
        EXPECT_EQ(RWLock::getEntry(&key), RWLock::findEntry(&key));
    }
    EXPECT_FALSE(WLock::HasLock(&key));
}

TEST(ConcurrentOperationTest, WaitsAndNotifiesByKey) {
    int key = 0;
    std::mutex mutex;
    std::unique_lock<std::mutex> held(mutex);
    auto const start = Clock::now();
    ConcurrentOperation::wait(&key, 999999ull, held); // below a millisecond: no wait
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(100));
    held.unlock();

    bool ready = false;
    std::thread waiter([&] {
        std::unique_lock<std::mutex> lock(mutex);
        while (!ready) {
            ConcurrentOperation::wait(&key, 1000000000ull, lock);
        }
    });
    {
        std::lock_guard<std::mutex> const lock(mutex);
        ready = true;
    }
    ConcurrentOperation::notifyAll(&key);
    waiter.join();

    unsigned int volatile counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 1000; ++i) {
                ConcurrentOperation::increment(counter);
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 4000u);
    EXPECT_EQ(ConcurrentOperation::decrement(counter), 3999u);
}

} // namespace
} // namespace QELTA
