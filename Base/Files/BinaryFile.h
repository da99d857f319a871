// BinaryFile: a reader and writer of raw values and of self-describing, optionally compressed
// blocks, through a file stream or in a memory image of the file.
//
// A BinaryFile is a File and owns its stream, its memory image, the string table its blocks share
// and the list of blocks whose decompression waits. It belongs to one thread, with two exceptions:
// the deferred blocks are decompressed side by side on all cores (their targets, the caller's
// buffers, must stay untouched until uncompressAll() or close()), and Compressor::AddString may
// enter texts in the table from several compressing threads under the table's own lock. Opening
// fails as File::open does; writing the memory image raises the one error of its own ("Binary
// File Error"); compression errors come from Compressor. A block that does not fit what follows it
// in the file (truncated, sizes that lie, offsets outside the table, unknown modes, counts whose
// bytes overflow) raises Compressor's data error and leaves its target empty; no read goes past
// the data and no allocation exceeds what the remaining bytes can inflate to.
#pragma once

#include "Base/Export.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/TypeInfo.h"

#include <cstring>
#include <limits>
#include <type_traits>

namespace QELTA {

// A value that the 64-bit block member of the family writes: 8 bytes copied as they are (Time,
// double, 64-bit integers).
template <class T>
concept BinaryBlockValue64 = sizeof(T) == 8 && std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>;

// The file format. Numbers are little-endian; W is 4 bytes, or 8 with setUseLargeCompression(true)
// (not recorded in the file: reader and writer agree on it). A block is
//   count (W)  0 ends the block here
//   size_plus_one (W)  payload bytes plus one; for mode 14 the table index plus one
//   mode (1 byte)  the mode actually used
//   payload  size_plus_one - 1 bytes; none for mode 14
// The string table (writeStringData) is a String block of all entries end to end, then a block of
// their 32-bit lengths, or a single zero of width W when the table is empty. A file embedded by
// writeDirectlyFrom is its length in 8 bytes, then its bytes.
//
// Memory mode (cachedOpen, or a constructor from bytes) reads and writes the image at a cursor;
// the disk is touched only in cachedOpen and close. Stream mode acts on the File's stream at once.
class QELTA_BASE_EXPORT BinaryFile : public File {
  public:
    // Stream mode, no path.
    BinaryFile();
    // Stream mode on the path of `file`; nothing is opened yet.
    explicit BinaryFile(File const & file);
    // Memory mode on a copy of the bytes (or on the moved buffer), reading, cursor at 0, no path.
    BinaryFile(unsigned char const * data, unsigned long long size);
    explicit BinaryFile(ByteBuffer const & bytes);
    explicit BinaryFile(LargeByteBuffer const & bytes);
    explicit BinaryFile(LargeByteBuffer && bytes);
    // Carries everything across, the waiting blocks included.
    BinaryFile(BinaryFile && other) noexcept;
    BinaryFile & operator=(BinaryFile && other) noexcept;
    BinaryFile(BinaryFile const &) = delete;
    BinaryFile & operator=(BinaryFile const &) = delete;
    // close(), swallowing what it raises.
    ~BinaryFile();

    // Opening and closing

    // Stream mode. Without a path nothing is opened; otherwise READ_BINARY (READ_BINARY_TEMP_COPY
    // through a temporary copy) or WRITE_BINARY (WRITE_BINARY_TEMP).
    void open(bool for_reading, bool through_temp = false);
    // Memory mode, cursor at 0. Writing empties the image; reading loads the whole file with one
    // read and closes it.
    void cachedOpen(bool for_reading);
    // Without a path, does nothing. Reading: closes the stream, or in memory mode decompresses
    // the waiting blocks (uncompressAll). Writing in memory mode: writes the image with one call;
    // a short write raises "Error writing to binary file: [error]" and leaves the file open and
    // the image in place. Then the stream is closed and the image released.
    void close();
    // Goes on in a stream at `target`; nothing while reading. The sense of `for_reading` is
    // reversed with respect to its name, and stays so: afterwards the object reads when it is
    // false. From memory mode the image goes to `target` opened for writing. From stream mode the
    // present file is copied onto `target`, which is then opened for writing when `for_reading`
    // is true (truncating the copy) and for reading when it is false.
    void switchToFile(File target, bool for_reading, bool through_temp);

    // The cursor: a seek from the start of the stream, or the memory cursor.
    void seek(unsigned long long position);
    unsigned long long position() const;
    // The stream's end flag, or the cursor at or past the image's end.
    bool isFinished() const;
    // The image's size, or the file's size as stored at open or asked for now.
    unsigned long long fileSize() const;
    // position() / fileSize(), from 0 to 1.
    float percent() const;

    // Raw values

