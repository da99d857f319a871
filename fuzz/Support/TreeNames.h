// TreeNames: checks the names of a JSONNode tree against a plain count of its children, for the
// fuzz targets of the JSON and YAML readers.
//
// Not thread-safe; a failed check ends the process through Fuzzing::Check.
#pragma once

#include "Base/Settings/JSONNode.h"
#include "fuzz/Support/FuzzInput.h"

#include <map>
#include <string_view>
#include <vector>

namespace QELTA::Fuzzing {

// Every node's size() is the number of distinct names among its children, each of which finds
// the first child that bears it, as iteration does; an empty name finds nothing.
inline void CheckNames(JSONNode const & root) {
    std::vector<JSONNode const *> work{&root};
    while (!work.empty()) {
        JSONNode const & node = *work.back();
        work.pop_back();
        std::map<std::string_view, JSONNode const *> first;
        for (JSONNode const * child : node.children()) {
            StringView const name = child->nodeName().view();
            if (!name.isEmpty()) {
                first.emplace(std::string_view(name.data(), name.size()), child);
            }
            work.push_back(child);
        }
        Check(node.size() == first.size());
        Check(!node.hasNode(StringView()));
        for (auto const & [name, child] : first) {
            Check(&node.get(StringView(name.data(), static_cast<unsigned int>(name.size()))) == child);
        }
        std::size_t listed = 0;
        for (auto const & entry : node) {
            auto const found = first.find(std::string_view(entry.key().data(), entry.key().size()));
            Check(found != first.end() && found->second == entry.value());
            ++listed;
        }
        Check(listed == first.size());
    }
}

} // namespace QELTA::Fuzzing
