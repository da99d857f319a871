// Fuzz target: zip extraction through minizip. The first byte chooses whether a password is
// given, so that encrypted entries go through the cipher. The extraction may raise the library's
// Exception and nothing else, and must write nothing beside its target folder.
#include "Base/Failure/Exception.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Text/PasswordString.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace QELTA;

std::string Folder() {
    std::string const folder = "/dev/shm/qelta-fuzz-zip-" + std::to_string(getpid());
    fs::create_directories(folder);
    // "could not read file global info" goes to the standard output.
    std::freopen("/dev/null", "w", stdout);
    Exception::SetReportChannelForTesting([](StringView const &) {});
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static std::string const folder = Folder();
    std::string const archive = folder + "/archive.zip";
    if (size == 0) {
        return 0;
    }
    if (std::FILE * out = std::fopen(archive.c_str(), "wb")) {
        std::fwrite(data + 1, 1, size - 1, out);
        std::fclose(out);
    }
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