    void writeDirect(void const * bytes, unsigned long long size);
    // The bytes that were there: 0 at the end.
    unsigned long long readDirect(void * bytes, unsigned long long size);
    // A fixed-size value as its bytes.
    template <class T>
    requires std::is_trivially_copyable_v<T> &&(!std::is_pointer_v<T>)void writeDirect(T const & value) {
        writeDirect(&value, sizeof(T));
    }
    // Whether all bytes of the value were there; a short read leaves the value as it was.
    template <class T>
    requires std::is_trivially_copyable_v<T> &&(!std::is_pointer_v<T>)bool readDirect(T & value) {
        unsigned char bytes[sizeof(T)];
        if (readDirect(bytes, sizeof(T)) != sizeof(T)) {
            return false;
        }
        std::memcpy(&value, bytes, sizeof(T));
        return true;
    }

    // A field of `width` bytes. Memory mode: at most `width` bytes of the text, then `fill` up to
    // the width. Stream mode writes all of the text, even beyond the width, and for a text n
    // bytes short n runs of n bytes, each the fill byte and n - 1 zero bytes: a correct field only
    // for n of 0 or 1, the layout stored files of this mode have. Formats pad in memory mode.
    void writeRawData(StringView const & text, unsigned int width, char fill);
    // The bytes, then the terminator.
    void writeTerminatingString(StringView const & text, char terminator);
    // Appends the bytes up to the terminator, which is consumed and left out, or to the end.
    void readString(String & out, char terminator);
    // The same into `out`, which has room for `capacity` bytes, zero-terminated; stops early
    // when only the terminating zero still fits. Returns the bytes stored before the zero.
    unsigned int readString(char * out, unsigned int capacity, char terminator);
    // Up to `count` bytes. In memory mode the very last byte of the image is never delivered: the
    // loop stops with the cursor already behind it. Stored formats rely on that, so it stays.
    String readData(unsigned int count);
    unsigned int readData(char * out, unsigned int count);

    // Blocks. Each writer makes one block of its elements with `mode` (Compressor may store them
    // instead). Each reader reads one block into its target; `may_defer` asks that a deflated
    // block in memory mode wait in the list of deferred blocks, and tells on return whether the
    // block was of a kind that may wait. A waiting target is sized but filled only by
    // uncompressSections, uncompressAll or close.

    // Bytes of the text, element info 1, 1.
    void write(String const & text, CompressionMode mode);
    // The same, but DEFAULT_COMPRESSION and BEST_COMPRESSION become mode 14: the text goes into
    // the string table and the block keeps its index (the table's own block is then deflated).
    void write(StringView const & text, CompressionMode mode);
    void write(Buffer<unsigned char> const & values, CompressionMode mode);
    void write(Buffer<unsigned short> const & values, CompressionMode mode);
    void write(Buffer<unsigned int> const & values, CompressionMode mode);
    template <BinaryBlockValue64 T>
    void write(Buffer<T> const & values, CompressionMode mode) {
        writeBlock(values.data(), values.size(), 8, Block64Info(), mode);
    }
    // Two blocks with the same mode: the 32-bit lengths, then a String of all bytes end to end.
    void write(Buffer<String> const & texts, CompressionMode mode);

    void read(String & target, bool & may_defer);
    void read(Buffer<unsigned char> & target, bool & may_defer);
    void read(Buffer<unsigned short> & target, bool & may_defer);
    void read(Buffer<unsigned int> & target, bool & may_defer);
    template <BinaryBlockValue64 T>
    void read(Buffer<T> & target, bool & may_defer) {
        readBlockInto(target, may_defer);
    }
    // Never deferred: the bytes are cut by the lengths at once. Lengths that add up to more than
    // the bytes raise the data error.
    void read(Buffer<String> & target);
    // The readers without deferral.
    template <class Target>
    void read(Target & target) {
        bool may_defer = false;
        read(target, may_defer);
    }

    // A record bound to this file's string table, everything else zero. It points into this
    // object and must not outlive it or a move of it.
    BinaryCompressionObject createCompressionObject();
    // Writes a finished block: the child chain first, deepest first, then this one.
    void writeCompression(BinaryCompressionObject & object);

    // The string table as a String block with `mode`, then the lengths block (or one zero).
    void writeStringData(CompressionMode mode);
    // Reads the table's String block; with `with_index` also the lengths, from which the entry
    // bounds are rebuilt (lengths beyond the bytes raise the data error). The look-up that only
    // the writer uses is not rebuilt. Must come before the first block of mode 3 or 14.
    void readStringData(bool with_index);

    // Decompresses `count` waiting blocks from `first` side by side on all cores, then removes
    // them from the list. The first failure (by position) is raised after all ran; each failed
    // target holds zeros.
    void uncompressSections(unsigned int first, unsigned int count);
    void uncompressAll();
    // Waiting blocks.
    unsigned int pendingSections() const noexcept { return sections_.size(); }

