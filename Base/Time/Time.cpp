// The clock and the calendar of Time.
#include "Base/Time/Time.h"

#include "Base/Failure/Exception.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/StringStream.h"
#include "Base/Time/Internal/TimeFields.h"
#include "Base/Time/Platform/TimePlatform.h"
#include "Base/Time/TimeSpan.h"

#include <atomic>
#include <limits>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char clock_error_label[] = "backwards_clock_error";
constexpr char clock_error_text[] =
    "System clock has been moved back [time] seconds. Note this may cause issues within the software";
constexpr char clock_error_title[] = "System Clock Modified";
constexpr char time_format_error_title[] = "Time Format Error";
constexpr char invalid_month_label[] = "tm_invalid_month_struct";
constexpr char invalid_month_text[] = "tm struct is invalid, month [month_number] is greater than 12";
constexpr char invalid_year_label[] = "tm_invalid_year_struct";
constexpr char invalid_year_text[] = "tm struct is invalid, year [year_number] is less than base [base_year]";

constexpr int base_year = 70; // years since 1900, as in tm
constexpr unsigned long long offset_not_computed = 0x8000000000000000ull;
constexpr unsigned long long largest_step_back = 5000000000ull;
constexpr long long seconds_per_day = 86400;

// The state of the clock and the conversion hooks, for the whole process.
struct ClockState {
    std::atomic<unsigned long long> clock_offset{offset_not_computed};
    std::atomic<unsigned long long> last_time{0};
    std::atomic<bool> in_clock_error{false};
    std::function<void(Exception const &)> clock_error_callback;
    std::function<unsigned long long(std::tm const &)> make_utc_from_local;
    std::function<unsigned long long(std::tm const &)> make_local_from_utc;
};

ClockState & Clock() {
    static ClockState state;
    return state;
}

String Decimal(long long value) {
    StringAllocatingView text;
    StringStream<long long>::toString(value, text);
    return String(text.view());
}

// Tells the callback that the clock reads `now`, behind the `last` value handed out, unless a
// report is already under way.
void ReportStepBack(ClockState & clock, unsigned long long last, unsigned long long now) noexcept {
    if (!clock.clock_error_callback || clock.in_clock_error.exchange(true)) {
        return;
    }
    unsigned long long const step_back = last - now;
    try {
        TranslatedString message = Translatable(clock_error_label, clock_error_text);
        message.replace("[time]", Decimal(static_cast<long long>(step_back / Time::nanoseconds_per_second)));
        clock.clock_error_callback(Exception(message, Translatable(clock_error_title), false));
    } catch (...) {
        // The clock keeps running whatever the callback does.
    }
    clock.in_clock_error.store(false);
}

// The value handed out for the clock reading `now`: never below a value handed out before.
unsigned long long Advance(ClockState & clock, unsigned long long now) noexcept {
    unsigned long long last = clock.last_time.load(std::memory_order_relaxed);
    while (last <= now) {
        if (clock.last_time.compare_exchange_weak(last, now, std::memory_order_relaxed)) {
            return now;
        }
    }
    if (last - now > largest_step_back) {
        ReportStepBack(clock, last, now);
    }
    return clock.last_time.fetch_add(1, std::memory_order_relaxed) + 1;
}

Exception TimeFormatError(TranslatedString const & message) {
    return Exception(message, Translatable(time_format_error_title), false);
}

