// qelta log: log records in their stored text form, their ANSI blocks, progress and cancel
// through an in-memory pipe, and text log files written, read and followed.
#include "tools/qelta/Command.h"

#include "Base/Concurrency/ThreadQueue.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/Log.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Logging/Platform/ConsolePlatform.h"
#include "Base/Logging/STDOutputStream.h"
#include "Base/Text/String.h"
#include "Base/Text/StringStream.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace QELTA::Tool {
namespace {

constexpr unsigned char default_level = 2;
constexpr unsigned int default_steps = 5;
constexpr int bar_width = 20;
constexpr unsigned int default_tail_lines = 10;
constexpr unsigned long long write_wait = 10ull * 1000 * 1000 * 1000;
constexpr auto tail_poll = std::chrono::milliseconds(100);
// How a record's time shows in a table, in local time.
constexpr char table_time_format[] = "YYYY-MM-DD HH:mm:ss.ffffff";

// Turns the escapes a shell cannot type easily into bytes: \e and \033 (the byte 27), \t, \n,
// \r and \\. Any other backslash stays as it is.
String Unescape(std::string_view text) {
    String out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string_view const rest = text.substr(i);
        if (rest.starts_with("\\033")) {
            out.append('\x1b');
            i += 3;
        } else if (rest.size() >= 2 && rest[0] == '\\') {
            char const next = rest[1];
            char const byte = next == 'e'   ? '\x1b'
                              : next == 't' ? '\t'
                              : next == 'n' ? '\n'
                              : next == 'r' ? '\r'
                                            : next;
            if (byte == next && next != '\\') {
                out.append('\\');
                continue;
            }
            out.append(byte);
            ++i;
        } else {
            out.append(text[i]);
        }
    }
    return out;
}

