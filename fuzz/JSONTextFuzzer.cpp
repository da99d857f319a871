// Fuzz target: the JSON reader. The bytes are read as a JSON file, searched for the member "a" as
// a larger text is, and taken as a string to escape and unescape. Every tree is written back
// compact and pretty, its names are checked against a plain count of its children, and it is read
// as an option group twice (new options, then known ones), which is
// written back in both its forms. Nothing may read outside its data, loop forever, overflow the
// stack or raise anything but the reader's "JSON Error"; escaping and unescaping must give the
// text back.
#include "Base/Failure/Exception.h"
#include "Base/Settings/GenericOption.h"
#include "Base/Settings/JSONNode.h"
#include "Base/Text/String.h"
#include "fuzz/Support/TreeNames.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace QELTA;

void WriteBothWays(JSONNode const & node) {
    String out;
    node.write(out);
    node.writePretty(out, 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    StringView const text(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    try {
        JSONNode const node = JSONNode::ParseText(text);
        WriteBothWays(node);
        Fuzzing::CheckNames(node);
        GenericOptionGroup group;
        group.fromJSONNode(node);
        group.fromJSONNode(node);
        WriteBothWays(group.toJSONNode(false));
        WriteBothWays(group.toJSONNode(true));
    } catch (Exception const &) {
    }
    try {
        WriteBothWays(JSONNode(String("a"), text));
    } catch (Exception const &) {
    }
    String const original(text);
    String escaped(text);
    JSONNode::ConvertToJSONString(escaped);
    JSONNode::ConvertFromJSONString(escaped);
    if (escaped.view() != original.view()) {
        std::abort();
    }
    return 0;
}
