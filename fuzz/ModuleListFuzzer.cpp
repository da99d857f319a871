// Fuzz target: the module list. The bytes are a "ModuleList" in a folder that holds no library;
// finding the modules it names must load none, report each refused name through the error
// callback instead of raising, and never look outside the folder.
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace QELTA;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static Fuzzing::ScratchFolder const folder("modules");
    folder.fill(ModuleManager::module_list_file, data, size);
    ModuleManager::ResetForTesting();
    ModuleManager::SetErrorCallback([](Exception const &) {});
    try {
        ModuleManager::FindModules(File(String(folder.path() + "/")));
    } catch (...) {
        std::abort();
    }
    if (!ModuleManager::ordered_modules().isEmpty() || !ModuleManager::modules().isEmpty()) {
        std::abort();
    }
    return 0;
}