// Shows the bytes a terminal would act on as the escapes Unescape reads.
std::string Visible(StringView const & text) {
    std::string out;
    for (char const c : text) {
        switch (c) {
        case '\x1b':
            out += "\\e";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
    return out;
}

void PrintRecord(LogMessage const & message, bool plain) {
    StringAllocatingView out;
    if (plain) {
        message.appendMessage(out, false, false, false);
    } else {
        StringStream<LogMessage>::toString(message, out);
    }
    std::printf("%.*s\n", static_cast<int>(out.size()), out.data());
}

// The arguments of the verbs; one invocation runs one verb, so they share them.
struct LogArguments {
    std::string text;
    unsigned int level = default_level;
    bool plain = false;
    unsigned int steps = default_steps;
    unsigned int cancel_at = 0;
    std::string file;
    std::vector<std::string> texts;
    unsigned int minimum_level = 0;
    std::string session;
    unsigned int lines = default_tail_lines;
    unsigned int seconds = 0;
    bool follow_forever = true;
};

// Text log files

// The colour of a level on a terminal: faint below 2, yellow from 10 (progress titles), red from
// 50 (failures); nothing between.
char const * LevelColour(unsigned char level) {
    return level >= 50 ? "\x1b[31m" : level >= 10 ? "\x1b[33m" : level < 2 ? "\x1b[2m" : "";
}

void PrintTableHead() {
    std::printf("%-26s  %5s  %7s  %s\n", "time (local)", "level", "session", "text");
}

void PrintTableRow(LogMessage const & record, bool colour) {
    StringAllocatingView time;
    record.recordTime().appendTo(time, true, StringView(table_time_format));
    char const * const start = colour ? LevelColour(record.logRecordLevel()) : "";
    std::printf("%s%-26.*s  %5u  %7u  %s%s\n", start, static_cast<int>(time.size()), time.data(),
                static_cast<unsigned int>(record.logRecordLevel()), static_cast<unsigned int>(record.sessionNumber()),
                record.rawMessage().c_str(), *start != 0 ? "\x1b[0m" : "");
}

// A line of a text log as a record; false when it has fewer than the three fields of one.
bool ReadRecord(StringView const & line, LogMessage & record) {
    unsigned int const first = line.indexOf('\t');
    if (first == StringView::not_found || line.indexOf('\t', first + 1) == StringView::not_found) {
        return false;
    }
    StringStream<LogMessage>::fromString(line, record);
    return true;
}

// The records of a text log, read through a temporary copy; `bad_line` gets the number of the
// first line that is no record (0: none).
std::vector<LogMessage> ReadLogRecords(File const & file, unsigned long long & bad_line) {
    std::vector<LogMessage> records;
    BufferedScanner scanner(file, '\t', File::READ_TEXT_TEMP_COPY);
    String line;
    bad_line = 0;
    for (unsigned long long number = 1; scanner.nextLine(line, true); ++number) {
        if (line.isEmpty()) {
            continue;
        }
        LogMessage record;
        if (ReadRecord(line.view(), record)) {
            records.push_back(std::move(record));
        } else if (bad_line == 0) {
            bad_line = number;
        }
    }
    return records;
}

int NotARecord(std::string_view command, File const & file, unsigned long long line) {
    std::fflush(stdout);
    std::fprintf(stderr, "qelta %.*s: %s line %llu: not a log record\n", static_cast<int>(command.size()),
                 command.data(), NativePath(file).c_str(), line);
    return exit_failure;
}

int RunWrite(LogArguments const & arguments) {
    File const file = FromNativePath(arguments.file);
    try {
        unsigned long long const before = file.exists() ? File(file).fileSize() : 0;
        Log log;
        AsciiFileOutputStream stream(file, true);
        log.addStream(&stream, false);
        for (std::string const & text : arguments.texts) {
            log.addMessage(InfoPipe::no_id, Unescape(text).view(), static_cast<unsigned char>(arguments.level));
        }
        bool const written = stream.waitUntilWritten(write_wait);
        File const after(file);
        if (!written || !after.exists() || File(after).fileSize() <= before) {
            std::fflush(stdout);
            std::fprintf(stderr, "qelta log write: %s: the records could not be written\n", NativePath(file).c_str());
            return exit_failure;
        }
        std::printf("%zu records written to %s\n", arguments.texts.size(), NativePath(file).c_str());
    } catch (Exception const & error) {
        return Failure("log write", error);
    }
    return exit_ok;
}

int RunRead(LogArguments const & arguments) {
    File const file = FromNativePath(arguments.file);
    try {
        unsigned long long bad_line = 0;
        std::vector<LogMessage> const records = ReadLogRecords(file, bad_line);
        bool const last_session = arguments.session == "last";
        unsigned short const session = records.empty() ? 0 : records.back().sessionNumber();
        bool const colour = ConsolePlatform::IsTerminal(stdout);
        PrintTableHead();
        std::size_t shown = 0;
        for (LogMessage const & record : records) {
            if (record.logRecordLevel() >= arguments.minimum_level &&
                (!last_session || record.sessionNumber() == session)) {
                PrintTableRow(record, colour);
                ++shown;
            }
        }
        std::printf("%zu of %zu records shown\n", shown, records.size());
        if (bad_line != 0) {
            return NotARecord("log read", file, bad_line);
        }
    } catch (Exception const & error) {
        return Failure("log read", error);
    }
    return exit_ok;
}

// The bytes of `file` from `offset` on.
std::string ReadFrom(File const & file, unsigned long long offset) {
    File source(file);
    std::FILE * const stream = source.open(File::READ_BINARY);
    std::string bytes;
    if (std::fseek(stream, static_cast<long>(offset), SEEK_SET) == 0) {
        char chunk[4096];
        for (std::size_t got = std::fread(chunk, 1, sizeof chunk, stream); got > 0;
             got = std::fread(chunk, 1, sizeof chunk, stream)) {
            bytes.append(chunk, got);
        }
    }
    source.close();
    return bytes;
}

int RunTail(LogArguments const & arguments) {
    File const file = FromNativePath(arguments.file);
    try {
        bool const colour = ConsolePlatform::IsTerminal(stdout);
        unsigned long long bad_line = 0;
        std::vector<LogMessage> const records = ReadLogRecords(file, bad_line);
        std::size_t const first = records.size() > arguments.lines ? records.size() - arguments.lines : 0;
        PrintTableHead();
        for (std::size_t i = first; i < records.size(); ++i) {
            PrintTableRow(records[i], colour);
        }
        std::fflush(stdout);
        unsigned long long offset = File(file).fileSize();
        std::string pending;
        auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(arguments.seconds);
        while (arguments.follow_forever || std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(tail_poll);
            File const now(file);
            unsigned long long const size = now.exists() ? File(now).fileSize() : 0;
            if (size < offset) {
                // The file was moved away or begun anew: follow the new one from its start.
                offset = 0;
                pending.clear();
            }
            if (size == offset) {
                continue;
            }
            pending += ReadFrom(file, offset);
            offset = size;
            std::size_t start = 0;
            for (std::size_t line_end = pending.find('\n'); line_end != std::string::npos;
                 line_end = pending.find('\n', start)) {
                LogMessage record;
                std::string_view const line(pending.data() + start, line_end - start);
                if (ReadRecord(StringView(line.data(), static_cast<unsigned int>(line.size())), record)) {
                    PrintTableRow(record, colour);
                }
                start = line_end + 1;
            }
            pending.erase(0, start);
            std::fflush(stdout);
        }
    } catch (Exception const & error) {
        return Failure("log tail", error);
    }
    return exit_ok;
}

// A queue of work that logs to a file and to the console, with a progress bar; its file is then
// read back. Returns the records read.
std::size_t RunLoggedWork(File const & file, unsigned int steps, std::chrono::milliseconds pause) {
    Log log;
    STDOutputStream console;
    AsciiFileOutputStream stream(file, false);
    log.addStream(&console, false);
    log.addStream(&stream, false);
    {
        ProgressInfo progress(TranslatedString::DirectString("Measuring survey points"), LogPtr(&log), 0.0f);
        std::atomic<unsigned int> done{0};
        ThreadQueue queue("Survey Queue");
        for (unsigned int step = 1; step <= steps; ++step) {
            queue.add([&, step] {
                std::this_thread::sleep_for(pause);
                std::string const text = "point " + std::to_string(step) + " of " + std::to_string(steps) + " measured";
                log.addMessage(InfoPipe::no_id, StringView(text.c_str()), default_level);
                progress.setProgress(static_cast<float>(step) / static_cast<float>(steps));
                ++done;
            });
        }
        while (done.load() < steps) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        queue.join();
    }
    log.addMessage(InfoPipe::no_id, StringView("survey complete"), 50);
    stream.waitUntilWritten(write_wait);
    unsigned long long bad_line = 0;
    std::vector<LogMessage> const records = ReadLogRecords(file, bad_line);
    std::printf("Read back from %s:\n", NativePath(File(file).getPath(File::NAME | File::EXTENSION)).c_str());
    PrintTableHead();
    for (LogMessage const & record : records) {
        PrintTableRow(record, false);
    }
    return records.size();
}

int RunFormat(LogArguments const & arguments) {
    PrintRecord(LogMessage(Unescape(arguments.text), static_cast<unsigned char>(arguments.level)), arguments.plain);
    return exit_ok;
}

void PrintBlocks(LogMessage const & message) {
    Buffer<std::pair<String, String>> const blocks = message.ansiiEscapeBlocks();
    if (blocks.isEmpty()) {
        std::puts("no blocks");
    }
    for (std::pair<String, String> const & block : blocks) {
        std::string code(1, '[');
        code.append(block.first.c_str(), block.first.size()).push_back(']');
        std::printf("%-10s \"%s\"\n", code.c_str(), Visible(block.second).c_str());
    }
}

int RunBlocks(LogArguments const & arguments) {
    PrintBlocks(LogMessage(Unescape(arguments.text), default_level));
    return exit_ok;
}

void PrintBar(unsigned int step, unsigned int steps, float progress) {
    int const filled = static_cast<int>(progress * bar_width + 0.5f);
    std::string const bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(bar_width - filled), '.');
    std::printf("step %u/%u [%s] %3d%%\n", step, steps, bar.c_str(), static_cast<int>(progress * 100 + 0.5f));
}

// Runs `steps` steps under a progress source and a cancel guard; a request to cancel arrives
// after step `cancel_at` (0: never). Returns the steps done.
unsigned int RunSteps(MemoryInfoPipe & pipe, unsigned int steps, unsigned int cancel_at) {
    LogPtr const log(&pipe);
    ProgressInfo progress(TranslatedString::DirectString("Copying files"), log, 0.0f);
    CancelInfo cancel(TranslatedString::DirectString("Copy"), log);
    unsigned int done = 0;
    while (done < steps) {
        if (cancel.cancelRequested()) {
            std::printf("cancel requested: stopping after step %u of %u\n", done, steps);
            break;
        }
        ++done;
        progress.setProgress(static_cast<float>(done) / static_cast<float>(steps));
        PrintBar(done, steps, pipe.progressIdx(progress.index()));
        if (done == cancel_at) {
            LogPtr(&pipe).requestCancel();
        }
    }
    std::printf("live sources %zu, cancel guards %u\n", pipe.progressSources().size(), pipe.cancelGuardCount());
    return done;
}

int RunProgress(LogArguments const & arguments) {
    MemoryInfoPipe pipe;
    unsigned int const done = RunSteps(pipe, arguments.steps, arguments.cancel_at);
    std::printf("after the scope: live sources %zu, cancel guards %u, %u of %u steps done\n",
                pipe.progressSources().size(), pipe.cancelGuardCount(), done, arguments.steps);
    return exit_ok;
}

} // namespace

