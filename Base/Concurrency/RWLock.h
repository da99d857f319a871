// RWLock, RLock and WLock: read/write locks named by any address, and their scope guards.
//
// The library locks objects, not code paths: `WLock lock(this)` looks the address up in one
// process-wide table and takes that entry's RWLock, so a class needs no lock member. Entries are
// created at first use and live until the process ends, so an entry never vanishes under a
// waiting thread (and each thread may remember the entries it looked up); a path that locks many
// short-lived objects grows the table and each thread's memory of it. All operations are
// thread-safe. A failing system mutex raises std::system_error; time-outs report only by result.
#pragma once

#include "Base/Export.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace QELTA {

class TimeSpan;
class UUID;

// A recursive read/write lock. Many threads may read, or one thread may write; the writer may
// also read and may write again (each lock is given back once). A read lock cannot be upgraded:
// a thread that reads and asks to write waits for itself forever. Only waiting takes the mutex:
// a lock that is free (or already held by the calling thread) costs a few atomic operations, and
// a thread's recursive read locks touch nothing shared. While a writer waits, threads that do
// not read yet are held back, except the primary thread (ThreadFunctions), which never waits
// behind a queued writer. Waits wake at least once a second to look again, so a lost wake-up
// costs at most that.
class QELTA_BASE_EXPORT RWLock {
  public:
    static constexpr unsigned int no_thread = 0xFFFFFFFF;

    RWLock() = default;
    RWLock(RWLock const &) = delete;
    RWLock & operator=(RWLock const &) = delete;

    void readLock();
    void readUnlock();
    bool tryReadLock();
    // Attempts until `timeout` nanoseconds passed; 0 makes one attempt. The budget is measured
    // from the first attempt each time and so ends early; that is how the lock has always timed.
    bool tryReadLock(unsigned long long timeout);

    void writeLock();
    void writeUnlock();
    // One attempt; it does not hold back new readers.
    bool tryWriteLock();
    // Counts as a waiting writer while it waits, so it holds back new readers meanwhile.
    bool tryWriteLock(unsigned long long timeout);

    // Threads that hold at least one read lock.
    unsigned int numOfReadLocks() const;
    // This thread's read locks on this lock.
    unsigned int numOfReadLocksHeld() const;
    // The writer's recursion depth.
    unsigned int numOfWriteLocks() const noexcept;
    // The recursion depth if this thread is the writer, else 0.
    unsigned int numOfWriteLocksHeld() const noexcept;

    // The lock named by `key`, created at first use; never null.
    static RWLock * getEntry(void const * key);
    // The lock named by `key` if one was ever created, else null; creates nothing.
    static RWLock * findEntry(void const * key);

  private:
    friend class RLock;
    friend class WLock;

    // The paths shared by the public operations and the guards. They are defined, inline, in
    // RWLock.cpp only, so that a guard reaches the atomics without a call through the library's
    // symbol table.
    inline void lockForReading();
    inline void unlockForReading();
    inline void lockForWriting();
    inline void unlockForWriting();
    // Takes the first read lock of a thread that holds none, if the rules let it; needs no mutex
    // (`mutex_held` tells whether the caller holds it anyway). Records nothing for the thread.
    inline bool enterReading(unsigned int self, bool mutex_held);
    // Gives back the last read lock of the calling thread.
    inline void leaveReading(bool mutex_held);
    // One write attempt by a thread that is not the writer; needs no mutex.
    inline bool enterWriting(unsigned int self, bool mutex_held);
    // The blocking acquisitions once the first attempt failed.
    void waitToRead(unsigned int self);
    void waitToWrite(unsigned int self);
    // Waits for a change, at most `nanoseconds` (whole milliseconds; below 1 ms not at all).
    void waitFor(std::unique_lock<std::mutex> & held, unsigned long long nanoseconds);
    // Wakes every waiting thread, if there is one; mutex_ held.
    void notifyWaiters() noexcept;
    // Wakes every waiting thread, if there is one; mutex_ not held.
    void wakeWaiters();

    // The counts are atomic so that threads get in and out without the mutex when nobody waits.
    // A reader counts itself in (reader_count_), then looks for a writer; a writer claims
    // writer_thread_ by compare-and-swap, then looks for readers. Each first changes one variable
    // and then reads the other, all in sequentially consistent order, so one of the two always
    // sees the other and backs off. A thread that gives a lock back (or backs off) changes its
    // variable and then reads threads_waiting_, while a thread about to wait counts itself there
    // and then makes its attempt, the same pattern again: either the attempt sees the change or
    // the giver sees the waiter and wakes it under the mutex. The mutex serves only the waits.
    // write_count_ is the writer's own recursion depth: only the writer changes it, and no other
    // thread decides anything on it.
    // Each lock starts a cache line of its own, so that threads busy with neighbouring locks of
    // the table do not slow each other down.
    alignas(64) mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::atomic<unsigned int> writer_thread_{no_thread};
    std::atomic<unsigned int> write_count_{0};
    std::atomic<unsigned int> reader_count_{0};
    std::atomic<unsigned int> writers_waiting_{0};
    // Threads inside a blocking or timed acquisition, counted before their attempts under the
    // mutex so that a giver without the mutex never misses one.
    std::atomic<unsigned int> threads_waiting_{0};
};

// A read lock held for a scope. An empty guard (null key, failed attempt, moved from) holds
// nothing and releases nothing.
class QELTA_BASE_EXPORT RLock {
  public:
    // A null key takes no lock. Blocks.
    explicit RLock(void const * key);
    // The key is the id's unique pointer value. Blocks.
    explicit RLock(UUID const & id);
    // That lock itself, without the table. Blocks.
    explicit RLock(RWLock & lock);
    // Attempts for `timeout` nanoseconds (0: once).
    RLock(void const * key, unsigned long long timeout);
    // One attempt without waiting; `locked` receives the result. A null key leaves it untouched.
    RLock(void const * key, bool & locked);
    RLock(RLock && other) noexcept;
    RLock(RLock const &) = delete;
    RLock & operator=(RLock const &) = delete;
    RLock & operator=(RLock &&) = delete;
    ~RLock();

    bool isLocked() const noexcept { return lock_ != nullptr; }

    // Whether this thread holds a read lock or the write lock named by `key`; creates no entry.
    static bool HasLock(void const * key);
    static bool HasLock(RWLock const & lock);

  private:
    RWLock * lock_ = nullptr;
};

// A write lock held for a scope. An empty guard holds nothing and releases nothing.
class QELTA_BASE_EXPORT WLock {
  public:
    explicit WLock(void const * key);
    explicit WLock(UUID const & id);
    explicit WLock(RWLock & lock);
    // Attempts for `timeout` nanoseconds (0: once).
    WLock(void const * key, unsigned long long timeout);
    // The span's nanoseconds divided by 1e6 become the time-out, so the wait is a million times
    // shorter than the span says; callers depend on that unit, so it stays. An Invalid span makes
    // one attempt.
    WLock(void const * key, TimeSpan const & timeout);
    WLock(WLock && other) noexcept;
    WLock(WLock const &) = delete;
    WLock & operator=(WLock const &) = delete;
    WLock & operator=(WLock &&) = delete;
    ~WLock();

    bool isLocked() const noexcept { return lock_ != nullptr; }

    // Whether this thread holds the write lock named by `key`; creates no entry.
    static bool HasLock(void const * key);
    static bool HasLock(RWLock const & lock);

  private:
    RWLock * lock_ = nullptr;
};

} // namespace QELTA
