// TimeSpan: a length of time, optionally with the moment it starts, and its text forms.
//
// A plain value with two public fields; copy and read it from any thread. Nothing raises:
// Invalid values pass through every operation.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Time/Time.h"

#include <limits>

namespace QELTA {

// `duration` in signed nanoseconds, Invalid at the lowest value. `start` is Invalid for a pure
// duration; with a start, calendar questions (elapsed days and months) are answered by the local
// calendar, without one by fixed lengths (a day of 24 hours, a month of 30 days).
class QELTA_BASE_EXPORT TimeSpan {
  public:
    static constexpr long long invalid = std::numeric_limits<long long>::lowest();
    static constexpr long long nanoseconds_per_day = 86400000000000ll;
    // The month of spans without a start: 30 days.
    static constexpr long long nanoseconds_per_month = 0x9356907420000ll;

    Time start;
    long long duration = invalid;

    constexpr TimeSpan() noexcept = default;
    constexpr explicit TimeSpan(long long nanoseconds) noexcept : duration(nanoseconds) {}
    constexpr TimeSpan(Time const & start_time, long long nanoseconds) noexcept
        : start(start_time), duration(nanoseconds) {}

    bool isValid() const noexcept { return duration != invalid; }
    Time endTime() const noexcept { return start + *this; }

    // Whether `time - start`, taken as a signed count, is below `duration`. There is no lower
    // bound: times before the start count as contained, which callers rely on.
    bool contains(Time const & time) const noexcept;
    // (time - start) / duration: a fraction, not a percentage; `clamp` holds it between 0 and 1.
    double elapsedPercent(Time time, bool clamp) const noexcept;
    // Calendar days (local) from start to end, or duration / one day without a start.
    long long elapsedDays() const;
    // Calendar months (local) from start to end, or duration / 30 days without a start.
    long long elapsedMonths() const;

    // The format with its tokens replaced, in this order, all occurrences each: "fffffff" to "f"
    // (sub-second digits), "sss" (total seconds), "ss" (seconds of the minute), "mmm", "mm",
    // "hhh", "hh" (total, and within the next unit), "DDD" (elapsedDays), "DD" (days within the
    // 30-day month), "MMM" (elapsedMonths), "MM" (months within the year), "YYYY" (whole years),
    // "YY" (years modulo 100). "ss", "mm" and "hh" are zero-padded to two digits.
    String getTimeString(StringView const & format) const;

    friend constexpr bool operator==(TimeSpan const &, TimeSpan const &) noexcept = default;
};

// With a start, "YYYY/MM/DD HH:mm:ss^" followed by the seconds as a double; without, the seconds
// alone. An Invalid duration prints its seconds as "NaN". The start is read by StringStream<Time>,
// and its "Time Format Error" passes through.
template <>
class QELTA_BASE_EXPORT StringStream<TimeSpan> {
  public:
    static void fromString(StringView const & text, TimeSpan & value);
    static void toString(TimeSpan const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

} // namespace QELTA
