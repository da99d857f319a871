// Fuzz target: dBASE tables. The bytes are a table; both dumps run on it, with a field name taken
// from the first descriptor and with none. Only std::logic_error may leave them, and every dump
// must end.
#include "Base/Files/DBFParser.h"
#include "Base/Files/File.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace QELTA;

std::string Folder() {
    std::string const folder = "/dev/shm/qelta-fuzz-dbf-" + std::to_string(getpid());
    fs::create_directories(folder);
    // DumpFields reports its counts on the standard output.
    std::freopen("/dev/null", "w", stdout);
    return folder;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static std::string const folder = Folder();
    std::string const table = folder + "/table.dbf";
    std::string const out = folder + "/out.txt";
    if (std::FILE * file = std::fopen(table.c_str(), "wb")) {
        std::fwrite(data, 1, size, file);
        std::fclose(file);
    }
    char name[12] = {};
    if (size > 32 + 11) {
        std::memcpy(name, data + 32, 11);
    }
    char const * names[] = {name};
    try {
        DBFParser all{File(String(table))};
        all.DumpAll(out.c_str());
        DBFParser one{File(String(table))};
        one.DumpFields(out.c_str(), names, 1);
        DBFParser none{File(String(table))};
        none.DumpFields(out.c_str(), names, 0);
    } catch (std::logic_error const &) {
    }
    return 0;
}
