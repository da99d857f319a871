// String: an owned, growable, zero-terminated UTF-8 text, with the changing operations on text.
//
// A String owns its bytes (a Buffer<char>, adding no field) and is a value: copies are deep, and
// like any value it has no lock. data() is never null and always zero-terminated; a failed
// allocation leaves the shared empty text and is not reported. No operation raises. Every
// reading operation forwards to StringView and behaves as documented there.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/StringView.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace QELTA {

class QELTA_BASE_EXPORT String : public Buffer<char> {
  public:
    static constexpr unsigned int not_found = StringView::not_found;

    String() noexcept = default;
    String(char const * text); // null gives the empty text
    String(char const * text, unsigned int size);
    explicit String(StringView const & text);
    explicit String(std::string const & text);

    String & operator=(char const * text);
    String & operator=(StringView const & text);

    // The text and its terminator.
    char const * c_str() const noexcept { return data_; }
    StringView view() const noexcept { return StringView(data_, size_); }
    operator StringView() const noexcept { return StringView(data_, size_); }

    // Reading, as StringView

    unsigned long long hash() const noexcept { return view().hash(); }
    unsigned long long hashLower() const noexcept { return view().hashLower(); }
    unsigned long long hashUpper() const noexcept { return view().hashUpper(); }

    unsigned int indexOf(char const & c) const noexcept { return view().indexOf(c); }
    unsigned int indexOf(char const & c, unsigned int start) const noexcept { return view().indexOf(c, start); }
    // Unlike StringView's, the end of [start, start + count) is not clamped to size(): the
    // terminator is part of the range, so a search for 0 finds size(). Nothing past it is read.
    unsigned int indexOf(char const & c, unsigned int start, unsigned int count) const noexcept;
    unsigned int indexOf(StringView const & needle, bool ignore_case = false, unsigned int start = 0) const noexcept {
        return view().indexOf(needle, ignore_case, start);
    }
    // A zero-terminated needle; a null needle answers 0.
    unsigned int indexOf(char const * needle, bool ignore_case = false, unsigned int start = 0) const noexcept {
        return view().indexOf(StringView(needle), ignore_case, start);
    }
    unsigned int indexOf(char const * needle, bool ignore_case, unsigned int start, unsigned int count) const noexcept {
        return view().indexOf(needle, ignore_case, start, count);
    }
    unsigned int indexOf(char const * needle, char skip_char, bool ignore_case, unsigned int start = 0) const noexcept {
        return view().indexOf(needle, skip_char, ignore_case, start);
    }
    unsigned int lastIndexOf(StringView const & needle, bool ignore_case = false) const noexcept {
        return view().lastIndexOf(needle, ignore_case);
    }
    unsigned int lastIndexOf(char const * needle, bool ignore_case = false) const noexcept {
        return view().lastIndexOf(needle, ignore_case);
    }
    unsigned int lastIndexOf(char c, bool ignore_case = false) const noexcept {
        return view().lastIndexOf(c, ignore_case);
    }
    bool hasSubString(StringView const & needle, bool ignore_case = false, unsigned int start = 0) const noexcept {
        return view().hasSubString(needle, ignore_case, start);
    }
    bool beginsWith(StringView const & prefix, bool ignore_case = false) const noexcept {
        return view().beginsWith(prefix, ignore_case);
    }
    bool endsWith(StringView const & suffix, bool ignore_case = false) const noexcept {
        return view().endsWith(suffix, ignore_case);
    }
    bool isSameNoCase(StringView const & other) const noexcept { return view().isSameNoCase(other); }
    bool isLessNoCase(StringView const & other) const noexcept { return view().isLessNoCase(other); }
    bool isGreaterNoCase(StringView const & other) const noexcept { return view().isGreaterNoCase(other); }
    unsigned int count(char c) const noexcept { return view().count(c); }
    StringView substr(unsigned int start) const noexcept { return view().substr(start); }
    StringView substr(unsigned int start, unsigned int end) const noexcept { return view().substr(start, end); }
    StringViewBuffer split(char delimiter, bool keep_empty) const { return view().split(delimiter, keep_empty); }
    StringViewBuffer split(Buffer<char> const & delimiters, bool keep_empty) const {
        return view().split(delimiters, keep_empty);
    }
    void splitString(char delimiter, StringViewBuffer & out, bool keep_empty) const {
        view().splitString(delimiter, out, keep_empty);
    }
    void splitString(Buffer<char> const & delimiters, StringViewBuffer & out, bool keep_empty) const {
        view().splitString(delimiters, out, keep_empty);
    }
    StringView splitPart(char delimiter, unsigned int index) const noexcept {
        return view().splitPart(delimiter, index);
    }
    bool matchesWildcard(StringView const & pattern) const { return view().matchesWildcard(pattern); }
    bool isNumeric() const noexcept { return view().isNumeric(); }
    unsigned int fromHex() const noexcept { return view().fromHex(); }
    StringAllocatingView toLower() const;
    StringAllocatingView toUpper() const;
    String toTitleString() const { return view().toTitleString(); }
    StringAllocatingView shortenString(unsigned int n) const;
    StringAllocatingView insertNewLines(unsigned int n) const;
    String predictNextStringIncrement() const { return view().predictNextStringIncrement(); }

    // Changing

    String & append(char c);
    // `text` may point into this String.
    String & append(StringView const & text);
    String & append(char const * text, unsigned int size) { return append(StringView(text, size)); }
    String & operator+=(char c) { return append(c); }
    String & operator+=(StringView const & text) { return append(text); }
    friend String operator+(String left, StringView const & right) { return std::move(left.append(right)); }
    friend String operator+(String left, char right) { return std::move(left.append(right)); }

