// Tests of ConstPointer and DynamicPointer: shared counts, conversion, destruction and threads.
#include "Base/Text/ConstPointer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

struct Base {
    virtual ~Base() = default;
    int value = 7;
};

// Counts its own destructions into a counter that outlives it.
struct Derived : Base {
    explicit Derived(std::atomic<int> & counter) : destroyed(counter) {}
    ~Derived() override {
        value = -1; // a plain write that must come after every other thread's last read
        destroyed.fetch_add(1, std::memory_order_relaxed);
    }
    std::atomic<int> & destroyed;
};

TEST(ConstPointerTest, LastReleaseOfSharedHandlesDestroysOnce) {
    struct Row {
        char const * name;
        int order[3];
    } const rows[] = {{"in creation order", {0, 1, 2}}, {"reversed", {2, 1, 0}}, {"original in the middle", {1, 0, 2}}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        std::atomic<int> destroyed{0};
        ConstPointer<Base> handles[3];
        handles[0] = ConstPointer<Base>(new Derived(destroyed));
        handles[1] = handles[0];
        handles[2] = ConstPointer<Base>(handles[1]);
        EXPECT_EQ(handles[2].get(), handles[0].get());
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(destroyed.load(), 0);
            handles[row.order[i]].reset();
            EXPECT_FALSE(handles[row.order[i]]);
        }
        EXPECT_EQ(destroyed.load(), 1);
    }
}

TEST(ConstPointerTest, AssigningWithinOneCountKeepsTheObject) {
    std::atomic<int> destroyed{0};
    DynamicPointer<Base> first(new Derived(destroyed));
    DynamicPointer<Base> & alias = first;
    first = alias;
    DynamicPointer<Base> second = first;
    second = first;
    first = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_EQ(first->value, 7);
    EXPECT_EQ(destroyed.load(), 0);

    std::atomic<int> other_destroyed{0};
    first = DynamicPointer<Base>(new Derived(other_destroyed));
    EXPECT_EQ(destroyed.load(), 1);
    first = nullptr;
    EXPECT_EQ(other_destroyed.load(), 1);
    EXPECT_TRUE(first == nullptr);
}

TEST(ConstPointerTest, DynamicPointerConvertsSharingItsCount) {
    std::atomic<int> destroyed{0};
    DynamicPointer<Derived> dynamic(new Derived(destroyed));
    dynamic->value = 11;
    ConstPointer<Base> shared = dynamic;
    ConstPointer<Base> taken = std::move(dynamic);
    EXPECT_FALSE(dynamic);
    EXPECT_EQ(shared->value, 11);
    EXPECT_TRUE(shared == taken);
    shared.reset();
    EXPECT_EQ(destroyed.load(), 0);
    taken.reset();
    EXPECT_EQ(destroyed.load(), 1);
}

TEST(ConstPointerTest, HandleOnAStaticObjectNeverDeletesIt) {
    static Base const kept;
    static Base const other;
    {
        ConstPointer<Base> handle = ConstPointer<Base>::Static(kept);
        ConstPointer<Base> copy = handle;
        EXPECT_EQ(copy.get(), &kept);
        copy = ConstPointer<Base>::Static(other);
        EXPECT_EQ(copy.get(), &other);
    }
    EXPECT_EQ(kept.value, 7); // deleting a static would be reported by the address sanitizer
}

TEST(ConstPointerTest, CopiesAndReleasesFromManyThreadsDestroyOnce) {
    for (bool last_release_on_a_worker : {false, true}) {
        SCOPED_TRACE(last_release_on_a_worker ? "workers release last" : "main thread releases last");
        std::atomic<int> destroyed{0};
        ConstPointer<Base> original(new Derived(destroyed));
        std::vector<std::thread> threads;
        std::atomic<long> seen{0};
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([own = original, &seen]() mutable {
                for (int i = 0; i < 20000; ++i) {
                    ConstPointer<Base> copy = own;
                    ConstPointer<Base> second = copy;
                    seen.fetch_add(second->value, std::memory_order_relaxed);
                }
                own.reset();
            });
        }
        if (last_release_on_a_worker) {
            original.reset();
        }
        for (std::thread & thread : threads) {
            thread.join();
        }
        EXPECT_EQ(seen.load(), 4L * 20000 * 7);
        EXPECT_EQ(destroyed.load(), last_release_on_a_worker ? 1 : 0);
        original.reset();
        EXPECT_EQ(destroyed.load(), 1);
    }
}

} // namespace
} // namespace QELTA
