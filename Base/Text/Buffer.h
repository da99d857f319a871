// Buffer: the library's one growable array, with a fixed growth and relocation rule.
//
// A Buffer owns its elements. It has no lock: reading from many threads is safe while no
// thread writes. It reports nothing: indices are not checked, and a failed allocation leaves
// the buffer without storage (data() null, or the shared empty text for char) while
// capacity() keeps the value that was asked for. Elements are relocated by raw bytes
// (realloc and memmove), so an element type must stay valid when its bytes move: no element
// may hold a pointer into itself.
#pragma once

#include "Base/Text/Platform/MemoryPlatform.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

namespace QELTA {

// Empty, non-polymorphic root of every Buffer; a common base type and nothing more.
class BufferBase {};

// The compile-time policy of a Buffer. `Alignment` is 0 (plain heap) or 8, 16, 32, 64 bytes;
// `Primitive` 1 means plain data that is block-copied and never constructed or destroyed;
// `IndexType` is the type of sizes and indices. The last two arguments select nothing.
template <class T, unsigned int Alignment, int Primitive, class IndexType, int Reserved1 = 0, int Reserved2 = 0>
struct BufferAllocator {
    using Element = T;
    using Index = IndexType;
    static constexpr unsigned int alignment = Alignment;
    static constexpr bool primitive = Primitive != 0;

    static_assert(Alignment == 0 || Alignment == 8 || Alignment == 16 || Alignment == 32 || Alignment == 64,
                  "Buffer alignment is 0, 8, 16, 32 or 64 bytes");
    static_assert(std::is_unsigned_v<IndexType>, "Buffer indices are unsigned");

    static void * Allocate(std::size_t bytes) noexcept {
        if constexpr (Alignment <= 16) {
            return std::malloc(bytes);
        } else {
            return MemoryPlatform::AllocateAligned(bytes, Alignment);
        }
    }

    // On failure the old block is released and null returned.
    static void * Reallocate(void * block, std::size_t bytes) noexcept {
        if constexpr (Alignment <= 16) {
            void * grown = std::realloc(block, bytes);
            if (grown == nullptr) {
                std::free(block);
            }
            return grown;
        } else {
            return MemoryPlatform::ReallocateAligned(block, bytes, Alignment);
        }
    }

    static void Free(void * block) noexcept {
        if constexpr (Alignment <= 16) {
            std::free(block);
        } else {
            MemoryPlatform::FreeAligned(block);
        }
    }
};

// Alignment taken from the element size: 0 below 8 bytes, else the largest of 8, 16, 32, 64
// that does not exceed the size.
template <class T>
inline constexpr unsigned int
    buffer_alignment_for = sizeof(T) < 8 ? 0
                                         : (sizeof(T) >= 64 ? 64 : (sizeof(T) >= 32 ? 32 : (sizeof(T) >= 16 ? 16 : 8)));

template <class T>
inline constexpr int buffer_primitive_for = std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>;

template <class T, class IndexType = unsigned int>
using DefaultBufferAllocator = BufferAllocator<T, buffer_alignment_for<T>, buffer_primitive_for<T>, IndexType, 0, 0>;

namespace BufferDetail {
// The one empty, zero-terminated text that every char buffer without storage points at.
// It is never written: a char buffer writes its terminator only while it owns storage.
inline constexpr char empty_text[1] = {0};
} // namespace BufferDetail

// Growable array of `data`, `size` and `capacity`, in this order.
//
// Growth: a request for exactly one element more than the capacity grows by the byte rule of
// NextCapacity (doubling below 256 bytes, then by half, rounded to 64 B, 4 KiB, 64 KiB or 2 MiB);
// a larger request takes exactly the requested count and never over-allocates.
//
// Buffer<char> keeps one extra byte behind the capacity and a 0 at data()[size()] whenever it
// owns storage; without storage data() is the shared empty text, so data() is never null.
template <class T, class Allocator = DefaultBufferAllocator<T>>
class Buffer : public BufferBase {
  public:
    using Index = typename Allocator::Index;
    using value_type = T;
    using iterator = T *;
    using const_iterator = T const *;

    static constexpr Index not_found = static_cast<Index>(~Index(0));
    static constexpr bool is_text = std::is_same_v<T, char>;

    Buffer() noexcept : data_(EmptyData()), size_(0), capacity_(0) {}

    Buffer(std::initializer_list<T> values) : Buffer() { append(values.begin(), static_cast<Index>(values.size())); }

    Buffer(T const * values, Index count) : Buffer() { append(values, count); }

    Buffer(Buffer const & other) : Buffer() { append(other.data_, other.size_); }

    Buffer(Buffer && other) noexcept : data_(other.data_), size_(other.size_), capacity_(other.capacity_) {
        other.data_ = EmptyData();
        other.size_ = 0;
        other.capacity_ = 0;
    }