    // Inserts `byte` at `index` (at most size()), moving the tail up.
    String & insert(unsigned int index, char byte);

    // First, if front_size exceeds the size, puts fill bytes in front up to front_size; then,
    // if total_size exceeds the size, appends fill bytes up to total_size.
    String & addWhiteSpace(unsigned int total_size, unsigned int front_size = 0, char fill = ' ');

    // ASCII case change in place from byte `start`, walking characters: one-byte letters change,
    // the bytes of longer sequences never do.
    String & makeLower(unsigned int start = 0);
    String & makeUpper(unsigned int start = 0);

    // Replaces every match of `from` at or after `start`, continuing behind the inserted text so
    // that replacement text is never searched again. An empty `from`, or one equal to `to`,
    // changes nothing. `from` and `to` may point into this String.
    String & replace(StringView const & from, StringView const & to, bool ignore_case = false, unsigned int start = 0);
    // Several replacements in one pass: at each step the earliest match of any non-empty `from`
    // entry wins, the lower index at equal positions, and is replaced by the `to` entry of the
    // same index; the search goes on behind the inserted text. Entries without a partner in `to`
    // are not searched. The entries may point into this String.
    String & replace(StringViewBuffer const & from, StringViewBuffer const & to, bool ignore_case = false,
                     unsigned int start = 0);
    String & replace(StringViewBuffer const & from, StringBuffer const & to, bool ignore_case = false,
                     unsigned int start = 0);

    // Keeps only the bytes that the flags allow: tab, space, line feed, carriage return, digits.
    // Letters and every other byte go; the name is historical and the behaviour intended.
    String & removeNonAlphaNumeric(bool keep_tab, bool keep_space, bool keep_newline, bool keep_return,
                                   bool keep_digits);
    // Keeps the bytes '0' to '9'.
    String & removeNonNumeric();

    // Removes tab, carriage return and space from both ends; line feeds stay.
    String & trimWhiteSpace();

    // Appends the zero-terminated 16-bit text by the rules of AddUTF16CharAsUTF8, reserving once.
    // A null pointer adds nothing.
    String & addUTF16AsUTF8(wchar_t const * text);

    // Appends the UTF-8 form of text[index] and moves `index` on; a 0 unit writes nothing and
    // gives false. Below 0x80 one byte, below 0x800 two. From 0x800 on the unit is always taken
    // as the first of a pair with the next one, value (c << 16) + next, written as four bytes;
    // this is not surrogate decoding, and the stored texts that rely on it keep it so. When the
    // next unit is the terminator, `index` moves by one only, so that a walk stops there.
    bool addUTF16CharAsUTF8(wchar_t const * text, unsigned int & index);

    // Decodes one character and adds the bytes read to `advance` (set it to 0 first). Nothing is
    // validated and the result is 16 bits wide: characters beyond U+FFFF lose their high bits,
    // and a byte that cannot lead yields itself and costs one byte. A zero byte ends a sequence
    // early and is not consumed; otherwise reading past the end of a truncated sequence is the
    // caller's risk.
    static wchar_t UTF8toUTF16(char const * bytes, unsigned int & advance) noexcept;

    // One character by the rules of addUTF16CharAsUTF8.
    static String UTF16toUTF8(wchar_t const * text, unsigned int & index);

    // Number text, implemented in NumberFormatting.cpp.

    // Rewrites a number that is already text for display: rounds on the decimal digits
    // themselves, half away from zero, to at most max_decimals and at least min_decimals
    // decimals (trailing zeros beyond min_decimals go), pads with leading zeros to min_digits
    // digits, and groups the integer digits by three with `comma` when add_comma is set. Input
    // that is already grouped is read. With add_comma false, no minimum and max_decimals above
    // the size, the text stays as it is. Failures replace the text: "NaN" for a non-digit where a
    // digit must follow, "Inf"/"-Inf", and "BIG"/"SMALL" when the integer part has more than 63
    // digits. A negative exponent gives "0". A positive exponent appends that many zeros to the
    // integer digits without moving the point ("1.5e3" gives "1000.5"); this is deliberate and
    // exact for the integers that the double printer writes in exponent form.
    String & formatNumberString(bool add_comma, unsigned int min_decimals, unsigned int max_decimals,
                                unsigned int min_digits, char decimal, char comma);
    String & formatNumberString(unsigned int decimals);
    String & formatNumberString(bool add_comma, unsigned int decimals);
    // `value` in the text form of StringStream<double>, then formatted as above.
    static String NumberString(double value, bool add_comma, unsigned int min_decimals, unsigned int max_decimals,
                               unsigned int min_digits, char decimal, char comma);
    // Spreadsheet column letters, bijective base 26: 0 "A", 25 "Z", 26 "AA". 0xFFFFFFFF gives "".
    static String ToAlphaString(unsigned int n);
};

static_assert(sizeof(String) == sizeof(Buffer<char>), "String adds no field to Buffer<char>");
static_assert(std::is_same_v<StringBuffer, Buffer<String>>, "StringBuffer is the default Buffer");

// Text keys hash by StringView::hash, so a String and a StringView of the same bytes hash alike.
template <>
struct DictionaryHash<String> {
    std::uint64_t operator()(String const & key) const noexcept { return key.hash(); }
    std::uint64_t secret(String const & key) const noexcept { return DictionarySecretHash(key.data(), key.size()); }
};

} // namespace QELTA

template <>
struct std::hash<QELTA::StringView> {
    std::size_t operator()(QELTA::StringView const & text) const noexcept { return text.hash(); }
    // The text up to its first zero byte: the same as hash() for a text without an inner zero.
    std::size_t operator()(QELTA::String const & text) const noexcept { return QELTA::StringView(text.c_str()).hash(); }
};

#include "Base/Text/StringAllocatingView.h"
