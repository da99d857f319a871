// The reading operations of StringView: hashes, searches, comparisons, splitting, wildcards and
// the derived texts.
#include "Base/Text/StringView.h"

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/UTF8Iterator.h"

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>

namespace QELTA {
namespace {

constexpr char ellipsis[] = "...";
constexpr unsigned int ellipsis_size = sizeof(ellipsis) - 1;

constexpr unsigned long long hash_start = 5381;

// hashLower of the words that toTitleString treats apart.
constexpr unsigned long long hash_or = 0x597906;
constexpr unsigned long long hash_to = 0x5979A8;
constexpr unsigned long long hash_and = 0xB885E18;
constexpr unsigned long long hash_from = 0x17C96F1D9;
constexpr unsigned long long hash_ui = 0x5979C3;
constexpr unsigned long long hash_us = 0x5979CD;
constexpr unsigned long long hash_u_dot_s_dot = 0x17C9E0A89; // "u.s."

struct FoldTable {
    unsigned char lower[256];
};

constexpr FoldTable MakeFoldTable() {
    FoldTable table{};
    for (int i = 0; i < 256; ++i) {
        table.lower[i] = static_cast<unsigned char>(i >= 'A' && i <= 'Z' ? i + 32 : i);
    }
    return table;
}

constexpr FoldTable fold = MakeFoldTable();

inline unsigned char Lower(char c) noexcept {
    return fold.lower[static_cast<unsigned char>(c)];
}

inline bool IsUpperASCII(char c) noexcept {
    return c >= 'A' && c <= 'Z';
}

inline bool IsLowerASCII(char c) noexcept {
    return c >= 'a' && c <= 'z';
}

// h = h * 33 + c for each byte c, as a signed char, from 5381. Eight steps are taken at once as
// h * 33^8 + c0 * 33^7 + ... + c7, the same value modulo 2^64, so that the products of a block do
// not wait for each other.
template <class Fold>
unsigned long long HashBytes(char const * data, unsigned int size, Fold fold_byte) noexcept {
    auto const byte = [&](unsigned int i) {
        return static_cast<unsigned long long>(static_cast<long long>(static_cast<signed char>(fold_byte(data[i]))));
    };
    constexpr unsigned long long p1 = 33, p2 = p1 * 33, p3 = p2 * 33, p4 = p3 * 33, p5 = p4 * 33, p6 = p5 * 33,
                                 p7 = p6 * 33, p8 = p7 * 33;
    unsigned long long h = hash_start;
    unsigned int i = 0;
    for (; size - i >= 8; i += 8) {
        h = h * p8 + (byte(i) * p7 + byte(i + 1) * p6 + byte(i + 2) * p5 + byte(i + 3) * p4) +
            (byte(i + 4) * p3 + byte(i + 5) * p2 + byte(i + 6) * p1 + byte(i + 7));
    }
    for (; i < size; ++i) {
        h = h * 33 + byte(i);
    }
    return h;
}

bool EqualBytes(char const * a, char const * b, unsigned int size, bool ignore_case) noexcept {
    if (!ignore_case) {
        return size == 0 || std::memcmp(a, b, size) == 0;
    }
    for (unsigned int i = 0; i < size; ++i) {
        if (Lower(a[i]) != Lower(b[i])) {
            return false;
        }
    }
    return true;
}

bool EqualBytesUpper(char const * a, char const * b, unsigned int size) noexcept {
    for (unsigned int i = 0; i < size; ++i) {
        if (StringView::ToUpperASCII(a[i]) != StringView::ToUpperASCII(b[i])) {
            return false;
        }
    }
    return true;
}

// The bad-character table: for each byte its last position in the needle, or -1.
void FillBadCharacterTable(int (&table)[256], char const * needle, unsigned int m, bool ignore_case) noexcept {
    std::memset(table, 0xFF, sizeof(table));
    for (unsigned int j = 0; j < m; ++j) {
        unsigned char const c = ignore_case ? Lower(needle[j]) : static_cast<unsigned char>(needle[j]);
        table[c] = static_cast<int>(j);
    }
}

// Right-to-left bad-character search of needle[0, m) in text[0, n) from `start`; m >= 2 and
// start + m <= n. Case-sensitive: an alignment can only match where the text holds the needle's
// last byte, so memchr jumps over the others before the comparison from the right; the shifts
// after a mismatch are those of the table. Neither skips a match, so the first one is found.
unsigned int SearchCaseSensitive(char const * text, unsigned int n, char const * needle, unsigned int m,
                                 unsigned int start) noexcept {
    char const last = needle[m - 1];
    int table[256];
    bool table_filled = false;
    unsigned int const final_position = n - m;
    unsigned int position = start;
    while (position <= final_position) {
        if (text[position + m - 1] != last) {
            void const * hit = std::memchr(text + position + m, last, n - (position + m));
            if (hit == nullptr) {
                return StringView::not_found;
            }
            position = static_cast<unsigned int>(static_cast<char const *>(hit) - text) - (m - 1);
        }
        char const * here = text + position;
        int j = static_cast<int>(m) - 2;
        while (j >= 0 && here[j] == needle[j]) {
            --j;
        }
        if (j < 0) {
            return position;
        }
        if (!table_filled) {
            FillBadCharacterTable(table, needle, m, false);
            table_filled = true;
        }
        int const shift = j - table[static_cast<unsigned char>(here[j])];
        position += shift > 1 ? static_cast<unsigned int>(shift) : 1u;
    }
    return StringView::not_found;
}

unsigned int SearchIgnoringCase(char const * text, unsigned int n, char const * needle, unsigned int m,
                                unsigned int start) noexcept {
    int table[256];
    FillBadCharacterTable(table, needle, m, true);
    unsigned int const final_position = n - m;
    unsigned int position = start;
    while (position <= final_position) {
        char const * here = text + position;
        int j = static_cast<int>(m) - 1;
        while (j >= 0 && Lower(here[j]) == Lower(needle[j])) {
            --j;
        }
        if (j < 0) {
            return position;
        }
        int const shift = j - table[Lower(here[j])];
        position += shift > 1 ? static_cast<unsigned int>(shift) : 1u;
    }
    return StringView::not_found;
}

unsigned int FindByte(char const * text, unsigned int begin, unsigned int end, char c, bool ignore_case) noexcept {
    if (begin >= end) {
        return StringView::not_found;
    }
    if (!ignore_case || !(IsUpperASCII(c) || IsLowerASCII(c))) {
        void const * hit = std::memchr(text + begin, c, end - begin);
        return hit == nullptr ? StringView::not_found
                              : static_cast<unsigned int>(static_cast<char const *>(hit) - text);
    }
    unsigned char const folded = Lower(c);
    for (unsigned int i = begin; i < end; ++i) {
        if (Lower(text[i]) == folded) {
            return i;
        }
    }
    return StringView::not_found;
}

// Direct scan for needle[0, m) starting at positions [begin, last_start], where `allowed`
// decides whether a match may start at a position.
template <class Allowed>
unsigned int ScanDirect(char const * text, unsigned int begin, unsigned long long last_start, char const * needle,
                        unsigned int m, bool ignore_case, Allowed allowed) noexcept {
    unsigned long long position = begin;
    while (position <= last_start) {
        unsigned int const found = FindByte(text, static_cast<unsigned int>(position),
                                            static_cast<unsigned int>(last_start + 1), needle[0], ignore_case);
        if (found == StringView::not_found) {
            return StringView::not_found;
        }
        if (allowed(found) && EqualBytes(text + found + 1, needle + 1, m - 1, ignore_case)) {
            return found;
        }
        position = found + 1ull;
    }
    return StringView::not_found;
}

unsigned int LastIndexOfBytes(char const * text, unsigned int n, char const * needle, unsigned int m,
                              bool ignore_case) noexcept {
    if (m == 0) {
        return 0;
    }
    if (m > n) {
        return StringView::not_found;
    }
    for (unsigned int position = n - m + 1; position-- > 0;) {
        if ((ignore_case ? Lower(text[position]) == Lower(needle[0]) : text[position] == needle[0]) &&
            EqualBytes(text + position + 1, needle + 1, m - 1, ignore_case)) {
            return position;
        }
    }
    return StringView::not_found;
}

// Reads a number as the natural order does: an optional '+', up to 19 digits, then a twentieth
// with an overflow check; an overflow, or a twentieth digit followed by a digit from 1 to 8,
// gives all ones. `position` moves past the digits read; the bytes end at `size`.
unsigned long long ReadNaturalNumber(char const * data, unsigned int size, unsigned int & position) noexcept {
    if (position < size && data[position] == '+') {
        ++position;
    }
    unsigned long long value = 0;
    unsigned int digits = 0;
    while (digits < 19 && position < size && StringView::IsDigit(data[position])) {
        value = value * 10 + static_cast<unsigned long long>(data[position] - '0');
        ++position;
        ++digits;
    }
    if (digits == 19 && position < size && StringView::IsDigit(data[position])) {
        unsigned long long const digit = static_cast<unsigned long long>(data[position] - '0');
        ++position;
        if (value > (ULLONG_MAX - digit) / 10) {
            return ULLONG_MAX;
        }
        value = value * 10 + digit;
        if (position < size && data[position] >= '1' && data[position] <= '8') {
            return ULLONG_MAX;
        }
    }
    return value;
}

template <class IsDelimiter>
void SplitInto(char const * data, unsigned int size, IsDelimiter is_delimiter, StringViewBuffer & out,
               bool keep_empty) {
    if (size == 0) {
        if (keep_empty) {
            out.add(StringView());
        }
        return;
    }
    unsigned int part_start = 0;
    for (unsigned int i = 0; i < size; ++i) {
        if (is_delimiter(data[i])) {
            if (keep_empty || i > part_start) {
                out.add(StringView(data + part_start, i - part_start));
            }
            part_start = i + 1;
        }
    }
    if (keep_empty || size > part_start) {
        out.add(StringView(data + part_start, size - part_start));
    }
}

// One bit a text position, eight to a byte: the rows of the wildcard table.
inline bool TestBit(Buffer<unsigned char> const & row, unsigned int bit) noexcept {
    return (row[bit >> 3] >> (bit & 7)) & 1;
}

inline void SetBit(Buffer<unsigned char> & row, unsigned int bit) noexcept {
    row[bit >> 3] = static_cast<unsigned char>(row[bit >> 3] | (1u << (bit & 7)));
}

void AppendEncoded(String & out, unsigned int c) {
    if (c < 0x80) {
        out.append(static_cast<char>(c));
    } else {
        out.append(static_cast<char>(0xC0 | c >> 6));
        out.append(static_cast<char>(0x80 | (c & 63)));
    }
}

} // namespace

// Hashes

unsigned long long StringView::hash() const noexcept {
    return HashBytes(data_, size_, [](char c) { return c; });
}

unsigned long long StringView::hashLower() const noexcept {
    return HashBytes(data_, size_, ToLowerASCII);
}

unsigned long long StringView::hashUpper() const noexcept {
    return HashBytes(data_, size_, ToUpperASCII);
}

// Searches

unsigned int StringView::indexOf(char const & c) const noexcept {
    return FindByte(data_, 0, size_, c, false);
}

unsigned int StringView::indexOf(char const & c, unsigned int start) const noexcept {
    return FindByte(data_, start, size_, c, false);
}

unsigned int StringView::indexOf(char const & c, unsigned int start, unsigned int count) const noexcept {
    unsigned long long const end = static_cast<unsigned long long>(start) + count;
    return FindByte(data_, start, end < size_ ? static_cast<unsigned int>(end) : size_, c, false);
}

unsigned int StringView::indexOf(StringView const & needle, bool ignore_case, unsigned int start) const noexcept {
    unsigned int const m = needle.size_;
    if (m == 0) {
        return 0;
    }
    if (static_cast<unsigned long long>(start) + m > size_) {
        return not_found;
    }
    if (m == 1) {
        return FindByte(data_, start, size_, needle.data_[0], ignore_case);
    }
    return ignore_case ? SearchIgnoringCase(data_, size_, needle.data_, m, start)
                       : SearchCaseSensitive(data_, size_, needle.data_, m, start);
}

unsigned int StringView::indexOf(char const * needle, bool ignore_case, unsigned int start,
                                 unsigned int count) const noexcept {
    StringView const wanted(needle);
    if (wanted.size_ == 0) {
        return 0;
    }
    unsigned long long end = static_cast<unsigned long long>(start) + count;
    if (end > size_) {
        end = size_;
    }
    if (static_cast<unsigned long long>(start) + wanted.size_ > end) {
        return not_found;
    }
    return ScanDirect(data_, start, end - wanted.size_, wanted.data_, wanted.size_, ignore_case,
                      [](unsigned int) { return true; });
}

unsigned int StringView::indexOf(char const * needle, char skip_char, bool ignore_case,
                                 unsigned int start) const noexcept {
    StringView const wanted(needle);
    if (wanted.size_ == 0) {
        return 0;
    }
    if (static_cast<unsigned long long>(start) + wanted.size_ > size_) {
        return not_found;
    }
    char const * text = data_;
    return ScanDirect(
        text, start, size_ - wanted.size_, wanted.data_, wanted.size_, ignore_case,
        [text, skip_char](unsigned int position) { return position == 0 || text[position - 1] != skip_char; });
}

unsigned int StringView::lastIndexOf(StringView const & needle, bool ignore_case) const noexcept {
    return LastIndexOfBytes(data_, size_, needle.data_, needle.size_, ignore_case);
}

unsigned int StringView::lastIndexOf(char const * needle, bool ignore_case) const noexcept {
    return lastIndexOf(StringView(needle), ignore_case);
}

unsigned int StringView::lastIndexOf(char c, bool ignore_case) const noexcept {
    return LastIndexOfBytes(data_, size_, &c, 1, ignore_case);
}

bool StringView::hasSubString(StringView const & needle, bool ignore_case, unsigned int start) const noexcept {
    return indexOf(needle, ignore_case, start) != not_found;
}

bool StringView::beginsWith(StringView const & prefix, bool ignore_case) const noexcept {
    if (prefix.size_ > size_) {
        return false;
    }
    return ignore_case ? EqualBytesUpper(data_, prefix.data_, prefix.size_)
                       : EqualBytes(data_, prefix.data_, prefix.size_, false);
}

bool StringView::endsWith(StringView const & suffix, bool ignore_case) const noexcept {
    if (suffix.size_ > size_) {
        return false;
    }
    char const * tail = data_ + (size_ - suffix.size_);
    return ignore_case ? EqualBytesUpper(tail, suffix.data_, suffix.size_)
                       : EqualBytes(tail, suffix.data_, suffix.size_, false);
}

// Comparisons

bool StringView::isSameNoCase(StringView const & other) const noexcept {
    return size_ == other.size_ && EqualBytesUpper(data_, other.data_, size_);
}

bool StringView::isLessNoCase(StringView const & other) const noexcept {
    unsigned int const common = size_ < other.size_ ? size_ : other.size_;
    for (unsigned int i = 0; i < common; ++i) {
        if (ToUpperASCII(data_[i]) != ToUpperASCII(other.data_[i])) {
            return static_cast<signed char>(data_[i]) < static_cast<signed char>(other.data_[i]);
        }
    }
    return size_ < other.size_;
}

bool StringView::isGreaterNoCase(StringView const & other) const noexcept {
    unsigned int const common = size_ < other.size_ ? size_ : other.size_;
    for (unsigned int i = 0; i < common; ++i) {
        if (ToUpperASCII(data_[i]) != ToUpperASCII(other.data_[i])) {
            return static_cast<signed char>(data_[i]) > static_cast<signed char>(other.data_[i]);
        }
    }
    return size_ > other.size_;
}

bool StringView::AlphaNumericCompare(StringView const & a, StringView const & b) noexcept {
    if (a.size_ == 0) {
        return a.size_ < b.size_;
    }
    unsigned int i = 0;
    unsigned int j = 0;
    while (i < a.size_) {
        char const ca = a.data_[i];
        char const cb = j < b.size_ ? b.data_[j] : 0;
        if (ca > 0 && cb > 0 && IsDigit(ca) && IsDigit(cb)) {
            unsigned long long const va = ReadNaturalNumber(a.data_, a.size_, i);
            unsigned long long const vb = ReadNaturalNumber(b.data_, b.size_, j);
            if (va != vb) {
                return va < vb;
            }
            continue;
        }
        signed char const la = static_cast<signed char>(ToLowerASCII(ca));
        signed char const lb = static_cast<signed char>(ToLowerASCII(cb));
        if (la != lb) {
            return la < lb;
        }
        ++i;
        ++j;
    }
    return a.size_ < b.size_;
}

bool operator==(StringView const & a, StringView const & b) noexcept {
    return a.size() == b.size() && (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

bool operator!=(StringView const & a, StringView const & b) noexcept {
    return !(a == b);
}

bool operator<(StringView const & a, StringView const & b) noexcept {
    unsigned int const common = a.size() < b.size() ? a.size() : b.size();
    for (unsigned int i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            return static_cast<signed char>(a[i]) < static_cast<signed char>(b[i]);
        }
    }
    return a.size() < b.size();
}

bool operator>(StringView const & a, StringView const & b) noexcept {
    return b < a;
}

// Simple reads

unsigned int StringView::count(char c) const noexcept {
    unsigned int found = 0;
    for (unsigned int i = 0; i < size_; ++i) {
        found += data_[i] == c ? 1u : 0u;
    }
    return found;
}

StringView StringView::substr(unsigned int start) const noexcept {
    if (start > size_) {
        start = size_;
    }
    return StringView(data_ == nullptr ? nullptr : data_ + start, size_ - start);
}

StringView StringView::substr(unsigned int start, unsigned int end) const noexcept {
    if (start > size_) {
        start = size_;
    }
    unsigned int const wanted = end - start;
    unsigned int const available = size_ - start;
    return StringView(data_ == nullptr ? nullptr : data_ + start, wanted < available ? wanted : available);
}

// Splitting

StringViewBuffer StringView::split(char delimiter, bool keep_empty) const {
    StringViewBuffer parts;
    splitString(delimiter, parts, keep_empty);
    return parts;
}

StringViewBuffer StringView::split(Buffer<char> const & delimiters, bool keep_empty) const {
    StringViewBuffer parts;
    splitString(delimiters, parts, keep_empty);
    return parts;
}

void StringView::splitString(char delimiter, StringViewBuffer & out, bool keep_empty) const {
    SplitInto(
        data_, size_, [delimiter](char c) { return c == delimiter; }, out, keep_empty);
}

void StringView::splitString(Buffer<char> const & delimiters, StringViewBuffer & out, bool keep_empty) const {
    bool is_delimiter[256] = {};
    for (char c : delimiters) {
        is_delimiter[static_cast<unsigned char>(c)] = true;
    }
    SplitInto(
        data_, size_, [&is_delimiter](char c) { return is_delimiter[static_cast<unsigned char>(c)]; }, out, keep_empty);
}

StringView StringView::splitPart(char delimiter, unsigned int index) const noexcept {
    unsigned int part_start = 0;
    unsigned int part = 0;
    for (unsigned int i = 0; i < size_; ++i) {
        if (data_[i] == delimiter) {
            if (part == index) {
                return StringView(data_ + part_start, i - part_start);
            }
            ++part;
            part_start = i + 1;
        }
    }
    return substr(part_start);
}

// Wildcards: cell(i, j) tells whether the first i pattern bytes match the first j text bytes.
// Only the previous row is needed to fill a row, so two rows are kept; a row without a set bit
// means no later row can have one.
bool StringView::matchesWildcard(StringView const & pattern) const {
    unsigned int const n = size_;
    unsigned int const row_bytes = static_cast<unsigned int>((static_cast<unsigned long long>(n) + 1 + 7) / 8);
    Buffer<unsigned char> previous;
    Buffer<unsigned char> current;
    previous.setSize(row_bytes);
    current.setSize(row_bytes);
    if (previous.size() != row_bytes || current.size() != row_bytes) {
        return false;
    }
    std::memset(previous.data(), 0, row_bytes);
    SetBit(previous, 0);
    for (unsigned int i = 1; i <= pattern.size_; ++i) {
        char const p = pattern.data_[i - 1];
        std::memset(current.data(), 0, row_bytes);
        bool any = false;
        if (p == '*') {
            // cell(i, j) = cell(i - 1, j) or cell(i, j - 1): every bit from the first set one on.
            unsigned int first = 0;
            while (first < row_bytes && previous[first] == 0) {
                ++first;
            }
            if (first < row_bytes) {
                unsigned int bit = first * 8;
                while (!TestBit(previous, bit)) {
                    ++bit;
                }
                any = true;
                for (; bit <= n && (bit & 7) != 0; ++bit) {
                    SetBit(current, bit);
                }
                if (bit <= n) {
                    std::memset(current.data() + (bit >> 3), 0xFF, row_bytes - (bit >> 3));
                    unsigned int const used = (n + 1) & 7;
                    if (used != 0) {
                        current[row_bytes - 1] = static_cast<unsigned char>((1u << used) - 1);
                    }
                }
            }
        } else {
            // cell(i, j) = cell(i - 1, j - 1) and the bytes agree; cell(i, 0) is false.
            for (unsigned int byte = 0; byte < row_bytes; ++byte) {
                unsigned int bits = previous[byte];
                while (bits != 0) {
                    unsigned int const low = static_cast<unsigned int>(std::countr_zero(bits));
                    bits &= bits - 1;
                    unsigned int const j = byte * 8 + low; // cell(i - 1, j) is set
                    if (j < n && (p == '?' || data_[j] == p)) {
                        SetBit(current, j + 1);
                        any = true;
                    }
                }
            }
        }
        if (!any) {
            return false;
        }
        std::swap(previous, current);
    }
    return TestBit(previous, n);
}

// Classification

bool StringView::isNumeric() const noexcept {
    if (size_ == 0) {
        return false;
    }
    for (unsigned int i = 0; i < size_; ++i) {
        char const c = data_[i];
        if (!IsDigit(c) && c != '-' && c != '.') {
            return false;
        }
    }
    return true;
}

unsigned int StringView::fromHex() const noexcept {
    if (data_ == nullptr) {
        return 0;
    }
    unsigned int value = 0;
    for (char const * p = data_;; ++p) {
        char const c = *p;
        unsigned int digit;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned int>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned int>(c - 'a' + 10);
        } else if (c >= 'A' && c <= 'F') {
            digit = static_cast<unsigned int>(c - 'A' + 10);
        } else {
            return value;
        }
        value = value * 16 + digit;
    }
}

// Derived texts

namespace {

// toLower and toUpper: walk characters until the end or a decoded 0; from the first one-byte
// letter of the other case on, the characters go to the store with their case changed.
StringAllocatingView ChangeCaseCopy(StringView const & text, bool upper) {
    UTF8Iterator walker(text);
    while (!walker.isEmpty()) {
        unsigned int const position = walker.location(text);
        unsigned int const before = walker.remaining().size();
        wchar_t const c = walker.nextChar();
        if (c == 0) {
            break;
        }
        bool const single = before - walker.remaining().size() == 1;
        if (single && (upper ? IsLowerASCII(static_cast<char>(c)) : IsUpperASCII(static_cast<char>(c)))) {
            String store;
            store.ensureCapacity(text.size());
            store.append(text.substr(0, position));
            UTF8Iterator rest(text.substr(position));
            while (!rest.isEmpty()) {
                char const * bytes = rest.remaining().data();
                unsigned int const left = rest.remaining().size();
                wchar_t const d = rest.nextChar();
                if (d == 0) {
                    break;
                }
                unsigned int const length = left - rest.remaining().size();
                if (length == 1) {
                    store.append(upper ? StringView::ToUpperASCII(bytes[0]) : StringView::ToLowerASCII(bytes[0]));
                } else {
                    store.append(StringView(bytes, length));
                }
            }
            return StringAllocatingView(std::move(store));
        }
    }
    return StringAllocatingView(text);
}

} // namespace

StringAllocatingView StringView::toLower() const {
    return ChangeCaseCopy(*this, false);
}

StringAllocatingView StringView::toUpper() const {
    return ChangeCaseCopy(*this, true);
}

String StringView::toTitleString() const {
    String out;
    out.ensureCapacity(size_);
    unsigned int i = 0;
    while (i < size_) {
        if (data_[i] == ' ' || data_[i] == '_') {
            ++i;
            continue;
        }
        unsigned int end = i;
        while (end < size_ && data_[end] != ' ' && data_[end] != '_') {
            ++end;
        }
        StringView const word(data_ + i, end - i);
        if (!out.isEmpty()) {
            out.append(' ');
        }
        unsigned int const first = out.size();
        switch (word.hashLower()) {
        case hash_or:
        case hash_to:
        case hash_and:
        case hash_from:
            for (char c : word) {
                out.append(ToLowerASCII(c));
            }
            break;
        case hash_ui:
        case hash_us:
        case hash_u_dot_s_dot:
            for (char c : word) {
                out.append(ToUpperASCII(c));
            }
            break;
        default:
            for (char c : word) {
                out.append(ToLowerASCII(c));
            }
            out[first] = ToUpperASCII(out[first]);
            break;
        }
        i = end;
    }
    return out;
}

StringAllocatingView StringView::shortenString(unsigned int n) const {
    if (size_ <= n) {
        return StringAllocatingView(*this);
    }
    if (n < 4) {
        return StringAllocatingView(StringView(ellipsis, ellipsis_size));
    }
    unsigned int const tail = n / 2;
    unsigned int const head = tail > ellipsis_size ? tail - ellipsis_size : 0;
    String out;
    out.ensureCapacity(head + ellipsis_size + tail);
    out.append(StringView(data_, head));
    out.append(StringView(ellipsis, ellipsis_size));
    out.append(StringView(data_ + size_ - tail, tail));
    return StringAllocatingView(std::move(out));
}

StringAllocatingView StringView::insertNewLines(unsigned int n) const {
    if (size_ <= n || n == 0) {
        return StringAllocatingView(*this);
    }
    String out;
    out.ensureCapacity(size_ + size_ / n);
    UTF8Iterator walker(*this);
    unsigned int counted = 0;
    unsigned int space = not_found; // output position of the last space in this line
    while (!walker.isEmpty()) {
        wchar_t const c = walker.nextChar();
        if (c == 0) {
            break;
        }
        unsigned int const code = static_cast<unsigned int>(c);
        if (code == ' ') {
            space = out.size();
        }
        if (code < 0x800) {
            AppendEncoded(out, code);
        }
        if (++counted == n) {
            if (space != not_found) {
                out[space] = '\n';
            } else {
                out.append('\n');
            }
            counted = 0;
            space = not_found;
        }
    }
    return StringAllocatingView(std::move(out));
}

String StringView::predictNextStringIncrement() const {
    unsigned int run_start = size_;
    unsigned int run_end = size_;
    unsigned long long value = 0;
    unsigned int i = 0;
    while (i < size_) {
        if (IsDigit(data_[i])) {
            unsigned int const start = i;
            value = ReadNaturalNumber(data_, size_, i);
            run_start = start;
            run_end = i;
        } else {
            ++i;
        }
    }
    char digits[24];
    unsigned int length = 0;
    unsigned long long next = value + 1;
    do {
        digits[length++] = static_cast<char>('0' + next % 10);
        next /= 10;
    } while (next != 0);
    unsigned int const width = run_end - run_start;
    String out(*this);
    unsigned int const total = length > width ? length : width;
    for (unsigned int k = 0; k < total; ++k) {
        char const digit = total - k > length ? '0' : digits[total - k - 1];
        unsigned int const position = run_start + k;
        if (position >= out.size()) {
            out.append(digit);
        } else if (position > run_end) {
            out.insert(position, digit);
        } else {
            out[position] = digit;
        }
    }
    return out;
}

// Changing the view

StringView & StringView::trimWhiteSpace() noexcept {
    while (size_ > 0 && IsWhiteSpace(data_[0])) {
        ++data_;
        --size_;
    }
    while (size_ > 0 && IsWhiteSpace(data_[size_ - 1])) {
        --size_;
    }
    return *this;
}

StringView & StringView::removeFirst(unsigned int n) noexcept {
    if (n > size_) {
        n = size_;
    }
    if (n != 0) {
        data_ += n;
        size_ -= n;
    }
    return *this;
}

StringView & StringView::removeLast(unsigned int n) noexcept {
    size_ -= n > size_ ? size_ : n;
    return *this;
}

StringView & StringView::ensureNullTerminated(String & storage) {
    if (data_ != nullptr && data_[size_] == 0) {
        return *this;
    }
    StringView const source = *this;
    storage = source;
    data_ = storage.data();
    size_ = storage.size();
    return *this;
}

StringBuffer StringView::Convert(StringViewBuffer const & views) {
    StringBuffer strings;
    strings.ensureCapacity(views.size());
    for (StringView const & view : views) {
        strings.add(String(view));
    }
    return strings;
}

StringViewBuffer StringView::Convert(StringBuffer const & strings) {
    StringViewBuffer views;
    views.ensureCapacity(strings.size());
    for (String const & string : strings) {
        views.add(string.view());
    }
    return views;
}

} // namespace QELTA
