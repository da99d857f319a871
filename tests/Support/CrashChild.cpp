// The child of the crash tests: makes its CrashManager top level with a dump folder and a
// callback that writes what it is given to "callback.txt" in that folder, then faults.
//
//   CrashChild null|throw FOLDER
#include "Base/Failure/CrashManager.h"
#include "Base/Files/File.h"
#include "Base/Text/String.h"

#include <sys/resource.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace {

[[gnu::noinline]] void CrashByNullPointer(int volatile * target) {
    *target = 1;
}

[[gnu::noinline]] void ThrowUncaught() {
    throw std::runtime_error("boom");
}

} // namespace

int main(int argc, char ** argv) {
    using namespace QELTA;
    if (argc < 3) {
        return 2;
    }
    // The test wants the signal, not a core file in the build folder.
    rlimit const no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    std::string const mode = argv[1];
    std::string const folder = argv[2];
    CrashManager manager;
    manager.setMiniDumpDirectory(File(String(folder.c_str())));
    manager.setCallback([folder](Exception const & error) {
        std::ofstream out(folder + "/callback.txt");
        out << error.title().englishTranslation().c_str() << "\n" << error.message().englishTranslation().c_str();
    });
    manager.setAsTopLevelExceptionHandler();
    if (mode == "null") {
        int volatile * volatile nothing = nullptr;
        CrashByNullPointer(nothing);
    } else if (mode == "throw") {
        ThrowUncaught();
    }
    return 0;
}
