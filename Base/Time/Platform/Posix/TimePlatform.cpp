// Clocks and calendar breakdown on POSIX: clock_gettime, gmtime_r, localtime_r and mktime.
#include "Base/Time/Platform/TimePlatform.h"

#include <time.h>

namespace QELTA {

unsigned long long TimePlatform::SteadyNanoseconds() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long long>(now.tv_sec) * 1000000000ull + static_cast<unsigned long long>(now.tv_nsec);
}

unsigned long long TimePlatform::WallClockTicks() noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<unsigned long long>(now.tv_sec) * 10000000ull +
           static_cast<unsigned long long>(now.tv_nsec) / 100ull;
}

bool TimePlatform::BreakDown(long long seconds, bool local, std::tm & fields) noexcept {
    time_t const value = static_cast<time_t>(seconds);
    return (local ? localtime_r(&value, &fields) : gmtime_r(&value, &fields)) != nullptr;
}

long long TimePlatform::MakeLocalSeconds(std::tm const & fields) noexcept {
    std::tm copy = fields;
    return static_cast<long long>(mktime(&copy));
}

} // namespace QELTA
