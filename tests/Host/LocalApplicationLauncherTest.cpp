// The launcher: arguments reach the child unchanged, output streams line by line without
// deadlock, every child is collected and no descriptor leaks, a child that ignores SIGTERM is
// ended, and the texts of a failed start.
#include "Base/Host/LocalApplicationLauncher.h"
#include "Base/Failure/Exception.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::Std;

// The lines a pipe received, with their levels.
std::vector<std::pair<std::string, int>> Lines(MemoryInfoPipe const & pipe) {
    std::vector<std::pair<std::string, int>> lines;
    for (LogMessage const & message : pipe.messages()) {
        if (message.logRecordLevel() != MemoryInfoPipe::progress_title_level) {
            lines.emplace_back(Std(message.rawMessage().view()), message.logRecordLevel());
        }
    }
    return lines;
}

// Counts what it is sent instead of keeping it.
class CountingPipe : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int, StringView const & text, unsigned char level) override {
        (level == LocalApplicationLauncher::error_level ? error_bytes : output_bytes) += text.size();
        ++(level == LocalApplicationLauncher::error_level ? error_lines : output_lines);
        all_x = all_x && (level != 0 || text.indexOf('e') == StringView::not_found);
    }
    unsigned long long output_bytes = 0, error_bytes = 0, output_lines = 0, error_lines = 0;
    bool all_x = true;
};

// Asks for a cancel as soon as the child says it is ready.
class CancelOnReady : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override {
        MemoryInfoPipe::addMessage(index, text, level);
        if (text == StringView("ready")) {
            requestCancel();
        }
    }
};

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] auto const & entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

TEST(LocalApplicationLauncherTest, ArgumentsReachTheChildUnchanged) {
    Buffer<String> const arguments = {String("%s|\n"),     String("two words"),    String("say \"hi\""),
                                      String("tab\there"), String("trailing\\"),   String("\\\"q\\\\\""),
                                      String(""),          String("grüße ☃ 日本"), String("$HOME;`x`|*")};
    MemoryInfoPipe pipe;
    LocalApplicationLauncher launcher("printf");
    launcher.arguments = LocalApplicationLauncher::JoinCommandLine(arguments);
    launcher.log = LogPtr(&pipe);
    launcher.execute();
    std::string expected;
    for (unsigned int i = 1; i < arguments.size(); ++i) {
        expected += Std(arguments[i].view()) + "|";
    }
    std::string received;
    for (auto const & [text, level] : Lines(pipe)) {
        received += text;
    }
    EXPECT_EQ(received, expected);
    EXPECT_EQ(launcher.exit_code, 0);
}

TEST(LocalApplicationLauncherTest, SplitReadsBackWhatJoinWrote) {
    std::mt19937 random(7);
    char const alphabet[] = {'a', ' ', '\t', '"', '\\', 'x', '\xc3', '\xa9'};
    for (int round = 0; round < 2000; ++round) {
        Buffer<String> arguments;
        for (unsigned int n = random() % 5; n > 0; --n) {
            String argument;
            for (unsigned int length = random() % 8; length > 0; --length) {
                argument.append(alphabet[random() % sizeof(alphabet)]);
            }
            arguments.add(argument);
        }
        String const line = LocalApplicationLauncher::JoinCommandLine(arguments);
        SCOPED_TRACE(Std(line.view()));
        EXPECT_EQ(LocalApplicationLauncher::SplitCommandLine(line.view()), arguments);
    }
}

