// UTF8Iterator: reads a UTF-8 text one character at a time, as 16-bit code units.
//
// It borrows the bytes like a StringView and owns nothing. It has no lock. It never fails and
// never reads outside its view: a sequence cut short by the end of the view or by a zero byte
// is decoded with the missing bytes as 0.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringView.h"

namespace QELTA {

// The same two fields as StringView, a pointer and a size; the view shrinks from the front as
// characters are read. Decoding follows String::UTF8toUTF16: no validation, 16-bit results.
class QELTA_BASE_EXPORT UTF8Iterator {
  public:
    constexpr UTF8Iterator() noexcept = default;
    constexpr UTF8Iterator(StringView const & text) noexcept : data_(text.data()), size_(text.size()) {}

    // The next character, or 0 when the view is empty. A zero byte and the characters that
    // decode to 0 (U+10000 loses its high bits) also give 0: walks that stop at 0 stop there.
    wchar_t nextChar() noexcept {
        unsigned int advance = 0;
        wchar_t const c = DecodeChar(data_, size_, advance);
        data_ += advance;
        size_ -= advance;
        return c;
    }

    // The byte offset of the next character from the start of `origin`, the view this one
    // was made from.
    unsigned int location(StringView const & origin) const noexcept {
        return static_cast<unsigned int>(data_ - origin.data());
    }

    // The bytes not read yet.
    StringView remaining() const noexcept { return StringView(data_, size_); }
    bool isEmpty() const noexcept { return size_ == 0; }

    // Decodes one character from at most `available` bytes and adds the bytes read to
    // `advance`. By lead byte: below 0x80 itself; 0xC0-0xDF two bytes; 0xE0-0xEF three;
    // 0xF0-0xF7 four, 0xF8-0xFB five, 0xFC-0xFD six, of which only the last three count, the
    // first of them unmasked; any other byte is itself and costs one byte. The result is cut to
    // 16 bits. A continuation that is missing or 0 ends the sequence early and counts as 0.
    // `available` of 0 gives 0 and reads nothing.
    static wchar_t DecodeChar(char const * bytes, unsigned int available, unsigned int & advance) noexcept {
        if (available == 0) {
            return 0;
        }
        unsigned int const lead = static_cast<unsigned char>(bytes[0]);
        unsigned int length = 1;
        if (lead >= 0xC0 && lead <= 0xFD) {
            length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : lead < 0xFC ? 5 : 6;
        }
        if (length == 1) {
            advance += 1;
            return static_cast<wchar_t>(lead);
        }
        unsigned int b[6] = {lead, 0, 0, 0, 0, 0};
        unsigned int read = 1;
        // Deliberately stops at a zero byte: the stored rule reads the full length, past a text's end.
        while (read < length && read < available && bytes[read] != 0) {
            b[read] = static_cast<unsigned char>(bytes[read]);
            ++read;
        }
        advance += read;
        unsigned int value;
        if (length == 2) {
            value = (b[0] & 31) * 64 + (b[1] & 63);
        } else {
            unsigned int const first = length - 3; // the lead byte for three bytes, then the ones behind it
            value = b[first] * 4096 + (b[first + 1] & 63) * 64 + (b[first + 2] & 63);
        }
        return static_cast<wchar_t>(value & 0xFFFF);
    }

  private:
    char const * data_ = nullptr;
    unsigned int size_ = 0;
};

} // namespace QELTA
