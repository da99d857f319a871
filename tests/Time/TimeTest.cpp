// Time: calendar fields against independent values, local time under fixed zones, setters, and
// the clock's promises under threads and steps of the system clock.
#include "Base/Time/Time.h"
#include "Base/Failure/Exception.h"
#include "Base/Language/Translator.h"
#include "Base/Time/TimeSpan.h"
#include "tests/Support/ScopedTimeZone.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::ScopedTimeZone;

constexpr unsigned long long second_ns = 1000000000ull;

// Eastern time with its daylight-saving rule of 2007 on, and a zone without daylight saving.
constexpr char eastern_zone[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char tokyo_zone[] = "JST-9";

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return std::string(english.c_str());
}

TEST(TimeTest, UTCFieldsMatchIndependentCalendar) {
    struct Row {
        unsigned long long seconds;
        unsigned int year, month, day, year_day, hour, minute, second;
    };
    // Seconds from Python's calendar.timegm.
    Row const rows[] = {
        {0, 1970, 1, 1, 1, 0, 0, 0},
        {951782400, 2000, 2, 29, 60, 0, 0, 0},
        {951912000, 2000, 3, 1, 61, 12, 0, 0},
        {1609459199, 2020, 12, 31, 366, 23, 59, 59},
        {1609459200, 2021, 1, 1, 1, 0, 0, 0},
        {4107542400, 2100, 3, 1, 60, 0, 0, 0},
        {2147483648, 2038, 1, 19, 19, 3, 14, 8},
        {18446744073, 2554, 7, 21, 202, 23, 34, 33},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.seconds);
        Time const time(row.seconds * second_ns + 250000000);
        EXPECT_EQ(time.year(false), row.year);
        EXPECT_EQ(time.month(false), row.month);
        EXPECT_EQ(time.monthDay(false), row.day);
        EXPECT_EQ(time.yearDay(false), row.year_day);
        EXPECT_EQ(time.hour(false), row.hour);
        EXPECT_EQ(time.minute(false), row.minute);
        EXPECT_EQ(time.second(false), row.second);
        EXPECT_EQ(time.millisecond(), 250);
        EXPECT_EQ(Time(row.year, row.month, row.day, row.hour, row.minute, row.second, false).unixTime(), row.seconds);
    }
}

TEST(TimeTest, UTCConstructionAgreesWithChronoForEveryDay) {
    using namespace std::chrono;
    for (sys_days day = sys_days(year(1970) / January / 1); day < sys_days(year(2400) / January / 1); day += days(1)) {
        year_month_day const date(day);
        unsigned long long const expected = static_cast<unsigned long long>(
            (day.time_since_epoch() + hours(13) + minutes(7) + seconds(9)) / seconds(1));
        Time const time(static_cast<unsigned int>(static_cast<int>(date.year())),
                        static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()), 13, 7, 9,
                        false);
        ASSERT_EQ(time.unixTime(), expected)
            << static_cast<int>(date.year()) << "-" << static_cast<unsigned int>(date.month()) << "-"
            << static_cast<unsigned int>(date.day());
    }
}

TEST(TimeTest, DatesBeforeTheBaseYearAreInvalidAndAMonthOutsideTheYearRaises) {
    EXPECT_FALSE(Time(1969, 12, 31, 0, 0, 0, false).isValid());
    EXPECT_TRUE(Time(1970, 1, 1, 0, 0, 0, false).isValid());
    try {
        Time const time(2021, 13, 1, 0, 0, 0, false);
        FAIL() << "no exception, got " << time.nanoseconds();
    } catch (Exception const & error) {
        EXPECT_EQ(English(error.title()), "Time Format Error");
        EXPECT_EQ(English(error.message()), "tm struct is invalid, month 13 is greater than 12");
        EXPECT_EQ(error.message().translationID(), Translator::DefaultFastID("tm_invalid_month_struct"));
    }
}

