// Std: a library text as a std::string, so that test expectations compare and print plainly.
#pragma once

#include "Base/Text/StringView.h"

#include <string>

namespace QELTA::Testing {

inline std::string Std(StringView const & text) {
    return std::string(text.data() == nullptr ? "" : text.data(), text.size());
}

} // namespace QELTA::Testing
