// BitReference and BitFlag: a single bit of packed storage, and a byte used as a set of flags.
//
// Both are plain values with no lock. A BitReference refers into storage that its creator
// keeps alive; it never owns it.
#pragma once

namespace QELTA {

// Refers to bit `bit` (0 = lowest) of the byte at `byte`; reads and writes like a bool.
class BitReference {
  public:
    BitReference(unsigned char * byte, unsigned int bit) noexcept
        : byte_(byte), mask_(static_cast<unsigned char>(1u << bit)) {}

    operator bool() const noexcept { return (*byte_ & mask_) != 0; }

    BitReference & operator=(bool value) noexcept {
        *byte_ = static_cast<unsigned char>(value ? (*byte_ | mask_) : (*byte_ & ~mask_));
        return *this;
    }

    BitReference & operator=(BitReference const & other) noexcept { return *this = static_cast<bool>(other); }

  private:
    unsigned char * byte_;
    unsigned char mask_;
};

// A byte of flags. Its text form is the byte's number.
struct BitFlag {
    unsigned char value = 0;

    constexpr bool isSet(unsigned int bit) const noexcept { return (value >> bit & 1u) != 0; }
    constexpr void set(unsigned int bit, bool on) noexcept {
        value = static_cast<unsigned char>(on ? (value | (1u << bit)) : (value & ~(1u << bit)));
    }
    constexpr bool operator==(BitFlag const &) const noexcept = default;
};

} // namespace QELTA