TEST(TimeTest, LocalTimeFollowsTheZoneAcrossDaylightSaving) {
    ScopedTimeZone const zone(eastern_zone);
    // 2021-03-14 06:59:59 UTC is 01:59:59 EST; one second later clocks jump to 03:00:00 EDT.
    Time const before(1615705199ull * second_ns);
    Time const after(1615705200ull * second_ns);
    EXPECT_EQ(before.hour(true), 1);
    EXPECT_EQ(before.minute(true), 59);
    EXPECT_EQ(after.hour(true), 3);
    EXPECT_EQ(after.minute(true), 0);
    EXPECT_EQ(after.hour(false), 7);

    // Noon local is 17:00 UTC in winter and 16:00 UTC in summer.
    EXPECT_EQ(Time(2021, 1, 14, 12, 0, 0, true).unixTime(), 1610643600ull);
    EXPECT_EQ(Time(2021, 7, 14, 12, 0, 0, true).unixTime(), 1626278400ull);
    // 23:00 on 31 December is already the next day, and year, in UTC.
    Time const late(2020, 12, 31, 23, 0, 0, true);
    EXPECT_EQ(late.year(true), 2020);
    EXPECT_EQ(late.year(false), 2021);
    EXPECT_EQ(late.yearDay(true), 366);
    EXPECT_EQ(late.yearDay(false), 1);
}

TEST(TimeTest, LocalTimeInAZoneAheadOfUTC) {
    ScopedTimeZone const zone(tokyo_zone);
    Time const time(1609459200ull * second_ns); // 2021-01-01 00:00 UTC
    EXPECT_EQ(time.hour(true), 9);
    EXPECT_EQ(Time(2021, 1, 1, 9, 0, 0, true), time);
    EXPECT_DOUBLE_EQ(time.julianDay(true) - time.julianDay(false), 9.0 / 24.0);
    // The J2000 epoch and the base time.
    EXPECT_DOUBLE_EQ(Time(2000, 1, 1, 12, 0, 0, false).julianDay(false), 2451545.0);
    EXPECT_DOUBLE_EQ(Time(0).julianDay(false), 2440587.5);
}

