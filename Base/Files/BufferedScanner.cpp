// BufferedScanner: one read of the whole source, one pass to index its lines.
#include "Base/Files/BufferedScanner.h"

#include "Base/Files/Internal/ByteSearch.h"

#include <algorithm>
#include <bit>
#include <cstdint>
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
// empty, as String's own operations do. `readable` is how many bytes from `bytes` on may be
// read. A line that fits goes over as one fixed block of 64 bytes, more than it needs: that
// spares the call of memcpy and a branch on the length that guesses wrong line after line, and
// the field readers' narrow loads that follow are served straight from these stores.
void CopyInto(String & line, char const * bytes, unsigned int size, unsigned int readable) {
    constexpr unsigned int block = 64;
    line.clear();
    unsigned int const needed = size < block ? block : size;
    if (line.capacity() < needed) {
        line.ensureCapacity(needed > line.capacity() * 2u ? needed : line.capacity() * 2u);
    }
    if (size == 0 || line.capacity() < needed || line.data() == String().data()) {
        return;
    }
    char * const out = line.data();
    if (size <= block && readable >= block) {
        for (unsigned int done = 0; done < block; done += 16) {
            char piece[16];
            std::memcpy(piece, bytes + done, sizeof piece);
            std::memcpy(out + done, piece, sizeof piece);
        }
    } else {
        std::memcpy(out, bytes, size);
    }
    line.setSize(size);
}

// The set bits of `mask`; std::popcount becomes a library call where the machine's baseline has
// no instruction for it.
unsigned int BitCount(std::uint64_t mask) noexcept {
    mask -= (mask >> 1) & 0x5555555555555555ull;
    mask = (mask & 0x3333333333333333ull) + ((mask >> 2) & 0x3333333333333333ull);
    mask = (mask + (mask >> 4)) & 0x0F0F0F0F0F0F0F0Full;
    return static_cast<unsigned int>((mask * 0x0101010101010101ull) >> 56);
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
    // Each block of 64 bytes gives a mask of its line feeds. The first four places are written
    // whether or not they exist and the index then moves by the real count, which keeps the loop
    // free of branches that guess wrong; room for a block's worth of entries is kept ahead.
    constexpr unsigned int block = 64;
    unsigned int const size = buffer_.size();
    char const * const data = buffer_.data();
    unsigned int index = 0;
    unsigned int * starts = nullptr;
    auto const make_room = [&](unsigned int entries) {
        if (line_starts_.capacity() - index < entries) {
            line_starts_.setSize(index);
            line_starts_.ensureCapacity(std::max(line_starts_.capacity() * 2, index + entries));
        }
        starts = line_starts_.data();
        return starts != nullptr;
    };
    line_starts_.clear();
    line_starts_.ensureCapacity(size / 32 + 2 * block);
    unsigned int position = 0;
    bool room = make_room(1);
    if (room) {
        starts[index++] = 0;
    }
    for (; room && size - position >= block; position += block) {
        if (!make_room(block)) {
            room = false;
            break;
        }
        std::uint64_t mask = Internal::ByteMask64(data + position, '\n');
        unsigned int const count = BitCount(mask);
        unsigned int * const out = starts + index;
        for (unsigned int i = 0; i < 4; ++i) {
            out[i] = position + static_cast<unsigned int>(std::countr_zero(mask)) + 1;
            mask &= mask - 1;
        }
        for (unsigned int i = 4; i < count; ++i) {
            out[i] = position + static_cast<unsigned int>(std::countr_zero(mask)) + 1;
            mask &= mask - 1;
        }
        index += count;
    }
    if (!room || !make_room(size - position + 1)) {
        // No room for the table: an empty one, which gives no lines, rather than writing nowhere.
        line_starts_ = Buffer<unsigned int>();
        return;
    }
    for (; position < size; ++position) {
        if (data[position] == '\n') {
            starts[index++] = position + 1;
        }
    }
    starts[index++] = size + 1;
    line_starts_.setSize(index);
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
    CopyInto(line, buffer_.data() + start, span - 1, buffer_.size() - start);
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
