// ZipCipher: the classic zip encryption (the traditional PKWARE stream cipher), both ways.
//
// minizip as the system ships it may be built without encryption, so encrypted entries are
// written and read raw and the cipher runs here. A plain value on the caller's thread; nothing
// raises. The scheme is weak and kept only because archives use it.
#pragma once

#include "Base/Text/StringView.h"

#include <cstddef>
#include <cstdint>

namespace QELTA::Internal {

class ZipCipher {
  public:
    // The bytes of the header that every encrypted entry begins with: random bytes, then the top
    // two bytes of the check sum (the last one tests the password when reading).
    static constexpr unsigned int header_size = 12;

    // The keys made from the bytes of the password.
    explicit ZipCipher(StringView const & password) noexcept;

    // In place, in the order of the entry's bytes.
    void encrypt(unsigned char * bytes, std::size_t count) noexcept;
    void decrypt(unsigned char * bytes, std::size_t count) noexcept;

    // Fills `header` with random bytes and the check sum's top bytes, encrypted.
    void makeHeader(unsigned char (&header)[header_size], std::uint32_t crc);

  private:
    unsigned char keyByte() const noexcept;
    void update(unsigned char plain) noexcept;

    std::uint32_t keys_[3];
};

} // namespace QELTA::Internal
