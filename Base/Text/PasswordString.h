// PasswordString: a password kept scrambled in memory and in settings, and its strength.
//
// A plain value (one String of scrambled bytes, as long as the password) with no lock. The
// scrambling is an XOR with a key: it keeps a password from being read by eye, it is not
// encryption. Each build scrambles with its own 16-byte default key, so text scrambled by one
// build does not read back in another. Nothing raises.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT PasswordString {
  public:
    enum Strength : unsigned char { VERY_WEAK = 0, WEAK = 1, MODERATE = 2, STRONG = 3, VERY_STRONG = 4 };

    PasswordString() = default;

    // `plain` scrambled with `key`; an empty key means the build's default key.
    static PasswordString Encode(StringView const & plain);
    static PasswordString Encode(StringView const & plain, StringView const & key);
    // Bytes that are scrambled already.
    static PasswordString RAW(StringView const & encoded);
    // Base64 text of scrambled bytes; text that is not Base64 gives an empty password.
    static PasswordString FromString(StringView const & text);

    String decode() const;
    // An empty key means the build's default key.
    String decode(StringView const & key) const;
    // Decodes with `old_key` and scrambles again with `new_key`.
    void swapEncoding(StringView const & old_key, StringView const & new_key);
    // The strength of the plain text under `key`: length, the kinds of characters, repeated runs
    // and a short list of common passwords make a score and an entropy estimate.
    Strength passwordStrength(StringView const & key) const;

    // The scrambled bytes; equal only for equal passwords under the same key.
    String const & encoded() const noexcept { return encoded_; }

    friend bool operator==(PasswordString const & left, PasswordString const & right) noexcept {
        return left.encoded_.view() == right.encoded_.view();
    }
    friend bool operator!=(PasswordString const & left, PasswordString const & right) noexcept {
        return !(left == right);
    }

  private:
    String encoded_;
};

// The scrambled bytes in Base64 (standard alphabet); reading goes through FromString.
template <>
class QELTA_BASE_EXPORT StringStream<PasswordString> {
  public:
    static void fromString(StringView const & text, PasswordString & value);
    static void toString(PasswordString const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

// The names "VERY_WEAK" to "VERY_STRONG"; reading compares by hash, and an unknown name reads as
// WEAK, like the name "WEAK" itself.
template <>
class QELTA_BASE_EXPORT StringStream<PasswordString::Strength> {
  public:
    static void fromString(StringView const & text, PasswordString::Strength & value) noexcept;
    static void toString(PasswordString::Strength const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
    static void toDisplayString(PasswordString::Strength const & value, TranslatedString & out);

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

} // namespace QELTA
