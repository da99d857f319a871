// The platform's thread operations that the library needs before its own thread registry exists.
//
// All functions are thread-safe, never throw and fail quietly (an empty name).
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT ThreadPlatform {
  public:
    ThreadPlatform() = delete;

    // The system's id of the calling thread.
    static unsigned long long CurrentThreadId() noexcept;

    // The name the system keeps for the calling thread (at most 15 bytes on Linux), or empty.
    static String CurrentThreadName();

    // Gives the calling thread a name the system shows (debuggers, process lists). Linux keeps
    // 15 bytes: a longer name is cut there, at the start of a UTF-8 sequence, never inside one.
    static void SetCurrentThreadName(StringView const & name) noexcept;

    // Asks the system to keep the machine and the display awake (`on`) or lets them sleep again.
    // Linux has no such request for a program; it answers false and does nothing.
    static bool KeepAwake(bool on) noexcept;
};

} // namespace QELTA
