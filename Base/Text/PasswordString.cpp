// Password scrambling, strength and text forms.
#include "Base/Text/PasswordString.h"

#include "Base/Failure/Exception.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Base64Encoder.h"

#include <array>
#include <cctype>
#include <cmath>

#ifndef QELTA_PASSWORD_KEY
#error "QELTA_PASSWORD_KEY (32 hex digits) is chosen by the build"
#endif

namespace QELTA {
namespace {

constexpr unsigned int default_key_size = 16;

constexpr unsigned char HexValue(char c) {
    return static_cast<unsigned char>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

// The build's own key, from the 32 hex digits the build chose.
constexpr auto default_key = [] {
    constexpr char hex[] = QELTA_PASSWORD_KEY;
    static_assert(sizeof(hex) == 2 * default_key_size + 1, "the password key is 32 hex digits");
    std::array<char, default_key_size> key{};
    for (unsigned int i = 0; i < default_key_size; ++i) {
        key[i] = static_cast<char>((HexValue(hex[2 * i]) << 4) | HexValue(hex[2 * i + 1]));
    }
    return key;
}();

constexpr char const * common_passwords[] = {"password", "123456", "qwerty", "abc123", "letmein", "welcome"};
constexpr char symbols[] = "!@#$%^&*()_+={}[]:;\"'<>,.?/\\|`~-";

constexpr char const * strength_names[] = {"VERY_WEAK", "WEAK", "MODERATE", "STRONG", "VERY_STRONG"};
constexpr char const * strength_display_names[] = {"Very Weak", "Weak", "Moderate", "Strong", "Very Strong"};

// Byte i XOR byte (i mod K) of the key; an empty key means the default key. Its own inverse.
String Scramble(StringView const & text, StringView const & key) {
    StringView const used = key.isEmpty() ? StringView(default_key.data(), default_key_size) : key;
    String out(text);
    for (unsigned int index = 0; index < out.size(); ++index) {
        out.data()[index] = static_cast<char>(out[index] ^ used[index % used.size()]);
    }
    return out;
}

bool IsSymbol(unsigned char c) noexcept {
    for (char const symbol : StringView(symbols)) {
        if (static_cast<unsigned char>(symbol) == c) {
            return true;
        }
    }
    return false;
}

} // namespace

PasswordString PasswordString::Encode(StringView const & plain) {
    return Encode(plain, StringView());
}

PasswordString PasswordString::Encode(StringView const & plain, StringView const & key) {
    PasswordString password;
    password.encoded_ = Scramble(plain, key);
    return password;
}

PasswordString PasswordString::RAW(StringView const & encoded) {
    PasswordString password;
    password.encoded_ = String(encoded);
    return password;
}

PasswordString PasswordString::FromString(StringView const & text) {
    try {
        Buffer<unsigned char> const bytes = Base64Encoder::DecodeFromBase64(text);
        return RAW(StringView(reinterpret_cast<char const *>(bytes.data()), bytes.size()));
    } catch (Exception const &) {
        return PasswordString();
    }
}

String PasswordString::decode() const {
    return Scramble(encoded_, StringView());
}

String PasswordString::decode(StringView const & key) const {
    return Scramble(encoded_, key);
}

void PasswordString::swapEncoding(StringView const & old_key, StringView const & new_key) {
    encoded_ = Scramble(decode(old_key), new_key);
}

PasswordString::Strength PasswordString::passwordStrength(StringView const & key) const {
    String const plain = decode(key);
    unsigned int const length = plain.size();
    bool const long_enough = length >= 8;
    bool has_repeat = false;
    bool has_upper = false;
    bool has_lower = false;
    bool has_digit = false;
    bool has_symbol = false;
    for (unsigned int index = 0; index < length; ++index) {
        unsigned char const c = static_cast<unsigned char>(plain[index]);
        if (index >= 3 && plain[index] == plain[index - 1] && plain[index] == plain[index - 2] &&
            plain[index] == plain[index - 3]) {
            has_repeat = true;
        }
        has_upper = has_upper || std::isupper(c) != 0;
        has_lower = has_lower || std::islower(c) != 0;
        has_digit = has_digit || std::isdigit(c) != 0;
        has_symbol = has_symbol || IsSymbol(c);
    }
    for (char const * common : common_passwords) {
        if (plain.view() == StringView(common)) {
            return VERY_WEAK;
        }
    }
    double alphabet = has_upper && has_lower ? 52.0 : (has_upper || has_lower ? 26.0 : 0.0);
    alphabet += has_digit ? 10.0 : 0.0;
    alphabet += has_symbol ? 32.0 : 0.0;
    double const entropy = std::log2(alphabet) * length;
    int const score = (long_enough ? static_cast<int>(length) - 7 : 0) + (has_upper ? 1 : 0) + (has_lower ? 1 : 0) +
                      (has_digit ? 1 : 0) + (has_symbol ? 1 : 0) - (has_repeat ? 2 : 0);
    if ((entropy >= 80.0 && score >= 6) || score >= 12) {
        return VERY_STRONG;
    }
    if ((entropy >= 60.0 && score >= 5) || score >= 8) {
        return STRONG;
    }
    if ((entropy >= 40.0 && score >= 4) || score >= 6) {
        return MODERATE;
    }
    return score < 3 ? VERY_WEAK : WEAK;
}

void StringStream<PasswordString>::fromString(StringView const & text, PasswordString & value) {
    value = PasswordString::FromString(text);
}

void StringStream<PasswordString>::toString(PasswordString const & value, StringAllocatingView & out) {
    String text;
    Base64Encoder::AppendBase64To(text, reinterpret_cast<unsigned char const *>(value.encoded().data()),
                                  value.encoded().size(), STANDARD_ALPHABET);
    out.append(text.view());
}

char const * StringStream<PasswordString>::getValidRegex() noexcept {
    return ".*";
}

void StringStream<PasswordString::Strength>::fromString(StringView const & text,
                                                        PasswordString::Strength & value) noexcept {
    unsigned long long const hash = text.hash();
    value = PasswordString::WEAK;
    for (unsigned int index = 0; index < 5; ++index) {
        if (StringView(strength_names[index]).hash() == hash) {
            value = static_cast<PasswordString::Strength>(index);
            return;
        }
    }
}

void StringStream<PasswordString::Strength>::toString(PasswordString::Strength const & value,
                                                      StringAllocatingView & out) {
    StringView const name(value <= PasswordString::VERY_STRONG ? strength_names[value] : "");
    if (out.isEmpty()) {
        out.borrow(name);
    } else {
        out.append(name);
    }
}

char const * StringStream<PasswordString::Strength>::getValidRegex() noexcept {
    return ".*";
}

void StringStream<PasswordString::Strength>::toDisplayString(PasswordString::Strength const & value,
                                                             TranslatedString & out) {
    out = Internal::Translatable(value <= PasswordString::VERY_STRONG ? strength_display_names[value] : "");
}

} // namespace QELTA
