// Aligned heap blocks on POSIX: posix_memalign, with realloc and a copy when realloc loses the
// alignment. Pages: an anonymous mapping, trimmed to the huge page alignment, with the kernel's
// transparent huge pages asked for.
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

void * MemoryPlatform::AllocatePages(std::size_t bytes) noexcept {
    if (bytes == 0 || bytes > SIZE_MAX - huge_page) {
        return nullptr;
    }
    std::size_t const mapped = bytes + huge_page;
    void * const map = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (map == MAP_FAILED) {
        return nullptr;
    }
    auto const start = reinterpret_cast<std::uintptr_t>(map);
    auto const aligned = (start + huge_page - 1) & ~(huge_page - 1);
    if (aligned != start) {
        munmap(map, aligned - start);
    }
    std::size_t const tail = start + mapped - (aligned + bytes);
    if (tail != 0) {
        munmap(reinterpret_cast<void *>(aligned + bytes), tail);
    }
#if defined(MADV_HUGEPAGE)
    madvise(reinterpret_cast<void *>(aligned), bytes, MADV_HUGEPAGE); // a hint: failure is harmless
#endif
    return reinterpret_cast<void *>(aligned);
}

void MemoryPlatform::FreePages(void * block, std::size_t bytes) noexcept {
    if (block != nullptr) {
        munmap(block, bytes);
    }
}

} // namespace QELTA
