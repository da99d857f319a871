// RandomPlatform: random bytes from the operating system, for random identifiers.
//
// Thread-safe and never throws. The bytes come from the system's cryptographic source; when it
// cannot be reached at all, the bytes that could not be read are left as they were, so callers
// that need a defined value fill the buffer first.
#pragma once

#include "Base/Export.h"

#include <cstddef>

namespace QELTA {

class QELTA_BASE_EXPORT RandomPlatform {
  public:
    RandomPlatform() = delete;

    // Fills `size` bytes at `bytes` with random values.
    static void FillRandom(unsigned char * bytes, std::size_t size) noexcept;
};

} // namespace QELTA
