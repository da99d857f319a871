// qelta time: the clock, dates written and read through the format language, and spans.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "time";

void PrintView(StringView const & text) {
    std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
}

void PrintStored(Time const & time) {
    StringAllocatingView stored;
    StringStream<Time>::toString(time, stored);
    std::printf("%.*s UTC (%llu ns)\n", static_cast<int>(stored.size()), stored.data(), time.nanoseconds());
}

// The options shared by the verbs: --local and --format F; the rest are positional.
struct TimeOptions {
    bool local = false;
    char const * format = nullptr;
    char const * positional = nullptr;
    int positional_count = 0;
};

bool ReadOptions(Arguments arguments, TimeOptions & options) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view const argument(arguments[i]);
        if (argument == "--local") {
            options.local = true;
        } else if (argument == "--format") {
            if (i + 1 == arguments.size()) {
                return false;
            }
            options.format = arguments[++i];
        } else {
            options.positional = arguments[i];
            ++options.positional_count;
        }
    }
    return true;
}

int RunNow(TimeOptions const & options) {
    if (options.positional_count != 0) {
        return UsageError(command_name, "'now' takes no TEXT");
    }
    Time const now = Time::SystemTime();
    if (options.format != nullptr) {
        PrintView(now.getAsString(options.local, options.format));
    } else {
        PrintStored(now);
    }
    return exit_ok;
}

int RunParse(TimeOptions const & options) {
    if (options.positional_count != 1 || options.format == nullptr) {
        return UsageError(command_name, "'parse' needs one TEXT and --format F");
    }
    try {
        PrintStored(Time(options.positional, options.local, options.format));
    } catch (Exception const & error) {
        return Failure("time", error);
    }
    return exit_ok;
}

int RunSpan(TimeOptions const & options) {
    if (options.positional_count != 1 || options.format == nullptr) {
        return UsageError(command_name, "'span' needs SECONDS and --format F");
    }
    double seconds = 0.0;
    StringStream<double>::fromString(options.positional, seconds);
    if (std::isnan(seconds)) {
        return UsageError(command_name, "SECONDS must be a number");
    }
    TimeSpan span;
    StringStream<TimeSpan>::fromString(options.positional, span);
    std::puts(span.getTimeString(options.format).c_str());
    return exit_ok;
}

int RunTime(Arguments arguments) {
    if (arguments.empty()) {
        return UsageError(command_name, "needs a verb: now, parse or span");
    }
    std::string_view const verb(arguments[0]);
    TimeOptions options;
    if (!ReadOptions(arguments.subspan(1), options)) {
        return UsageError(command_name, "--format needs a format");
    }
    if (verb == "now") {
        return RunNow(options);
    }
    if (verb == "parse") {
        return RunParse(options);
    }
    if (verb == "span") {
        return RunSpan(options);
    }
    return UsageError(command_name, "unknown verb");
}

} // namespace

void DemoTime() {
    std::puts("\n== Time");
    Time const now = Time::SystemTime();
    StringAllocatingView const now_text = now.getAsString(false, Time::storage_format);
    std::printf("The clock never runs backwards; now it reads %.*s UTC.\n", static_cast<int>(now_text.size()),
                now_text.data());
    Time const sample(Time(2021, 2, 3, 16, 5, 6, false).nanoseconds() + 123456789);
    char const * const formats[] = {"YYYY/MM/DD HH:mm:ss", "dddd, MMMM DD YYYY hh:mm:ss.fff", "ddd DD MMM YY"};
    std::puts("One format language writes dates:");
    for (char const * format : formats) {
        StringAllocatingView const text = sample.getAsString(false, format);
        std::printf("  %-32s %.*s\n", format, static_cast<int>(text.size()), text.data());
    }
    struct Reading {
        char const * text;
        char const * format;
    };
    Reading const readings[] = {{"3 feb 2021", "D MMM YYYY"}, {"2021-03-04T10:20", "ISO"}, {"99/1/1", "YY/M/D"}};
    std::puts("and reads them back (names in any case, ISO forms, two-digit years):");
    for (Reading const & reading : readings) {
        StringAllocatingView const text =
            Time(reading.text, false, reading.format).getAsString(false, "YYYY/MM/DD HH:mm");
        std::string const quoted = std::string("\"") + reading.text + "\"";
        std::printf("  %-20s as %-12s -> %.*s\n", quoted.c_str(), reading.format, static_cast<int>(text.size()),
                    text.data());
    }
    TimeSpan const span(((26 * 60 + 3) * 60 + 4) * 1000000000ll + 500000000);
    std::printf("A span of 93784.5 s: \"%s\", \"%s\"\n", span.getTimeString("hhh:mm:ss.ff").c_str(),
                span.getTimeString("DDD day hh:mm").c_str());
    TimeSpan const one_day(Time(2021, 1, 31, 12, 0, 0, false), 86400000000000ll);
    std::printf("One day from January 31 crosses %lld calendar month.\n", one_day.elapsedMonths());
}

Command const time_command = {
    "time",
    "the clock, dates in the format language, and spans",
    "usage: qelta time now [--local] [--format F]\n"
    "       qelta time parse TEXT --format F [--local]\n"
    "       qelta time span SECONDS --format F\n\n"
    "now    prints the library's clock, in the storage form \"YYYY/MM/DD HH:mm:ss\" (UTC) with its\n"
    "       nanosecond count, or in format F (UTC, or local time with --local).\n"
    "parse  reads TEXT by format F and prints the storage form and the nanosecond count. Digits\n"
    "       under D, M, Y, H, h, m, s and f fill their field; other format bytes skip one byte\n"
    "       of TEXT unseen. \"ISO\" reads the ISO 8601 date and time forms.\n"
    "span   prints a span of SECONDS in format F.\n\n"
    "Tokens of a date: fffffff to f (fractions), ss, mm, hh (12-hour), HH, dddd, ddd, DD, MMMM,\n"
    "MMM, MM, YYYY, YY. Tokens of a span: fffffff to f, sss, ss, mmm, mm, hhh, hh, DDD, DD, MMM,\n"
    "MM, YYYY, YY (three letters: the total).\n",
    RunTime,
};

} // namespace QELTA::Tool
