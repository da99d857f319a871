// Crash handling: a child that dereferences null or lets an exception escape leaves one dump and
// a report naming its function, reaches its callback and still dies by its signal; the dump reads
// back; and assertions become exceptions.
#include "Base/Failure/CrashManager.h"

#include "Base/Failure/Platform/CrashPlatform.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

extern char ** environ;

namespace QELTA {
namespace {

using Testing::ReadAll;

// Runs the crash child and returns its wait status. The sanitizers are told to leave the
// signals to the child's own handler.
int RunChild(char const * mode, std::string const & folder) {
    std::vector<std::string> variables;
    for (char ** variable = environ; *variable != nullptr; ++variable) {
        std::string const variable_text = *variable;
        if (variable_text.rfind("ASAN_OPTIONS=", 0) != 0 && variable_text.rfind("TSAN_OPTIONS=", 0) != 0) {
            variables.push_back(variable_text);
        }
    }
    variables.emplace_back("ASAN_OPTIONS=handle_segv=0:handle_abort=0:detect_leaks=0");
    // The callback runs after the dump as a last effort, and allocates; that is known.
    variables.emplace_back("TSAN_OPTIONS=handle_segv=0:handle_abort=0:report_signal_unsafe=0");
    std::vector<char *> environment;
    for (std::string & variable : variables) {
        environment.push_back(variable.data());
    }
    environment.push_back(nullptr);
    std::string child = QELTA_CRASH_CHILD;
    std::string mode_text = mode;
    std::string folder_text = folder;
    char * arguments[] = {child.data(), mode_text.data(), folder_text.data(), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, child.c_str(), nullptr, nullptr, arguments, environment.data()) != 0) {
        return -1;
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
}

std::vector<std::string> Dumps(std::string const & folder) {
    std::vector<std::string> dumps;
    for (auto const & entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == ".dmp") {
            dumps.push_back(entry.path().string());
        }
    }
    return dumps;
}

class CrashManagerTest : public Testing::TempFolderTest {};

TEST_F(CrashManagerTest, NullPointerLeavesOneDumpAReportAndDiesBySIGSEGV) {
    std::string const folder = SystemPath("dumps/deep");
    int const status = RunChild("null", folder);
    ASSERT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), SIGSEGV);
    std::vector<std::string> const dumps = Dumps(folder);
    ASSERT_EQ(dumps.size(), 1u);
    std::string const stem = dumps[0].substr(0, dumps[0].size() - 4);
    EXPECT_TRUE(std::regex_search(stem, std::regex("/\\d{4}_\\d\\d_\\d\\d_\\d\\d_\\d\\d_\\d\\d$"))) << stem;

    std::string const report = ReadAll(stem + ".txt");
    EXPECT_EQ(report.rfind("An application bug was detected.", 0), 0u) << report;
    EXPECT_NE(report.find("\n\nException: SIGSEGV\n" + std::string(66, '-') + "\n  Function: "), std::string::npos);
    EXPECT_NE(report.find("CrashByNullPointer"), std::string::npos) << report;
    EXPECT_NE(report.find("\n\nDump written to: " + folder + "\n"), std::string::npos) << report;

    std::string const callback = ReadAll(folder + "/callback.txt");
    EXPECT_EQ(callback.rfind("General Error\nAn application bug was detected.", 0), 0u) << callback;
    EXPECT_NE(callback.find("  Function: (anonymous namespace)::CrashByNullPointer(int volatile*)\n"),
              std::string::npos)
        << callback;

    CrashDump dump;
    ASSERT_TRUE(dump.read(File(String(dumps[0].c_str()))));
    EXPECT_EQ(dump.signalName().view(), StringView("SIGSEGV"));
    EXPECT_EQ(dump.fault_address, 0u);
    ASSERT_FALSE(dump.frames.isEmpty());
    EXPECT_EQ(dump.frames[0].address, dump.instruction);
    EXPECT_EQ(dump.frames[0].function().view(), StringView("(anonymous namespace)::CrashByNullPointer(int volatile*)"));
    EXPECT_NE(dump.frames[0].module.view().indexOf(StringView("CrashChild")), StringView::not_found);
    EXPECT_FALSE(dump.registers.isEmpty());
    EXPECT_NE(dump.maps.view().indexOf(StringView("CrashChild")), StringView::not_found);
}

