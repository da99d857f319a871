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

// What the calling thread knows of locks; only its own thread touches it. The initial-exec model
// spares the lookup of the library's thread storage on every lock; the library is loaded with
// the program (or early enough for the static reserve), never unloaded.
struct ThreadLocks {
    // How many read locks the thread holds on each lock.
    Dictionary<RWLock const *, unsigned int> read_locks;
    // Table entries the thread has looked up: they never move or vanish, so they may be kept.
    Dictionary<void const *, RWLock *> known;
};

ThreadLocks & ThisThread() {
    thread_local ThreadLocks locks __attribute__((tls_model("initial-exec")));
    return locks;
}

Dictionary<RWLock const *, unsigned int> & ThreadReadLocks() {
    return ThisThread().read_locks;
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
    Dictionary<void const *, RWLock *> & known = ThisThread().known;
    auto const cached = known.find(key);
    if (cached != known.end()) {
        return cached->value();
    }
    LockTable & table = Locks();
    RWLock * lock = nullptr;
    {
        std::lock_guard<std::mutex> const guard(table.mutex);
        RWLock *& entry = table.locks[key];
        if (entry == nullptr) {
            entry = new RWLock;
        }
        lock = entry;
    }
    known.insert(key, lock);
    return lock;
}

RWLock * RWLock::findEntry(void const * key) {
    LockTable & table = Locks();
    std::lock_guard<std::mutex> const guard(table.mutex);
    auto const found = table.locks.find(key);
    return found == table.locks.end() ? nullptr : found->value();
}

bool RWLock::enterReading(unsigned int self, bool mutex_held) {
    if (writer_thread_.load() != self) {
        if (write_count_.load() != 0) {
            return false;
        }
        // Waiting writers hold back new readers, but never the primary thread.
        if (writers_waiting_.load() != 0 && !ThreadFunctions::IsPrimaryThread()) {
            return false;
        }
        reader_count_.fetch_add(1);
        if (writer_thread_.load() != no_thread ||
            (writers_waiting_.load() != 0 && !ThreadFunctions::IsPrimaryThread())) {
            leaveReading(mutex_held); // a writer came in meanwhile
            return false;
        }
    } else {
        reader_count_.fetch_add(1);
    }
    ThreadReadLocks().insert(this, 1u);
    return true;
}

void RWLock::leaveReading(bool mutex_held) {
    unsigned int const readers_left = reader_count_.fetch_sub(1) - 1;
    if (readers_left != 0 && writers_waiting_.load() == 0) {
        return;
    }
    if (mutex_held) {
        notifyWaiters();
    } else if (threads_waiting_.load() != 0) {
        std::lock_guard<std::mutex> const guard(mutex_);
        changed_.notify_all();
    }
}

bool RWLock::enterWriting(unsigned int self) {
    unsigned int const writer = writer_thread_.load();
    if (writer == self) {
        write_count_.fetch_add(1);
        return true;
    }
    if (writer != no_thread || reader_count_.load() != 0) {
        return false;
    }
    writer_thread_.store(self);
    if (reader_count_.load() != 0) {
        // A reader came in meanwhile; it may have seen this writer and backed off to wait.
        writer_thread_.store(no_thread);
        notifyWaiters();
        return false;
    }
    write_count_.fetch_add(1);
    return true;
}

void RWLock::waitFor(std::unique_lock<std::mutex> & held, unsigned long long nanoseconds) {
    unsigned long long const milliseconds = nanoseconds / 1000000ull;
    if (milliseconds != 0) {
        changed_.wait_for(held, std::chrono::milliseconds(milliseconds));
    }
}

void RWLock::notifyWaiters() noexcept {
    if (threads_waiting_.load() != 0) {
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
    if (enterReading(self, false)) {
        return;
    }
    std::unique_lock<std::mutex> guard(mutex_);
    threads_waiting_.fetch_add(1);
    while (!enterReading(self, true)) {
        waitFor(guard, wait_slice);
    }
    threads_waiting_.fetch_sub(1);
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
    leaveReading(false);
}

bool RWLock::tryReadLock() {
    return tryReadLock(0);
}

bool RWLock::tryReadLock(unsigned long long timeout) {
    Dictionary<RWLock const *, unsigned int> & held = ThreadReadLocks();
    auto const entry = held.find(this);
    if (entry != held.end()) {
        ++entry->value();
        return true;
    }
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    if (enterReading(self, false)) {
        return true;
    }
    if (timeout == 0) {
        return false;
    }
    std::unique_lock<std::mutex> guard(mutex_);
    threads_waiting_.fetch_add(1);
    Time const start = Time::SystemTime();
    unsigned long long remaining = timeout;
    bool locked = enterReading(self, true);
    while (!locked) {
        waitFor(guard, remaining < wait_slice ? remaining : wait_slice);
        locked = enterReading(self, true);
        if (locked) {
            break;
        }
        // Measured from the first start each time, so the budget runs out early.
        unsigned long long const elapsed = Time::SystemTime().nanoseconds() - start.nanoseconds();
        if (remaining <= elapsed) {
            locked = enterReading(self, true);
            break;
        }
        remaining -= elapsed;
    }
    threads_waiting_.fetch_sub(1);
    return locked;
}

void RWLock::writeLock() {
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    if (writer_thread_.load() == self) {
        write_count_.fetch_add(1);
        return;
    }
    std::unique_lock<std::mutex> guard(mutex_);
    if (enterWriting(self)) {
        return;
    }
    writers_waiting_.fetch_add(1);
    threads_waiting_.fetch_add(1);
    while (!enterWriting(self)) {
        waitFor(guard, wait_slice);
    }
    threads_waiting_.fetch_sub(1);
    writers_waiting_.fetch_sub(1);
}

void RWLock::writeUnlock() {
    unsigned int const depth = write_count_.load();
    if (depth == 0) {
        return; // not held: a caller's error, and nothing to give back
    }
    if (depth != 1) {
        write_count_.fetch_sub(1);
        return;
    }
    std::lock_guard<std::mutex> const guard(mutex_);
    write_count_.store(0);
    writer_thread_.store(no_thread);
    notifyWaiters();
}

bool RWLock::tryWriteLock() {
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::lock_guard<std::mutex> const guard(mutex_);
    return enterWriting(self);
}

bool RWLock::tryWriteLock(unsigned long long timeout) {
    if (timeout == 0) {
        return tryWriteLock();
    }
    unsigned int const self = ThreadFunctions::CurrentThreadID();
    std::unique_lock<std::mutex> guard(mutex_);
    if (enterWriting(self)) {
        return true;
    }
    writers_waiting_.fetch_add(1);
    threads_waiting_.fetch_add(1);
    Time const start = Time::SystemTime();
    unsigned long long remaining = timeout;
    bool locked = false;
    while (!locked) {
        waitFor(guard, remaining < wait_slice ? remaining : wait_slice);
        locked = enterWriting(self);
        if (locked) {
            break;
        }
        unsigned long long const elapsed = Time::SystemTime().nanoseconds() - start.nanoseconds();
        if (remaining <= elapsed) {
            locked = enterWriting(self);
            break;
        }
        remaining -= elapsed;
    }
    threads_waiting_.fetch_sub(1);
    writers_waiting_.fetch_sub(1);
    if (!locked) {
        notifyWaiters(); // readers held back by this attempt may go on
    }
    return locked;
}

unsigned int RWLock::numOfReadLocks() const {
    return reader_count_.load();
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
