// UnitNames: the text hash of keyword switches over unit names, worked out at compile time.
//
// Plain functions with no state; nothing raises.
#pragma once

namespace QELTA::UnitNames {

// The hash of StringView::hash, for case labels: 5381, then h * 33 + each byte as a signed char.
constexpr unsigned long long Hash(char const * text) noexcept {
    unsigned long long hash = 5381;
    for (; *text != 0; ++text) {
        hash = hash * 33 + static_cast<unsigned long long>(static_cast<long long>(static_cast<signed char>(*text)));
    }
    return hash;
}

} // namespace QELTA::UnitNames
