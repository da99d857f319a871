// Fuzz target: the binary settings reader. The bytes are a binary settings file, read into
// options of every type whose labels hash to the records' keys; the values are then written in
// the binary form and read back, and each must come back with the same text (strings whose
// payload is too long for the format excepted). Nothing may read or write outside its buffers.
#include "Base/Files/File.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace QELTA;

using Fuzzing::ScratchFile;

// One target of each type, entered under the labels "a" to "i".
struct Targets {
    char letter = 0;
    unsigned int number = 0;
    bool flag = false;
    File path;
    String text;
    Time time;
    TimeSpan span;
    UUID id;
    Vector<64, bool> bits;

    void addTo(INIFactory & factory) {
        factory.addINIOption("a", new INIFactory::INIObject<char>(&letter));
        factory.addINIOption("b", new INIFactory::INIObject<unsigned int>(&number));
        factory.addINIOption("c", new INIFactory::INIObject<bool>(&flag));
        factory.addINIOption("d", new INIFactory::INIObject<File>(&path));
        factory.addINIOption("e", new INIFactory::INIObject<String>(&text));
        factory.addINIOption("f", new INIFactory::INIObject<Time>(&time));
        factory.addINIOption("g", new INIFactory::INIObject<TimeSpan>(&span));
        factory.addINIOption("h", new INIFactory::INIObject<UUID>(&id));
        factory.addINIOption("i", new INIFactory::INIObject<Vector<64, bool>>(&bits));
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static ScratchFile const settings("inib", ".inib");
    static ScratchFile const written("inib-again", ".inib");
    File in(String(settings.fill(data, size).c_str()));
    Targets first;
    INIFactory reader;
    first.addTo(reader);
    reader.readBinaryFile(in);

    File out(String(written.path().c_str()));
    out.open(File::WRITE_BINARY); // so the writer doesn't stage and sync a temporary file each run
    reader.writeToBinaryFile(out);
    out.close();
    Targets second;
    INIFactory again;
    second.addTo(again);
    again.readBinaryFile(out);
    for (char const * label : {"a", "b", "c", "d", "e", "f", "g", "h", "i"}) {
        String const text = reader.getOption(label, "");
        if (text.size() + 1 >= INIFactory::binary_payload_limit) {
            continue;
        }
        if (!(text == again.getOption(label, ""))) {
            std::abort();
        }
    }
    return 0;
}
