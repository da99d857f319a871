// Fuzz target: parse, write, parse. The bytes are read as a JSON file; a tree that reads is
// written compact and pretty, and each text must read again, without a fault, into an equal tree.
// Three things don't survive the trip by design and exempt a tree: a name holding a byte that
// the writers escape (names are written escaped but read as they stand), a scalar member with an
// empty name (written without a key), and a number with no text (written as nothing).
#include "Base/Failure/Exception.h"
#include "Base/Settings/JSONNode.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace QELTA;

bool NameIsWrittenEscaped(StringView const & name) {
    for (char const c : name) {
        if (c == '\\' || c == '\b' || c == '\f' || c == '\n' || c == '\r' || c == '\t' || c == '"') {
            return true;
        }
    }
    return false;
}

bool IsScalar(JSONNode const & node) {
    return node.type() == JSONNode::NUMBER || node.type() == JSONNode::BOOLEAN || node.type() == JSONNode::STRING;
}

bool SurvivesTheTrip(JSONNode const & top) {
    Buffer<JSONNode const *> work;
    work.add(&top);
    while (!work.isEmpty()) {
        JSONNode const & node = *work.last();
        work.removeLast();
        if (NameIsWrittenEscaped(node.nodeName()) || (node.type() == JSONNode::NUMBER && node.value().isEmpty())) {
            return false;
        }
        for (JSONNode const * child : node.children()) {
            if (node.type() != JSONNode::ARRAY && child->nodeName().isEmpty() && IsScalar(*child)) {
                return false;
            }
            work.add(child);
        }
    }
    return true;
}

void ReadsBackEqual(JSONNode const & first, String const & text) {
    try {
        if (!(JSONNode::ParseText(text) == first)) {
            std::abort();
        }
    } catch (Exception const &) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    StringView const text(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    try {
        JSONNode const first = JSONNode::ParseText(text);
        if (!SurvivesTheTrip(first)) {
            return 0;
        }
        String compact;
        first.write(compact);
        ReadsBackEqual(first, compact);
        String pretty;
        first.writePretty(pretty, 0);
        ReadsBackEqual(first, pretty);
    } catch (Exception const &) {
    }
    return 0;
}
