// The read/write lock, its table of named locks and the scope guards.
#include "Base/Concurrency/RWLock.h"

#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"

#include <chrono>
#include <cmath>

namespace QELTA {
namespace {

constexpr unsigned long long wait_slice = 1000000000ull; // the longest single wait, 1 s

// How many read locks the calling thread holds on each lock. Only its own thread touches it.
Dictionary<RWLock const *, unsigned int> & ThreadReadLocks() {
    thread_local Dictionary<RWLock const *, unsigned int> read_locks;
    return read_locks;
}

// The named locks: allocated at first use and never freed, so that entries outlive every user.
struct LockTable {
    std::mutex mutex;
    Dictionary<void const *, RWLock *> locks;
};

LockTable & Locks() {
    static LockTable * const table = new LockTable;
    return *table;
}

void const * UUIDKey(UUID const & id) noexcept {
    return id.getUniquePointer();
}

} // namespace

RWLock * RWLock::getEntry(void const * key) {
    LockTable & table = Locks();
    std::lock_guard<std::mutex> const guard(table.mutex);
    RWLock *& entry = table.locks[key];
    if (entry == nullptr) {
        entry = new RWLock;
    }
    return entry;
}

RWLock * RWLock::findEntry(void const * key) {
    LockTable & table = Locks();
    std::lock_guard<std::mutex> const guard(table.mutex);
    auto const found = table.locks.find(key);
    return found == table.locks.end() ? nullptr : found->value();
}

bool RWLock::attemptRead(unsigned int self) {
    Dictionary<RWLock const *, unsigned int> & held = ThreadReadLocks();
    auto const entry = held.find(this);
    bool const reads = entry != held.end();
    if (writer_thread_.load(std::memory_order_relaxed) != self) {
        if (write_count_.load(std::memory_order_relaxed) != 0) {
            return false;
        }
        if (writers_waiting_ != 0 && !reads && !ThreadFunctions::IsPrimaryThread()) {
            return false;
        }
    }
    if (reads) {
        ++entry->value();
    } else {
        held.insert(this, 1u);
        ++reader_count_;
    }
    return true;
}

bool RWLock::attemptWrite(unsigned int self) noexcept {
    unsigned int const writer = writer_thread_.load(std::memory_order_relaxed);
    if (writer != self && (writer != no_thread || reader_count_ != 0)) {
        return false;
    }
    writer_thread_.store(self, std::memory_order_relaxed);
    write_count_.fetch_add(1, std::memory_order_relaxed);
    return true;
}

void RWLock::waitFor(std::unique_lock<std::mutex> & held, unsigned long long nanoseconds) {
    unsigned long long const milliseconds = nanoseconds / 1000000ull;
    if (milliseconds == 0) {
        return;
    }
    ++threads_waiting_;
    changed_.wait_for(held, std::chrono::milliseconds(milliseconds));
    --threads_waiting_;
}

void RWLock::notifyWaiters() noexcept {
    if (threads_waiting_ != 0) {
        changed_.notify_all();
    }
}

void RWLock::readLock() {
    // A thread that already reads needs no mutex: no other thread can write meanwhile.
    Dictionary<RWLock const *, unsigned int> & held = ThreadReadLocks();
    auto const entry = held.find(this);
    if (entry != held.end()) {
        ++entry->value();
        return;
    }
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::unique_lock<std::mutex> guard(mutex_);
    while (!attemptRead(self)) {
        waitFor(guard, wait_slice);
    }
}

void RWLock::readUnlock() {
    Dictionary<RWLock const *, unsigned int> & held = ThreadReadLocks();
    auto const entry = held.find(this);
    if (entry == held.end()) {
        return; // not held: a caller's error, and nothing to give back
    }
    if (--entry->value() != 0) {
        return;
    }
    held.erase(entry);
    std::lock_guard<std::mutex> const guard(mutex_);
    --reader_count_;
    if (reader_count_ != 0 && writers_waiting_ == 0) {
        return;
    }
    notifyWaiters();
}

bool RWLock::tryReadLock() {
    return tryReadLock(0);
}

bool RWLock::tryReadLock(unsigned long long timeout) {
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::unique_lock<std::mutex> guard(mutex_);
    if (attemptRead(self)) {
        return true;
    }
    if (timeout == 0) {
        return false;
    }
    Time const start = Time::SystemTime();
    unsigned long long remaining = timeout;
    while (true) {
        waitFor(guard, remaining < wait_slice ? remaining : wait_slice);
        if (attemptRead(self)) {
            return true;
        }
        unsigned long long const elapsed = Time::SystemTime().nanoseconds() - start.nanoseconds();
        if (remaining <= elapsed) {
            return attemptRead(self);
        }
        remaining -= elapsed;
    }
}

void RWLock::writeLock() {
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    if (writer_thread_.load(std::memory_order_relaxed) == self) {
        write_count_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    std::unique_lock<std::mutex> guard(mutex_);
    ++writers_waiting_;
    while (!attemptWrite(self)) {
        waitFor(guard, wait_slice);
    }
    --writers_waiting_;
}

void RWLock::writeUnlock() {
    unsigned int const depth = write_count_.load(std::memory_order_relaxed);
    if (depth == 0) {
        return; // not held: a caller's error, and nothing to give back
    }
    if (depth != 1) {
        write_count_.fetch_sub(1, std::memory_order_relaxed);
        return;
    }
    std::lock_guard<std::mutex> const guard(mutex_);
    write_count_.store(0, std::memory_order_relaxed);
    writer_thread_.store(no_thread, std::memory_order_relaxed);
    notifyWaiters();
}

bool RWLock::tryWriteLock() {
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::lock_guard<std::mutex> const guard(mutex_);
    return attemptWrite(self);
}

bool RWLock::tryWriteLock(unsigned long long timeout) {
    if (timeout == 0) {
        return tryWriteLock();
    }
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::unique_lock<std::mutex> guard(mutex_);
    if (attemptWrite(self)) {
        return true;
    }
    ++writers_waiting_;
    Time const start = Time::SystemTime();
    unsigned long long remaining = timeout;
    bool locked = false;
    while (!locked) {
        waitFor(guard, remaining < wait_slice ? remaining : wait_slice);
        locked = attemptWrite(self);
        if (locked) {
            break;
        }
        unsigned long long const elapsed = Time::SystemTime().nanoseconds() - start.nanoseconds();
        if (remaining <= elapsed) {
            locked = attemptWrite(self);
            break;
        }
        remaining -= elapsed;
    }
    --writers_waiting_;
    if (!locked) {
        notifyWaiters(); // readers held back by this attempt may go on
    }
    return locked;
}

unsigned int RWLock::numOfReadLocks() const {
    std::lock_guard<std::mutex> const guard(mutex_);
    return reader_count_;
}

unsigned int RWLock::numOfReadLocksHeld() const {
    Dictionary<RWLock const *, unsigned int> const & held = ThreadReadLocks();
    auto const entry = held.find(this);
    return entry == held.end() ? 0u : entry->value();
}

unsigned int RWLock::numOfWriteLocks() const noexcept {
    return write_count_.load(std::memory_order_relaxed);
}

unsigned int RWLock::numOfWriteLocksHeld() const noexcept {
    if (writer_thread_.load(std::memory_order_relaxed) != ThreadFunctions::CurrentThreadID()) {
        return 0;
    }
    return write_count_.load(std::memory_order_relaxed);
}

RLock::RLock(void const * key) {
    if (key != nullptr) {
        RWLock * const lock = RWLock::getEntry(key);
        lock->readLock();
        lock_ = lock;
    }
}

RLock::RLock(UUID const & id) : RLock(UUIDKey(id)) {}

RLock::RLock(RWLock & lock) {
    lock.readLock();
    lock_ = &lock;
}

RLock::RLock(void const * key, unsigned long long timeout) {
    if (key != nullptr) {
        RWLock * const lock = RWLock::getEntry(key);
        if (lock->tryReadLock(timeout)) {
            lock_ = lock;
        }
    }
}

RLock::RLock(void const * key, bool & locked) {
    if (key != nullptr) {
        RWLock * const lock = RWLock::getEntry(key);
        locked = lock->tryReadLock();
        if (locked) {
            lock_ = lock;
        }
    }
}

RLock::RLock(RLock && other) noexcept : lock_(other.lock_) {
    other.lock_ = nullptr;
}

RLock::~RLock() {
    if (lock_ != nullptr) {
        lock_->readUnlock();
    }
}

bool RLock::HasLock(void const * key) {
    RWLock const * const lock = key == nullptr ? nullptr : RWLock::findEntry(key);
    return lock != nullptr && HasLock(*lock);
}

bool RLock::HasLock(RWLock const & lock) {
    return lock.numOfReadLocksHeld() != 0 || lock.numOfWriteLocksHeld() != 0;
}

WLock::WLock(void const * key) {
    if (key != nullptr) {
        RWLock * const lock = RWLock::getEntry(key);
        lock->writeLock();
        lock_ = lock;
    }
}

WLock::WLock(UUID const & id) : WLock(UUIDKey(id)) {}

WLock::WLock(RWLock & lock) {
    lock.writeLock();
    lock_ = &lock;
}

WLock::WLock(void const * key, unsigned long long timeout) {
    if (key != nullptr) {
        RWLock * const lock = RWLock::getEntry(key);
        if (lock->tryWriteLock(timeout)) {
            lock_ = lock;
        }
    }
}

WLock::WLock(void const * key, TimeSpan const & timeout)
    : WLock(key, timeout.isValid()
                     ? static_cast<unsigned long long>(std::fabs(static_cast<double>(timeout.duration) / 1e6))
                     : 0ull) {}

WLock::WLock(WLock && other) noexcept : lock_(other.lock_) {
    other.lock_ = nullptr;
}

WLock::~WLock() {
    if (lock_ != nullptr) {
        lock_->writeUnlock();
    }
}

bool WLock::HasLock(void const * key) {
    RWLock const * const lock = key == nullptr ? nullptr : RWLock::findEntry(key);
    return lock != nullptr && HasLock(*lock);
}

bool WLock::HasLock(RWLock const & lock) {
    return lock.numOfWriteLocksHeld() != 0;
}

} // namespace QELTA
