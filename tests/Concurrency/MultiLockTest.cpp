// Multi-locks: one global order whatever the order of the keys, depth for repeated keys, and the
// all-or-nothing timed form.
#include "Base/Concurrency/MultiLock.h"
#include "tests/Support/Eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <random>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::Eventually;

bool OtherThreadCanWrite(void const * key) {
    bool granted = false;
    std::thread([&] { granted = WLock(key, 0ull).isLocked(); }).join();
    return granted;
}

TEST(MultiLockTest, AnyKeyOrderNeverDeadlocks) {
    std::array<int, 4> objects{};
    std::array<long long, 4> counters{};
    std::vector<std::thread> threads;
    for (unsigned int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            std::array<void const *, 4> keys{&objects[0], &objects[1], &objects[2], &objects[3]};
            for (int i = 0; i < 1500; ++i) {
                std::shuffle(keys.begin(), keys.end(), random);
                if (i % 4 == 0) {
                    MultiRLock const guard{keys[0], keys[1], keys[2]};
                    EXPECT_TRUE(guard.isLocked());
                } else {
                    MultiWLock const guard{keys[0], keys[1], keys[2], keys[3]};
                    for (long long & counter : counters) {
                        ++counter;
                    }
                }
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    for (long long counter : counters) {
        EXPECT_EQ(counter, 6 * 1125);
    }
}

TEST(MultiLockTest, RepeatedKeysLockWithDepth) {
    int key = 0;
    {
        MultiWLock const guard{&key, &key};
        EXPECT_EQ(RWLock::getEntry(&key)->numOfWriteLocksHeld(), 2u);
    }
    EXPECT_TRUE(OtherThreadCanWrite(&key));
    {
        MultiRLock const guard{&key, &key};
        EXPECT_EQ(RWLock::getEntry(&key)->numOfReadLocksHeld(), 2u);
    }
    EXPECT_TRUE(OtherThreadCanWrite(&key));
    EXPECT_FALSE(MultiWLock(std::initializer_list<void const *>{}).isLocked());
}

TEST(MultiLockTest, FailedTimedLockHoldsNothing) {
    std::array<int, 3> objects{};
    std::atomic<bool> held{false};
    std::atomic<bool> done{false};
    std::thread owner([&] {
        WLock const guard(&objects[1]);
        held = true;
        ASSERT_TRUE(Eventually([&] { return done.load(); }));
    });
    ASSERT_TRUE(Eventually([&] { return held.load(); }));
    {
        MultiWLock const writes({&objects[2], &objects[0], &objects[1]}, 10000000ull);
        EXPECT_FALSE(writes.isLocked());
        MultiRLock const reads({&objects[0], &objects[1]}, 10000000ull);
        EXPECT_FALSE(reads.isLocked());
    }
    EXPECT_FALSE(WLock::HasLock(&objects[0]));
    EXPECT_FALSE(RLock::HasLock(&objects[0]));
    EXPECT_FALSE(WLock::HasLock(&objects[2]));
    EXPECT_TRUE(OtherThreadCanWrite(&objects[0]));
    EXPECT_TRUE(OtherThreadCanWrite(&objects[2]));
    done = true;
    owner.join();

    MultiWLock taken({&objects[0], &objects[1]}, 10000000ull);
    EXPECT_TRUE(taken.isLocked());
    MultiWLock const moved(std::move(taken));
    EXPECT_FALSE(taken.isLocked());
    EXPECT_TRUE(WLock::HasLock(&objects[1]));
}

} // namespace
} // namespace QELTA