TEST(LocalApplicationLauncherTest, SplitsByTheCommandLineRules) {
    struct Case {
        char const * line;
        std::vector<std::string> arguments;
    } const cases[] = {
        {R"(a "b c" d)", {"a", "b c", "d"}},
        {R"(a\\\"b)", {"a\\\"b"}},
        {R"("a\\" b)", {"a\\", "b"}},
        {R"(a\b c\\d)", {"a\\b", "c\\\\d"}},
        {R"("say ""hi""")", {"say \"hi\""}},
        {R"("" x)", {"", "x"}},
        {"  \t ", {}},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.line);
        std::vector<std::string> got;
        for (String const & argument : LocalApplicationLauncher::SplitCommandLine(row.line)) {
            got.push_back(Std(argument.view()));
        }
        EXPECT_EQ(got, row.arguments);
    }
}

TEST(LocalApplicationLauncherTest, LinesEndAtLineFeedsAndErrorsHaveTheirLevel) {
    MemoryInfoPipe pipe;
    LocalApplicationLauncher launcher("/bin/sh");
    launcher.arguments = R"(-c "printf 'a\r\nb\nc'; printf 'oops\n' >&2; exit 3")";
    launcher.log = LogPtr(&pipe);
    launcher.execute();
    std::vector<std::pair<std::string, int>> output = Lines(pipe);
    // The two streams are read side by side: only the order within each is fixed.
    std::stable_sort(output.begin(), output.end(), [](auto const & x, auto const & y) { return x.second < y.second; });
    EXPECT_EQ(output, (std::vector<std::pair<std::string, int>>{{"a", 0}, {"b", 0}, {"c", 0}, {"oops", 50}}));
    EXPECT_EQ(launcher.exit_code, 3);
    EXPECT_FALSE(launcher.isRunning());
    EXPECT_TRUE(launcher.standard_output.isEmpty());
}

TEST(LocalApplicationLauncherTest, ThousandLaunchesLeaveNoChildAndNoDescriptor) {
    std::size_t const before = OpenDescriptors();
    MemoryInfoPipe pipe;
    for (int i = 0; i < 1000; ++i) {
        LocalApplicationLauncher launcher("/bin/true");
        if (i % 2 == 0) {
            launcher.log = LogPtr(&pipe);
        }
        launcher.execute();
        ASSERT_EQ(launcher.exit_code, 0) << i;
    }
    EXPECT_EQ(OpenDescriptors(), before);
    errno = 0;
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST(LocalApplicationLauncherTest, AChildThatIgnoresTerminationIsEnded) {
    CancelOnReady pipe;
    LocalApplicationLauncher launcher("/bin/sh");
    launcher.arguments = R"(-c "trap '' TERM; echo ready; while :; do sleep 1; done")";
    launcher.log = LogPtr(&pipe);
    auto const start = std::chrono::steady_clock::now();
    launcher.execute();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(launcher.exit_code, 128 + SIGKILL);
    EXPECT_EQ(Lines(pipe).back().first, "Cancel Requested");
}

TEST(LocalApplicationLauncherTest, AKillFromAnotherThreadEndsTheWait) {
    LocalApplicationLauncher launcher("/bin/sleep");
    launcher.arguments = "30";
    std::atomic<bool> done{false};
    // The launcher has a process only once the start is through: ask until execute() returns.
    std::thread killer([&] {
        while (!done) {
            launcher.killProcess();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    });
    auto const start = std::chrono::steady_clock::now();
    launcher.execute();
    done = true;
    killer.join();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(launcher.exit_code, 128 + SIGTERM);
}

TEST(LocalApplicationLauncherTest, HundredMegabytesOnBothStreamsNeverDeadlock) {
    CountingPipe pipe;
    LocalApplicationLauncher launcher("/bin/sh");
    launcher.arguments =
        R"(-c "yes e | head -c 2000000 >&2 & head -c 100000000 /dev/zero | tr '\0' x | fold -w 1000; wait")";
    launcher.log = LogPtr(&pipe);
    launcher.execute();
    EXPECT_EQ(pipe.output_lines, 100000u);
    EXPECT_EQ(pipe.output_bytes, 100000000u);
    EXPECT_EQ(pipe.error_lines, 1000000u);
    EXPECT_EQ(pipe.error_bytes, 1000000u);
    EXPECT_TRUE(pipe.all_x);
}

TEST(LocalApplicationLauncherTest, AFailedStartNamesTheProgramAndTheReason) {
    LocalApplicationLauncher launcher("/nonexistent/tool");
    launcher.arguments = "a b";
    try {
        launcher.execute();
        FAIL() << "no exception";
    } catch (Exception const & error) {
        EXPECT_EQ(Std(error.message().englishTranslation().view()),
                  "Unable to start program /nonexistent/tool with args a b. Error: No such file or directory");
        EXPECT_EQ(Std(error.title().englishTranslation().view()), "Startup Error");
    }
    EXPECT_FALSE(launcher.isRunning());
}

TEST(LocalApplicationLauncherTest, MakeSafeForCommandLineQuotesOnlyWhatNeedsIt) {
    struct Case {
        char const * text;
        char const * safe;
    } const cases[] = {
        {"plain", "plain"},
        {"two words", "\"two words\""},
        {"has \"quote\" already", "has \"quote\" already"},
        {"ends in one\\", "\"ends in one\\\\\""},
        {"ends in two\\\\", "\"ends in two\\\\\""},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Std(ApplicationResource::MakeSafeForCommandLine(row.text).view()), row.safe);
    }
}

} // namespace
} // namespace QELTA
