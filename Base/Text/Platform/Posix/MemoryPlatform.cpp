// Aligned heap blocks on POSIX: posix_memalign, with realloc and a copy when realloc loses the alignment.
#include "Base/Text/Platform/MemoryPlatform.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace QELTA {

void * MemoryPlatform::AllocateAligned(std::size_t bytes, std::size_t alignment) noexcept {
    void * block = nullptr;
    if (alignment < sizeof(void *)) {
        alignment = sizeof(void *);
    }
    if (posix_memalign(&block, alignment, bytes == 0 ? 1 : bytes) != 0) {
        return nullptr;
    }
    return block;
}

void * MemoryPlatform::ReallocateAligned(void * block, std::size_t bytes, std::size_t alignment) noexcept {
    if (block == nullptr) {
        return AllocateAligned(bytes, alignment);
    }
    void * grown = std::realloc(block, bytes == 0 ? 1 : bytes);
    if (grown == nullptr) {
        std::free(block);
        return nullptr;
    }
    if (reinterpret_cast<std::uintptr_t>(grown) % alignment == 0) {
        return grown;
    }
    // realloc keeps the contents but not the alignment: move them to an aligned block.
    void * aligned = AllocateAligned(bytes, alignment);
    if (aligned != nullptr) {
        std::memcpy(aligned, grown, bytes);
    }
    std::free(grown);
    return aligned;
}

void MemoryPlatform::FreeAligned(void * block) noexcept {
    std::free(block);
}

} // namespace QELTA
