// Fuzz target: the module list. The bytes are a "ModuleList" in a folder that holds no library;
// finding the modules it names must load none, report each refused name through the error
// callback instead of raising, and never look outside the folder.
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Text/String.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace QELTA;

std::string Folder() {
    std::string folder = "/dev/shm/qelta-fuzz-modules-" + std::to_string(getpid()) + "/";
    mkdir(folder.c_str(), 0700);
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static std::string const folder = Folder();
    std::string const list = folder + "ModuleList";
    if (std::FILE * out = std::fopen(list.c_str(), "wb")) {
        std::fwrite(data, 1, size, out);
        std::fclose(out);
    }
    ModuleManager::ResetForTesting();
    ModuleManager::SetErrorCallback([](Exception const &) {});
    try {
        ModuleManager::FindModules(File(String(folder.c_str())));
    } catch (...) {
        std::abort();
    }
    if (!ModuleManager::ordered_modules().isEmpty() || !ModuleManager::modules().isEmpty()) {
        std::abort();
    }
    return 0;
}
