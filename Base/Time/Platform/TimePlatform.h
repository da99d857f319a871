// The platform's clocks and calendar breakdown that Time is built on.
//
// All functions are thread-safe (the reentrant C library forms), never throw and fail quietly.
#pragma once

#include <ctime>

namespace QELTA {

class TimePlatform {
  public:
    TimePlatform() = delete;

    // A clock that never steps, in nanoseconds from an unspecified origin.
    static unsigned long long SteadyNanoseconds() noexcept;
    // The wall clock in 100-nanosecond ticks since 1970-01-01 UTC.
    static unsigned long long WallClockTicks() noexcept;
    // Breaks whole seconds since 1970 down in UTC or local time; false when the system cannot.
    static bool BreakDown(long long seconds, bool local, std::tm & fields) noexcept;
    // Local fields to whole seconds since 1970 (fields are normalised as the C library does);
    // -1 when the system cannot.
    static long long MakeLocalSeconds(std::tm const & fields) noexcept;
};

} // namespace QELTA