    ~Buffer() {
        if (capacity_ != 0) {
            DestroyRange(data_, size_);
            releaseStorage();
        }
    }

    Buffer & operator=(Buffer const & other) {
        if (this != &other) {
            clear();
            append(other.data_, other.size_);
        }
        return *this;
    }

    Buffer & operator=(Buffer && other) noexcept {
        if (this != &other) {
            if (capacity_ != 0) {
                DestroyRange(data_, size_);
                releaseStorage();
            }
            data_ = other.data_;
            size_ = other.size_;
            capacity_ = other.capacity_;
            other.data_ = EmptyData();
            other.size_ = 0;
            other.capacity_ = 0;
        }
        return *this;
    }

    Index size() const noexcept { return size_; }
    Index capacity() const noexcept { return capacity_; }
    bool isEmpty() const noexcept { return size_ == 0; }

    T * data() noexcept { return data_; }
    T const * data() const noexcept { return data_; }

    T * begin() noexcept { return data_; }
    T * end() noexcept { return data_ + size_; }
    T const * begin() const noexcept { return data_; }
    T const * end() const noexcept { return data_ + size_; }

    T & operator[](Index index) noexcept { return data_[index]; }
    T const & operator[](Index index) const noexcept { return data_[index]; }

    // The final element; undefined on an empty buffer.
    T & last() noexcept { return data_[size_ - 1]; }
    T const & last() const noexcept { return data_[size_ - 1]; }

    T & add(T const & value) {
        if (size_ == capacity_) {
            T copy(value); // `value` may live in this buffer and move with the growth
            reserveFor(static_cast<Index>(size_ + 1));
            return emplaceLast(std::move(copy));
        }
        return emplaceLast(value);
    }

    T & add(T && value) {
        if (size_ == capacity_) {
            T moved(std::move(value));
            reserveFor(static_cast<Index>(size_ + 1));
            return emplaceLast(std::move(moved));
        }
        return emplaceLast(std::move(value));
    }

    // Inserts at `index`, moving the tail up by a block move.
    T & add(Index index, T const & value) {
        T copy(value);
        reserveFor(static_cast<Index>(size_ + 1));
        std::memmove(static_cast<void *>(data_ + index + 1), static_cast<void const *>(data_ + index),
                     sizeof(T) * (size_ - index));
        ::new (static_cast<void *>(data_ + index)) T(std::move(copy));
        setSizeField(static_cast<Index>(size_ + 1));
        return data_[index];
    }

    Buffer & addAll(Buffer const & other) {
        if (&other == this) {
            Buffer copy(other);
            return append(copy.data_, copy.size_);
        }
        return append(other.data_, other.size_);
    }

    // Appends `count` elements copied from `values`, which must not point into this buffer.
    Buffer & append(T const * values, Index count) {
        if (count == 0) {
            return *this;
        }
        reserveFor(static_cast<Index>(size_ + count));
        if (capacity_ < static_cast<Index>(size_ + count) || data_ == nullptr || data_ == EmptyData()) {
            return *this; // allocation failed
        }
        if constexpr (Allocator::primitive) {
            std::memcpy(static_cast<void *>(data_ + size_), static_cast<void const *>(values), sizeof(T) * count);
        } else {
            for (Index i = 0; i < count; ++i) {
                ::new (static_cast<void *>(data_ + size_ + i)) T(values[i]);
            }
        }
        setSizeField(static_cast<Index>(size_ + count));
        return *this;
    }

    // Sets the size; non-primitive elements are default-constructed or destroyed at the end.
    // Primitive elements that appear are left uninitialised.
    void setSize(Index new_size) {
        if (new_size > capacity_) {
            reserveFor(new_size);
        }
        if constexpr (!Allocator::primitive) {
            if (new_size > size_) {
                for (Index i = size_; i < new_size; ++i) {
                    ::new (static_cast<void *>(data_ + i)) T();
                }
            } else {
                DestroyRange(data_ + new_size, static_cast<Index>(size_ - new_size));
            }
        }
        setSizeField(new_size);
    }

    void ensureCapacity(Index count) { reserveFor(count); }

    // Destroys all elements and keeps the allocation.
    void clear() noexcept {
        DestroyRange(data_, size_);
        setSizeField(0);
    }

    // Removes the element at `index`, moving the tail down by a block move. An index past the
    // end removes nothing.
    void removeIndex(Index index) noexcept {
        if (index >= size_) {
            return;
        }
        DestroyRange(data_ + index, 1);
        std::memmove(static_cast<void *>(data_ + index), static_cast<void const *>(data_ + index + 1),
                     sizeof(T) * (size_ - index - 1));
        setSizeField(static_cast<Index>(size_ - 1));
    }

