// Time: a point in time as one 64-bit count, the library's clock, and the calendar around it.
//
// A Time is a plain value (8 bytes) that may be copied and read from any thread. SystemTime() is
// thread-safe and lock-free; the hooks (clock error callback, tm conversions) are set at start-up
// before other threads run. Calendar operations break the count down in UTC or in local time, as
// their `local` argument says, through the reentrant C library calls. Reading fields of an Invalid
// time is not defended against. A tm record that the UTC conversion cannot take raises an
// Exception titled "Time Format Error" (see the constructor and setTimeFromString).
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <compare>
#include <ctime>
#include <functional>

namespace QELTA {

class Exception;
class TimeSpan;

// Nanoseconds since 1970-01-01 00:00:00 UTC, unsigned. The Invalid value has all 64 bits set and
// is what a default-constructed Time holds. There is no time zone in the value.
class QELTA_BASE_EXPORT Time {
  public:
    enum Month : unsigned char {
        JANUARY = 1,
        FEBRUARY,
        MARCH,
        APRIL,
        MAY,
        JUNE,
        JULY,
        AUGUST,
        SEPTEMBER,
        OCTOBER,
        NOVEMBER,
        DECEMBER
    };

    static constexpr unsigned long long invalid = ~0ull;
    static constexpr unsigned long long nanoseconds_per_second = 1000000000ull;
    // The library's storage form of a time, always written in UTC.
    static constexpr char storage_format[] = "YYYY/MM/DD HH:mm:ss";

    constexpr Time() noexcept = default;
    constexpr explicit Time(unsigned long long nanoseconds) noexcept : count_(nanoseconds) {}
    // month and day count from 1. A date before 1970 in UTC is Invalid; a month outside 1 to 12 in
    // UTC raises "Time Format Error". Local dates go through mktime, which normalises the fields.
    Time(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
         unsigned int second, bool local);
    // Invalid, then setTimeFromString(text, local, format).
    Time(StringView const & text, bool local, StringView const & format);

    // The clock: a steady clock moved to the wall clock read once per process. It never returns a
    // smaller value than before; while the clock stands behind a value already handed out, each
    // call returns that value + 1. While it stands more than 5 s behind, every call reports the
    // step to the clock error callback ("System Clock Modified") and to nothing else, except a
    // call made while a report is in progress (from the callback, or on another thread).
    static Time SystemTime() noexcept;
    // Moves the clock so that it reads `time` now. A `time` behind the last value handed out is a
    // step back of that difference, handled as by SystemTime().
    static void SetSystemTime(Time const & time);
    static void SetClockErrorCallback(std::function<void(Exception const &)> const & callback);
    // Replaces the UTC conversion of a tm record (fields as in the C library) to whole seconds.
    static void SetMakeUTCFromLocalFunction(std::function<unsigned long long(std::tm const &)> const & function);
    // Replaces the formula inside the built-in UTC conversion; its result is still checked.
    static void SetMakeLocalFromUTCFunction(std::function<unsigned long long(std::tm const &)> const & function);

    bool isValid() const noexcept { return count_ != invalid; }
    // The count of nanoseconds since 1970 UTC; Invalid is all bits set.
    constexpr unsigned long long nanoseconds() const noexcept { return count_; }

    unsigned short year(bool local) const;
    unsigned char month(bool local) const; // 1 to 12
    unsigned char monthDay(bool local) const;
    unsigned short yearDay(bool local) const; // 1 to 366
    unsigned char hour(bool local) const;
    unsigned char minute(bool local) const;
    unsigned char second(bool local) const;
    unsigned short millisecond() const noexcept;

    // Each setter breaks the time down, replaces one field and converts back, keeping the
    // sub-second part. setMonth takes 1 to 12, setDayOfYear 1 to 366.
    void setYear(unsigned short const & year, bool local);
    void setMonth(unsigned char const & month, bool local);
    void setMonthDay(unsigned char const & day, bool local);
    // Writes the day of the year and a month day of 0, so the result is the last day of the month
    // before the current one; stored data depends on this, so it stays as it is.
    void setDayOfYear(unsigned short const & day, bool local);
    void setHour(unsigned char const & hour, bool local);
    void setMinute(unsigned char const & minute, bool local);
    void setSecond(unsigned char const & second, bool local);
    // Replaces the whole sub-second part: digits below one millisecond are lost.
    void setMillisecond(unsigned short const & millisecond) noexcept;
    void setTime(unsigned long long const & nanoseconds) noexcept { count_ = nanoseconds; }