TEST(TimeTest, SettersChangeOneFieldAndKeepTheSubSecond) {
    Time const base(Time(2020, 2, 29, 10, 20, 30, false).nanoseconds() + 123456789);
    struct Row {
        char const * name;
        void (*set)(Time &);
        Time expected;
    };
    Row const rows[] = {
        {"year", [](Time & t) { t.setYear(2021, false); }, Time(2021, 3, 1, 10, 20, 30, false)},
        {"month", [](Time & t) { t.setMonth(12, false); }, Time(2020, 12, 29, 10, 20, 30, false)},
        {"month day", [](Time & t) { t.setMonthDay(1, false); }, Time(2020, 2, 1, 10, 20, 30, false)},
        {"hour", [](Time & t) { t.setHour(23, false); }, Time(2020, 2, 29, 23, 20, 30, false)},
        {"minute", [](Time & t) { t.setMinute(0, false); }, Time(2020, 2, 29, 10, 0, 30, false)},
        {"second", [](Time & t) { t.setSecond(59, false); }, Time(2020, 2, 29, 10, 20, 59, false)},
        // Writes a month day of 0: the last day of the month before, whatever the argument.
        {"day of year", [](Time & t) { t.setDayOfYear(200, false); }, Time(2020, 1, 31, 10, 20, 30, false)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        Time time = base;
        row.set(time);
        EXPECT_EQ(time.nanoseconds(), row.expected.nanoseconds() + 123456789);
    }
    // The millisecond replaces the whole sub-second.
    Time time = base;
    time.setMillisecond(5);
    EXPECT_EQ(time.nanoseconds(), Time(2020, 2, 29, 10, 20, 30, false).nanoseconds() + 5000000);
}

TEST(TimeTest, ArithmeticWithSpansPassesInvalidThrough) {
    Time const start(100 * second_ns);
    Time const end(160 * second_ns);
    TimeSpan const span = end - start;
    EXPECT_EQ(span.duration, 60ll * 1000000000ll);
    EXPECT_EQ(span.start, start);
    EXPECT_EQ(start + span, end);
    EXPECT_EQ(end - span, start);
    Time moved = start;
    moved += span;
    moved -= TimeSpan(-5000000000ll);
    EXPECT_EQ(moved, Time(165 * second_ns));

    EXPECT_FALSE((Time() - start).isValid());
    EXPECT_FALSE((start + TimeSpan()).isValid());
    EXPECT_FALSE((Time() + span).isValid());
}

TEST(TimeTest, ClockIsMonotonicAcrossThreads) {
    constexpr int thread_count = 4;
    constexpr int calls = 20000;
    std::vector<std::thread> threads;
    std::vector<int> backwards(thread_count, 0);
    for (int t = 0; t < thread_count; ++t) {
        threads.emplace_back([&backwards, t] {
            Time last = Time::SystemTime();
            for (int i = 0; i < calls; ++i) {
                Time const now = Time::SystemTime();
                if (now < last) {
                    ++backwards[static_cast<std::size_t>(t)];
                }
                last = now;
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    for (int count : backwards) {
        EXPECT_EQ(count, 0);
    }
}

TEST(TimeTest, ClockReadsTheWallClock) {
    auto const wall =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch());
    long long const difference =
        static_cast<long long>(Time::SystemTime().unixTime()) - static_cast<long long>(wall.count());
    EXPECT_LE(difference < 0 ? -difference : difference, 2);
}

// Steps the clock back and restores it to the wall clock when done.
class ClockStepTest : public ::testing::Test {
  protected:
    void TearDown() override {
        Time::SetClockErrorCallback({});
        auto const wall =
            std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch());
        Time::SetSystemTime(Time(static_cast<unsigned long long>(wall.count())));
    }

    // Steps back by `seconds` and returns the texts the callback was given.
    std::vector<std::string> stepBack(unsigned long long seconds) {
        std::vector<std::string> messages;
        Time::SetClockErrorCallback([&messages](Exception const & error) {
            EXPECT_EQ(English(error.title()), "System Clock Modified");
            EXPECT_EQ(error.message().translationID(), Translator::DefaultFastID("backwards_clock_error"));
            messages.push_back(English(error.message()));
        });
        Time const now = Time::SystemTime();
        Time::SetSystemTime(Time(now.nanoseconds() - seconds * second_ns));
        Time previous = Time::SystemTime();
        EXPECT_GT(previous, now);
        for (int i = 0; i < 100; ++i) {
            Time const next = Time::SystemTime();
            EXPECT_EQ(next.nanoseconds(), previous.nanoseconds() + 1);
            previous = next;
        }
        Time::SetClockErrorCallback({});
        return messages;
    }
};

TEST_F(ClockStepTest, SmallStepBackIsAbsorbedSilently) {
    EXPECT_TRUE(stepBack(3).empty());
}

// The step itself and each of the 101 calls behind it stand more than 5 s behind.
TEST_F(ClockStepTest, LargeStepBackIsReportedOnEveryCallWhileBehind) {
    std::vector<std::string> const messages = stepBack(6);
    ASSERT_EQ(messages.size(), 102u);
    EXPECT_EQ(messages[0], "System clock has been moved back 6 seconds. Note this may cause issues within the software");
}

// A callback that reads the clock is not called again from inside itself.
TEST_F(ClockStepTest, ReportInProgressIsNotRepeated) {
    int calls = 0;
    Time::SetClockErrorCallback([&calls](Exception const &) {
        ++calls;
        Time::SystemTime();
    });
    Time::SetSystemTime(Time(Time::SystemTime().nanoseconds() - 6 * second_ns));
    EXPECT_EQ(calls, 1);
    Time::SystemTime();
    EXPECT_EQ(calls, 2);
}

} // namespace
} // namespace QELTA
