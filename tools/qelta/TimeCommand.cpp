// qelta time: the clock, dates written and read through the format language, and spans.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace QELTA::Tool {
namespace {

void PrintView(StringView const & text) {
    std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
}

void PrintStored(Time const & time) {
    StringAllocatingView stored;
    StringStream<Time>::toString(time, stored);
    std::printf("%.*s UTC (%llu ns)\n", static_cast<int>(stored.size()), stored.data(), time.nanoseconds());
}

// The arguments of the verbs; one invocation runs one verb, so they share them.
struct TimeArguments {
    bool local = false;
    std::optional<std::string> format; // given for parse and span
    std::string text;
    double seconds = 0.0;
};

int RunNow(TimeArguments const & arguments) {
    Time const now = Time::SystemTime();
    if (arguments.format) {
        PrintView(now.getAsString(arguments.local, arguments.format->c_str()));
    } else {
        PrintStored(now);
    }
    return exit_ok;
}

int RunParse(TimeArguments const & arguments) {
    try {
        PrintStored(Time(arguments.text.c_str(), arguments.local, arguments.format->c_str()));
    } catch (Exception const & error) {
        return Failure("time", error);
    }
    return exit_ok;
}

int RunSpan(TimeArguments const & arguments) {
    // The span as the library reads it from the text of its seconds.
    TimeSpan span;
    StringStream<TimeSpan>::fromString(NumberText(arguments.seconds).view(), span);
    std::puts(span.getTimeString(StringView(*arguments.format)).c_str());
    return exit_ok;
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

void AddTimeCommand(CLI::App & qelta) {
    CLI::App & time =
        AddCommand(qelta, "time", "the clock, dates in the format language, and spans",
                   "Tokens of a date: fffffff to f (fractions), ss, mm, hh (12-hour), HH, dddd, ddd, DD, MMMM,\n"
                   "MMM, MM, YYYY, YY. Tokens of a span: fffffff to f, sss, ss, mmm, mm, hhh, hh, DDD, DD, MMM,\n"
                   "MM, YYYY, YY (three letters: the total).");
    auto const arguments = std::make_shared<TimeArguments>();
    std::string const local_help = "local time instead of UTC";

    CLI::App & now = AddCommand(time, "now", "prints the library's clock",
                                "Prints the clock in the storage form \"YYYY/MM/DD HH:mm:ss\" (UTC) with its\n"
                                "nanosecond count, or in format F (UTC, or local time with --local).",
                                [arguments] { return RunNow(*arguments); });
    now.add_option("--format", arguments->format, "the format of the date")->type_name("F");
    now.add_flag("--local", arguments->local, local_help);

    CLI::App & parse = AddCommand(time, "parse", "reads TEXT by format F",
                                  "Reads TEXT by format F and prints the storage form and the nanosecond count.\n"
                                  "Digits under D, M, Y, H, h, m, s and f fill their field; other format bytes skip\n"
                                  "one byte of TEXT unseen. \"ISO\" reads the ISO 8601 date and time forms.",
                                  [arguments] { return RunParse(*arguments); });
    parse.add_option("TEXT", arguments->text, "the date")->required();
    parse.add_option("--format", arguments->format, "the format TEXT is written in")->type_name("F")->required();
    parse.add_flag("--local", arguments->local, local_help);

    CLI::App & span = AddCommand(time, "span", "prints a span of SECONDS in format F", "",
                                 [arguments] { return RunSpan(*arguments); });
    AddNumber(span, "SECONDS", arguments->seconds, "the length of the span")->required();
    span.add_option("--format", arguments->format, "the format of the span")->type_name("F")->required();
}

} // namespace QELTA::Tool
