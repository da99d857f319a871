// Time text: every token written and read, the order in which tokens replace, names, the ISO
// forms, the two-digit year rule and round trips of the storage form.
#include "Base/Failure/Exception.h"
#include "Base/Time/Internal/TimeTextWriting.h"
#include "Base/Time/Time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <random>
#include <string>

namespace QELTA {
namespace {

constexpr unsigned long long second_ns = 1000000000ull;

std::string Text(Time const & time, char const * format, bool local = false) {
    StringAllocatingView const text = time.getAsString(local, StringView(format));
    return std::string(text.data(), text.size());
}

// 2021-02-03 04:05:06.123456789 UTC, a Wednesday.
Time const sample(Time(2021, 2, 3, 4, 5, 6, false).nanoseconds() + 123456789);

TEST(TimeTextTest, EveryTokenWrites) {
    struct Row {
        char const * format;
        char const * expected;
    };
    std::initializer_list<Row> const tokens = {
        {"fffffff", "1234567"}, {"ffffff", "123456"}, {"fffff", "12345"},   {"ffff", "1234"},
        {"fff", "123"},         {"ff", "12"},         {"f", "1"},           {"ss", "06"},
        {"mm", "05"},           {"hh", "04"},         {"HH", "04"},         {"dddd", "Wednesday"},
        {"ddd", "WED"},         {"DD", "03"},         {"MMMM", "February"}, {"MMM", "Feb"},
        {"MM", "02"},           {"YYYY", "2021"},     {"YY", "21"},
    };
    std::initializer_list<Row> const formats = {
        {"YYYY/MM/DD HH:mm:ss", "2021/02/03 04:05:06"},
        {"dddd, D MMMM YYYY", "Wednesday, D February 2021"},
        // Longer runs split into tokens from the left; a single 'f' is a token anywhere.
        {"fffffffff", "123456712"},
        {"YYY", "21Y"},
        {"Offset f", "O12set 1"},
        // Later tokens see what earlier ones wrote: "WED" and a literal 'D' make "DD".
        {"dddD", "WE03"},
        {"MMMMM", "FebruaryM"},
    };
    for (std::initializer_list<Row> const & rows : {tokens, formats}) {
        for (Row const & row : rows) {
            SCOPED_TRACE(row.format);
            EXPECT_EQ(Text(sample, row.format), row.expected);
        }
    }
}

TEST(TimeTextTest, TwelveHourClockShowsTwelveAtNoonAndMidnight) {
    EXPECT_EQ(Text(Time(2021, 1, 1, 12, 30, 0, false), "hh:mm"), "12:30");
    EXPECT_EQ(Text(Time(2021, 1, 1, 0, 30, 0, false), "hh:mm"), "12:30");
    EXPECT_EQ(Text(Time(2021, 1, 1, 23, 0, 0, false), "hh HH"), "11 23");
}

TEST(TimeTextTest, AppendToKeepsWhatTheTextHeldAndInvalidWritesNaN) {
    EXPECT_EQ(Text(Time(), "YYYY"), "NaN");
    StringAllocatingView out(StringView("YYYY: "));
    sample.appendTo(out, false, "YYYY");
    Time().appendTo(out, false, "YYYY");
    EXPECT_EQ(std::string(out.data(), out.size()), "YYYY: 2021NaN");
}

TEST(TimeTextTest, ReadsEveryDigitToken) {
    struct Row {
        char const * text;
        char const * format;
        Time expected;
    };
    Row const rows[] = {
        {"2021/02/03 04:05:06", "YYYY/MM/DD HH:mm:ss", Time(2021, 2, 3, 4, 5, 6, false)},
        {"2021/02/03 04:05:06.123", "YYYY/MM/DD HH:mm:ss.fff",
         Time(Time(2021, 2, 3, 4, 5, 6, false).nanoseconds() + 123000000)},
        {"2021-3-4 7:08", "YYYY-M-D h:mm", Time(2021, 3, 4, 7, 8, 0, false)},
        // A short number ends its field at the next non-digit; literals match by position only.
        {"3/4/2021", "D/M/YYYY", Time(2021, 4, 3, 0, 0, 0, false)},
        {"03/4/2021", "DD/MM/YYYY", Time(2021, 4, 3, 0, 0, 0, false)},
        {"2021x02y03", "YYYY-MM-DD", Time(2021, 2, 3, 0, 0, 0, false)},
        {"20210203", "YYYYMMDD", Time(2021, 2, 3, 0, 0, 0, false)},
        // Fraction digits beyond nine add nothing.
        {"2021/01/01 00:00:00.1234567891", "YYYY/MM/DD HH:mm:ss.ffffffffff",
         Time(Time(2021, 1, 1, 0, 0, 0, false).nanoseconds() + 123456789)},
        // ISO tries each of its forms on top of the last.
        {"2021-03-04", "ISO", Time(2021, 3, 4, 0, 0, 0, false)},
        {"2021-03-04T10:20", "ISO", Time(2021, 3, 4, 10, 20, 0, false)},
        {"2021-03-04T10:20:30", "ISO", Time(2021, 3, 4, 10, 20, 30, false)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        Time time;
        time.setTimeFromString(row.text, false, row.format);
        EXPECT_EQ(time.nanoseconds(), row.expected.nanoseconds());
    }
}

TEST(TimeTextTest, ReadsMonthNamesInAnyCase) {
    struct Row {
        char const * text;
        char const * format;
    };
    Row const rows[] = {
        {"3 Feb 2021", "D MMM YYYY"},
        {"3 february 2021", "D MMMM YYYY"},
        {"3 FEBRUARY 2021", "D MMMM YYYY"},
        {"Wed 3 Feb 2021", "ddd D MMM YYYY"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Time(row.text, false, row.format), Time(2021, 2, 3, 0, 0, 0, false));
    }
    EXPECT_EQ(Time("1 May 2020", false, "D MMM YYYY"), Time(2020, 5, 1, 0, 0, 0, false));
    EXPECT_EQ(Time("1 Sep 2020", false, "D MMM YYYY"), Time(2020, 9, 1, 0, 0, 0, false));
}

TEST(TimeTextTest, TwoDigitYearsFallInAHundredYearWindow) {
    int const this_year = static_cast<int>(
        std::chrono::year_month_day(std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now())).year());
    for (int two_digits = 0; two_digits < 100; ++two_digits) {
        SCOPED_TRACE(two_digits);
        int const expected = 2000 + two_digits > this_year + 50 ? 1900 + two_digits : 2000 + two_digits;
        char text[16];
        std::snprintf(text, sizeof text, "%02d/1/1", two_digits);
        Time const time(text, false, "YY/M/D");
        if (expected < 1970) {
            EXPECT_FALSE(time.isValid());
        } else {
            EXPECT_EQ(time.year(false), expected);
        }
    }
}

TEST(TimeTextTest, FieldsTheFormatDoesNotNameKeepTheirValue) {
    Time time = sample;
    time.setTimeFromString("anything", false, "no tokens here");
    EXPECT_EQ(time.nanoseconds(), sample.nanoseconds() - 123456789);
}

TEST(TimeTextTest, MonthOutOfRangeRaisesFromTheStorageReader) {
    Time time(5 * second_ns);
    EXPECT_THROW(StringStream<Time>::fromString("2021/13/01 00:00:00", time), Exception);
    EXPECT_FALSE(time.isValid());
}

TEST(TimeTextTest, HostileDigitRunsStayDefined) {
    std::string const digits(5000, '9');
    std::string const format(5000, 'Y');
    // Local time takes any month; the year is far beyond the count's range.
    Time const local(StringView(digits.c_str()), true, StringView(format.c_str()));
    EXPECT_FALSE(local.isValid());
    std::string const text = "2021/01/01 " + digits;
    Time const utc(StringView(text.c_str()), false, "YYYY/MM/DD HHHHHHHHHHHHHHHHHHHH");
    EXPECT_FALSE(utc.isValid());
}

TEST(TimeTextTest, StorageFormRoundTrips) {
    std::mt19937_64 random(20261121);
    std::uniform_int_distribution<unsigned long long> seconds(0, 16000000000ull);
    for (int i = 0; i < 2000; ++i) {
        Time const time(seconds(random) * second_ns);
        StringAllocatingView text;
        StringStream<Time>::toString(time, text);
        ASSERT_EQ(text.size(), 19u);
        Time read;
        StringStream<Time>::fromString(text, read);
        ASSERT_EQ(read, time) << std::string(text.data(), text.size());
    }
    StringAllocatingView invalid;
    StringStream<Time>::toString(Time(), invalid);
    EXPECT_EQ(std::string(invalid.data(), invalid.size()), "NaN");
}

TEST(TimeTextTest, OnePassWriterMatchesTheTokenByTokenWriter) {
    static constexpr char alphabet[] = "fffsmhHdDDMMYYY/: x";
    std::mt19937_64 random(99);
    std::uniform_int_distribution<unsigned int> pick(0, sizeof alphabet - 2);
    std::uniform_int_distribution<unsigned int> length(0, 24);
    std::uniform_int_distribution<long long> seconds(0, 16000000000ll);
    std::uniform_int_distribution<unsigned long long> sub_second(0, 999999999);
    for (int i = 0; i < 20000; ++i) {
        std::string format;
        for (unsigned int n = length(random); n > 0; --n) {
            format += alphabet[pick(random)];
        }
        std::time_t const value = static_cast<std::time_t>(seconds(random));
        std::tm fields{};
        gmtime_r(&value, &fields);
        unsigned long long const fraction = sub_second(random);
        String const fast = Internal::TimeTextWriting::Write(StringView(format.c_str()), fields, fraction);
        String const plain = Internal::TimeTextWriting::WriteReference(StringView(format.c_str()), fields, fraction);
        ASSERT_EQ(std::string(fast.c_str()), std::string(plain.c_str())) << format;
    }
}

} // namespace
} // namespace QELTA
