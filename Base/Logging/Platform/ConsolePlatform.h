// ConsolePlatform: what the console streams need to know about the terminal.
//
// All functions are thread-safe and never throw; a stream that cannot be asked is no terminal.
#pragma once

#include "Base/Export.h"

#include <cstdio>

namespace QELTA {

class QELTA_BASE_EXPORT ConsolePlatform {
  public:
    ConsolePlatform() = delete;

    // Whether `stream` writes to a terminal, which understands carriage returns and cursor moves.
    static bool IsTerminal(std::FILE * stream) noexcept;
};

} // namespace QELTA
