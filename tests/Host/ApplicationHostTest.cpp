// The application host: the instance lock and the proper-end mark across processes, variables
// and their lookup order, the registry store, the machine read from a folder of made-up files,
// and permissions.
#include "Base/Failure/Exception.h"
#include "Base/Files/FileResource.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/LocalApplicationLauncher.h"
#include "Base/Host/PermissionManager.h"
#include "Base/Host/Platform/ProcessPlatform.h"
#include "Base/Host/SystemInformation.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Settings/EnvironmentalVariable.h"
#include "Base/Settings/RegistryEntry.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <unistd.h>

namespace QELTA {
namespace {

using Testing::Std;

constexpr char helper_variable[] = "QELTA_HOST_TEST_HELPER";

// Runs this test program again as a helper doing `job`; `on_line` hears each line it prints.
class Helper : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int index, StringView const & text, unsigned char level) override {
        MemoryInfoPipe::addMessage(index, text, level);
        if (level == 0) {
            lines += Std(text) + "\n";
            if (on_line) {
                on_line(Std(text));
            }
            // A lock holder waits for ever: it ends the hard way, as a crash would end it.
            if (text.beginsWith(StringView("lock "))) {
                kill(static_cast<pid_t>(current->process_id), SIGKILL);
            }
        }
    }
    std::string run(std::string const & job) {
        Testing::ScopedVariable helper(helper_variable, job);
        LocalApplicationLauncher launcher(StringView(std::filesystem::read_symlink("/proc/self/exe").c_str()));
        launcher.arguments = "--gtest_filter=HostHelper.Run";
        launcher.log = LogPtr(this);
        current = &launcher;
        launcher.execute();
        return lines;
    }
    std::function<void(std::string const &)> on_line;
    LocalApplicationLauncher * current = nullptr;
    std::string lines;
};

// The helper's side: does the job named by the variable and reports.
TEST(HostHelper, Run) {
    char const * job = std::getenv(helper_variable);
    if (job == nullptr) {
        GTEST_SKIP() << "runs only as a helper";
    }
    std::string const what = job;
    if (what.rfind("lock:", 0) == 0) {
        std::printf("lock %s\n", ApplicationResource::GlobalLock(what.substr(5).c_str(), ApplicationResource::MACHINE)
                                     ? "taken"
                                     : "refused");
        std::fflush(stdout);
        pause();
    }
    ApplicationResource::ReadUserOptions();
    std::printf("last run proper %d first %d\n", ApplicationResource::last_proper_shutdown ? 1 : 0,
                ApplicationResource::IsFirstTimeRunning() ? 1 : 0);
    std::fflush(stdout);
    ApplicationResource::SaveUserOptions(false);
    if (what == "crash") {
        raise(SIGKILL);
    }
    ApplicationResource::SaveUserOptions(true);
    RegistryEntry entry("HKEY_CURRENT_USER\\Software\\Test\\Count");
    String const value = entry.getValue();
    std::printf("registry %s type %u\n", value.c_str(), static_cast<unsigned>(entry.type));
}

class ApplicationHostTest : public Testing::TempFolderTest {};

TEST_F(ApplicationHostTest, TheInstanceLockEndsWithItsHolder) {
    std::string const name = "host-test-" + std::to_string(getpid());
    Helper helper;
    bool refused_while_held = false;
    helper.on_line = [&](std::string const & line) {
        if (line == "lock taken") {
            refused_while_held = !ApplicationResource::GlobalLock(name.c_str(), ApplicationResource::MACHINE);
        }
    };
    EXPECT_NE(helper.run("lock:" + name).find("lock taken"), std::string::npos);
    EXPECT_TRUE(refused_while_held);
    EXPECT_TRUE(ApplicationResource::GlobalLock(name.c_str(), ApplicationResource::MACHINE));
    EXPECT_NE(Helper().run("lock:" + name).find("lock refused"), std::string::npos) << "refused while we hold it";
    ProcessPlatform::ReleaseInstanceLocks();
}

