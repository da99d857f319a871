// Aligned heap blocks for buffers whose elements want 32- or 64-byte alignment, and the large-page
// hint for big blocks.
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

    // A hint that the `bytes` bytes at `block`, freshly allocated, are about to be filled and
    // read through: where the system can, it backs them with large pages, which makes the first
    // touch of a block of many megabytes several times cheaper. Changes no byte; smaller blocks
    // and systems without the feature ignore it.
    static void AdviseLargeBlock(void * block, std::size_t bytes) noexcept;
};

} // namespace QELTA
