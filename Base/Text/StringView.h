// StringView: a borrowed run of UTF-8 bytes and every reading operation on text.
//
// A StringView owns nothing: the caller keeps the bytes alive for as long as the view is used.
// It has no lock; like any value it may be read from many threads at once. No operation raises
// or reports a failure: searches answer not_found (0xFFFFFFFF), and indices are bytes that are
// checked only where a member says so. Case handling is ASCII only (see ToLowerASCII).
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace QELTA {

class String;
class StringView;
class StringAllocatingView;

// Buffer<StringView> and Buffer<String> spelled out, since their default allocators need the
// complete types; String.h and the end of this file check that they are the default ones.
using StringViewBuffer = Buffer<StringView, BufferAllocator<StringView, 16, 1, unsigned int, 0, 0>>;
using StringBuffer = Buffer<String, BufferAllocator<String, 16, 0, unsigned int, 0, 0>>;

// A `char const *` and an `unsigned int` size, in this order. The pointer may be null when the
// size is 0. No terminator is promised: the byte behind the view belongs to someone else.
// Indices and lengths are bytes. Texts must be shorter than 4 GiB.
class QELTA_BASE_EXPORT StringView {
  public:
    static constexpr unsigned int not_found = 0xFFFFFFFFu;

    constexpr StringView() noexcept = default;

    // A zero-terminated text, literals included; null gives the empty view.
    constexpr StringView(char const * text) noexcept
        : data_(text), size_(text == nullptr ? 0 : static_cast<unsigned int>(std::char_traits<char>::length(text))) {}

    constexpr StringView(char const * text, unsigned int size) noexcept : data_(text), size_(size) {}

    constexpr StringView(std::string_view text) noexcept
        : data_(text.data()), size_(static_cast<unsigned int>(text.size())) {}

    StringView(std::string const & text) noexcept : data_(text.data()), size_(static_cast<unsigned int>(text.size())) {}

    constexpr char const * data() const noexcept { return data_; }
    constexpr unsigned int size() const noexcept { return size_; }
    constexpr bool isEmpty() const noexcept { return size_ == 0; }
    constexpr char const * begin() const noexcept { return data_; }
    constexpr char const * end() const noexcept { return data_ + size_; }
    constexpr char const & operator[](unsigned int index) const noexcept { return data_[index]; }

    constexpr operator std::string_view() const noexcept { return std::string_view(data_, size_); }

    // Hashes

    // djb2 in 64 bits: h = 5381, then h = h * 33 + c for each byte taken as a signed char, so
    // bytes above 127 add a negative value. Stored files and keyword switch tables depend on it.
    unsigned long long hash() const noexcept;
    unsigned long long hashLower() const noexcept; // each byte through ToLowerASCII first
    unsigned long long hashUpper() const noexcept; // each byte through ToUpperASCII first

    // Searches. A search for an empty needle answers 0, whatever the start.

    unsigned int indexOf(char const & c) const noexcept;
    unsigned int indexOf(char const & c, unsigned int start) const noexcept;
    // First byte equal to `c` in [start, start + count), the end clamped to size().
    unsigned int indexOf(char const & c, unsigned int start, unsigned int count) const noexcept;

    // First match at or after `start`, by the bad-character search; `start + needle.size() > size()`
    // answers not_found.
    unsigned int indexOf(StringView const & needle, bool ignore_case = false, unsigned int start = 0) const noexcept;

    // First match lying wholly inside [start, start + count), the end clamped to size(), by a
    // direct scan. A null needle is empty.
    unsigned int indexOf(char const * needle, bool ignore_case, unsigned int start, unsigned int count) const noexcept;

    // First match at or after `start` that does not begin right behind a byte equal to
    // `skip_char`; with '\\' as skip_char an escaped quote is passed over. The byte before
    // `start` counts too. A null needle is empty.
    unsigned int indexOf(char const * needle, char skip_char, bool ignore_case, unsigned int start = 0) const noexcept;

    // Last match, scanning backwards from size() - needle size.
    unsigned int lastIndexOf(StringView const & needle, bool ignore_case = false) const noexcept;
    unsigned int lastIndexOf(char const * needle, bool ignore_case = false) const noexcept;
    unsigned int lastIndexOf(char c, bool ignore_case = false) const noexcept;

    bool hasSubString(StringView const & needle, bool ignore_case = false, unsigned int start = 0) const noexcept;

    // A needle longer than the text gives false, an empty needle true.
    bool beginsWith(StringView const & prefix, bool ignore_case = false) const noexcept;
    bool endsWith(StringView const & suffix, bool ignore_case = false) const noexcept;

    // Comparisons without case

    bool isSameNoCase(StringView const & other) const noexcept;
    // Walk the common length; at the first position whose upper-case forms differ, compare the
    // original bytes as signed chars, so isLessNoCase("a", "B") is false. Stored orderings depend
    // on this; it is deliberate. With no difference the shorter text is less.
    bool isLessNoCase(StringView const & other) const noexcept;
    bool isGreaterNoCase(StringView const & other) const noexcept;

    // Natural order less-than: runs of digits compare by value (up to 20 digits, larger ones as
    // all ones), other bytes by their lower-case form. "file2" < "file10"; "File2" and "file2"
    // tie. When `b` ends first its terminator takes part as the byte 0.
    static bool AlphaNumericCompare(StringView const & a, StringView const & b) noexcept;

    // Simple reads

    unsigned int count(char c) const noexcept;
    // The final byte; undefined on an empty text.
    char last() const noexcept { return data_[size_ - 1]; }

    // From `start` to the end; a start past the end gives an empty view at the end.
    StringView substr(unsigned int start) const noexcept;
    // [start, end): `end` is an index, not a length. The length is the smaller of end - start
    // (taken unsigned, so an end before the start reaches the end) and size() - start.
    StringView substr(unsigned int start, unsigned int end) const noexcept;

    // Splitting. With keep_empty every delimiter starts a part and an empty text gives one part
    // with a null pointer; without it only non-empty parts are kept and an empty text gives none.

    StringViewBuffer split(char delimiter, bool keep_empty) const;
    // Splits at any of the given bytes.
    StringViewBuffer split(Buffer<char> const & delimiters, bool keep_empty) const;
    void splitString(char delimiter, StringViewBuffer & out, bool keep_empty) const; // appends to out
    void splitString(Buffer<char> const & delimiters, StringViewBuffer & out, bool keep_empty) const;
    // The index-th part (0-based, empty parts counted) without building a list; past the end
    // the last part.
    StringView splitPart(char delimiter, unsigned int index) const noexcept;

    // `*` matches any run, `?` any single byte (not character), all else exactly, with case.
    bool matchesWildcard(StringView const & pattern) const;

    // Classification

    // A non-empty text of digits, '-' and '.'.
    bool isNumeric() const noexcept;
    // Digits, '+', '-' and '.': unlike isNumeric this accepts '+', on purpose.
    static constexpr bool IsNumeric(char c) noexcept { return IsDigit(c) || c == '+' || c == '-' || c == '.'; }
    // Tab, carriage return and space only; a line feed is deliberately not white space.
    static constexpr bool IsWhiteSpace(char c) noexcept { return c == '\t' || c == '\r' || c == ' '; }
    static constexpr bool IsDigit(char c) noexcept { return c >= '0' && c <= '9'; }
    // The library's case folding: ASCII letters only, every other byte unchanged, in any locale.
    static constexpr char ToLowerASCII(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
    static constexpr char ToUpperASCII(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

    // The value of the leading hexadecimal digits of either case, wrapping silently in 32 bits.
    // It reads from data() until a byte that is not a digit and ignores size(): reading past the
    // view is the caller's risk (a String always ends in its terminator). A null view gives 0.
    unsigned int fromHex() const noexcept;

    // Derived texts

    // Borrow this text when no ASCII letter needs a change before the end or a decoded 0;
    // otherwise own a copy up to that point in which one-byte letters are changed.
    StringAllocatingView toLower() const;
    StringAllocatingView toUpper() const;

    // Words split at space and underscore, joined by one space, each capitalised except the
    // table words "or", "to", "and", "from" (lower case) and "ui", "us", "u.s." (upper case),
    // the first word included.
    String toTitleString() const;

    // At most n bytes are borrowed as they are. Otherwise, with H = n / 2, the first H - 3 bytes,
    // "..." and the last H bytes (cut by byte, not character); n below 4 gives "...", and n of
    // 4 or 5 an empty head.
    StringAllocatingView shortenString(unsigned int n) const;

    // Wraps at every n characters: the last space of the line becomes a line feed, or a line
    // feed is added. Characters from U+0800 on are counted but dropped, a required limitation
    // of the stored texts that use it. A text of at most n bytes, or n of 0, stays as it is.
    StringAllocatingView insertNewLines(unsigned int n) const;

    // The next name of a series: the value of the last digit run plus one, zero-padded to the
    // run's width and laid over the copy from the run's start. "abc" gives "abc1", "a007" "a008".
    // A carry that widens the number overwrites the byte behind the run ("a9b" gives "a10"):
    // names already stored follow this rule, so it must stay.
    String predictNextStringIncrement() const;

    // Changing the view itself

    // Moves both ends past tab, carriage return and space.
    StringView & trimWhiteSpace() noexcept;
    StringView & removeFirst(unsigned int n) noexcept; // clamped to the size
    StringView & removeLast(unsigned int n) noexcept;  // clamped to the size

    // When the byte behind the view is not 0, copies the view into `storage` and points the view
    // at it. The byte behind the view must be readable. A null view points at storage too.
    StringView & ensureNullTerminated(String & storage);

    static StringBuffer Convert(StringViewBuffer const & views);
    static StringViewBuffer Convert(StringBuffer const & strings);

  private:
    char const * data_ = nullptr;
    unsigned int size_ = 0;
};

// Size, then bytes.
QELTA_BASE_EXPORT bool operator==(StringView const & a, StringView const & b) noexcept;
QELTA_BASE_EXPORT bool operator!=(StringView const & a, StringView const & b) noexcept;
// Byte by byte as signed chars; at an equal prefix the shorter text is less.
QELTA_BASE_EXPORT bool operator<(StringView const & a, StringView const & b) noexcept;
QELTA_BASE_EXPORT bool operator>(StringView const & a, StringView const & b) noexcept;

static_assert(std::is_same_v<StringViewBuffer, Buffer<StringView>>, "StringViewBuffer is the default Buffer");

// Text keys hash by StringView::hash.
template <>
struct DictionaryHash<StringView> {
    std::uint64_t operator()(StringView const & key) const noexcept { return key.hash(); }
    std::uint64_t secret(StringView const & key) const noexcept { return DictionarySecretHash(key.data(), key.size()); }
};

} // namespace QELTA

// The results of the operations above are String and StringAllocatingView: any of the three
// headers offers all three types.
#include "Base/Text/String.h"
