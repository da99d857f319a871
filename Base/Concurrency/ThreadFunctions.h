// ThreadFunctions: the calling thread's identity, the primary thread, sleeping, naming, work on a
// new thread and keeping the machine awake.
//
// All-static and thread-safe. The primary thread is the program's main or user-interface
// thread: read locks let it pass waiting writers, so that it is never held back by a writer
// queued behind a reader. Only RequestConcurrentExecution raises (as Thread::start does).
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <functional>

namespace QELTA {

class LogPtr;
class TimeSpan;

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

    // As Thread::CurrentThreadName and Thread::SetCurrentThreadName.
    static String CurrentThreadName();
    static void SetCurrentThreadName(StringView const & name);

    // Sleeps for `milliseconds`; 0 returns at once.
    static void RequestSleep(unsigned long long milliseconds);
    // Sleeps for the span's whole milliseconds; an Invalid span sleeps for 2^63 ms, which is to
    // say for good.
    static void RequestSleep(TimeSpan const & span);
    // Runs `work` once on a new thread named `name`. The thread object is neither tracked nor
    // freed: its memory stays for the rest of the run.
    static void RequestConcurrentExecution(StringView const & name, std::function<void()> const & work);
    // Asks to keep the machine and display awake (`on`, logged as "Requesting No Sleep") or
    // lets them sleep again. Where the system has no such request it does nothing more.
    static void RequestNoSleep(bool on, LogPtr const & log);
};

} // namespace QELTA
