// Fuzz target: zip extraction through minizip. The first byte chooses whether a password is
// given, so that encrypted entries go through the cipher. The extraction may raise the library's
// Exception and nothing else, and must write nothing beside its target folder.
#include "Base/Failure/Exception.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Text/PasswordString.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

namespace fs = std::filesystem;
using namespace QELTA;

// The folder of the archive and of the extraction. "could not read file global info" goes to the
// standard output.
struct Scratch {
    Fuzzing::ScratchFolder folder{"zip"};
    Scratch() {
        std::freopen("/dev/null", "w", stdout);
        Exception::SetReportChannelForTesting([](StringView const &) {});
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static Scratch const scratch;
    std::string const & folder = scratch.folder.path();
    if (size == 0) {
        return 0;
    }
    std::string const archive = scratch.folder.fill("archive.zip", data + 1, size - 1);
    ArchiveExtraction extraction;
    extraction.entry_limit = 1u << 20;
    extraction.total_limit = 4u << 20;
    PasswordString const password = (data[0] & 1) != 0 ? PasswordString::Encode("secret") : PasswordString();
    try {
        Compressor::ZLibDecompressFile(File(String(archive)), File(String(folder + "/target/")), password, extraction);
    } catch (Exception const &) {
    }
    for (fs::directory_entry const & entry : fs::directory_iterator(folder)) {
        std::string const name = entry.path().filename().string();
        if (name != "archive.zip" && name != "target") {
            std::abort();
        }
    }
    std::error_code ignored;
    fs::remove_all(folder + "/target", ignored);
    return 0;
}