TEST_F(ApplicationHostTest, AKilledRunIsReportedAsImproperAtTheNextStart) {
    struct Step {
        char const * job;
        char const * reported;
    } const steps[] = {
        {"orderly", "last run proper 1 first 1"},
        {"crash", "last run proper 1 first 0"},
        {"orderly", "last run proper 0 first 0"},
        {"orderly", "last run proper 1 first 0"},
    };
    for (Step const & step : steps) {
        SCOPED_TRACE(step.job);
        EXPECT_NE(Helper().run(step.job).find(step.reported), std::string::npos);
    }
}

TEST_F(ApplicationHostTest, RegistryValuesOfEachTypeSurviveAFreshProcess) {
    struct Case {
        RegistyEntryType type;
        char const * text;
        char const * read;
    } const cases[] = {
        {REG_SZ, "a = b\\n ü", "a = b\\n ü"},
        {REG_EXPAND_SZ, "$(HOME)", "$(HOME)"},
        {REG_DWORD, "4294967295", "4294967295"},
        {REG_QWORD, "18446744073709551615", "18446744073709551615"},
        {REG_BINARY, "42", "42"},
        {REG_MULTI_SZ, "x", ""},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.text);
        RegistryEntry entry("HKEY_CURRENT_USER", "Software\\Test", "Count");
        entry.type = row.type;
        EXPECT_TRUE(entry.setValue(row.text));
        std::string const expected = std::string("registry ") + row.read + " type " + std::to_string(row.type);
        std::string const output = Helper().run("orderly");
        EXPECT_NE(output.find(expected), std::string::npos) << output;
    }
    RegistryEntry number("HKEY_CURRENT_USER\\Software\\Test\\Small");
    number.type = REG_DWORD;
    for (char const * bad : {"4294967296", "-1", "12x", ""}) {
        SCOPED_TRACE(bad);
        EXPECT_THROW(number.setValue(bad), Exception);
    }
    StringAllocatingView label;
    StringStream<RegistyEntryType>::toString(static_cast<RegistyEntryType>(12), label);
    EXPECT_EQ(Std(label.view()), "null");
}

TEST_F(ApplicationHostTest, VariablesResolveThroughTheTablesInOrder) {
    Testing::ScopedVariable outside("QELTA_TEST_ORDER", "process");
    EXPECT_EQ(Std(EnvironmentalVariable::GetEnvironmentalVariable("QELTA_TEST_ORDER").view()), "process");
    EnvironmentalVariable::SetProgramEnvironmentalVariable("QELTA_TEST_ORDER", "program");
    EXPECT_EQ(Std(EnvironmentalVariable::GetEnvironmentalVariable("QELTA_TEST_ORDER").view()), "program");
    EnvironmentalVariable::SetSystemEnvironmentalVariable("QELTA_TEST_ORDER", "system", false, LogPtr());
    EXPECT_EQ(Std(EnvironmentalVariable::GetEnvironmentalVariable("QELTA_TEST_ORDER").view()), "system");
    EnvironmentalVariable::SetUserEnvironmentalVariable("QELTA_TEST_ORDER", "user", false, LogPtr());
    EXPECT_EQ(Std(EnvironmentalVariable::GetEnvironmentalVariable("QELTA_TEST_ORDER").view()), "user");
    EXPECT_EQ(Testing::ReadAll(root() + "/config/environment.d/60-qelta.conf"), "QELTA_TEST_ORDER=user\n");
    for (char const * spelling : {"TEMP", "temp", "Temp"}) {
        EXPECT_EQ(Std(EnvironmentalVariable::GetEnvironmentalVariable(spelling).view()),
                  Std(FileResource::OSTempFolder().view()));
    }
}

