// qelta log: log records in their stored text form, their ANSI blocks, and progress and cancel
// through an in-memory pipe.
#include "tools/qelta/Command.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Text/String.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr unsigned char default_level = 2;
constexpr unsigned int default_steps = 5;
constexpr int bar_width = 20;

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
};

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
}

} // namespace QELTA::Tool
