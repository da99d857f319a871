// The read/write lock, its table of named locks and the scope guards.
#include "Base/Concurrency/RWLock.h"

#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <memory>

namespace QELTA {
namespace {

constexpr unsigned long long wait_slice = 1000000000ull; // the longest single wait, 1 s

// A read lock the thread holds and its depth.
struct HeldRead {
    RWLock const * lock;
    unsigned int count;
};

// A table entry the thread has looked up: entries never move or vanish, so they may be kept.
struct KnownEntry {
    void const * key;
    RWLock * lock;
};

constexpr unsigned int held_slots = 4;
constexpr unsigned int known_bits = 3;
constexpr unsigned int known_slots = 1u << known_bits;

// What the calling thread knows of locks, in a form that needs no construction, so that a lock
// reaches it without a guard or a call; only its own thread touches it. The initial-exec model
// spares the lookup of the library's thread storage on every lock; the library is loaded with
// the program (or early enough for the static reserve), never unloaded. Keep it small: the
// static reserve for libraries loaded later is a few hundred bytes.
struct ThreadLocks {
    unsigned int id;               // ThreadFunctions::CurrentThreadID(); 0 until first needed
    unsigned int held;             // reads[0, held) are in use
    unsigned int spilled;          // read locks beyond those, kept in FurtherLocks::read_locks
    HeldRead reads[held_slots];    // the read locks held, in no order
    KnownEntry known[known_slots]; // direct-mapped by KnownSlot; a null key is an empty slot
};

ThreadLocks & ThisThread() noexcept {
    constinit thread_local ThreadLocks locks __attribute__((tls_model("initial-exec"))) = {};
    return locks;
}

// The rest of what the thread knows, needed only by a thread that holds many read locks at once
// or cycles through many addresses: the read locks held beyond the first held_slots, and every
// table entry it ever looked up (the direct-mapped cache above forgets).
struct FurtherLocks {
    Dictionary<RWLock const *, unsigned int> read_locks;
    Dictionary<void const *, RWLock *> known;
};

// On the heap, so that the thread storage above stays small.
FurtherLocks & Further() {
    thread_local std::unique_ptr<FurtherLocks> further;
    if (further == nullptr) {
        further = std::make_unique<FurtherLocks>();
    }
    return *further;
}

unsigned int ThreadId(ThreadLocks & locks) noexcept {
    if (locks.id == 0) [[unlikely]] {
        locks.id = ThreadFunctions::CurrentThreadID(); // a system thread id is never 0
    }
    return locks.id;
}

// This thread's depth of read locks on `lock`, or null when it holds none.
[[gnu::noinline]] unsigned int * SpilledCount(RWLock const * lock) {
    Dictionary<RWLock const *, unsigned int> & spilled = Further().read_locks;
    auto const entry = spilled.find(lock);
    return entry == spilled.end() ? nullptr : &entry->value();
}

inline unsigned int * HeldCount(ThreadLocks & locks, RWLock const * lock) {
    for (unsigned int i = 0; i < locks.held; ++i) {
        if (locks.reads[i].lock == lock) {
            return &locks.reads[i].count;
        }
    }
    return locks.spilled == 0 ? nullptr : SpilledCount(lock);
}

[[gnu::noinline]] void Spill(ThreadLocks & locks, RWLock const * lock) {
    Further().read_locks.insert(lock, 1u);
    ++locks.spilled;
}

// Records the first read lock of the thread on `lock`. Only the spill can throw (no memory).
inline void RecordHeld(ThreadLocks & locks, RWLock const * lock) {
    if (locks.held < held_slots) [[likely]] {
        locks.reads[locks.held++] = HeldRead{lock, 1};
    } else {
        Spill(locks, lock);
    }
}

// Gives back one spilled read lock on `lock`; true when it was the thread's last on that lock.
[[gnu::noinline]] bool DropSpilled(ThreadLocks & locks, RWLock const * lock) {
    Dictionary<RWLock const *, unsigned int> & spilled = Further().read_locks;
    auto const entry = spilled.find(lock);
    if (entry == spilled.end() || --entry->value() != 0) {
        return false;
    }
    spilled.erase(entry);
    --locks.spilled;
    return true;
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

// The cache slot of an address: the top bits of one multiplication (Fibonacci hashing), which
// mixes the low bits that alignment leaves at zero into the index.
unsigned int KnownSlot(void const * key) noexcept {
    return static_cast<unsigned int>((reinterpret_cast<std::uintptr_t>(key) * 0x9E3779B97F4A7C15ull) >>
                                     (64 - known_bits));
}

// The entry of a key missing from the thread's cache slot: from the thread's full record, else
// from the table (created there when missing); the slot then remembers it.
[[gnu::noinline]] RWLock * LookUpFurther(KnownEntry & slot, void const * key) {
    Dictionary<void const *, RWLock *> & known = Further().known;
    RWLock * lock = nullptr;
    auto const cached = known.find(key);
    if (cached != known.end()) {
        lock = cached->value();
    } else {
        LockTable & table = Locks();
        {
            std::lock_guard<std::mutex> const guard(table.mutex);
            RWLock *& entry = table.locks[key];
            if (entry == nullptr) {
                entry = new RWLock;
            }
            lock = entry;
        }
        known.insert(key, lock);
    }
    slot = KnownEntry{key, lock};
    return lock;
}

inline RWLock * LookUp(void const * key) {
    KnownEntry & slot = ThisThread().known[KnownSlot(key)];
    if (slot.key == key && key != nullptr) [[likely]] {
        return slot.lock;
    }
    return LookUpFurther(slot, key);
}

void const * UUIDKey(UUID const & id) noexcept {
    return id.getUniquePointer();
}

} // namespace

RWLock * RWLock::getEntry(void const * key) {
    return LookUp(key);
}

RWLock * RWLock::findEntry(void const * key) {
    LockTable & table = Locks();
    std::lock_guard<std::mutex> const guard(table.mutex);
    auto const found = table.locks.find(key);
    return found == table.locks.end() ? nullptr : found->value();
}

// The memory order of the protocol (the header describes the protocol itself). Every operation
// on writer_thread_, reader_count_, writers_waiting_ and threads_waiting_ that decides whether to
// go on, back off or wake someone is sequentially consistent, so all of them fall into one total
// order that agrees with each thread's program order.
// - A reader increments reader_count_, then loads writer_thread_; a writer swaps itself into
//   writer_thread_, then loads reader_count_. Whichever change comes first in the total order is
//   seen by the other thread's load, so the two never both go on.
// - A giver changes its variable (the last reader's decrement, the writer's release or back-off),
//   then loads threads_waiting_; a waiter increments threads_waiting_, then attempts. If the
//   giver reads no waiter, its change comes before the increment and the attempt sees it;
//   otherwise the giver takes the mutex, which the waiter holds from its increment until it
//   waits, and wakes it.
// The data a lock protects is ordered too: the writer's swap acquires and its release store
// releases; a reader acquires by its load of writer_thread_ that reads that release, and its
// decrement is read by the next writer's load of reader_count_. On x86 only the
// read-modify-writes and the store that releases writer_thread_ cost a locked instruction, two
// per lock and unlock without waiters. The only relaxed accesses are a thread's looks at its own
// state: the writer comparing writer_thread_ with itself, and write_count_, which only the writer
// changes and no other thread decides anything on.

inline bool RWLock::enterReading(unsigned int self, bool mutex_held) {
    unsigned int const writer = writer_thread_.load();
    if (writer == self) {
        reader_count_.fetch_add(1); // the writer reads too; nobody else can come in meanwhile
        return true;
    }
    if (writer != no_thread) {
        return false;
    }
    // Waiting writers hold back new readers, but never the primary thread.
    if (writers_waiting_.load() != 0 && !ThreadFunctions::IsPrimaryThread()) {
        return false;
    }
    reader_count_.fetch_add(1);
    if (writer_thread_.load() != no_thread || (writers_waiting_.load() != 0 && !ThreadFunctions::IsPrimaryThread())) {
        leaveReading(mutex_held); // a writer came in meanwhile
        return false;
    }
    return true;
}

inline void RWLock::leaveReading(bool mutex_held) {
    unsigned int const readers_left = reader_count_.fetch_sub(1) - 1;
    if (readers_left != 0 && writers_waiting_.load() == 0) {
        return;
    }
    if (mutex_held) {
        notifyWaiters();
    } else if (threads_waiting_.load() != 0) [[unlikely]] {
        wakeWaiters();
    }
}

inline bool RWLock::enterWriting(unsigned int self, bool mutex_held) {
    unsigned int expected = no_thread;
    if (reader_count_.load() != 0 || !writer_thread_.compare_exchange_strong(expected, self)) {
        return false;
    }
    if (reader_count_.load() != 0) [[unlikely]] {
        // A reader came in meanwhile; it may have seen this writer and backed off to wait.
        writer_thread_.store(no_thread);
        if (mutex_held) {
            notifyWaiters();
        } else if (threads_waiting_.load() != 0) {
            wakeWaiters();
        }
        return false;
    }
    write_count_.store(1, std::memory_order_relaxed);
    return true;
}

inline void RWLock::lockForReading() {
    // A thread that already reads needs nothing shared: no other thread can write meanwhile.
    ThreadLocks & locks = ThisThread();
    if (unsigned int * const count = HeldCount(locks, this)) {
        ++*count;
        return;
    }
    unsigned int const self = ThreadId(locks);
    if (!enterReading(self, false)) [[unlikely]] {
        waitToRead(self);
    }
    try {
        RecordHeld(locks, this);
    } catch (...) {
        leaveReading(false);
        throw;
    }
}

inline void RWLock::unlockForReading() {
    ThreadLocks & locks = ThisThread();
    for (unsigned int i = 0; i < locks.held; ++i) {
        if (locks.reads[i].lock == this) {
            if (--locks.reads[i].count == 0) {
                locks.reads[i] = locks.reads[--locks.held];
                leaveReading(false);
            }
            return;
        }
    }
    // Not held at all is a caller's error, and there is nothing to give back.
    if (locks.spilled != 0 && DropSpilled(locks, this)) {
        leaveReading(false);
    }
}

inline void RWLock::lockForWriting() {
    unsigned int const self = ThreadId(ThisThread());
    if (writer_thread_.load(std::memory_order_relaxed) == self) {
        write_count_.store(write_count_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return;
    }
    if (!enterWriting(self, false)) [[unlikely]] {
        waitToWrite(self);
    }
}

inline void RWLock::unlockForWriting() {
    unsigned int const depth = write_count_.load(std::memory_order_relaxed);
    if (depth == 0) {
        return; // not held: a caller's error, and nothing to give back
    }
    write_count_.store(depth - 1, std::memory_order_relaxed);
    if (depth != 1) {
        return;
    }
    writer_thread_.store(no_thread);
    if (threads_waiting_.load() != 0) [[unlikely]] {
        wakeWaiters();
    }
}

void RWLock::waitToRead(unsigned int self) {
    std::unique_lock<std::mutex> guard(mutex_);
    threads_waiting_.fetch_add(1);
    while (!enterReading(self, true)) {
        waitFor(guard, wait_slice);
    }
    threads_waiting_.fetch_sub(1);
}

void RWLock::waitToWrite(unsigned int self) {
    std::unique_lock<std::mutex> guard(mutex_);
    writers_waiting_.fetch_add(1);
    threads_waiting_.fetch_add(1);
    while (!enterWriting(self, true)) {
        waitFor(guard, wait_slice);
    }
    threads_waiting_.fetch_sub(1);
    writers_waiting_.fetch_sub(1);
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

void RWLock::wakeWaiters() {
    std::lock_guard<std::mutex> const guard(mutex_);
    changed_.notify_all();
}

void RWLock::readLock() {
    lockForReading();
}

void RWLock::readUnlock() {
    unlockForReading();
}

bool RWLock::tryReadLock() {
    return tryReadLock(0);
}

bool RWLock::tryReadLock(unsigned long long timeout) {
    ThreadLocks & locks = ThisThread();
    if (unsigned int * const count = HeldCount(locks, this)) {
        ++*count;
        return true;
    }
    unsigned int const self = ThreadId(locks);
    bool locked = enterReading(self, false);
    if (!locked && timeout != 0) {
        std::unique_lock<std::mutex> guard(mutex_);
        threads_waiting_.fetch_add(1);
        Time const start = Time::SystemTime();
        unsigned long long remaining = timeout;
        locked = enterReading(self, true);
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
    }
    if (locked) {
        try {
            RecordHeld(locks, this);
        } catch (...) {
            leaveReading(false);
            throw;
        }
    }
    return locked;
}

void RWLock::writeLock() {
    lockForWriting();
}

void RWLock::writeUnlock() {
    unlockForWriting();
}

bool RWLock::tryWriteLock() {
    unsigned int const self = ThreadId(ThisThread());
    if (writer_thread_.load(std::memory_order_relaxed) == self) {
        write_count_.store(write_count_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        return true;
    }
    return enterWriting(self, false);
}

bool RWLock::tryWriteLock(unsigned long long timeout) {
    unsigned int const self = ThreadId(ThisThread());
    if (timeout == 0 || writer_thread_.load(std::memory_order_relaxed) == self) {
        return tryWriteLock();
    }
    if (enterWriting(self, false)) {
        return true;
    }
    std::unique_lock<std::mutex> guard(mutex_);
    writers_waiting_.fetch_add(1);
    threads_waiting_.fetch_add(1);
    Time const start = Time::SystemTime();
    unsigned long long remaining = timeout;
    bool locked = enterWriting(self, true);
    while (!locked) {
        waitFor(guard, remaining < wait_slice ? remaining : wait_slice);
        locked = enterWriting(self, true);
        if (locked) {
            break;
        }
        unsigned long long const elapsed = Time::SystemTime().nanoseconds() - start.nanoseconds();
        if (remaining <= elapsed) {
            locked = enterWriting(self, true);
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
    unsigned int const * const count = HeldCount(ThisThread(), this);
    return count == nullptr ? 0u : *count;
}

unsigned int RWLock::numOfWriteLocks() const noexcept {
    return write_count_.load(std::memory_order_relaxed);
}

unsigned int RWLock::numOfWriteLocksHeld() const noexcept {
    if (writer_thread_.load(std::memory_order_relaxed) != ThreadId(ThisThread())) {
        return 0;
    }
    return write_count_.load(std::memory_order_relaxed);
}

RLock::RLock(void const * key) {
    if (key != nullptr) {
        RWLock * const lock = LookUp(key);
        lock->lockForReading();
        lock_ = lock;
    }
}

RLock::RLock(UUID const & id) : RLock(UUIDKey(id)) {}

RLock::RLock(RWLock & lock) {
    lock.lockForReading();
    lock_ = &lock;
}

RLock::RLock(void const * key, unsigned long long timeout) {
    if (key != nullptr) {
        RWLock * const lock = LookUp(key);
        if (lock->tryReadLock(timeout)) {
            lock_ = lock;
        }
    }
}

RLock::RLock(void const * key, bool & locked) {
    if (key != nullptr) {
        RWLock * const lock = LookUp(key);
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
        lock_->unlockForReading();
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
        RWLock * const lock = LookUp(key);
        lock->lockForWriting();
        lock_ = lock;
    }
}

WLock::WLock(UUID const & id) : WLock(UUIDKey(id)) {}

WLock::WLock(RWLock & lock) {
    lock.lockForWriting();
    lock_ = &lock;
}

WLock::WLock(void const * key, unsigned long long timeout) {
    if (key != nullptr) {
        RWLock * const lock = LookUp(key);
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
        lock_->unlockForWriting();
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
