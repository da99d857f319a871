// Fuzz target: dBASE tables. The bytes are a table; both dumps run on it, with a field name taken
// from the first descriptor and with none. Only std::logic_error may leave them, and every dump
// must end.
#include "Base/Files/DBFParser.h"
#include "Base/Files/File.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using namespace QELTA;

// The folder of the table and of the dumps. DumpFields reports its counts on the standard output.
struct Scratch {
    Fuzzing::ScratchFolder folder{"dbf"};
    Scratch() { std::freopen("/dev/null", "w", stdout); }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static Scratch const scratch;
    std::string const table = scratch.folder.fill("table.dbf", data, size);
    std::string const out = scratch.folder.path() + "/out.txt";
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