TEST_F(ApplicationHostTest, ExpansionReplacesEveryFormAndStopsOnSelfReference) {
    EnvironmentalVariable::SetProgramEnvironmentalVariable("QELTA_A", "alpha");
    EnvironmentalVariable::SetProgramEnvironmentalVariable("QELTA_B", "[%QELTA_A%]");
    EnvironmentalVariable::SetProgramEnvironmentalVariable("QELTA_LOOP", "x%QELTA_LOOP%");
    struct Case {
        char const * text;
        char const * resolved;
    } const cases[] = {
        {"$(QELTA_A)/%QELTA_A%/${QELTA_A}/$QELTA_A.", "alpha/alpha/alpha/alpha."},
        {"%QELTA_B% and %QELTA_B%", "[alpha] and [alpha]"},
        {"a $(QELTA_A no close", "a $(QELTA_A no close"},
        {"<%QELTA_NOT_SET_ANYWHERE%>", "<>"},
        {"$QELTA_NOT_SET_ANYWHERE ${QELTA_NOT_SET_ANYWHERE}", "$QELTA_NOT_SET_ANYWHERE ${QELTA_NOT_SET_ANYWHERE}"},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Std(EnvironmentalVariable::ResolveEnvironmentalVariables(row.text).view()), row.resolved);
    }
    String const loop = EnvironmentalVariable::ResolveEnvironmentalVariables("%QELTA_LOOP%");
    EXPECT_LE(loop.size(), EnvironmentalVariable::max_resolved_bytes + 16);
}

