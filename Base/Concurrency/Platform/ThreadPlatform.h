// The platform's thread operations that the library needs before its own thread registry exists.
//
// All functions are thread-safe, never throw and fail quietly (an empty name).
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"

namespace QELTA {

class QELTA_BASE_EXPORT ThreadPlatform {
  public:
    ThreadPlatform() = delete;

    // The system's id of the calling thread.
    static unsigned long long CurrentThreadId() noexcept;

    // The name the system keeps for the calling thread (at most 15 bytes on Linux), or empty.
    static String CurrentThreadName();
};

} // namespace QELTA