void DemoLog() {
    std::puts("\n== Log");
    LogMessage const record(Time(1612325106123456789ull), "Copied\t12 files \x1b[32mok\x1b[0m", default_level, 4711);
    std::puts("A record is one tab-separated line; tabs inside show as \\t and colours are dropped:");
    PrintRecord(record, false);
    std::puts("The same text cut into its colour blocks:");
    PrintBlocks(record);
    std::puts("A long job reports progress and stops when asked to cancel:");
    MemoryInfoPipe pipe;
    RunSteps(pipe, 4, 2);
}

void DemoLogFile() {
    std::puts("\n== Log files");
    std::puts("A queue of work logs to the console, with a live progress bar on a terminal, and to a text");
    std::puts("log that a background thread writes:");
    File file = DemoFolder();
    file.appendPath("survey.txt");
    RunLoggedWork(file, 5, std::chrono::milliseconds(60));
}

void AddLogCommand(CLI::App & qelta) {
    std::string const escapes =
        "In TEXT, \\e and \\033 stand for the escape byte, and \\t, \\n, \\r and \\\\ for a tab, a\n"
        "newline, a carriage return and a backslash.";
    CLI::App & log = AddCommand(qelta, "log", "log records, their colour blocks, progress and cancel", escapes);
    auto const arguments = std::make_shared<LogArguments>();

    CLI::App & format =
        AddCommand(log, "format", "makes a record of TEXT and prints its stored form",
                   "Makes a record of TEXT now, at level N, and prints its stored form: four fields separated\n"
                   "by tabs, the time in UTC as \"YY-MM-DD HH:mm:ss:ffffff\", the text with tab, newline and\n"
                   "carriage return shown as \\t, \\n and \\r and colour sequences removed, the level and the\n"
                   "session number of this run. --plain prints the text field alone.\n\n" +
                       escapes,
                   [arguments] { return RunFormat(*arguments); });
    format.add_option("TEXT", arguments->text, "the text of the record")->required();
    AddCount(format, "--level", arguments->level, 0, 255, "the level, from 0 to 255 (default 2)");
    format.add_flag("--plain", arguments->plain, "prints the text field alone");

    AddCommand(log, "blocks", "cuts TEXT at its ANSI colour sequences",
               "Cuts TEXT at its ANSI colour sequences (ESC [ codes letter) and prints each code list\n"
               "with the text it applies to; text before the first sequence has code 0.\n\n" +
                   escapes,
               [arguments] { return RunBlocks(*arguments); })
        .add_option("TEXT", arguments->text, "the text with colour sequences")
        ->required();

    CLI::App & progress =
        AddCommand(log, "progress", "runs steps under a progress source and a cancel guard",
                   "Runs N steps under a progress source and a cancel guard on an in-memory pipe; with\n"
                   "--cancel-at K a cancel request arrives after step K and the job stops before the next\n"
                   "step. Shows that both guards leave the pipe at the end.",
                   [arguments] { return RunProgress(*arguments); });
    AddCount(progress, "--steps", arguments->steps, 1, 1000, "the steps, from 1 to 1000 (default 5)");
    AddCount(progress, "--cancel-at", arguments->cancel_at, 0, 1000, "the step after which cancel is asked (0: never)")
        ->type_name("K");

    std::string const file_form =
        "A text log has one line a record: the time in UTC as \"YY-MM-DD HH:mm:ss:ffffff\", the text\n"
        "with tab, newline and carriage return shown as \\t, \\n and \\r, the level and the session,\n"
        "separated by tabs.";
    CLI::App & write = AddCommand(log, "write", "appends records to a text log file",
                                  "Appends one record for each TEXT to FILE, at level N, through the log's\n"
                                  "background writer, and waits until they are on disk.\n\n" +
                                      file_form + "\n\n" + escapes,
                                  [arguments] { return RunWrite(*arguments); });
    write.add_option("FILE", arguments->file, "the text log, made when missing")->required();
    write.add_option("TEXT", arguments->texts, "the texts of the records")->required();
    AddCount(write, "--level", arguments->level, 0, 255, "the level, from 0 to 255 (default 2)");

    CLI::App & read = AddCommand(log, "read", "shows the records of a text log file as a table",
                                 "Shows the records of FILE as a table: local time, level, session and text, coloured\n"
                                 "by level on a terminal (faint below 2, yellow from 10, red from 50). The file is\n"
                                 "read through a temporary copy, so a log in use can be read. A line that is no\n"
                                 "record is reported with its number after the table.\n\n" +
                                     file_form,
                                 [arguments] { return RunRead(*arguments); });
    read.add_option("FILE", arguments->file, "the text log")->required();
    AddCount(read, "--level", arguments->minimum_level, 0, 255, "shows records at or above level N");
    read.add_option("--session", arguments->session, "'last' shows only the session of the last record")
        ->check(CLI::IsMember({"last"}));

    auto const seconds = std::make_shared<CLI::Option *>(nullptr);
    CLI::App & tail = AddCommand(log, "tail", "shows the last records of a text log and follows it as it grows",
                                 "Shows the last N records of FILE, then the records appended to it, as they come,\n"
                                 "until interrupted or for S seconds. A file that shrinks, because it was moved\n"
                                 "away or begun anew, is followed from its start.",
                                 [arguments, seconds] {
                                     arguments->follow_forever = (*seconds)->count() == 0;
                                     return RunTail(*arguments);
                                 });
    tail.add_option("FILE", arguments->file, "the text log")->required();
    AddCount(tail, "--lines", arguments->lines, 0, 100000, "the records shown first (default 10)");
    *seconds =
        AddCount(tail, "--seconds", arguments->seconds, 0, 86400, "follows for S seconds instead of until interrupted")
            ->type_name("S");
}

} // namespace QELTA::Tool