TEST_F(ApplicationHostTest, TheMachineIsReadFromAFolderOfMadeUpFiles) {
    std::string const fake = root() + "/machine-root";
    for (char const * folder : {"/etc", "/proc/sys/kernel", "/proc/self", "/sys/class/dmi/id",
                                "/sys/bus/pci/devices/0000:01:00.0", "/sys/bus/pci/devices/0000:00:1f.0"}) {
        std::filesystem::create_directories(fake + folder);
    }
    Testing::WriteAll(fake + "/etc/os-release", "NAME=Plain\n# PRETTY_NAME=no\nPRETTY_NAME=\"Made \\\"Up\\\" OS 3\"\n");
    Testing::WriteAll(fake + "/proc/sys/kernel/osrelease", "6.12.70-generic\n");
    Testing::WriteAll(fake + "/proc/cpuinfo", "processor\t: 0\nmodel name\t: Fake CPU @ 1GHz\n\nprocessor\t: 1\n");
    Testing::WriteAll(fake + "/proc/meminfo", "MemFree:  5 kB\nMemTotal:       16318420 kB\n");
    Testing::WriteAll(fake + "/proc/self/status", "Name:\tx\nCpus_allowed:\t3\n");
    Testing::WriteAll(fake + "/sys/class/dmi/id/sys_vendor", "Acme Corp\n");
    std::string const card = fake + "/sys/bus/pci/devices/0000:01:00.0/";
    Testing::WriteAll(card + "class", "0x030000\n");
    Testing::WriteAll(card + "vendor", "0x10de\n");
    Testing::WriteAll(card + "device", "0x1c82\n");
    Testing::WriteAll(card + "resource", "0x00000000f6000000 0x00000000f6ffffff 0x0000000000040200\n"
                                         "0x00000000e0000000 0x00000000efffffff 0x000000000014220c\n");
    Testing::WriteAll(fake + "/sys/bus/pci/devices/0000:00:1f.0/class", "0x060100\n");

    SystemInformation::SetSystemRootForTesting(File(fake.c_str()));
    OSInformation const os = ApplicationResource::GetOSInformation();
    HardwareInformation const hardware = ApplicationResource::GetHardwareInformation();
    MemoryInfoPipe pipe;
    ApplicationResource::LogComputerInformation(LogPtr(&pipe));
    ApplicationResource::LogOSInformation(LogPtr(&pipe));
    SystemInformation::SetSystemRootForTesting(File());

    EXPECT_EQ(Std(os.os_name.view()), "Made \"Up\" OS 3");
    EXPECT_EQ(Std(os.versionText().view()), "6.12.70");
    EXPECT_EQ(Std(hardware.manufacturer.view()), "Acme Corp");
    EXPECT_EQ(Std(hardware.model.view()), "Not set");
    EXPECT_EQ(hardware.number_of_processors, 2u);
    EXPECT_EQ(Std(hardware.processor_type.view()), "Fake CPU @ 1GHz");
    EXPECT_EQ(Std(hardware.active_processor_mask.view()), "3");
    EXPECT_EQ(hardware.installed_memory, 16318420u);
    ASSERT_EQ(hardware.video_cards.size(), 1u);
    VideoCardInformation const & video = hardware.video_cards[0];
    EXPECT_EQ(Std(video.name.view()), "NVIDIA 0x1c82");
    EXPECT_EQ(Std(video.device_id.view()), "0000:01:00.0");
    EXPECT_EQ(video.card_class, 1);
    EXPECT_EQ(video.video_memory, 256u << 20);
    EXPECT_EQ(Std(video.status.view()), "Unknown Config Manager Error Code: 28");
    std::string log;
    for (LogMessage const & message : pipe.messages()) {
        log += Std(message.rawMessage().view()) + "\n";
    }
    EXPECT_NE(log.find("Computer Manufacturer: Acme Corp\nComputer Model: Not set\nHardware information: \n"
                       "  OEM ID: Not set\n  Number of processors: 2\n"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("Video Card Information: \n  NVIDIA 0x1c82\n  0000:01:00.0\n"), std::string::npos) << log;
    EXPECT_NE(log.find("Video Memory: 256\nMade \"Up\" OS 3 6.12.70\n"), std::string::npos) << log;
}

TEST_F(ApplicationHostTest, AnEmptyRootGivesNotSetRowsAndNoFailure) {
    SystemInformation::SetSystemRootForTesting(File((root() + "/nothing-here").c_str()));
    HardwareInformation const hardware = ApplicationResource::GetHardwareInformation();
    OSInformation const os = ApplicationResource::GetOSInformation();
    SystemInformation::SetSystemRootForTesting(File());
    EXPECT_EQ(Std(hardware.manufacturer.view()), "Not set");
    EXPECT_EQ(Std(os.os_name.view()), "Not set");
    EXPECT_TRUE(hardware.video_cards.isEmpty());
}

TEST(ApplicationIdentityTest, NamesForEachPlatform) {
    ApplicationResource::application_name.set(TranslatedString::DirectString("My App"));
    EXPECT_EQ(Std(ApplicationResource::ApplicationSystemID("windows").view()), "QELTA.MyApp");
    EXPECT_EQ(Std(ApplicationResource::ApplicationSystemID("android").view()), "org.qelta.my_app");
    EXPECT_EQ(Std(ApplicationResource::AppContextName(true).view()), "my_app");
    ApplicationResource::release_type.set(ApplicationResource::BETA);
    EXPECT_EQ(Std(ApplicationResource::ApplicationDisplayName().view()), "My App (Beta Version)");
    ApplicationResource::release_type.set(ApplicationResource::RELEASE);
    ApplicationResource::application_name.set(TranslatedString());
    EXPECT_EQ(Std(ApplicationResource::OSType()), "linux");
    Time const built = ApplicationResource::BuildTime();
    EXPECT_TRUE(built.isValid());
    EXPECT_LE(built, Time::SystemTime());
}

class Answering : public PermissionHandler {
  public:
    explicit Answering(PermissionState state) : state_(state) {}
    PermissionState checkPermission(StringView const &) override {
        ++asked;
        return state_;
    }
    PermissionState requestPermission(StringView const & name) override { return checkPermission(name); }
    int asked = 0;

  private:
    PermissionState state_;
};

TEST(PermissionManagerTest, TheFirstAnswerWinsAndNobodyMeansGranted) {
    EXPECT_TRUE(PermissionManager::HasCamera());
    Answering silent(0), refusing(1), granting(2);
    PermissionManager::AddPermissionHandler(&silent);
    PermissionManager::AddPermissionHandler(&refusing);
    PermissionManager::AddPermissionHandler(&granting);
    EXPECT_FALSE(PermissionManager::RequestMicrophone());
    EXPECT_EQ(granting.asked, 0);
    EXPECT_EQ(silent.asked, 1);
    PermissionManager::RemovePermissionHandler(&refusing);
    EXPECT_TRUE(PermissionManager::HasLocationWhenInUse());
    PermissionManager::RemovePermissionHandler(&silent);
    PermissionManager::RemovePermissionHandler(&granting);
}

} // namespace
} // namespace QELTA
