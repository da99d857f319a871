// SafeText: text built in a fixed buffer, for code that runs inside a signal handler.
//
// No operation allocates, locks or calls the C library; text that does not fit is cut, and the
// buffer always ends in a zero byte. Used by one thread at a time.
#pragma once

#include <cstddef>

namespace QELTA::Internal {

template <std::size_t Capacity>
class SafeText {
  public:
    SafeText() noexcept { data_[0] = 0; }

    char const * data() const noexcept { return data_; }
    std::size_t size() const noexcept { return size_; }
    void clear() noexcept {
        size_ = 0;
        data_[0] = 0;
    }

    SafeText & append(char c) noexcept {
        if (size_ + 1 < Capacity) {
            data_[size_++] = c;
            data_[size_] = 0;
        }
        return *this;
    }
    SafeText & append(char const * text, std::size_t size) noexcept {
        for (std::size_t i = 0; i < size; ++i) {
            append(text[i]);
        }
        return *this;
    }
    // A zero-terminated text; null appends nothing.
    SafeText & append(char const * text) noexcept {
        for (; text != nullptr && *text != 0; ++text) {
            append(*text);
        }
        return *this;
    }
    // `value` in decimal, at least `digits` digits.
    SafeText & appendDecimal(unsigned long long value, unsigned int digits = 1) noexcept {
        char reversed[24];
        unsigned int count = 0;
        do {
            reversed[count++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0 && count < sizeof(reversed));
        for (; count < digits && count < sizeof(reversed); ++count) {
            reversed[count] = '0';
        }
        while (count > 0) {
            append(reversed[--count]);
        }
        return *this;
    }
    // "0x" and `value` in lower-case hexadecimal digits.
    SafeText & appendHex(unsigned long long value) noexcept {
        append("0x");
        char reversed[16];
        unsigned int count = 0;
        do {
            unsigned int const digit = static_cast<unsigned int>(value & 15);
            reversed[count++] = static_cast<char>(digit < 10 ? '0' + digit : 'a' + digit - 10);
            value >>= 4;
        } while (value != 0 && count < sizeof(reversed));
        while (count > 0) {
            append(reversed[--count]);
        }
        return *this;
    }

  private:
    char data_[Capacity];
    std::size_t size_ = 0;
};

} // namespace QELTA::Internal
