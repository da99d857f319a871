// The keys of the classic zip encryption: three 32-bit registers stepped by CRC-32 and a linear
// congruence, as the zip format's application note defines them.
#include "Base/Files/Internal/ZipCipher.h"

#include "Base/Text/UUID.h"

#include <zlib.h>

namespace QELTA::Internal {
namespace {

std::uint32_t CrcStep(std::uint32_t crc, unsigned char byte) noexcept {
    static z_crc_t const * const table = get_crc_table();
    return table[(crc ^ byte) & 0xFF] ^ (crc >> 8);
}

} // namespace

ZipCipher::ZipCipher(StringView const & password) noexcept : keys_{0x12345678u, 0x23456789u, 0x34567890u} {
    for (unsigned int i = 0; i < password.size(); ++i) {
        update(static_cast<unsigned char>(password[i]));
    }
}

unsigned char ZipCipher::keyByte() const noexcept {
    std::uint32_t const temp = (keys_[2] & 0xFFFFu) | 2u;
    return static_cast<unsigned char>((temp * (temp ^ 1u)) >> 8);
}

void ZipCipher::update(unsigned char plain) noexcept {
    keys_[0] = CrcStep(keys_[0], plain);
    keys_[1] = (keys_[1] + (keys_[0] & 0xFF)) * 134775813u + 1u;
    keys_[2] = CrcStep(keys_[2], static_cast<unsigned char>(keys_[1] >> 24));
}

void ZipCipher::encrypt(unsigned char * bytes, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        unsigned char const plain = bytes[i];
        bytes[i] = static_cast<unsigned char>(plain ^ keyByte());
        update(plain);
    }
}

void ZipCipher::decrypt(unsigned char * bytes, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(bytes[i] ^ keyByte());
        update(bytes[i]);
    }
}

void ZipCipher::makeHeader(unsigned char (&header)[header_size], std::uint32_t crc) {
    UUID const random = UUID::CreateUUID();
    for (unsigned int i = 0; i < header_size - 2; ++i) {
        header[i] = random.bytes[i];
    }
    header[header_size - 2] = static_cast<unsigned char>(crc >> 16);
    header[header_size - 1] = static_cast<unsigned char>(crc >> 24);
    encrypt(header, header_size);
}

} // namespace QELTA::Internal
