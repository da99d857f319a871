// Fuzz target: the YAML reader. The bytes are a YAML file; the tree is written back as JSON,
// compact and pretty. The reader reports nothing, so nothing may raise at all, read outside its
// data, loop forever or overflow the stack.
#include "Base/Files/BufferedScanner.h"
#include "Base/Settings/JSONNode.h"
#include "Base/Text/String.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    using namespace QELTA;
    BufferedScanner scanner(StringView(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size)), 0);
    JSONNode const node = JSONNode::ParseYAML(scanner);
    String out;
    node.write(out);
    node.writePretty(out, 0);
    return 0;
}
