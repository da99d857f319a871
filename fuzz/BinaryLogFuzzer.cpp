// Fuzz target: binary logs read by LogManager. Byte 0 chooses the format version (with or
// without session numbers); the rest is the file, read in memory mode into a fresh manager and
// then written out and read again. Counts that run past the lists, nested managers without end
// and blocks that lie are the faults looked for; the block reader's data errors are answers.
#include "Base/Failure/Exception.h"
#include "Base/Files/BinaryFile.h"
#include "Base/Logging/LogManager.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    using namespace QELTA;
    unsigned long long const version = (data[0] & 1) != 0 ? LogManager::session_version : 1;
    LogManager manager;
    try {
        BinaryFile file(data + 1, size - 1);
        manager.readFromFile(file, version);
    } catch (Exception const &) {
        // What was read before the failing block stays in the manager.
    }
    BinaryFile out;
    out.cachedOpen(false);
    manager.writeToFile(out, 0, NO_COMPRESSION);
    BinaryFile again(out.cachedData());
    LogManager copy;
    copy.readFromFile(again, LogManager::session_version);
    return 0;
}
