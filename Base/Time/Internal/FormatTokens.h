// The token replacement of the time format language, shared by Time and TimeSpan texts.
//
// Plain functions on caller-owned text; reentrant. They never read outside the text.
#pragma once

#include "Base/Text/String.h"

#include <cstring>
#include <utility>

namespace QELTA::Internal {

// A token of the format language: a run of one letter ("YYYY" is {'Y', 4}).
struct FormatToken {
    char letter;
    unsigned char length;
};

// The first index at or after `from` where `token` occurs in `text` (inside a longer run too), or
// String::not_found.
inline unsigned int FindToken(String const & text, unsigned int from, FormatToken const & token) noexcept {
    char const * const data = text.data();
    unsigned int const size = text.size();
    for (unsigned int index = from; index + token.length <= size; ++index) {
        if (data[index] != token.letter) {
            continue;
        }
        unsigned int run = 1;
        while (run < token.length && data[index + run] == token.letter) {
            ++run;
        }
        if (run == token.length) {
            return index;
        }
        index += run; // the run was too short; nothing inside it can start a match
    }
    return String::not_found;
}

// The text of one token's value, kept on the stack: at most 31 bytes (names and 20-digit counts).
class TokenValue {
  public:
    static constexpr unsigned int capacity = 31;

    void append(char c) noexcept {
        if (size_ < capacity) {
            text_[size_++] = c;
        }
    }
    void append(StringView const & text) noexcept {
        for (unsigned int index = 0; index < text.size(); ++index) {
            append(text[index]);
        }
    }
    void clear() noexcept { size_ = 0; }
    char const * data() const noexcept { return text_; }
    unsigned int size() const noexcept { return size_; }
    StringView view() const noexcept { return StringView(text_, size_); }

  private:
    char text_[capacity];
    unsigned int size_ = 0;
};

// Replaces, for each of the `count` tokens in order, every occurrence in `text` from left to right
// by the text that `append_value(token_index, value)` appends to a TokenValue; replaced text is
// never searched again and later tokens see the replacements of earlier ones. `append_value` is
// called once for each token that occurs. Values as long as their token are written in place.
template <class AppendValue>
void ReplaceTokens(String & text, FormatToken const * tokens, unsigned int count, AppendValue && append_value) {
    bool present[256] = {};
    for (unsigned int index = 0; index < text.size(); ++index) {
        present[static_cast<unsigned char>(text[index])] = true;
    }
    TokenValue value;
    for (unsigned int token_index = 0; token_index < count; ++token_index) {
        FormatToken const & token = tokens[token_index];
        if (!present[static_cast<unsigned char>(token.letter)]) {
            continue;
        }
        unsigned int found = FindToken(text, 0, token);
        if (found == String::not_found) {
            continue;
        }
        value.clear();
        append_value(token_index, value);
        if (value.size() == token.length) {
            while (found != String::not_found) {
                std::memcpy(text.data() + found, value.data(), token.length);
                found = FindToken(text, found + token.length, token);
            }
            continue;
        }
        String replaced;
        unsigned int copied = 0;
        while (found != String::not_found) {
            replaced.append(StringView(text.data() + copied, found - copied));
            replaced.append(value.view());
            copied = found + token.length;
            found = FindToken(text, copied, token);
        }
        replaced.append(StringView(text.data() + copied, text.size() - copied));
        text = std::move(replaced);
        for (unsigned int index = 0; index < value.size(); ++index) {
            present[static_cast<unsigned char>(value.data()[index])] = true;
        }
    }
}

// Both token tables begin with the seven fraction tokens "fffffff" to "f", in this order: the
// value of fraction token `token` is the sub-second nanoseconds cut to 7 - token digits.
inline constexpr unsigned int fraction_token_count = 7;

constexpr unsigned long long FractionValue(unsigned int token, unsigned long long sub_second) noexcept {
    constexpr unsigned long long divisors[fraction_token_count] = {100,     1000,     10000,    100000,
                                                                   1000000, 10000000, 100000000};
    return sub_second / divisors[token];
}

// Appends `value` in decimal, zero-padded to at least `width` digits.
inline void AppendDigits(TokenValue & out, unsigned long long value, unsigned int width) noexcept {
    char digits[24];
    unsigned int length = 0;
    do {
        digits[length++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (; width > length; --width) {
        out.append('0');
    }
    while (length > 0) {
        out.append(digits[--length]);
    }
}

// Appends `value` in decimal with a '-' when negative, the digits zero-padded to `width`.
inline void AppendSignedDigits(TokenValue & out, long long value, unsigned int width) noexcept {
    if (value < 0) {
        out.append('-');
        AppendDigits(out, 0ull - static_cast<unsigned long long>(value), width);
    } else {
        AppendDigits(out, static_cast<unsigned long long>(value), width);
    }
}

} // namespace QELTA::Internal