    // Embeds the file's bytes behind their 8-byte length (0 for a missing file); the source is
    // closed afterwards. Bytes that vanish while it is read are written as zeros. Returns true.
    bool writeDirectlyFrom(File source);
    // Writes an embedded file to `target`, made when missing; a length of 0 makes nothing. Copies
    // the bytes that are there when the length runs past the end. Returns true.
    bool readDirectlyTo(File target);

    void setMaxBufferSize(unsigned long long size) noexcept { max_buffer_size_ = size; }
    unsigned long long maxBufferSize() const noexcept { return max_buffer_size_; }
    void setUseLargeCompression(bool large) noexcept { use_large_compression_ = large; }
    bool useLargeCompression() const noexcept { return use_large_compression_; }
    void setAllowDeferred(bool allow) noexcept { allow_deferred_ = allow; }
    // Not a number until a host format sets it; carried by moves and otherwise unused here.
    double formatVersion() const noexcept { return format_version_; }
    void setFormatVersion(double version) noexcept { format_version_ = version; }
    LargeByteBuffer const & cachedData() const noexcept { return cached_data_; }
    File & file() noexcept { return *this; }
    String const & stringData() const noexcept { return string_data_; }
    StringTableOffsets const & stringOffsets() const noexcept { return string_offsets_; }

    // The threads of uncompressSections; 0 (the default) is one a core.
    static void SetDecompressionThreads(unsigned int threads) noexcept;

  private:
    struct BlockHeader {
        unsigned long long count = 0;
        unsigned long long payload = 0; // size_plus_one - 1
        unsigned char mode = 0;
    };

    static TypeInfo Block64Info() noexcept;
    unsigned int headerWidth() const noexcept { return use_large_compression_ ? 8 : 4; }
    void writeHeaderField(unsigned long long value);
    // False when not one byte of the field was there; raises when only a part was.
    bool readHeaderField(unsigned long long & value);
    // Copies `size` bytes of the memory image at the cursor, growing it as needed.
    void writeToImage(void const * bytes, unsigned long long size);
    void writeZeros(unsigned long long size);
    void writeBlock(void const * data, unsigned long long count, unsigned int element_size, TypeInfo const & info,
                    unsigned char mode);
    // Reads count, size and mode, and checks them against the element size, the largest count of
    // the target and what can still follow. False for a count of 0.
    bool readBlockHeader(BlockHeader & header, unsigned int element_size, unsigned long long max_count);
    // Stream mode: reads the payload of a checked header into scratch_, believing its size only as
    // far as bytes arrive. Memory mode: nothing, the payload is in the image.
    void fetchPayload(BlockHeader const & header);
    // Decompresses or defers the payload into `target`, sized already, and moves the cursor on.
    void decodePayload(BlockHeader const & header, unsigned char * target, unsigned long long target_size,
                       bool & may_defer);
    // The three steps for one target; any failure leaves the target empty.
    template <class Target>
    void readBlockInto(Target & target, bool & may_defer);
    // Bytes that may still follow the cursor; all ones when unknown.
    unsigned long long remainingBytes() const;
    void bindSections() noexcept;
    void releaseImage() noexcept;

    String string_data_;
    unsigned long long max_buffer_size_ = 0xFFFFFFFEull;
    // Written under the write lock named by its address (Compressor::AddString).
    StringTableIndex string_index_;
    StringTableOffsets string_offsets_;
    double format_version_ = std::numeric_limits<double>::quiet_NaN();
    LargeByteBuffer scratch_;
    LargeByteBuffer cached_data_;
    Buffer<BinaryCompressionObject> sections_;
    // Memory mode: the cursor. Stream mode: the bytes read (the stream's own position rules).
    unsigned long long position_ = ~0ull;
    unsigned long long file_size_cache_ = ~0ull;
    bool use_cached_ = false;
    bool is_reading_ = false;
    bool use_large_compression_ = false;
    bool allow_deferred_ = true;
};

template <class Target>
void BinaryFile::readBlockInto(Target & target, bool & may_defer) {
    using Element = typename Target::value_type;
    constexpr unsigned long long max_count = static_cast<unsigned long long>(Target::not_found) - 1;
    try {
        BlockHeader header;
        if (!readBlockHeader(header, sizeof(Element), max_count)) {
            target.setSize(0);
            return;
        }
        fetchPayload(header);
        target.setSize(static_cast<typename Target::Index>(header.count));
        Element const * const data = target.data();
        bool stored = data != nullptr;
        if constexpr (Target::is_text) {
            stored = data != BufferDetail::empty_text;
        }
        if (!stored) {
            Compressor::ThrowError(Compressor::ZLIB_MEMORY_ERROR);
        }
        decodePayload(header, reinterpret_cast<unsigned char *>(target.data()), header.count * sizeof(Element),
                      may_defer);
    } catch (...) {
        target = Target();
        throw;
    }
}

} // namespace QELTA
