// ConcurrentOperation: atomic counters and condition variables named by any address.
//
// All-static and thread-safe. A key's condition variable is created by the first wait on it and
// lives until the process ends; notifying a key nobody waited on does nothing. A failing system
// mutex raises std::system_error.
#pragma once

#include "Base/Export.h"

#include <mutex>

namespace QELTA {

class QELTA_BASE_EXPORT ConcurrentOperation {
  public:
    ConcurrentOperation() = delete;

    // Atomic; the new value.
    static unsigned int increment(unsigned int volatile & value) noexcept;
    static unsigned int decrement(unsigned int volatile & value) noexcept;

    // Waits on the condition variable of `key`; `held` is locked on entry and on return.
    static void wait(void * key, std::unique_lock<std::mutex> & held);
    // The same for at most `timeout` nanoseconds, taken in whole milliseconds rounded down: a
    // time-out below 1 ms returns at once.
    static void wait(void * key, unsigned long long timeout, std::unique_lock<std::mutex> & held);

    static void notify(void * key);
    static void notifyAll(void * key);
};

} // namespace QELTA