    // Removes the final element; an empty buffer stays as it is.
    void removeLast() noexcept {
        if (size_ == 0) {
            return;
        }
        DestroyRange(data_ + size_ - 1, 1);
        setSizeField(static_cast<Index>(size_ - 1));
    }

    // Position of the first element equal to `value`, or not_found (all bits set).
    Index indexOf(T const & value) const {
        for (Index i = 0; i < size_; ++i) {
            if (data_[i] == value) {
                return i;
            }
        }
        return not_found;
    }

    bool contains(T const & value) const { return indexOf(value) != not_found; }

    void sort() { std::sort(begin(), end()); }

    template <class Less>
    void sort(Less less) {
        std::sort(begin(), end(), less);
    }

    // The capacity that a buffer of capacity `current` takes when `needed` elements must fit.
    static constexpr Index NextCapacity(Index current, Index needed) noexcept {
        if (needed <= current) {
            return current;
        }
        if (needed != static_cast<Index>(current + 1)) {
            return needed; // a bulk request never over-allocates; the asymmetry is deliberate
        }
        constexpr unsigned long long element = sizeof(T);
        unsigned long long const bytes = static_cast<unsigned long long>(current) * element;
        unsigned long long wanted = bytes < 256 ? 2 * bytes : bytes + bytes / 2;
        wanted = std::max({wanted, bytes + 8 * element, static_cast<unsigned long long>(needed) * element});
        unsigned long long const step = wanted < 4096       ? 64
                                        : wanted < 0x10000  ? 4096
                                        : wanted < 0x200000 ? 0x10000
                                                            : 0x200000;
        wanted = (wanted + step - 1) / step * step;
        unsigned long long const count = wanted / element;
        constexpr unsigned long long largest = static_cast<unsigned long long>(static_cast<Index>(~Index(0)));
        return static_cast<Index>(count > largest ? largest : count);
    }

  protected:
    // Makes room for `needed` elements by the growth rule; on failure the buffer loses its storage.
    void reserveFor(Index needed) {
        Index const grown = NextCapacity(capacity_, needed);
        if (grown == capacity_ || grown == 0) {
            return;
        }
        std::size_t const bytes = static_cast<std::size_t>(grown) * sizeof(T) + (is_text ? 1 : 0);
        bool const owns_storage = capacity_ != 0 && data_ != nullptr && data_ != EmptyData();
        void * block = owns_storage ? Allocator::Reallocate(data_, bytes) : Allocator::Allocate(bytes);
        if (block == nullptr) {
            // Kept as designed: storage is gone, capacity keeps the new value, nothing is reported.
            data_ = EmptyData();
            size_ = 0;
            capacity_ = grown;
            return;
        }
        data_ = static_cast<T *>(block);
        capacity_ = grown;
        if constexpr (is_text) {
            if (!owns_storage) {
                data_[size_] = 0;
            }
        }
    }

    // Frees the storage; after a failed growth there is none although the capacity is set.
    void releaseStorage() noexcept {
        if (data_ != EmptyData()) {
            Allocator::Free(data_);
        }
    }

    // Sets the size field and, for text, the terminator behind it.
    void setSizeField(Index new_size) noexcept {
        size_ = new_size;
        if constexpr (is_text) {
            if (capacity_ != 0 && data_ != EmptyData()) {
                data_[new_size] = 0;
            }
        }
    }

    template <class U>
    T & emplaceLast(U && value) {
        if (data_ == nullptr || data_ == EmptyData()) {
            return *data_; // allocation failed; nothing is reported by design
        }
        T * slot = ::new (static_cast<void *>(data_ + size_)) T(std::forward<U>(value));
        setSizeField(static_cast<Index>(size_ + 1));
        return *slot;
    }

    static void DestroyRange(T * first, Index count) noexcept {
        if constexpr (!Allocator::primitive) {
            for (Index i = 0; i < count; ++i) {
                first[i].~T();
            }
        } else {
            (void)first;
            (void)count;
        }
    }

    static T * EmptyData() noexcept {
        if constexpr (is_text) {
            return const_cast<char *>(BufferDetail::empty_text);
        } else {
            return nullptr;
        }
    }

    T * data_;
    Index size_;
    Index capacity_;
};

// Equal sizes and equal elements in order, by T's ==, so that a Buffer may be an observed value.
// Texts compare through their views and are left out.
template <class T, class Allocator>
requires(!std::is_same_v<T, char>) bool operator==(Buffer<T, Allocator> const & left,
                                                   Buffer<T, Allocator> const & right) {
    return left.size() == right.size() && std::equal(left.begin(), left.end(), right.begin());
}

} // namespace QELTA
