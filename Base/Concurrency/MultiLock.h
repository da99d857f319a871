// MultiRLock and MultiWLock: the locks of several objects taken in one global order.
//
// The locks are always acquired sorted by the address of their RWLock (entries of the lock table
// never move), so two multi-locks over overlapping sets cannot deadlock against each other; a
// plain RLock or WLock held meanwhile sits outside that order and still can. A guard belongs to
// one thread. Only the timed forms fail, all or nothing, and report by isLocked(); an exception
// during acquisition gives back what was taken.
#pragma once

#include "Base/Concurrency/RWLock.h"
#include "Base/Export.h"
#include "Base/Text/Buffer.h"

#include <initializer_list>

namespace QELTA {

// The locks held, ascending by RWLock address. A key given twice is locked twice.
using HeldLocks = Buffer<RWLock *, BufferAllocator<RWLock *, 8, 1, unsigned int, 0, 0>>;

// Read locks on several objects. An empty list, a failed timed attempt and a moved-from guard
// hold nothing.
class QELTA_BASE_EXPORT MultiRLock {
  public:
    MultiRLock(std::initializer_list<void const *> keys);
    MultiRLock(std::initializer_list<RWLock *> locks);
    // Each lock is given the whole `timeout` (nanoseconds), so the wait may last that times
    // the number of locks.
    MultiRLock(std::initializer_list<void const *> keys, unsigned long long timeout);
    MultiRLock(MultiRLock && other) noexcept;
    MultiRLock(MultiRLock const &) = delete;
    MultiRLock & operator=(MultiRLock const &) = delete;
    MultiRLock & operator=(MultiRLock &&) = delete;
    ~MultiRLock();

    bool isLocked() const noexcept { return !locks_.isEmpty(); }

  private:
    void sortAndAcquire(unsigned long long const * timeout);

    HeldLocks locks_;
};

// Write locks on several objects; as MultiRLock otherwise.
class QELTA_BASE_EXPORT MultiWLock {
  public:
    MultiWLock(std::initializer_list<void const *> keys);
    MultiWLock(std::initializer_list<RWLock *> locks);
    MultiWLock(std::initializer_list<void const *> keys, unsigned long long timeout);
    MultiWLock(MultiWLock && other) noexcept;
    MultiWLock(MultiWLock const &) = delete;
    MultiWLock & operator=(MultiWLock const &) = delete;
    MultiWLock & operator=(MultiWLock &&) = delete;
    ~MultiWLock();

    bool isLocked() const noexcept { return !locks_.isEmpty(); }

  private:
    void sortAndAcquire(unsigned long long const * timeout);

    HeldLocks locks_;
};

} // namespace QELTA
