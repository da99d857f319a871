// ThreadFunctions: the calling thread's identity and the program's primary thread.
//
// All-static and thread-safe. The primary thread is the program's main or user-interface
// thread: read locks let it pass waiting writers, so that it is never held back by a writer
// queued behind a reader. Nothing here raises.
#pragma once

#include "Base/Export.h"

namespace QELTA {

class QELTA_BASE_EXPORT ThreadFunctions {
  public:
    ThreadFunctions() = delete;

    static constexpr unsigned int no_thread = 0xFFFFFFFF;

    // The operating system's id of the calling thread, cut to 32 bits.
    static unsigned int CurrentThreadID() noexcept;

    // The primary thread's id, or no_thread when none is set.
    static unsigned int PrimaryThreadID() noexcept;
    static void SetPrimaryThreadID(unsigned int id) noexcept;
    static bool IsPrimaryThread() noexcept;
};

} // namespace QELTA
