// Fuzz target: tar extraction. The first byte chooses whether the rest is written as it stands
// or gzip-compressed first, so that the fuzzer reaches the records through both readers. Whatever
// the archive holds, the extraction must end with a result code, write nothing beside its target
// folder and leave no symbolic link that starts at a root.
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/File.h"
#include "Base/Files/TAR.h"
#include "fuzz/Support/FuzzInput.h"

#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using namespace QELTA;

// Only the archive and the target may stand in the folder, and no link below the target may
// start at a root.
void CheckConfined(std::string const & folder) {
    for (fs::directory_entry const & entry : fs::directory_iterator(folder)) {
        std::string const name = entry.path().filename().string();
        if (name != "archive" && name != "target") {
            std::abort();
        }
    }
    std::error_code ignored;
    for (fs::recursive_directory_iterator walk(folder + "/target", ignored), end; walk != end;
         walk.increment(ignored)) {
        if (walk->is_symlink() && fs::read_symlink(walk->path(), ignored).is_absolute()) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static Fuzzing::ScratchFolder const scratch("tar");
    std::string const & folder = scratch.path();
    std::string const archive = folder + "/archive";
    if (size == 0) {
        return 0;
    }
    if ((data[0] & 1) != 0) {
        gzFile out = gzopen(archive.c_str(), "wb1");
        gzwrite(out, data + 1, static_cast<unsigned int>(size - 1));
        gzclose(out);
    } else {
        Fuzzing::WriteFile(archive, data + 1, size - 1);
    }
    ArchiveExtraction extraction;
    extraction.entry_limit = 1u << 20;
    extraction.total_limit = 4u << 20;
    TAR::Extract(File(String(archive)), File(String(folder + "/target/")), extraction);
    CheckConfined(folder);
    std::error_code ignored;
    fs::remove_all(folder + "/target", ignored);
    return 0;
}
