// Fuzz target: the dependency names of a library file. The bytes are read as a library held in
// memory and, written to a file, as one on disk; both reads must give the same names, each of
// them non-empty, without a zero byte and within the length limit. Nothing may read outside the
// bytes, loop forever or raise.
#include "Base/Host/Platform/ModulePlatform.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>

namespace {

using namespace QELTA;

using Fuzzing::Check;
using Fuzzing::ScratchFile;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Buffer<String> const in_memory = ModulePlatform::ListDirectDependencies(data, size);
    for (String const & name : in_memory) {
        Check(!name.isEmpty() && name.size() <= ModulePlatform::max_dependency_name);
        Check(name.view().indexOf('\0') == 0xFFFFFFFFu);
    }
    Check(in_memory.size() <= ModulePlatform::max_dependencies);
    static ScratchFile const library("elf", "");
    Buffer<String> const on_disk = ModulePlatform::ListDirectDependencies(StringView(library.fill(data, size)));
    Check(on_disk.size() == in_memory.size());
    for (unsigned int i = 0; i < on_disk.size(); ++i) {
        Check(on_disk[i].view() == in_memory[i].view());
    }
    return 0;
}
