// Fuzz target: the ascii settings reader. The bytes are a settings file; it is read into a factory
// with one typed option, written back, and read again into a fresh factory, which must hold the
// same options with the same texts. Nothing may read outside its data, loop forever or raise but
// the reader's FileException for a line too long for the scanner.
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace QELTA;

using Fuzzing::ScratchFile;

File LibraryPath(std::string const & path) {
    return File(String(path.c_str()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static ScratchFile const settings("ini", ".ini");
    static ScratchFile const written("ini-again", ".ini");
    unsigned int typed = 0;
    INIFactory first;
    first.addINIOption("typed", new INIFactory::INIObject<unsigned int>(&typed));
    File in = LibraryPath(settings.fill(data, size));
    try {
        first.readAsciiFile(in);
    } catch (FileException const &) {
        return 0; // a line longer than the scanner takes
    }
    // Opened here, so the writer doesn't stage and sync a temporary file on every run.
    File out = LibraryPath(written.path());
    out.open(File::WRITE_TEXT);
    first.writeToAsciiFile(out, false);
    out.close();
    unsigned int typed_again = 0;
    INIFactory second;
    second.addINIOption("typed", new INIFactory::INIObject<unsigned int>(&typed_again));
    second.readAsciiFile(out);
    Dictionary<String, String> const extras = first.extraOptions();
    Dictionary<String, String> const extras_again = second.extraOptions();
    if (typed != typed_again || extras.size() != extras_again.size()) {
        std::abort();
    }
    for (auto const & [label, text] : extras) {
        auto const found = extras_again.find(label);
        if (found == extras_again.end() || !(found->value() == text)) {
            std::abort();
        }
    }
    return 0;
}
