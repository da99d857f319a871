// Base64 encoding and the decoder of both alphabets, with its block path for long texts.
#include "Base/Text/Base64Encoder.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Language/Internal/Translatable.h"

#include <array>

namespace QELTA {
namespace {

constexpr char invalid_text[] = "Input is not valid base64-encoded data.";

constexpr char digits[2][65] = {
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_",
};

constexpr unsigned char not_a_digit = 0xFF;
constexpr unsigned int fast_path_minimum = 20; // shorter texts go group by group
constexpr unsigned int block_characters = 16;

// The value of each byte as a digit of either alphabet, or not_a_digit.
constexpr auto digit_values = [] {
    std::array<unsigned char, 256> values{};
    values.fill(not_a_digit);
    for (unsigned int alphabet = 0; alphabet < 2; ++alphabet) {
        for (unsigned int value = 0; value < 64; ++value) {
            values[static_cast<unsigned char>(digits[alphabet][value])] = static_cast<unsigned char>(value);
        }
    }
    return values;
}();

[[noreturn]] void RaiseInvalid() {
    throw Exception(Internal::Translatable(invalid_text), false);
}

bool IsPadding(char c) noexcept {
    return c == '=' || c == '.';
}

// Decodes the groups of text[from, size) one by one, appending to `out` at `written`.
unsigned int DecodeGroups(StringView const & text, unsigned int from, unsigned char * out, unsigned int written) {
    unsigned int const size = text.size();
    for (unsigned int index = from; index < size; index += 4) {
        unsigned int const first = Base64Encoder::pos_of_char(static_cast<unsigned char>(text[index]));
        if (index + 1 >= size) {
            RaiseInvalid(); // a group of one character: its second would be the terminator
        }
        unsigned int const second = Base64Encoder::pos_of_char(static_cast<unsigned char>(text[index + 1]));
        out[written++] = static_cast<unsigned char>((first << 2) | (second >> 4));
        if (index + 2 >= size || IsPadding(text[index + 2])) {
            continue;
        }
        unsigned int const third = Base64Encoder::pos_of_char(static_cast<unsigned char>(text[index + 2]));
        out[written++] = static_cast<unsigned char>(((second & 0x0F) << 4) | (third >> 2));
        if (index + 3 >= size || IsPadding(text[index + 3])) {
            continue;
        }
        unsigned int const fourth = Base64Encoder::pos_of_char(static_cast<unsigned char>(text[index + 3]));
        out[written++] = static_cast<unsigned char>(((third & 0x03) << 6) | fourth);
    }
    return written;
}

// Decodes whole blocks of 16 digits while they hold only digits, stopping at least 4 characters
// before the end; returns the index where the group-by-group path goes on.
unsigned int DecodeBlocks(StringView const & text, unsigned char * out, unsigned int & written) {
    unsigned char const * const bytes = reinterpret_cast<unsigned char const *>(text.data());
    unsigned int index = 0;
    while (index + block_characters + 4 <= text.size()) {
        unsigned int values[block_characters];
        unsigned int invalid = 0;
        for (unsigned int i = 0; i < block_characters; ++i) {
            values[i] = digit_values[bytes[index + i]];
            invalid |= values[i] & 0x80u;
        }
        if (invalid != 0) {
            break;
        }
        for (unsigned int group = 0; group < block_characters; group += 4) {
            unsigned int const packed =
                (values[group] << 18) | (values[group + 1] << 12) | (values[group + 2] << 6) | values[group + 3];
            out[written++] = static_cast<unsigned char>(packed >> 16);
            out[written++] = static_cast<unsigned char>(packed >> 8);
            out[written++] = static_cast<unsigned char>(packed);
        }
        index += block_characters;
    }
    return index;
}

Buffer<unsigned char> Decode(StringView const & text, bool blocks) {
    Buffer<unsigned char> bytes;
    if (text.isEmpty()) {
        return bytes;
    }
    // Each group of up to 4 characters gives up to 3 bytes.
    unsigned int const most = (text.size() / 4 + 1) * 3;
    bytes.setSize(most);
    if (bytes.size() != most) {
        return Buffer<unsigned char>(); // no memory: nothing decoded
    }
    unsigned int written = 0;
    unsigned int const rest =
        blocks && text.size() >= fast_path_minimum ? DecodeBlocks(text, bytes.data(), written) : 0;
    written = DecodeGroups(text, rest, bytes.data(), written);
    bytes.setSize(written);
    return bytes;
}

} // namespace

unsigned int Base64Encoder::pos_of_char(unsigned char c) {
    unsigned char const value = digit_values[c];
    if (value == not_a_digit) {
        RaiseInvalid();
    }
    return value;
}

void Base64Encoder::AppendBase64To(String & out, unsigned char const * data, unsigned int size,
                                   Base64Alphabet alphabet) {
    if (size == 0) {
        return;
    }
    char const * const digit = digits[alphabet == URL_SAFE_ALPHABET ? 1 : 0];
    unsigned int const start = out.size();
    unsigned long long const needed = start + (static_cast<unsigned long long>(size) + 2) / 3 * 4;
    if (needed > 0xFFFFFFF0ull) {
        return; // beyond what a text can hold
    }
    out.setSize(static_cast<unsigned int>(needed));
    if (out.size() != needed) {
        return; // no memory: the text stays as it was
    }
    char * write = out.data() + start;
    unsigned int index = 0;
    for (; index + 3 <= size; index += 3) {
        unsigned int const packed = (data[index] << 16) | (data[index + 1] << 8) | data[index + 2];
        write[0] = digit[packed >> 18];
        write[1] = digit[(packed >> 12) & 0x3F];
        write[2] = digit[(packed >> 6) & 0x3F];
        write[3] = digit[packed & 0x3F];
        write += 4;
    }
    if (index < size) {
        unsigned int const packed = (data[index] << 16) | (index + 1 < size ? data[index + 1] << 8 : 0);
        write[0] = digit[packed >> 18];
        write[1] = digit[(packed >> 12) & 0x3F];
        write[2] = index + 1 < size ? digit[(packed >> 6) & 0x3F] : '=';
        write[3] = '=';
    }
}

String Base64Encoder::EncodeToBase64(unsigned char const * data, unsigned int size, Base64Alphabet alphabet) {
    String out;
    AppendBase64To(out, data, size, alphabet);
    return out;
}

String Base64Encoder::EncodeToBase64(File const & file, Base64Alphabet alphabet) {
    File reader(file);
    File::ByteBuffer const content = reader.getData();
    return EncodeToBase64(content.data(), content.size(), alphabet);
}

Buffer<unsigned char> Base64Encoder::DecodeFromBase64(StringView const & text) {
    return Decode(text, true);
}

Buffer<unsigned char> Base64Encoder::DecodeFromBase64Reference(StringView const & text) {
    return Decode(text, false);
}

} // namespace QELTA