// Days since 1970-01-01 plus one, by the pure formula; the month must lie in 0 to 11.
long long DaysOf(std::tm const & fields) noexcept {
    static constexpr long long days_before_month[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    long long const year = fields.tm_year + 1900ll - (fields.tm_mon < 2 ? 1 : 0);
    return year / 400 - year / 100 + year / 4 - 477 + days_before_month[fields.tm_mon] + (fields.tm_year - 70ll) * 365 +
           fields.tm_mday;
}

long long FormulaSeconds(std::tm const & fields) noexcept {
    return ((DaysOf(fields) * 24 + fields.tm_hour) * 60 + fields.tm_min) * 60 + fields.tm_sec - seconds_per_day;
}

// UTC fields to whole seconds: the hook, or the formula checked against the system's breakdown.
// A month outside the year raises; a year before 1970 gives -1.
long long MakeUTCSeconds(std::tm const & fields) {
    ClockState & clock = Clock();
    if (clock.make_utc_from_local) {
        return static_cast<long long>(clock.make_utc_from_local(fields));
    }
    if (fields.tm_mon < 0 || fields.tm_mon > 11) {
        TranslatedString message = Translatable(invalid_month_label, invalid_month_text);
        message.replace("[month_number]", Decimal(fields.tm_mon + 1ll));
        throw TimeFormatError(message);
    }
    long long seconds = 0;
    try {
        if (fields.tm_year < base_year) {
            TranslatedString message = Translatable(invalid_year_label, invalid_year_text);
            message.replace("[year_number]", Decimal(fields.tm_year));
            message.replace("[base_year]", Decimal(base_year));
            throw TimeFormatError(message);
        }
        seconds = clock.make_local_from_utc ? static_cast<long long>(clock.make_local_from_utc(fields))
                                            : FormulaSeconds(fields);
    } catch (Exception const &) {
        return -1;
    }
    // A system that counts leap seconds breaks the value down a few seconds off; move it back.
    std::tm check{};
    if (fields.tm_sec >= 0 && fields.tm_sec < 60 && TimePlatform::BreakDown(seconds, false, check) &&
        check.tm_sec != fields.tm_sec) {
        for (long long shift = 1; shift <= 3; ++shift) {
            if (TimePlatform::BreakDown(seconds - shift, false, check) && check.tm_sec == fields.tm_sec) {
                return seconds - shift;
            }
            if (TimePlatform::BreakDown(seconds + shift, false, check) && check.tm_sec == fields.tm_sec) {
                return seconds + shift;
            }
        }
    }
    return seconds;
}

// Whole seconds and a sub-second part to a count; negative or too large seconds give Invalid.
unsigned long long CountOf(long long seconds, unsigned long long sub_second) noexcept {
    if (seconds < 0 ||
        static_cast<unsigned long long>(seconds) > (Time::invalid - 1 - sub_second) / Time::nanoseconds_per_second) {
        return Time::invalid;
    }
    return static_cast<unsigned long long>(seconds) * Time::nanoseconds_per_second + sub_second;
}

} // namespace

namespace Internal {

unsigned long long TimeCountOf(std::tm const & fields, bool local, unsigned long long sub_second) {
    long long const seconds = local ? TimePlatform::MakeLocalSeconds(fields) : MakeUTCSeconds(fields);
    return CountOf(seconds, sub_second);
}

} // namespace Internal

Time::Time(unsigned int year, unsigned int month, unsigned int day, unsigned int hour, unsigned int minute,
           unsigned int second, bool local) {
    std::tm fields{};
    fields.tm_year = static_cast<int>(year) - 1900;
    fields.tm_mon = static_cast<int>(month) - 1;
    fields.tm_mday = static_cast<int>(day);
    fields.tm_hour = static_cast<int>(hour);
    fields.tm_min = static_cast<int>(minute);
    fields.tm_sec = static_cast<int>(second);
    fields.tm_isdst = -1;
    count_ = Internal::TimeCountOf(fields, local, 0);
}

Time::Time(StringView const & text, bool local, StringView const & format) {
    setTimeFromString(text, local, format);
}

Time Time::SystemTime() noexcept {
    ClockState & clock = Clock();
    unsigned long long const steady = TimePlatform::SteadyNanoseconds();
    unsigned long long offset = clock.clock_offset.load(std::memory_order_relaxed);
    if (offset == offset_not_computed) {
        unsigned long long const computed = TimePlatform::WallClockTicks() * 100 - steady;
        if (clock.clock_offset.compare_exchange_strong(offset, computed, std::memory_order_relaxed)) {
            offset = computed;
        }
    }
    return Time(Advance(clock, offset + steady));
}

void Time::SetSystemTime(Time const & time) {
    if (!time.isValid()) {
        return;
    }
    ClockState & clock = Clock();
    unsigned long long const offset = time.count_ - TimePlatform::SteadyNanoseconds();
    clock.clock_offset.store(offset, std::memory_order_relaxed);
    Advance(clock, time.count_);
}

void Time::SetClockErrorCallback(std::function<void(Exception const &)> const & callback) {
    Clock().clock_error_callback = callback;
}

void Time::SetMakeUTCFromLocalFunction(std::function<unsigned long long(std::tm const &)> const & function) {
    Clock().make_utc_from_local = function;
}

void Time::SetMakeLocalFromUTCFunction(std::function<unsigned long long(std::tm const &)> const & function) {
    Clock().make_local_from_utc = function;
}

bool Time::breakDown(bool local, std::tm & fields) const noexcept {
    return TimePlatform::BreakDown(static_cast<long long>(unixTime()), local, fields);
}

int Time::field(bool local, int std::tm::*member) const {
    std::tm fields{};
    breakDown(local, fields);
    return fields.*member;
}

