// Ordered acquisition of several read or write locks.
#include "Base/Concurrency/MultiLock.h"

#include <functional>

namespace QELTA {
namespace {

enum class Mode : bool { READ, WRITE };

void Release(RWLock & lock, Mode mode) {
    if (mode == Mode::WRITE) {
        lock.writeUnlock();
    } else {
        lock.readUnlock();
    }
}

// Gives back the first `count` locks of `locks`, the last first, and empties the list.
void ReleaseTaken(HeldLocks & locks, unsigned int count, Mode mode) noexcept {
    while (count > 0) {
        Release(*locks[--count], mode);
    }
    locks.clear();
}

// Sorts the list and takes every lock in order; with a time-out, all or nothing.
void SortAndAcquire(HeldLocks & locks, Mode mode, unsigned long long const * timeout) {
    locks.sort(std::less<RWLock *>());
    unsigned int taken = 0;
    try {
        for (; taken < locks.size(); ++taken) {
            RWLock & lock = *locks[taken];
            if (timeout == nullptr) {
                if (mode == Mode::WRITE) {
                    lock.writeLock();
                } else {
                    lock.readLock();
                }
            } else if (!(mode == Mode::WRITE ? lock.tryWriteLock(*timeout) : lock.tryReadLock(*timeout))) {
                ReleaseTaken(locks, taken, mode);
                return;
            }
        }
    } catch (...) {
        ReleaseTaken(locks, taken, mode);
        throw;
    }
}

void Fill(HeldLocks & locks, std::initializer_list<void const *> keys) {
    locks.ensureCapacity(static_cast<unsigned int>(keys.size()));
    for (void const * key : keys) {
        locks.add(RWLock::getEntry(key));
    }
}

void Fill(HeldLocks & locks, std::initializer_list<RWLock *> entries) {
    locks.ensureCapacity(static_cast<unsigned int>(entries.size()));
    for (RWLock * lock : entries) {
        locks.add(lock);
    }
}

void ReleaseAll(HeldLocks & locks, Mode mode) noexcept {
    for (RWLock * lock : locks) {
        Release(*lock, mode);
    }
}

} // namespace

MultiRLock::MultiRLock(std::initializer_list<void const *> keys) {
    Fill(locks_, keys);
    sortAndAcquire(nullptr);
}

MultiRLock::MultiRLock(std::initializer_list<RWLock *> locks) {
    Fill(locks_, locks);
    sortAndAcquire(nullptr);
}

MultiRLock::MultiRLock(std::initializer_list<void const *> keys, unsigned long long timeout) {
    Fill(locks_, keys);
    sortAndAcquire(&timeout);
}

MultiRLock::MultiRLock(MultiRLock && other) noexcept : locks_(std::move(other.locks_)) {
    other.locks_.clear();
}

MultiRLock::~MultiRLock() {
    ReleaseAll(locks_, Mode::READ);
}

void MultiRLock::sortAndAcquire(unsigned long long const * timeout) {
    SortAndAcquire(locks_, Mode::READ, timeout);
}

MultiWLock::MultiWLock(std::initializer_list<void const *> keys) {
    Fill(locks_, keys);
    sortAndAcquire(nullptr);
}

MultiWLock::MultiWLock(std::initializer_list<RWLock *> locks) {
    Fill(locks_, locks);
    sortAndAcquire(nullptr);
}

MultiWLock::MultiWLock(std::initializer_list<void const *> keys, unsigned long long timeout) {
    Fill(locks_, keys);
    sortAndAcquire(&timeout);
}

MultiWLock::MultiWLock(MultiWLock && other) noexcept : locks_(std::move(other.locks_)) {
    other.locks_.clear();
}

MultiWLock::~MultiWLock() {
    ReleaseAll(locks_, Mode::WRITE);
}

void MultiWLock::sortAndAcquire(unsigned long long const * timeout) {
    SortAndAcquire(locks_, Mode::WRITE, timeout);
}

} // namespace QELTA
