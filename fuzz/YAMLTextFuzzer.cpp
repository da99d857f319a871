// Fuzz target: the YAML reader. The bytes are a YAML file; the tree must equal the one read into
// a node on the heap, its names must be found as a plain count of its children finds them, and it
// is written back as JSON, compact and pretty. The reader reports nothing, so nothing may raise
// at all, read outside its data, loop forever or overflow the stack.
#include "Base/Files/BufferedScanner.h"
#include "Base/Settings/JSONNode.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"
#include "fuzz/Support/TreeNames.h"

#include <cstdint>

namespace {

using namespace QELTA;

// The same read through the reading step of an existing node, which keeps everything on the heap.
class HeapRead : public JSONNode {
  public:
    explicit HeapRead(Scanner & scanner) {
        if (scanner.nextLine()) {
            parseYAMLContent(0, scanner);
        }
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    StringView const text(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    BufferedScanner scanner(text, 0);
    JSONNode const node = JSONNode::ParseYAML(scanner);
    BufferedScanner again(text, 0);
    Fuzzing::Check(node == HeapRead(again));
    Fuzzing::CheckNames(node);
    String out;
    node.write(out);
    node.writePretty(out, 0);
    return 0;
}
