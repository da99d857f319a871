// TimeSpan: calendar and average elapsed counts, containment, the token text and the stored form.
#include "Base/Time/TimeSpan.h"
#include "tests/Support/ScopedTimeZone.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace QELTA {
namespace {

using Testing::ScopedTimeZone;

constexpr long long second_ns = 1000000000ll;
constexpr long long day_ns = 86400 * second_ns;

std::string Stored(TimeSpan const & span) {
    StringAllocatingView out;
    StringStream<TimeSpan>::toString(span, out);
    return std::string(out.data(), out.size());
}

TimeSpan Read(char const * text) {
    TimeSpan span(Time(0), 0);
    StringStream<TimeSpan>::fromString(text, span);
    return span;
}

TEST(TimeSpanTest, EveryTokenWrites) {
    // 400 days, 2:03:04.5678912 after nothing in particular: 13 months of 30 days and 10 days over.
    TimeSpan const span(400 * day_ns + ((2 * 60 + 3) * 60 + 4) * second_ns + 567891234);
    struct Row {
        char const * format;
        char const * expected;
    };
    Row const rows[] = {
        {"fffffff", "5678912"}, {"fff", "567"}, {"f", "5"},      {"sss", "34567384"}, {"ss", "04"},
        {"mmm", "576123"},      {"mm", "03"},   {"hhh", "9602"}, {"hh", "02"},        {"DDD", "400"},
        {"DD", "10"},           {"MMM", "13"},  {"MM", "1"},     {"YYYY", "1"},       {"YY", "1"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(std::string(span.getTimeString(row.format).c_str()), row.expected);
    }
    EXPECT_EQ(std::string(span.getTimeString("hhh:mm:ss.ff").c_str()), "9602:03:04.56");
    EXPECT_EQ(std::string(TimeSpan(90 * second_ns).getTimeString("mmm:ss").c_str()), "1:30");
    EXPECT_EQ(std::string(TimeSpan(-90 * second_ns).getTimeString("mmm:ss").c_str()), "-1:30");
    EXPECT_EQ(std::string(TimeSpan().getTimeString("mmm:ss").c_str()), "NaN");
    // Without a start, months are 30 days long.
    EXPECT_EQ(span.elapsedDays(), 400);
    EXPECT_EQ(span.elapsedMonths(), 13);
    EXPECT_EQ(TimeSpan().elapsedDays(), TimeSpan::invalid);
    EXPECT_EQ(TimeSpan().elapsedMonths(), TimeSpan::invalid);
}

TEST(TimeSpanTest, SpansWithAStartCountCalendarBoundaries) {
    ScopedTimeZone const zone("UTC0");
    struct Row {
        char const * name;
        Time start;
        long long duration;
        long long days;
        long long months;
    };
    Row const rows[] = {
        {"a month boundary crossed in one day", Time(2021, 1, 31, 12, 0, 0, false), day_ns, 1, 1},
        {"a whole month without a boundary", Time(2021, 3, 1, 0, 0, 0, false), 30 * day_ns, 30, 0},
        {"across a year end", Time(2019, 12, 31, 0, 0, 0, false), day_ns, 1, 1},
        {"backwards", Time(2021, 3, 1, 0, 0, 0, false), -day_ns, -1, -1},
        // The stored day count runs one day ahead from 1 March in a leap year.
        {"over the end of February 2020", Time(2020, 2, 28, 0, 0, 0, false), 2 * day_ns, 3, 1},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        TimeSpan const span(row.start, row.duration);
        EXPECT_EQ(span.elapsedDays(), row.days);
        EXPECT_EQ(span.elapsedMonths(), row.months);
    }
}

TEST(TimeSpanTest, ContainsHasNoLowerBoundAndPercentIsAFraction) {
    Time const start(1000 * second_ns);
    TimeSpan const span(start, 10 * second_ns);
    EXPECT_TRUE(span.contains(start));
    EXPECT_TRUE(span.contains(Time(1009 * second_ns)));
    EXPECT_FALSE(span.contains(span.endTime()));
    EXPECT_TRUE(span.contains(Time(5 * second_ns)));

    EXPECT_DOUBLE_EQ(span.elapsedPercent(Time(1005 * second_ns), false), 0.5);
    EXPECT_DOUBLE_EQ(span.elapsedPercent(Time(1020 * second_ns), false), 2.0);
    EXPECT_DOUBLE_EQ(span.elapsedPercent(Time(1020 * second_ns), true), 1.0);
    EXPECT_DOUBLE_EQ(span.elapsedPercent(Time(990 * second_ns), true), 0.0);
}

TEST(TimeSpanTest, StoredForms) {
    EXPECT_EQ(Stored(TimeSpan(1500000000)), "1.5");
    EXPECT_EQ(Stored(TimeSpan(Time(2021, 2, 3, 4, 5, 6, false), -2 * second_ns)), "2021/02/03 04:05:06^-2");
    EXPECT_EQ(Stored(TimeSpan()), "NaN");
    EXPECT_EQ(Stored(TimeSpan(Time(0), TimeSpan::invalid)), "1970/01/01 00:00:00^NaN");

    EXPECT_EQ(Read("2.25"), TimeSpan(2250000000));
    EXPECT_EQ(Read("2021/02/03 04:05:06^60"), TimeSpan(Time(2021, 2, 3, 4, 5, 6, false), 60 * second_ns));
    EXPECT_EQ(Read("^^2021/02/03 04:05:06^^60^"), TimeSpan(Time(2021, 2, 3, 4, 5, 6, false), 60 * second_ns));
    EXPECT_EQ(Read("^60"), TimeSpan());
    EXPECT_EQ(Read("NaN"), TimeSpan());
    EXPECT_EQ(Read("1e300"), TimeSpan());
}

TEST(TimeSpanTest, StoredFormRoundTrips) {
    std::mt19937_64 random(7);
    std::uniform_int_distribution<long long> seconds(-4000000000ll, 4000000000ll);
    std::uniform_int_distribution<unsigned long long> starts(0, 16000000000ull);
    for (int i = 0; i < 2000; ++i) {
        TimeSpan const span(i % 2 == 0 ? Time() : Time(starts(random) * 1000000000ull), seconds(random) * second_ns);
        std::string const text = Stored(span);
        EXPECT_EQ(Read(text.c_str()), span) << text;
    }
}

} // namespace
} // namespace QELTA