    // Whole seconds since 1970 UTC.
    unsigned long long unixTime() const noexcept { return count_ / nanoseconds_per_second; }
    // Days since noon of 1 January 4713 BC; with `local`, of the local clock reading.
    double julianDay(bool local) const;

    // Counts whose differences give elapsed calendar days and months, in local time. With Y the
    // year, less 1 in January and February: Y/4 + Y/400 - Y/100. Combined with the day of the year
    // this runs one day ahead from 1 March to 31 December of a leap year; the rule is kept as it
    // stands because stored elapsed-day counts were made with it.
    long long leapYearConstant() const;
    // leapYearConstant() + year * 365 + yearDay.
    long long daysConstant() const;
    // year * 12 + month - 1.
    long long monthsConstant() const;

    // Text in the format language: the tokens below are replaced, everything else is copied.
    // "fffffff" to "f" (sub-second digits), "ss", "mm", "hh" (12-hour clock, 0 shown as 12),
    // "HH", "dddd" and "ddd" (weekday names), "DD", "MMMM" and "MMM" (month names), "MM", "YYYY",
    // "YY". Tokens are replaced case-sensitively in that order, all occurrences each; a single 'f'
    // anywhere is a token, there is no escape. An Invalid time appends "NaN".
    void appendTo(StringAllocatingView & out, bool local, StringView const & format) const;
    StringAllocatingView getAsString(bool local, StringView const & format) const;
    // Reads `text` by `format`: digits under the format's D, H, h, M, Y, m, s and f accumulate into
    // their field on top of this time's own fields (so it is meant for Invalid times), any other
    // format byte skips one text byte unseen, and a non-digit under a token byte skips only the
    // token byte. Month names are read when the format has "MMM" or "ddd"; "ISO" tries the three
    // ISO 8601 forms. Bad text is not reported: the time is whatever the digits gave. A month that
    // ends outside 1 to 12 in UTC raises "Time Format Error".
    void setTimeFromString(StringView const & text, bool local, StringView const & format);

    friend constexpr bool operator==(Time const &, Time const &) noexcept = default;
    friend constexpr auto operator<=>(Time const &, Time const &) noexcept = default;

    // Adds the span's nanoseconds; an Invalid time or span gives an Invalid time.
    Time & operator+=(TimeSpan const & span) noexcept;
    Time & operator-=(TimeSpan const & span) noexcept;

  private:
    // Breaks the whole seconds down; false when the system cannot.
    bool breakDown(bool local, std::tm & fields) const noexcept;
    // Converts `fields` back and keeps the sub-second part.
    void setFields(std::tm const & fields, bool local);
    // One field of the breakdown.
    int field(bool local, int std::tm::*member) const;
    // Breaks down, replaces one field and converts back.
    void changeField(bool local, int std::tm::*member, int value);

    unsigned long long count_ = invalid;
};

// The span from `from` to `to`, starting at `from`; Invalid when either is Invalid.
QELTA_BASE_EXPORT TimeSpan operator-(Time const & to, Time const & from) noexcept;
QELTA_BASE_EXPORT Time operator+(Time const & time, TimeSpan const & span) noexcept;
QELTA_BASE_EXPORT Time operator-(Time const & time, TimeSpan const & span) noexcept;

// The storage form "YYYY/MM/DD HH:mm:ss" in UTC, whole seconds. Reading starts from an Invalid
// time, and the "Time Format Error" of setTimeFromString is not caught here.
template <>
class QELTA_BASE_EXPORT StringStream<Time> {
  public:
    static void fromString(StringView const & text, Time & value);
    static void toString(Time const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

} // namespace QELTA
