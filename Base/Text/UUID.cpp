// UUID: random and derived identifiers, the lock key and the text form.
#include "Base/Text/UUID.h"

#include "Base/Geometry/Vector.h"
#include "Base/Text/Internal/MD5.h"
#include "Base/Text/Platform/RandomPlatform.h"
#include "Base/Text/TypeInfo.h"

#include <cstring>

namespace QELTA {

namespace {

constexpr unsigned char empty_text_bytes[8] = {0x73, 0x38, 0x96, 0x94, 0x12, 0x18, 0x2C, 0x01};
constexpr unsigned char true_bytes[8] = {0x23, 0x85, 0x98, 0x24, 0x28, 0x14, 0x21, 0x0C};
constexpr unsigned char false_bytes[8] = {0x3A, 0x2C, 0x64, 0xC1, 0x3D, 0x94, 0x28, 0x01};

constexpr char hex_digits[] = "0123456789abcdef";

// The value of a hexadecimal digit of either case, or -1.
int HexValue(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

UUID UUID::CreateUUID() noexcept {
    UUID id;
    RandomPlatform::FillRandom(id.bytes, size);
    id.bytes[6] = static_cast<unsigned char>((id.bytes[6] & 0x0F) | 0x40); // version 4
    id.bytes[8] = static_cast<unsigned char>((id.bytes[8] & 0x3F) | 0x80); // variant 10xx
    return id;
}

UUID UUID::CreateUUID(StringView const & text) noexcept {
    UUID id;
    for (unsigned int i = 0; i < text.size(); ++i) {
        id.bytes[i % size] ^= static_cast<unsigned char>(text[i]);
    }
    return id;
}

UUID UUID::derive(void const * value, std::size_t value_size) const noexcept {
    MD5 md5;
    md5.update(bytes, size);
    md5.update(value, value_size);
    MD5::Digest const digest = md5.finish();
    UUID id;
    std::memcpy(id.bytes, digest.bytes, size);
    return id;
}

UUID UUID::appendUUID(UUID const & value) const noexcept {
    return derive(value.bytes, size);
}

UUID UUID::appendUUID(StringView const & value) const noexcept {
    if (value.isEmpty()) {
        return derive(empty_text_bytes, sizeof(empty_text_bytes));
    }
    return derive(value.data(), value.size());
}

UUID UUID::appendUUID(Vector<3, float> const & value) const noexcept {
    return derive(value.values, sizeof(value.values));
}

UUID UUID::appendUUID(int value) const noexcept {
    return appendUUID(static_cast<unsigned int>(value));
}

UUID UUID::appendUUID(unsigned int value) const noexcept {
    unsigned char little[4];
    for (unsigned int i = 0; i < 4; ++i) {
        little[i] = static_cast<unsigned char>(value >> (8 * i));
    }
    return derive(little, sizeof(little));
}

UUID UUID::appendUUID(long long value) const noexcept {
    return appendUUID(static_cast<unsigned long long>(value));
}

UUID UUID::appendUUID(unsigned long long value) const noexcept {
    unsigned char little[8];
    for (unsigned int i = 0; i < 8; ++i) {
        little[i] = static_cast<unsigned char>(value >> (8 * i));
    }
    return derive(little, sizeof(little));
}

UUID UUID::appendUUID(float value) const noexcept {
    return derive(&value, sizeof(value));
}

UUID UUID::appendUUID(double value) const noexcept {
    return derive(&value, sizeof(value));
}

UUID UUID::appendBoolUUID(bool value) const noexcept {
    return value ? derive(true_bytes, sizeof(true_bytes)) : derive(false_bytes, sizeof(false_bytes));
}

unsigned char * UUID::getUniquePointer() const noexcept {
    std::uintptr_t sum = 0;
    for (unsigned char const byte : bytes) {
        sum += byte;
    }
    return reinterpret_cast<unsigned char *>(sum);
}

void StringStream<UUID>::fromString(StringView const & text, UUID & value) noexcept {
    UUID read;
    std::size_t digits = 0; // hexadecimal digits taken so far
    for (char const c : text) {
        if (c == '-') {
            continue;
        }
        int const digit = HexValue(c);
        if (digit < 0 || digits == 2 * UUID::size) {
            value = UUID::Invalid();
            return;
        }
        unsigned char & byte = read.bytes[digits / 2];
        byte = digits % 2 == 0 ? static_cast<unsigned char>(digit << 4)
                               : static_cast<unsigned char>(byte | static_cast<unsigned char>(digit));
        ++digits;
    }
    value = digits == 2 * UUID::size ? read : UUID::Invalid();
}

void StringStream<UUID>::toString(UUID const & value, StringAllocatingView & out) {
    char text[36];
    unsigned int length = 0;
    for (std::size_t i = 0; i < UUID::size; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text[length++] = '-';
        }
        text[length++] = hex_digits[value.bytes[i] >> 4];
        text[length++] = hex_digits[value.bytes[i] & 0x0F];
    }
    out.append(StringView(text, length));
}

char const * StringStream<UUID>::getValidRegex() noexcept {
    return TypeInfoRegex::uuid_regex;
}

} // namespace QELTA