TEST_F(CrashManagerTest, UncaughtExceptionLeavesOneDumpAndDiesBySIGABRT) {
    std::string const folder = SystemPath("dumps");
    int const status = RunChild("throw", folder);
    ASSERT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
    std::vector<std::string> const dumps = Dumps(folder);
    ASSERT_EQ(dumps.size(), 1u);
    std::string const report = ReadAll(dumps[0].substr(0, dumps[0].size() - 4) + ".txt");
    EXPECT_NE(report.find("Exception: uncaught exception\n"), std::string::npos) << report;
    EXPECT_NE(report.find("  Uncaught: std::runtime_error: boom\n"), std::string::npos) << report;
    CrashDump dump;
    ASSERT_TRUE(dump.read(File(String(dumps[0].c_str()))));
    EXPECT_EQ(dump.exception.view(), StringView("std::runtime_error: boom"));
}

TEST_F(CrashManagerTest, WithoutACallbackAFaultIsPassedOnUntouched) {
    CrashManager manager;
    manager.setMiniDumpDirectory(Path("dumps/"));
    CrashFault fault;
    fault.signal = SIGSEGV;
    EXPECT_FALSE(manager.handleException(&fault));
    EXPECT_FALSE(std::filesystem::exists(SystemPath("dumps")));
}

TEST_F(CrashManagerTest, ADumpThatCannotBeWrittenSaysSo) {
    Testing::WriteAll(SystemPath("blocker"), "a file where a folder should be\n");
    CrashManager manager;
    manager.setMiniDumpDirectory(Path("blocker/dumps/"));
    std::string message;
    manager.setCallback(
        [&message](Exception const & error) { message = error.message().englishTranslation().c_str(); });
    CrashFault fault;
    fault.signal = SIGFPE;
    EXPECT_TRUE(manager.handleException(&fault));
    EXPECT_EQ(message.rfind("An application bug was detected.", 0), 0u);
    EXPECT_NE(message.find("\n\nException: SIGFPE\n"), std::string::npos);
    EXPECT_EQ(message.substr(message.size() - 30), "\n\nCould not write to dump file");
}

TEST(CrashManagerLifetimeTest, TopLevelManagerIsForgottenWhenDestroyed) {
    {
        CrashManager manager;
        manager.setAsTopLevelExceptionHandler();
        EXPECT_EQ(CrashManager::CurrentCrashManager(), &manager);
    }
    EXPECT_EQ(CrashManager::CurrentCrashManager(), nullptr);
}

TEST(CrashDumpTest, ReadsWhatIsThereOfACutDump) {
    CrashDump dump;
    EXPECT_FALSE(dump.read(reinterpret_cast<unsigned char const *>("QELTAD"), 6));
    std::string bytes("QELTADMP\1\0\0\0\0\0\0\0", 16);
    unsigned int const thread[2] = {2, 4};
    bytes.append(reinterpret_cast<char const *>(thread), sizeof(thread)).append("work");
    unsigned int const cut[2] = {5, 1000};
    bytes.append(reinterpret_cast<char const *>(cut), sizeof(cut)).append("0-1 r");
    ASSERT_TRUE(dump.read(reinterpret_cast<unsigned char const *>(bytes.data()), bytes.size()));
    EXPECT_EQ(dump.thread_name.view(), StringView("work"));
    EXPECT_TRUE(dump.maps.isEmpty());
    EXPECT_EQ(dump.signalName().view(), StringView("uncaught exception"));
}

TEST(LibAssertTest, CallbackOrException) {
    EXPECT_THROW(
        {
            try {
                LibAssert::NAssert("x > 0", "x is not positive", "Assertion", 12);
            } catch (Exception const & error) {
                EXPECT_EQ(error.message().englishTranslation().view(), StringView("x is not positive"));
                EXPECT_EQ(error.title().englishTranslation().view(), StringView("Assertion"));
                throw;
            }
        },
        Exception);
    std::string seen;
    LibAssert::SetAssertCallback([&seen](char const * a, char const * b, char const * c, unsigned int line) {
        seen = std::string(a) + "|" + b + "|" + c + "|" + std::to_string(line);
    });
    LibAssert::NAssert("a", "b", "c", 7);
    LibAssert::SetAssertCallback({});
    EXPECT_EQ(seen, "a|b|c|7");
}

} // namespace
} // namespace QELTA
