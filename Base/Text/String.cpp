// The changing operations of String and its UTF-8/UTF-16 conversions.
#include "Base/Text/String.h"

#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/UTF8Iterator.h"

#include <cstdint>
#include <cstring>

namespace QELTA {
namespace {

// Whether `bytes` starts inside [begin, begin + size].
bool PointsInto(char const * bytes, char const * begin, unsigned int size) noexcept {
    auto const address = reinterpret_cast<std::uintptr_t>(bytes);
    auto const first = reinterpret_cast<std::uintptr_t>(begin);
    return address >= first && address <= first + size;
}

unsigned int Unit(wchar_t c) noexcept {
    return static_cast<unsigned int>(c);
}

struct Match {
    unsigned int position;
    unsigned int entry;
};

// Bytes that addUTF16CharAsUTF8 writes for text[index], and how far it moves.
unsigned int EncodedSize(wchar_t const * text, unsigned int index, unsigned int & step) noexcept {
    unsigned int const c = Unit(text[index]);
    step = 1;
    if (c < 0x80) {
        return 1;
    }
    if (c < 0x800) {
        return 2;
    }
    step = text[index + 1] == 0 ? 1 : 2;
    return 4;
}

} // namespace

String::String(char const * text) : Buffer<char>() {
    append(StringView(text));
}

String::String(char const * text, unsigned int size) : Buffer<char>() {
    append(StringView(text, size));
}

String::String(StringView const & text) : Buffer<char>() {
    append(text);
}

String::String(std::string const & text) : Buffer<char>() {
    append(StringView(text));
}

String & String::operator=(char const * text) {
    return *this = StringView(text);
}

String & String::operator=(StringView const & text) {
    if (text.size() != 0 && capacity_ != 0 && PointsInto(text.data(), data_, size_)) {
        std::memmove(data_, text.data(), text.size());
        setSizeField(text.size());
        return *this;
    }
    clear();
    return append(text);
}

unsigned int String::indexOf(char const & c, unsigned int start, unsigned int count) const noexcept {
    unsigned long long end = static_cast<unsigned long long>(start) + count;
    if (end > static_cast<unsigned long long>(size_) + 1) {
        end = static_cast<unsigned long long>(size_) + 1; // the terminator is the last byte that exists
    }
    if (start >= end) {
        return not_found;
    }
    void const * hit = std::memchr(data_ + start, c, static_cast<std::size_t>(end - start));
    return hit == nullptr ? not_found : static_cast<unsigned int>(static_cast<char const *>(hit) - data_);
}

StringAllocatingView String::toLower() const {
    return view().toLower();
}

StringAllocatingView String::toUpper() const {
    return view().toUpper();
}

StringAllocatingView String::shortenString(unsigned int n) const {
    return view().shortenString(n);
}

StringAllocatingView String::insertNewLines(unsigned int n) const {
    return view().insertNewLines(n);
}

// Appending

String & String::append(char c) {
    add(c);
    return *this;
}

String & String::append(StringView const & text) {
    unsigned int const count = text.size();
    if (count == 0) {
        return *this;
    }
    if (capacity_ == 0 || !PointsInto(text.data(), data_, size_)) {
        Buffer<char>::append(text.data(), count);
        return *this;
    }
    unsigned int const offset = static_cast<unsigned int>(text.data() - data_);
    unsigned int const old_size = size_;
    reserveFor(old_size + count);
    if (capacity_ < old_size + count || data_ == EmptyData()) {
        return *this; // allocation failed
    }
    std::memmove(data_ + old_size, data_ + offset, count);
    setSizeField(old_size + count);
    return *this;
}

String & String::insert(unsigned int index, char byte) {
    add(index, byte);
    return *this;
}

String & String::addWhiteSpace(unsigned int total_size, unsigned int front_size, char fill) {
    if (front_size > size_) {
        unsigned int const old_size = size_;
        unsigned int const added = front_size - old_size;
        reserveFor(front_size);
        if (capacity_ < front_size || data_ == EmptyData()) {
            return *this;
        }
        std::memmove(data_ + added, data_, old_size);
        std::memset(data_, fill, added);
        setSizeField(front_size);
    }
    if (total_size > size_) {
        unsigned int const old_size = size_;
        reserveFor(total_size);
        if (capacity_ < total_size || data_ == EmptyData()) {
            return *this;
        }
        std::memset(data_ + old_size, fill, total_size - old_size);
        setSizeField(total_size);
    }
    return *this;
}

// Case

namespace {

void ChangeCaseInPlace(char * data, unsigned int size, unsigned int start, bool upper) {
    if (start >= size) {
        return;
    }
    StringView const text(data, size);
    UTF8Iterator walker(text.substr(start));
    while (!walker.isEmpty()) {
        unsigned int const position = walker.location(text);
        unsigned int const before = walker.remaining().size();
        walker.nextChar();
        if (before - walker.remaining().size() == 1) {
            data[position] =
                upper ? StringView::ToUpperASCII(data[position]) : StringView::ToLowerASCII(data[position]);
        }
    }
}

} // namespace

String & String::makeLower(unsigned int start) {
    ChangeCaseInPlace(data_, size_, start, false);
    return *this;
}

String & String::makeUpper(unsigned int start) {
    ChangeCaseInPlace(data_, size_, start, true);
    return *this;
}

// Replacing. The matches are found in the text as it was: the search goes on behind each match,
// so the replacement text is never searched, and the bytes behind an inserted text are the old
// ones. The new text is then written in one pass.

String & String::replace(StringView const & from, StringView const & to, bool ignore_case, unsigned int start) {
    if (from.size() == 0 || from == to) {
        return *this;
    }
    String from_copy;
    String to_copy;
    StringView needle = from;
    StringView replacement = to;
    if (capacity_ != 0 && PointsInto(from.data(), data_, size_)) {
        from_copy = from;
        needle = from_copy.view();
    }
    if (capacity_ != 0 && to.size() != 0 && PointsInto(to.data(), data_, size_)) {
        to_copy = to;
        replacement = to_copy.view();
    }
    unsigned int const m = needle.size();
    unsigned int const r = replacement.size();
    unsigned int position = view().indexOf(needle, ignore_case, start);
    if (position == not_found) {
        return *this;
    }
    if (r <= m) {
        // Shrinking in place: the writing position never passes the reading one.
        unsigned int write = position;
        unsigned int read = position;
        while (position != not_found) {
            std::memmove(data_ + write, data_ + read, position - read);
            write += position - read;
            if (r != 0) {
                std::memcpy(data_ + write, replacement.data(), r);
            }
            write += r;
            read = position + m;
            position = view().indexOf(needle, ignore_case, read);
        }
        std::memmove(data_ + write, data_ + read, size_ - read);
        setSizeField(write + (size_ - read));
        return *this;
    }
    // Growing: find all matches, grow once, then move the pieces up from the back.
    Buffer<unsigned int> positions;
    while (position != not_found) {
        positions.add(position);
        position = view().indexOf(needle, ignore_case, position + m);
    }
    unsigned long long const grown =
        static_cast<unsigned long long>(size_) + static_cast<unsigned long long>(positions.size()) * (r - m);
    if (grown >= not_found) {
        return *this; // beyond the size of a text
    }
    unsigned int const old_size = size_;
    unsigned int const new_size = static_cast<unsigned int>(grown);
    reserveFor(new_size);
    if (capacity_ < new_size || data_ == EmptyData()) {
        return *this;
    }
    unsigned int read_end = old_size;
    unsigned int write_end = new_size;
    for (unsigned int k = positions.size(); k-- > 0;) {
        unsigned int const tail = positions[k] + m;
        std::memmove(data_ + write_end - (read_end - tail), data_ + tail, read_end - tail);
        write_end -= read_end - tail;
        write_end -= r;
        std::memcpy(data_ + write_end, replacement.data(), r);
        read_end = positions[k];
    }
    setSizeField(new_size);
    return *this;
}

namespace {

template <class ToBuffer>
void ReplaceAll(String & text, StringViewBuffer const & from, ToBuffer const & to, bool ignore_case,
                unsigned int start) {
    unsigned int const entries = from.size() < to.size() ? from.size() : to.size();
    StringView const source = text.view();
    // next[k]: the first match of entry k at or after the position it was last searched from.
    Buffer<unsigned int> next;
    next.setSize(entries);
    if (next.size() != entries) {
        return;
    }
    for (unsigned int k = 0; k < entries; ++k) {
        next[k] = from[k].size() == 0 ? StringView::not_found : source.indexOf(from[k], ignore_case, start);
    }
    Buffer<Match> matches;
    unsigned long long new_size = source.size();
    for (;;) {
        unsigned int best = StringView::not_found;
        unsigned int entry = 0;
        for (unsigned int k = 0; k < entries; ++k) {
            if (next[k] < best) {
                best = next[k];
                entry = k;
            }
        }
        if (best == StringView::not_found) {
            break;
        }
        matches.add(Match{best, entry});
        new_size = new_size - from[entry].size() + StringView(to[entry]).size();
        unsigned int const resume = best + from[entry].size();
        for (unsigned int k = 0; k < entries; ++k) {
            if (next[k] < resume) {
                next[k] = source.indexOf(from[k], ignore_case, resume);
            }
        }
    }
    if (matches.isEmpty() || new_size >= StringView::not_found) {
        return;
    }
    String out;
    out.ensureCapacity(static_cast<unsigned int>(new_size));
    unsigned int read = 0;
    for (Match const & match : matches) {
        out.append(source.substr(read, match.position));
        out.append(StringView(to[match.entry]));
        read = match.position + from[match.entry].size();
    }
    out.append(source.substr(read));
    text = std::move(out);
}

} // namespace

String & String::replace(StringViewBuffer const & from, StringViewBuffer const & to, bool ignore_case,
                         unsigned int start) {
    ReplaceAll(*this, from, to, ignore_case, start);
    return *this;
}

String & String::replace(StringViewBuffer const & from, StringBuffer const & to, bool ignore_case, unsigned int start) {
    ReplaceAll(*this, from, to, ignore_case, start);
    return *this;
}

// Filtering

String & String::removeNonAlphaNumeric(bool keep_tab, bool keep_space, bool keep_newline, bool keep_return,
                                       bool keep_digits) {
    unsigned int write = 0;
    for (unsigned int read = 0; read < size_; ++read) {
        char const c = data_[read];
        bool const keep = (keep_tab && c == '\t') || (keep_space && c == ' ') || (keep_newline && c == '\n') ||
                          (keep_return && c == '\r') || (keep_digits && StringView::IsDigit(c));
        if (keep) {
            data_[write++] = c;
        }
    }
    if (write != size_) {
        setSizeField(write);
    }
    return *this;
}

String & String::removeNonNumeric() {
    return removeNonAlphaNumeric(false, false, false, false, true);
}

String & String::trimWhiteSpace() {
    StringView const trimmed = StringView(data_, size_).trimWhiteSpace();
    if (trimmed.size() == size_) {
        return *this;
    }
    std::memmove(data_, trimmed.data(), trimmed.size());
    setSizeField(trimmed.size());
    return *this;
}

// UTF-16

bool String::addUTF16CharAsUTF8(wchar_t const * text, unsigned int & index) {
    unsigned int const c = Unit(text[index]);
    if (c == 0) {
        return false;
    }
    if (c < 0x80) {
        append(static_cast<char>(c));
        index += 1;
    } else if (c < 0x800) {
        append(static_cast<char>(0xC0 | c >> 6));
        append(static_cast<char>(0x80 | (c & 63)));
        index += 1;
    } else {
        unsigned int const next = Unit(text[index + 1]);
        unsigned int const value = (c << 16) + next;
        index += next == 0 ? 1 : 2; // deliberate: never steps over the terminating zero, as the stored rule would
        append(static_cast<char>(0xF0 | value >> 18));
        append(static_cast<char>(0x80 | (value >> 12 & 63)));
        append(static_cast<char>(0x80 | (value >> 6 & 63)));
        append(static_cast<char>(0x80 | (next & 63)));
    }
    return true;
}

String & String::addUTF16AsUTF8(wchar_t const * text) {
    if (text == nullptr) {
        return *this;
    }
    unsigned long long bytes = 0;
    for (unsigned int index = 0; text[index] != 0;) {
        unsigned int step = 0;
        bytes += EncodedSize(text, index, step);
        index += step;
    }
    if (size_ + bytes > capacity_ && size_ + bytes < not_found) {
        ensureCapacity(static_cast<unsigned int>(size_ + bytes));
    }
    unsigned int index = 0;
    while (addUTF16CharAsUTF8(text, index)) {
    }
    return *this;
}

wchar_t String::UTF8toUTF16(char const * bytes, unsigned int & advance) noexcept {
    if (bytes == nullptr) {
        return 0;
    }
    return UTF8Iterator::DecodeChar(bytes, 6, advance);
}

String String::UTF16toUTF8(wchar_t const * text, unsigned int & index) {
    String out;
    if (text != nullptr) {
        out.addUTF16CharAsUTF8(text, index);
    }
    return out;
}

} // namespace QELTA