void Time::changeField(bool local, int std::tm::*member, int value) {
    std::tm fields{};
    breakDown(local, fields);
    fields.*member = value;
    setFields(fields, local);
}

void Time::setFields(std::tm const & fields, bool local) {
    count_ = Internal::TimeCountOf(fields, local, count_ % nanoseconds_per_second);
}

unsigned short Time::year(bool local) const {
    return static_cast<unsigned short>(field(local, &std::tm::tm_year) + 1900);
}

unsigned char Time::month(bool local) const {
    return static_cast<unsigned char>(field(local, &std::tm::tm_mon) + 1);
}

unsigned char Time::monthDay(bool local) const {
    return static_cast<unsigned char>(field(local, &std::tm::tm_mday));
}

unsigned short Time::yearDay(bool local) const {
    return static_cast<unsigned short>(field(local, &std::tm::tm_yday) + 1);
}

unsigned char Time::hour(bool local) const {
    return static_cast<unsigned char>(field(local, &std::tm::tm_hour));
}

unsigned char Time::minute(bool local) const {
    return static_cast<unsigned char>(field(local, &std::tm::tm_min));
}

unsigned char Time::second(bool local) const {
    return static_cast<unsigned char>(field(local, &std::tm::tm_sec));
}

unsigned short Time::millisecond() const noexcept {
    return static_cast<unsigned short>(count_ % nanoseconds_per_second / 1000000);
}

void Time::setYear(unsigned short const & year, bool local) {
    changeField(local, &std::tm::tm_year, year - 1900);
}

void Time::setMonth(unsigned char const & month, bool local) {
    changeField(local, &std::tm::tm_mon, month - 1);
}

void Time::setMonthDay(unsigned char const & day, bool local) {
    changeField(local, &std::tm::tm_mday, day);
}

void Time::setDayOfYear(unsigned short const & day, bool local) {
    std::tm fields{};
    breakDown(local, fields);
    fields.tm_yday = day - 1;
    fields.tm_mday = 0;
    setFields(fields, local);
}

void Time::setHour(unsigned char const & hour, bool local) {
    changeField(local, &std::tm::tm_hour, hour);
}

void Time::setMinute(unsigned char const & minute, bool local) {
    changeField(local, &std::tm::tm_min, minute);
}

void Time::setSecond(unsigned char const & second, bool local) {
    changeField(local, &std::tm::tm_sec, second);
}

void Time::setMillisecond(unsigned short const & millisecond) noexcept {
    count_ = count_ - count_ % nanoseconds_per_second + millisecond * 1000000ull;
}

double Time::julianDay(bool local) const {
    long long seconds = static_cast<long long>(unixTime());
    if (local) {
        std::tm fields{};
        if (breakDown(true, fields)) {
            seconds = FormulaSeconds(fields);
        }
    }
    return static_cast<double>(seconds) / seconds_per_day + 2440587.5;
}

long long Time::leapYearConstant() const {
    std::tm fields{};
    breakDown(true, fields);
    long long const year = fields.tm_year + 1900ll - (fields.tm_mon < 2 ? 1 : 0);
    return year / 4 + year / 400 - year / 100;
}

long long Time::daysConstant() const {
    std::tm fields{};
    breakDown(true, fields);
    return leapYearConstant() + (fields.tm_year + 1900ll) * 365 + fields.tm_yday + 1;
}

long long Time::monthsConstant() const {
    std::tm fields{};
    breakDown(true, fields);
    return (fields.tm_year + 1900ll) * 12 + fields.tm_mon;
}

Time & Time::operator+=(TimeSpan const & span) noexcept {
    return *this = *this + span;
}

Time & Time::operator-=(TimeSpan const & span) noexcept {
    return *this = *this - span;
}

TimeSpan operator-(Time const & to, Time const & from) noexcept {
    if (!to.isValid() || !from.isValid()) {
        return TimeSpan();
    }
    return TimeSpan(from, static_cast<long long>(to.nanoseconds() - from.nanoseconds()));
}

Time operator+(Time const & time, TimeSpan const & span) noexcept {
    if (!time.isValid() || !span.isValid()) {
        return Time();
    }
    return Time(time.nanoseconds() + static_cast<unsigned long long>(span.duration));
}

Time operator-(Time const & time, TimeSpan const & span) noexcept {
    if (!time.isValid() || !span.isValid()) {
        return Time();
    }
    return Time(time.nanoseconds() - static_cast<unsigned long long>(span.duration));
}

} // namespace QELTA
