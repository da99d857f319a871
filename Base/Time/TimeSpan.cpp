// TimeSpan: calendar questions and text forms of a length of time.
#include "Base/Time/TimeSpan.h"

#include "Base/Time/Internal/FormatTokens.h"

#include <cmath>

namespace QELTA {
namespace {

using Internal::AppendDigits;
using Internal::AppendSignedDigits;
using Internal::FormatToken;

constexpr char not_a_span_text[] = "NaN";
constexpr char start_separator = '^';
constexpr long long nanoseconds_per_second = 1000000000ll;

// The tokens of a span text, in the order they are replaced.
enum SpanToken : unsigned int {
    FRACTION_7,
    FRACTION_6,
    FRACTION_5,
    FRACTION_4,
    FRACTION_3,
    FRACTION_2,
    FRACTION_1,
    TOTAL_SECONDS,
    SECONDS,
    TOTAL_MINUTES,
    MINUTES,
    TOTAL_HOURS,
    HOURS,
    TOTAL_DAYS,
    DAYS,
    TOTAL_MONTHS,
    MONTHS,
    YEARS,
    YEARS_2,
    SPAN_TOKEN_COUNT
};

constexpr FormatToken span_tokens[SPAN_TOKEN_COUNT] = {
    {'f', 7}, {'f', 6}, {'f', 5}, {'f', 4}, {'f', 3}, {'f', 2}, {'f', 1}, {'s', 3}, {'s', 2}, {'m', 3},
    {'m', 2}, {'h', 3}, {'h', 2}, {'D', 3}, {'D', 2}, {'M', 3}, {'M', 2}, {'Y', 4}, {'Y', 2}};

unsigned long long Magnitude(long long value) noexcept {
    return value < 0 ? 0ull - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
}

// Nanoseconds to a duration: truncated; NaN and values beyond the range give Invalid.
long long DurationOf(double nanoseconds) noexcept {
    if (!(std::fabs(nanoseconds) < 9223372036854775808.0)) {
        return TimeSpan::invalid;
    }
    return static_cast<long long>(nanoseconds);
}

} // namespace

bool TimeSpan::contains(Time const & time) const noexcept {
    return static_cast<long long>(time.nanoseconds() - start.nanoseconds()) < duration;
}

double TimeSpan::elapsedPercent(Time time, bool clamp) const noexcept {
    double const fraction = static_cast<double>(static_cast<long long>(time.nanoseconds() - start.nanoseconds())) /
                            static_cast<double>(duration);
    if (clamp) {
        return fraction < 0.0 ? 0.0 : (fraction > 1.0 ? 1.0 : fraction);
    }
    return fraction;
}

long long TimeSpan::elapsedDays() const {
    if (!isValid()) {
        return invalid;
    }
    if (!start.isValid()) {
        return duration / nanoseconds_per_day;
    }
    return endTime().daysConstant() - start.daysConstant();
}

long long TimeSpan::elapsedMonths() const {
    if (!isValid()) {
        return invalid;
    }
    if (!start.isValid()) {
        return duration / nanoseconds_per_month;
    }
    return endTime().monthsConstant() - start.monthsConstant();
}

String TimeSpan::getTimeString(StringView const & format) const {
    if (!isValid()) {
        return String(not_a_span_text);
    }
    // Totals keep their sign; the parts within a unit are shown by their size.
    long long const seconds = duration / nanoseconds_per_second;
    unsigned long long const sub_second = Magnitude(duration % nanoseconds_per_second);
    String text(format);
    Internal::ReplaceTokens(text, span_tokens, SPAN_TOKEN_COUNT, [&](unsigned int token, Internal::TokenValue & value) {
        switch (token) {
        case FRACTION_7:
        case FRACTION_6:
        case FRACTION_5:
        case FRACTION_4:
        case FRACTION_3:
        case FRACTION_2:
        case FRACTION_1:
            AppendDigits(value, Internal::FractionValue(token, sub_second), span_tokens[token].length);
            break;
        case TOTAL_SECONDS:
            AppendSignedDigits(value, seconds, 1);
            break;
        case SECONDS:
            AppendDigits(value, Magnitude(seconds) % 60, 2);
            break;
        case TOTAL_MINUTES:
            AppendSignedDigits(value, seconds / 60, 1);
            break;
        case MINUTES:
            AppendDigits(value, Magnitude(seconds) / 60 % 60, 2);
            break;
        case TOTAL_HOURS:
            AppendSignedDigits(value, seconds / 3600, 1);
            break;
        case HOURS:
            AppendDigits(value, Magnitude(seconds) / 3600 % 24, 2);
            break;
        case TOTAL_DAYS:
            AppendSignedDigits(value, elapsedDays(), 1);
            break;
        case DAYS:
            AppendDigits(value, Magnitude(duration) % nanoseconds_per_month / nanoseconds_per_day, 1);
            break;
        case TOTAL_MONTHS:
            AppendSignedDigits(value, elapsedMonths(), 1);
            break;
        case MONTHS:
            AppendDigits(value, Magnitude(elapsedMonths()) % 12, 1);
            break;
        case YEARS:
            AppendSignedDigits(value, elapsedMonths() / 12, 1);
            break;
        default:
            AppendDigits(value, Magnitude(elapsedMonths() / 12) % 100, 1);
            break;
        }
    });
    return text;
}

void StringStream<TimeSpan>::fromString(StringView const & text, TimeSpan & value) {
    double seconds = 0.0;
    if (text.indexOf(start_separator) == StringView::not_found) {
        value.start = Time();
        if (text.data() == nullptr) {
            value.duration = TimeSpan::invalid;
            return;
        }
        StringStream<double>::fromString(text, seconds);
        value.duration = DurationOf(seconds * 1e9);
        return;
    }
    StringViewBuffer const parts = text.split(start_separator, false);
    if (parts.size() < 2) {
        value = TimeSpan();
        return;
    }
    StringStream<Time>::fromString(parts[0], value.start);
    StringStream<double>::fromString(parts[1], seconds);
    value.duration = DurationOf(seconds * 1e9);
}

void StringStream<TimeSpan>::toString(TimeSpan const & value, StringAllocatingView & out) {
    if (value.start.isValid()) {
        StringStream<Time>::toString(value.start, out);
        out.append(start_separator);
    }
    if (!value.isValid()) {
        out.append(StringView(not_a_span_text));
        return;
    }
    StringStream<double>::toString(static_cast<double>(value.duration) / 1e9, out);
}

char const * StringStream<TimeSpan>::getValidRegex() noexcept {
    return "([+]?[0-9][0-9]*\\^)?([-+]?([0-9]*)?(\\.)?(([0-9]+)([eE][-+]?[0-9]+)?)|(Invalid)|(nan))";
}

} // namespace QELTA
