// Aligned heap blocks for buffers whose elements want 32- or 64-byte alignment.
//
// All functions are thread-safe and never throw. A failed allocation returns null; a failed
// reallocation also releases the block that was passed in, so that nothing leaks (a buffer
// whose growth fails is left empty by design).
#pragma once

#include "Base/Export.h"

#include <cstddef>

namespace QELTA {

class QELTA_BASE_EXPORT MemoryPlatform {
  public:
    MemoryPlatform() = delete;

    // A block of `bytes` bytes at an address that is a multiple of `alignment` (a power of two).
    static void * AllocateAligned(std::size_t bytes, std::size_t alignment) noexcept;

    // Grows or shrinks a block from AllocateAligned, keeping its first `bytes` bytes (or all of
    // the old ones, when fewer) and the alignment. On failure returns null and `block` is freed.
    static void * ReallocateAligned(void * block, std::size_t bytes, std::size_t alignment) noexcept;

    static void FreeAligned(void * block) noexcept;
};

} // namespace QELTA
