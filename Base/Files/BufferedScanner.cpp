// BufferedScanner: one read of the whole source, one pass to index its lines.
#include "Base/Files/BufferedScanner.h"

#include <cstdio>
#include <cstring>

namespace QELTA {
namespace {

constexpr unsigned int read_block_size = 1u << 20;

// The size of an open stream from its start, or all ones when the stream can't seek.
unsigned long long StreamSize(std::FILE * stream) {
    long const here = std::ftell(stream);
    if (here < 0 || std::fseek(stream, 0, SEEK_END) != 0) {
        return ~0ull;
    }
    long const end = std::ftell(stream);
    std::fseek(stream, here, SEEK_SET);
    return end < 0 ? ~0ull : static_cast<unsigned long long>(end);
}

// Makes `line` the `size` bytes at `bytes`, which lie outside it; a failed allocation leaves it
// empty, as String's own operations do.
void CopyInto(String & line, char const * bytes, unsigned int size) {
    line.clear();
    if (line.capacity() < size) {
        line.ensureCapacity(size > line.capacity() * 2u ? size : line.capacity() * 2u);
    }
    if (size == 0 || line.capacity() < size || line.data() == String().data()) {
        return;
    }
    std::memcpy(line.data(), bytes, size);
    line.setSize(size);
}

} // namespace

BufferedScanner::BufferedScanner(File const & file, char delimiter, File::OpenMode mode)
    : Scanner(file, delimiter, mode) {
    std::FILE * const stream = file_.filePtr();
    unsigned long long const size = StreamSize(stream);
    if (size == ~0ull) {
        readUnknownSize(stream);
    } else {
        if (size > MaxSourceSize()) {
            ThrowTooLarge(&file_, size);
        }
        buffer_.setSize(static_cast<unsigned int>(size));
        // A failed allocation leaves the shared empty text; reading into it would write outside.
        if (size != 0 && buffer_.data() == String().data()) {
            ThrowTooLarge(&file_, size);
        }
        std::size_t const read = std::fread(buffer_.data(), 1, buffer_.size(), stream);
        buffer_.setSize(static_cast<unsigned int>(read));
    }
    indexLines();
    data_size_ = buffer_.size();
}

BufferedScanner::BufferedScanner(StringView const & text, char delimiter) : Scanner(StringView(), delimiter) {
    buffer_.ensureCapacity(text.size());
    char const * begin = text.data();
    char const * const end = begin + text.size();
    while (begin < end) {
        auto const * const cr =
            static_cast<char const *>(std::memchr(begin, '\r', static_cast<std::size_t>(end - begin)));
        char const * const stop = cr == nullptr ? end : cr;
        buffer_.append(begin, static_cast<unsigned int>(stop - begin));
        begin = stop + (cr != nullptr);
    }
    if (buffer_.size() > MaxSourceSize()) {
        ThrowTooLarge(nullptr, buffer_.size());
    }
    indexLines();
    data_size_ = buffer_.size();
}

BufferedScanner::~BufferedScanner() = default;

void BufferedScanner::readUnknownSize(std::FILE * stream) {
    for (;;) {
        unsigned int const before = buffer_.size();
        if (before + static_cast<unsigned long long>(read_block_size) > MaxSourceSize() + 1ull) {
            // One byte more than the limit tells a source at the limit from one beyond it.
            unsigned long long const room = MaxSourceSize() + 1ull - before;
            buffer_.setSize(static_cast<unsigned int>(before + room));
        } else {
            buffer_.setSize(before + read_block_size);
        }
        if (buffer_.data() == String().data()) {
            ThrowTooLarge(&file_, before + static_cast<unsigned long long>(read_block_size));
        }
        std::size_t const read = std::fread(buffer_.data() + before, 1, buffer_.size() - before, stream);
        buffer_.setSize(before + static_cast<unsigned int>(read));
        if (buffer_.size() > MaxSourceSize()) {
            ThrowTooLarge(&file_, buffer_.size());
        }
        if (read == 0) {
            return;
        }
    }
}

void BufferedScanner::indexLines() {
    unsigned int const size = buffer_.size();
    line_starts_.clear();
    line_starts_.ensureCapacity(size / 32 + 2);
    line_starts_.add(0);
    char const * const data = buffer_.data();
    char const * begin = data;
    char const * const end = data + size;
    while (begin < end) {
        auto const * const newline =
            static_cast<char const *>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
        if (newline == nullptr) {
            break;
        }
        begin = newline + 1;
        line_starts_.add(static_cast<unsigned int>(begin - data));
    }
    line_starts_.add(size + 1);
}

bool BufferedScanner::nextLine(String & line, bool clear) {
    if (clear) {
        line.clear();
    }
    return takeLine(line);
}

inline bool BufferedScanner::takeLine(String & line) {
    if (line_number_ + 1 >= line_starts_.size()) {
        return false;
    }
    unsigned int const start = line_starts_[static_cast<unsigned int>(line_number_)];
    unsigned int const span = line_starts_[static_cast<unsigned int>(line_number_) + 1] - start;
    if (span == 0) {
        return true;
    }
    CopyInto(line, buffer_.data() + start, span - 1);
    ++line_number_;
    file_position_ += span;
    if (!line.isEmpty() && line.last() == '\r') {
        line.removeLast();
    }
    if (ignore_white_space_) {
        line.trimWhiteSpace();
    }
    return true;
}

bool BufferedScanner::nextLine() {
    unsigned long long const size = buffer_.size();
    if (file_position_ >= size) {
        return false;
    }
    line_position_ = 0;
    delimiters_passed_ = 0;
    current_line_.clear();
    // A used-up line table ends the reading even where a seek put the file position back, so
    // that a caller's loop over the lines ends.
    bool read = takeLine(current_line_);
    if (ignore_empty_lines_) {
        while (read && current_line_.isEmpty() && file_position_ < size) {
            read = takeLine(current_line_);
        }
    }
    return read && (!current_line_.isEmpty() || file_position_ < size);
}

void BufferedScanner::setFilePosition(unsigned long long position, bool read_line) {
    unsigned long long const old_position = file_position_;
    file_position_ = position;
    if (!read_line) {
        current_line_.clear();
        line_position_ = 0;
        delimiters_passed_ = 0;
        return;
    }
    unsigned int const count = line_starts_.size();
    unsigned int const from = static_cast<unsigned int>(line_number_);
    if (position > old_position) {
        for (unsigned int index = from; index < count; ++index) {
            if (line_starts_[index] > position) {
                line_number_ = index - 1;
                break;
            }
        }
    } else {
        for (unsigned int index = from + 1; index-- > 0;) {
            if (line_starts_[index] < position) {
                line_number_ = index;
                break;
            }
        }
    }
    unsigned int const line = static_cast<unsigned int>(line_number_);
    nextLine();
    line_position_ = static_cast<unsigned int>(line_starts_[line] - position);
}

char const * BufferedScanner::getByteArray() {
    unsigned long long const size = buffer_.size();
    return buffer_.data() + (file_position_ < size ? file_position_ : size);
}

} // namespace QELTA
