// example_host: the order of start and the order of stop of a program built on the library.
//
// It names its primary thread, fills its identity, takes the single-instance lock, reads and
// saves the user's options, sets up its logs, finds its modules (in the folder QELTA_EXAMPLE_MODULES
// names, if any) and drives every stage, then stops with the exit handlers, the modules' exit,
// the orderly save and CloseApp. QELTA_EXAMPLE_HOLD_MS keeps it running that long in between, so
// that a second instance started beside it meets the lock.
#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Failure/ExitHandler.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Logging/LogManager.h"
#include "Base/Logging/STDOutputStream.h"

#include <cstdio>
#include <cstdlib>

using namespace QELTA;

namespace {

constexpr char const * stages[] = {
    "SetupMetatypesForQELTA",   "RegisterUserSettingsForQELTA", "SetupFileStructureForQELTA", "SetupFactoriesForQELTA",
    "SetUpdateCheckerForQELTA", "SetupManualsForQELTA",         "SetupUIThemesForQELTA",      "SetupUIForQELTA",
};

} // namespace

int main(int argc, char ** argv) {
    ThreadFunctions::SetPrimaryThreadID(ThreadFunctions::CurrentThreadID());
    ThreadFunctions::SetCurrentThreadName("Example Host");
    ApplicationResource::application_name.set(TranslatedString::DirectString("Example Host"));
    ApplicationResource::application_version.set(String("1.0"));
    Buffer<String> options;
    for (int i = 1; i < argc; ++i) {
        options.add(String(argv[i]));
    }
    ApplicationResource::startup_options.set(options);

    if (!ApplicationResource::GlobalLock("QELTAExampleHost", ApplicationResource::MACHINE)) {
        std::printf("another instance is running\n");
        return 3;
    }
    std::printf("holds the instance lock\n");
    ApplicationResource::ReadUserOptions();
    std::printf("last run ended properly: %s, first run: %s\n",
                ApplicationResource::last_proper_shutdown ? "yes" : "no",
                ApplicationResource::IsFirstTimeRunning() ? "yes" : "no");
    ApplicationResource::SaveUserOptions(false);

    LogManager logs;
    STDOutputStream console;
    logs.addStream(&console, false);
    logs.logStartupInformation("host");

    ModuleManager::SetMainProgramModuleName("example_host");
    ModuleManager::ReadModuleSettings();
    if (char const * folder = std::getenv("QELTA_EXAMPLE_MODULES")) {
        ModuleManager::FindModules(File(folder));
    }
    for (char const * stage : stages) {
        ModuleManager::CallModuleFunction(stage);
    }
    ModuleManager::SetInitialized(nullptr, nullptr);
    std::printf("started with %u modules\n", ModuleManager::ordered_modules().size());

    if (char const * hold = std::getenv("QELTA_EXAMPLE_HOLD_MS")) {
        ThreadFunctions::RequestSleep(std::strtoull(hold, nullptr, 10));
    }

    ExitHandlerManager::RunAll();
    ModuleManager::OnExit();
    ApplicationResource::SaveUserOptions(true);
    logs.removeStream(&console);
    std::printf("stopped in order\n");
    std::fflush(stdout);
    ApplicationResource::CloseApp(false, "");
}
