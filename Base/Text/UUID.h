// UUID: the library's 16-byte identity, random or derived from content, and its text form.
//
// A UUID is a plain value of 16 bytes with no other field; it owns nothing and may be copied and
// read from any thread. CreateUUID() may be called from any thread. Nothing raises: a text that
// cannot be read gives the invalid value.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <type_traits>

namespace QELTA {

template <unsigned int N, class T>
class Vector; // Base/Geometry/Vector.h

// Sixteen bytes, compared byte by byte. The invalid value has all 16 bytes equal to 0xFF, and it
// is what a default-constructed UUID holds. Derived identifiers (appendUUID) are the MD5 digest of
// the 16 bytes of this UUID followed by the bytes of the value, so a chain of calls depends on
// their order; such ids are stable across runs and platforms.
class QELTA_BASE_EXPORT UUID {
  public:
    static constexpr std::size_t size = 16;

    unsigned char bytes[size];

    constexpr UUID() noexcept
        : bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF} {}

    static constexpr UUID Invalid() noexcept { return UUID(); }
    bool isValid() const noexcept { return *this != Invalid(); }

    // A new random identifier, with the version 4 and variant bits set.
    static UUID CreateUUID() noexcept;

    // A fast, weak identifier for names: start from the invalid value and XOR byte i of the text
    // into byte i mod 16. Permutations in steps of 16 bytes collide; the empty text gives Invalid.
    static UUID CreateUUID(StringView const & text) noexcept;

    UUID appendUUID(UUID const & value) const noexcept;
    // An empty text adds the 8 fixed bytes 73 38 96 94 12 18 2C 01 instead of nothing.
    UUID appendUUID(StringView const & value) const noexcept;
    // The three floats in memory form, 12 bytes.
    UUID appendUUID(Vector<3, float> const & value) const noexcept;
    UUID appendUUID(int value) const noexcept; // 4 bytes little-endian, the same as unsigned int
    UUID appendUUID(unsigned int value) const noexcept;
    UUID appendUUID(long long value) const noexcept; // 8 bytes little-endian, as unsigned long long
    UUID appendUUID(unsigned long long value) const noexcept;
    UUID appendUUID(float value) const noexcept;  // 4 bytes in memory form
    UUID appendUUID(double value) const noexcept; // 8 bytes in memory form
    // 8 fixed bytes: 23 85 98 24 28 14 21 0C for true, 3A 2C 64 C1 3D 94 28 01 for false.
    UUID appendBoolUUID(bool value) const noexcept;

    // A lock key: the sum of the 16 byte values as a pointer-sized number. Only 4081 results
    // exist, so different UUIDs may share a key. Never dereference it.
    unsigned char * getUniquePointer() const noexcept;

    friend bool operator==(UUID const & left, UUID const & right) noexcept {
        return std::memcmp(left.bytes, right.bytes, size) == 0;
    }
    friend bool operator!=(UUID const & left, UUID const & right) noexcept { return !(left == right); }
    // Byte order, byte 0 first.
    friend bool operator<(UUID const & left, UUID const & right) noexcept {
        return std::memcmp(left.bytes, right.bytes, size) < 0;
    }

    // The 64-bit fold of the two halves: for i from 0 to 7, h = (h << 8) | (bytes[i] ^ bytes[i + 8]).
    std::uint64_t hash() const noexcept {
        std::uint64_t h = 0;
        for (std::size_t i = 0; i < size / 2; ++i) {
            h = (h << 8) | static_cast<std::uint64_t>(bytes[i] ^ bytes[i + size / 2]);
        }
        return h;
    }

  private:
    // The digest of this UUID's bytes followed by `size` bytes at `value`.
    UUID derive(void const * value, std::size_t size) const noexcept;
};

static_assert(sizeof(UUID) == 16);
static_assert(std::is_trivially_copyable_v<UUID> && std::is_standard_layout_v<UUID>);

template <>
struct DictionaryHash<UUID> {
    std::uint64_t operator()(UUID const & key) const noexcept { return key.hash(); }
    std::uint64_t secret(UUID const & key) const noexcept { return DictionarySecretHash(&key, sizeof(UUID)); }
};

// Text form: 36 characters, lower-case hexadecimal in byte order (byte 0 first, no swapping),
// grouped 4-2-2-2-6 bytes by dashes. Reading skips a '-' anywhere and pairs hexadecimal digits of
// either case, high digit first. A byte that is neither, anything but '-' after 16 complete
// bytes, or fewer than 16 complete bytes at the end, gives the invalid value.
template <>
class QELTA_BASE_EXPORT StringStream<UUID> {
  public:
    static void fromString(StringView const & text, UUID & value) noexcept;
    static void toString(UUID const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA

template <>
struct std::hash<QELTA::UUID> {
    std::size_t operator()(QELTA::UUID const & id) const noexcept { return static_cast<std::size_t>(id.hash()); }
};
