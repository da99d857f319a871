// StringStream<T>: the one way a value becomes text and text becomes a value.
//
// Every member of the family has the static operations fromString, toString and getValidRegex
// (a type has only those it needs). The text forms are a stable storage format: settings,
// INI and JSON values and log records hold them, so their rules, oddities included, are fixed.
// All functions are reentrant and touch no shared state. Nothing raises or reports: text that
// cannot be read gives the type's Invalid value (see each family), which prints as "NaN".
//
// Number readers read from the view's pointer and ignore its size: they stop at the first byte
// that cannot continue the number, so the text must end in such a byte (a String always does).
// They never skip white space. toString appends to `out`; when `out` is empty and the text is a
// literal or an existing text, `out` borrows it instead of copying (keep it alive meanwhile).
#pragma once

#include "Base/Export.h"
#include "Base/Text/BitReference.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringView.h"

#include <limits>
#include <string>

namespace QELTA {

class TranslatedString; // toDisplayString members are defined with the Language subsystem

// Specialised for each value type; the primary template has no members.
template <class T>
class StringStream;

// Integers: plain decimal digits with a leading '-' when negative, no separators. The Invalid
// value is the lowest signed value or the largest unsigned one; it prints "NaN", except for
// unsigned char (255) and unsigned long long, which print their digits.
template <class T>
class QELTA_BASE_EXPORT IntegerStringStream {
  public:
    static constexpr T invalid =
        std::numeric_limits<T>::is_signed ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();

    static void fromString(StringView const & text, T & value) noexcept;
    static void toString(T const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    IntegerStringStream & operator=(IntegerStringStream const &) noexcept { return *this; }
};

// float and double: Invalid is a quiet NaN. float is printed through double (0.1f prints
// "0.10000000149011612"); both print the shortest digits that identify the double value.
template <class T>
class QELTA_BASE_EXPORT FloatingStringStream {
  public:
    static void fromString(StringView const & text, T & value) noexcept;
    static void toString(T const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;

    FloatingStringStream & operator=(FloatingStringStream const &) noexcept { return *this; }
};

// clang-format off
template <> class StringStream<signed char> : public IntegerStringStream<signed char> {};
template <> class StringStream<unsigned char> : public IntegerStringStream<unsigned char> {};
template <> class StringStream<short> : public IntegerStringStream<short> {};
template <> class StringStream<unsigned short> : public IntegerStringStream<unsigned short> {};
template <> class StringStream<int> : public IntegerStringStream<int> {};
template <> class StringStream<unsigned int> : public IntegerStringStream<unsigned int> {};
template <> class StringStream<long long> : public IntegerStringStream<long long> {};
template <> class StringStream<unsigned long long> : public IntegerStringStream<unsigned long long> {};
// long is 64 bits here and follows the long long rules, so that int64_t and uint64_t convert too.
template <> class StringStream<long> : public IntegerStringStream<long> {};
template <> class StringStream<unsigned long> : public IntegerStringStream<unsigned long> {};
template <> class StringStream<float> : public FloatingStringStream<float> {};
template <> class StringStream<double> : public FloatingStringStream<double> {};
// clang-format on

// bool: written "T" or "F". Read, the first byte decides: 'T', 't' or '1' is true, anything else
// (the empty text too) is false. The input expression also admits Y, y, N and n, which read as
// false; that asymmetry is deliberate.
template <>
class QELTA_BASE_EXPORT StringStream<bool> {
  public:
    static void fromString(StringView const & text, bool & value) noexcept;
    static void toString(bool const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
    // The translated "True" or "False".
    static void toDisplayString(bool const & value, TranslatedString & out);
};

// A single bit reads and writes as a bool.
template <>
class QELTA_BASE_EXPORT StringStream<BitReference> {
  public:
    static void fromString(StringView const & text, BitReference & value) noexcept;
    static void toString(BitReference const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
    // The translated "True" or "False".
    static void toDisplayString(bool const & value, TranslatedString & out);
};

// A flag byte reads and writes as its unsigned char.
template <>
class QELTA_BASE_EXPORT StringStream<BitFlag> {
  public:
    static void fromString(StringView const & text, BitFlag & value) noexcept;
    static void toString(BitFlag const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// char: the one byte; an empty text reads as 0.
template <>
class QELTA_BASE_EXPORT StringStream<char> {
  public:
    static void fromString(StringView const & text, char & value) noexcept;
    static void toString(char const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// wchar_t: reads the first UTF-8 character (16 bits at most) and keeps the old value on an
// empty text. Writes one byte below 0x80 and two below 0x800; from 0x800 on it writes the first
// and last of the three UTF-8 bytes as decimal numbers around the raw middle byte. Stored key
// names depend on that form, so it stays.
template <>
class QELTA_BASE_EXPORT StringStream<wchar_t> {
  public:
    static void fromString(StringView const & text, wchar_t & value) noexcept;
    static void toString(wchar_t const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Texts copy or borrow as they are, with no quoting and no escaping.
template <>
class QELTA_BASE_EXPORT StringStream<String> {
  public:
    static void fromString(StringView const & text, String & value);
    static void toString(String const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Reading borrows the source bytes.
template <>
class QELTA_BASE_EXPORT StringStream<StringView> {
  public:
    static void fromString(StringView const & text, StringView & value) noexcept;
    static void toString(StringView const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Reading borrows the source bytes.
template <>
class QELTA_BASE_EXPORT StringStream<StringAllocatingView> {
  public:
    static void fromString(StringView const & text, StringAllocatingView & value);
    static void toString(StringAllocatingView const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

template <>
class QELTA_BASE_EXPORT StringStream<std::string> {
  public:
    static void fromString(StringView const & text, std::string & value);
    static void toString(std::string const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Wide texts convert with the library's UTF-8/UTF-16 rules (16-bit units, see String).
template <>
class QELTA_BASE_EXPORT StringStream<std::wstring> {
  public:
    static void fromString(StringView const & text, std::wstring & value);
    static void toString(std::wstring const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Reading allocates a new zero-terminated block with new[]; the caller owns it (delete[]).
// Writing a null pointer adds nothing.
template <>
class QELTA_BASE_EXPORT StringStream<char const *> {
  public:
    static void fromString(StringView const & text, char const *& value);
    static void toString(char const * const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

template <>
class QELTA_BASE_EXPORT StringStream<char *> {
  public:
    static void fromString(StringView const & text, char *& value);
    static void toString(char * const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

// Reading allocates a new zero-terminated block with new[]; the caller owns it (delete[]).
template <>
class QELTA_BASE_EXPORT StringStream<wchar_t const *> {
  public:
    static void fromString(StringView const & text, wchar_t const *& value);
    static void toString(wchar_t const * const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

template <>
class QELTA_BASE_EXPORT StringStream<wchar_t *> {
  public:
    static void fromString(StringView const & text, wchar_t *& value);
    static void toString(wchar_t * const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
