// Fuzz target: the text forms of what a module needs. Any text read as a firewall opening must
// write a text that reads back as the same opening; dropping two items from the text as a key
// list must leave exactly the other items, in order, as a plain split and filter gives them.
#include "Base/Host/ModuleResourceManager.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace QELTA;

using Fuzzing::Check;

std::vector<std::string_view> Items(std::string_view list) {
    std::vector<std::string_view> items;
    for (std::size_t start = 0;;) {
        std::size_t const end = list.find('|', start);
        items.push_back(list.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
        if (end == std::string_view::npos) {
            return items;
        }
        start = end + 1;
    }
}

bool SameOpening(FireWallException const & a, FireWallException const & b) {
    return a.protocol.view() == b.protocol.view() && a.profile.view() == b.profile.view() &&
           a.address.view() == b.address.view() && a.port == b.port && a.enabled == b.enabled;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 0xFFFF) {
        return 0;
    }
    std::string_view const text(reinterpret_cast<char const *>(data), size);
    StringView const view(text.data(), static_cast<unsigned int>(text.size()));

    FireWallException const opening =
        ModuleDependency(FIREWALL_DEPENDENCY, view, OSType::all, ConfigType::all, PlatformType::all)
            .getAsFirewallException();
    ModuleDependency const written(opening, OSType::all, ConfigType::all, PlatformType::all);
    Check(SameOpening(written.getAsFirewallException(), opening));

    std::vector<std::string_view> const items = Items(text);
    std::string_view const first = items[0];
    std::string_view const second = items.size() > 1 ? items[1] : std::string_view("x86");
    std::string expected;
    bool any = false;
    for (std::string_view const item : items) {
        if (item != first && item != second) {
            expected.append(any ? "|" : "").append(item);
            any = true;
        }
    }
    String list(view);
    ModuleConfiguration::Remove(list, {StringView(first.data(), static_cast<unsigned int>(first.size())),
                                       StringView(second.data(), static_cast<unsigned int>(second.size()))});
    Check(std::string_view(list.view()) == expected);
    return 0;
}
