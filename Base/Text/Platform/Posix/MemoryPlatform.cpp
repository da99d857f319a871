// Aligned heap blocks on POSIX: posix_memalign, with realloc and a copy when realloc loses the alignment.
// The large-page hint is madvise(MADV_HUGEPAGE) on the block's whole 2 MB stretches.
#include "Base/Text/Platform/MemoryPlatform.h"

#include <sys/mman.h>

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

void MemoryPlatform::AdviseLargeBlock(void * block, std::size_t bytes) noexcept {
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t large_page = std::uintptr_t{2} << 20;
    auto const begin = reinterpret_cast<std::uintptr_t>(block);
    std::uintptr_t const first = (begin + large_page - 1) & ~(large_page - 1);
    std::uintptr_t const last = (begin + bytes) & ~(large_page - 1);
    if (block != nullptr && last > first) {
        // Only advice: a kernel without large pages refuses it, and nothing changes.
        (void)madvise(reinterpret_cast<void *>(first), last - first, MADV_HUGEPAGE);
    }
#else
    (void)block;
    (void)bytes;
#endif
}

} // namespace QELTA
