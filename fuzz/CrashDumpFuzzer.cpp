// Fuzz target: crash dumps read back. The bytes are the dump; every record kind, cut records,
// sizes that lie and unknown kinds must leave CrashDump with what precedes them, never a read
// outside the bytes. Each frame's function is made readable, as qelta crash-report shows it.
#include "Base/Failure/CrashManager.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    QELTA::CrashDump dump;
    if (!dump.read(data, size)) {
        return 0;
    }
    (void)dump.signalName();
    for (QELTA::CrashDump::Frame const & frame : dump.frames) {
        if (frame.module.size() + frame.symbol.size() + 24 > size) {
            std::abort();
        }
        (void)frame.function();
    }
    return 0;
}
