// Threads: one start, joins, the registry and its names, the primary thread, the split helper
// and the sleeping and stopping helpers.
#include "Base/Concurrency/Thread.h"
#include "Base/Concurrency/Platform/ThreadPlatform.h"
#include "Base/Concurrency/RWLock.h"
#include "Base/Concurrency/ThreadQueue.h"
#include "Base/Failure/Exception.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Time/TimeSpan.h"
#include "tests/Support/Eventually.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Testing::Eventually;

// Runs until released, counting its runs and noting what it saw of itself.
class GatedThread : public Thread {
  public:
    explicit GatedThread(StringView const & name, bool once = true) : Thread(name) { run_once_ = once; }
    ~GatedThread() override {
        release = true;
        requestStopThread();
        join();
    }

    // Returns once the thread has let go of the object entirely.
    void waitUntilFinished() { WLock const own(&thread_); }

    void run() override {
        ++runs;
        system_name = std::string(ThreadPlatform::CurrentThreadName().c_str());
        registered_name = std::string(Thread::CurrentThreadName().c_str());
        current_is_this = Thread::CurrentThread() == this;
        started = true;
        while (!release.load() && isRunning()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::atomic<int> runs{0};
    std::atomic<bool> started{false};
    std::atomic<bool> release{false};
    std::string system_name;
    std::string registered_name;
    bool current_is_this = false;
};

TEST(ThreadTest, StartTwiceStartsOnce) {
    GatedThread thread("Worker");
    unsigned int const before = Thread::GetThreadCount();
    thread.start();
    thread.start();
    ASSERT_TRUE(Eventually([&] { return thread.started.load(); }));
    EXPECT_TRUE(thread.isRunning());
    EXPECT_EQ(Thread::GetThreadCount(), before + 1);
    thread.release = true;
    thread.join();
    EXPECT_EQ(thread.runs.load(), 1);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.threadID(), ThreadFunctions::no_thread);
    EXPECT_EQ(Thread::GetThreadCount(), before);
    EXPECT_TRUE(thread.current_is_this);

    // A finished thread starts again.
    thread.release = false;
    thread.started = false;
    thread.start();
    ASSERT_TRUE(Eventually([&] { return thread.started.load(); }));
    thread.release = true;
    thread.join();
    EXPECT_EQ(thread.runs.load(), 2);
}

TEST(ThreadTest, SystemNameIsCutAtACharacterAndRegistryKeepsAll) {
    struct Row {
        char const * name;
        char const * system_name;
    };
    Row const rows[] = {
        {"Exactly15Bytes!", "Exactly15Bytes!"},
        {"A rather long worker name", "A rather long w"},
        // A two-byte character at bytes 14 and 15, and a three-byte one at bytes 14 to 16.
        {"abcdefghijklmn\xC3\xA9tc", "abcdefghijklmn"},
        {"ab\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE5\x90\x8D",
         "ab\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE"},
        // Five three-byte characters fill the 15 bytes exactly.
        {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE5\x90\x8D\xE5\x89\x8D",
         "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE5\x90\x8D"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        GatedThread thread(row.name);
        thread.start();
        ASSERT_TRUE(Eventually([&] { return thread.started.load(); }));
        thread.release = true;
        thread.join();
        EXPECT_EQ(thread.system_name, row.system_name);
        EXPECT_EQ(thread.registered_name, row.name);
    }
}

TEST(ThreadTest, JoinFromInsideReturns) {
    std::atomic<bool> returned{false};
    BasicThread * self = nullptr;
    BasicThread thread("Self Joiner", true, [&] {
        self->join();
        returned = true;
    });
    self = &thread;
    thread.start();
    thread.join();
    EXPECT_TRUE(returned.load());
}

TEST(ThreadTest, RepeatingThreadRunsUntilStopped) {
    std::atomic<int> runs{0};
    BasicThread thread("Repeater", false, [&] {
        ++runs;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    });
    thread.start();
    ASSERT_TRUE(Eventually([&] { return runs.load() >= 3; }));
    thread.requestStopThread();
    thread.join();
    EXPECT_FALSE(thread.isRunning());
}

TEST(ThreadTest, PrimaryThreadObjectAlwaysRuns) {
    Thread * const current = Thread::CurrentThread();
    EXPECT_EQ(current, Thread::CurrentThread());
    EXPECT_EQ(current->threadID(), ThreadFunctions::CurrentThreadID());
    EXPECT_FALSE(current->isRunning());
    current->setIsPrimaryThread(true);
    EXPECT_TRUE(ThreadFunctions::IsPrimaryThread());
    EXPECT_TRUE(current->isRunning());
    current->setIsPrimaryThread(false);
    EXPECT_EQ(ThreadFunctions::PrimaryThreadID(), ThreadFunctions::no_thread);
    // With no primary thread, a thread that never started is not running.
    EXPECT_FALSE(GatedThread("Idle").isRunning());
}

TEST(ThreadTest, SplitRunsBothSidesAndJoins) {
    Thread::CurrentThread(); // enters this thread into the registry, where its name is kept
    Thread::SetCurrentThreadName("Splitter");
    std::atomic<bool> b_done{false};
    std::string b_name;
    BasicThread::splitThread([&] { EXPECT_TRUE(Eventually([&] { return b_done.load(); })); },
                             [&] {
                                 b_name = std::string(Thread::CurrentThreadName().c_str());
                                 b_done = true;
                             });
    EXPECT_EQ(b_name, "Splitter Split");

    std::atomic<bool> other_done{false};
    EXPECT_THROW(BasicThread::splitThread(
                     "Thrower", [] { throw std::runtime_error("side a failed"); },
                     [&] {
                         std::this_thread::sleep_for(std::chrono::milliseconds(20));
                         other_done = true;
                     }),
                 std::runtime_error);
    EXPECT_TRUE(other_done.load()); // the other side finished before the exception left
}

TEST(ThreadTest, StopAllThreadsStopsRepeatingThreads) {
    GatedThread thread("Stoppable", false);
    thread.start();
    ASSERT_TRUE(Eventually([&] { return thread.started.load(); }));
    Thread::StopAllThreads();
    EXPECT_FALSE(thread.isRunning());
    thread.waitUntilFinished();
    EXPECT_EQ(thread.threadID(), ThreadFunctions::no_thread);
}

TEST(ThreadQueueTest, WalkReachesTasksAddedFromATask) {
    std::mutex mutex;
    std::vector<int> order;
    std::vector<bool> processing;
    auto record = [&](int value) {
        std::lock_guard<std::mutex> const lock(mutex);
        order.push_back(value);
    };
    std::atomic<int> finished{0};
    // The value itself has no lock: other threads learn of changes through the listener.
    auto walks_ended = [&](std::size_t count) {
        std::lock_guard<std::mutex> const lock(mutex);
        return processing.size() == 2 * count;
    };
    {
        ThreadQueue queue("Queue");
        BasicResourceListener * const listener = new BasicResourceListener([&] {
            std::lock_guard<std::mutex> const lock(mutex);
            processing.push_back(queue.is_processing.value());
        });
        queue.is_processing.addListener(listener, true);
        std::atomic<bool> added{false};
        queue.add([&] {
            record(1);
            if (!added.exchange(true)) {
                queue.add([&] {
                    record(2);
                    ++finished;
                });
            }
        });
        ASSERT_TRUE(Eventually([&] { return finished.load() == 1 && walks_ended(1); }));
        // The list is kept: a new start walks it again from the first task.
        queue.add([&] {
            record(3);
            ++finished;
        });
        ASSERT_TRUE(Eventually([&] { return finished.load() == 3 && walks_ended(2); }));
        queue.join();
    }
    EXPECT_EQ(order, (std::vector<int>{1, 2, 1, 2, 3}));
    std::lock_guard<std::mutex> const lock(mutex);
    EXPECT_EQ(processing, (std::vector<bool>{true, false, true, false}));
}

// A listener that queues more work when it hears that the queue is idle: the same walk takes the
// task up, and nothing escapes the thread.
TEST(ThreadQueueTest, ListenerMayAddWorkWhenTheQueueTurnsIdle) {
    std::atomic<int> runs{0};
    std::atomic<int> idle_calls{0};
    {
        ThreadQueue queue("Idle Queue");
        queue.is_processing.addListener(new BasicResourceListener([&] {
                                            if (!queue.is_processing.value() && idle_calls.fetch_add(1) == 0) {
                                                queue.add([&] { ++runs; });
                                            }
                                        }),
                                        true);
        queue.add([&] { ++runs; });
        ASSERT_TRUE(Eventually([&] { return runs.load() == 2 && idle_calls.load() == 2 && !queue.isRunning(); }));
        queue.join();
    }
    EXPECT_EQ(runs.load(), 2);
}

TEST(ThreadFunctionsTest, SleepingAndConcurrentExecution) {
    auto const start = std::chrono::steady_clock::now();
    ThreadFunctions::RequestSleep(0ull);
    ThreadFunctions::RequestSleep(TimeSpan(999999)); // below a millisecond
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    ThreadFunctions::RequestSleep(TimeSpan(20000000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));

    std::atomic<bool> ran{false};
    ThreadFunctions::RequestConcurrentExecution("Detached Work", [&] { ran = true; });
    EXPECT_TRUE(Eventually([&] { return ran.load(); }));

    MemoryInfoPipe pipe;
    ThreadFunctions::RequestNoSleep(true, LogPtr(&pipe));
    ThreadFunctions::RequestNoSleep(false, LogPtr(&pipe));
    ThreadFunctions::RequestNoSleep(true, LogPtr());
    ASSERT_EQ(pipe.messages().size(), 1u);
    // A translatable record keeps the text form of its text.
    TranslatedString const text(pipe.messages()[0].rawMessage());
    EXPECT_EQ(std::string(text.englishDefine().c_str()), "Requesting No Sleep");
    EXPECT_EQ(pipe.messages()[0].logRecordLevel(), 2);
}

} // namespace
} // namespace QELTA
