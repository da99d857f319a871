// BinaryFile: the two working modes, the raw values, the block framing and its checks, the string
// table blocks, embedded files and the deferred blocks.
#include "Base/Files/BinaryFile.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/Internal/ParallelDecompress.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Logging/InfoPipe.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

static_assert(std::endian::native == std::endian::little, "the formats store the machine's little-endian bytes");

constexpr char write_error_title[] = "Binary File Error";
constexpr char write_error_label[] = "binary_file_write_error";
constexpr char write_error_text[] = "Error writing to binary file: [error]";
constexpr char error_slot[] = "[error]";
constexpr char unknown_write_error_text[] = "Unknown write error";

// The chunk of embedding a file in stream mode, which bounds its memory.
constexpr unsigned long long embed_chunk_size = 1048576;
// The first chunk of a stream block's payload; later chunks double, so that a size in the header
// is only believed as far as the bytes that really arrive.
constexpr unsigned long long payload_chunk_size = 1048576;
constexpr unsigned int zero_block_size = 65536;
constexpr unsigned char zero_block[zero_block_size] = {};

TypeInfo ElementInfo(unsigned short size, bool is_number, bool is_float) noexcept {
    TypeInfo info;
    info.total_size = size;
    info.byte_size = size;
    info.vector_size = 1;
    info.is_number = is_number;
    info.is_unsigned = is_number && !is_float;
    info.is_float = is_float;
    return info;
}

std::atomic<unsigned int> & DecompressionThreads() {
    static std::atomic<unsigned int> threads{0};
    return threads;
}

[[noreturn]] void ThrowDataError() {
    Compressor::ThrowError(Compressor::ZLIB_DATA_ERROR);
}

// Whether `bytes` can come out of `payload` bytes of a deflate stream.
bool FitsInflation(unsigned long long bytes, unsigned long long payload) noexcept {
    return payload >= ~0ull / Compressor::max_inflate_ratio || bytes <= payload * Compressor::max_inflate_ratio;
}

} // namespace

BinaryFile::BinaryFile() = default;

BinaryFile::BinaryFile(File const & file) : File(file) {}

BinaryFile::BinaryFile(unsigned char const * data, unsigned long long size) {
    cached_data_ = LargeByteBuffer(data, size);
    use_cached_ = true;
    is_reading_ = true;
    position_ = 0;
}

BinaryFile::BinaryFile(ByteBuffer const & bytes) : BinaryFile(bytes.data(), bytes.size()) {}

BinaryFile::BinaryFile(LargeByteBuffer const & bytes) : BinaryFile(bytes.data(), bytes.size()) {}

BinaryFile::BinaryFile(LargeByteBuffer && bytes) {
    cached_data_ = std::move(bytes);
    use_cached_ = true;
    is_reading_ = true;
    position_ = 0;
}

BinaryFile::BinaryFile(BinaryFile && other) noexcept
    : File(std::move(other)), string_data_(std::move(other.string_data_)), max_buffer_size_(other.max_buffer_size_),
      string_index_(std::move(other.string_index_)), string_offsets_(std::move(other.string_offsets_)),
      format_version_(other.format_version_), scratch_(std::move(other.scratch_)),
      cached_data_(std::move(other.cached_data_)), sections_(std::move(other.sections_)), position_(other.position_),
      file_size_cache_(other.file_size_cache_), use_cached_(other.use_cached_), is_reading_(other.is_reading_),
      use_large_compression_(other.use_large_compression_), allow_deferred_(other.allow_deferred_) {
    bindSections();
}

BinaryFile & BinaryFile::operator=(BinaryFile && other) noexcept {
    if (this == &other) {
        return *this;
    }
    try {
        close();
    } catch (...) {
        // As in the destructor: what this object still held is given up.
    }
    File::operator=(std::move(other));
    string_data_ = std::move(other.string_data_);
    max_buffer_size_ = other.max_buffer_size_;
    string_index_ = std::move(other.string_index_);
    string_offsets_ = std::move(other.string_offsets_);
    format_version_ = other.format_version_;
    scratch_ = std::move(other.scratch_);
    cached_data_ = std::move(other.cached_data_);
    sections_ = std::move(other.sections_);
    position_ = other.position_;
    file_size_cache_ = other.file_size_cache_;
    use_cached_ = other.use_cached_;
    is_reading_ = other.is_reading_;
    use_large_compression_ = other.use_large_compression_;
    allow_deferred_ = other.allow_deferred_;
    bindSections();
    return *this;
}

BinaryFile::~BinaryFile() {
    try {
        close();
    } catch (...) {
        // A destructor can't report; File's own destructor closes what is still open.
    }
}

void BinaryFile::bindSections() noexcept {
    for (BinaryCompressionObject & section : sections_) {
        section.string_index = &string_index_;
        section.string_offsets = &string_offsets_;
        section.string_data = &string_data_;
    }
}

void BinaryFile::releaseImage() noexcept {
    cached_data_ = LargeByteBuffer();
}

// Opening and closing

void BinaryFile::open(bool for_reading, bool through_temp) {
    is_reading_ = for_reading;
    if (isEmpty()) {
        return;
    }
    if (for_reading) {
        File::open(through_temp ? READ_BINARY_TEMP_COPY : READ_BINARY);
        invalidateCache();
        file_size_cache_ = File::fileSize();
    } else {
        File::open(through_temp ? WRITE_BINARY_TEMP : WRITE_BINARY);
        file_size_cache_ = FileCachedData::unknown_size;
    }
    use_cached_ = false;
    position_ = 0;
}

void BinaryFile::cachedOpen(bool for_reading) {
    if (!sections_.isEmpty()) {
        uncompressAll(); // their bytes live in the image that is replaced here
    }
    use_cached_ = true;
    is_reading_ = for_reading;
    position_ = 0;
    if (!for_reading) {
        cached_data_.clear();
        return;
    }
    File::open(READ_BINARY);
    invalidateCache();
    unsigned long long const size = File::fileSize();
    releaseImage();
    if (size != FileCachedData::unknown_size && size != 0) {
        cached_data_.setSize(size);
        if (cached_data_.data() == nullptr) {
            releaseImage();
        } else {
            cached_data_.setSize(std::fread(cached_data_.data(), 1, size, filePtr()));
        }
    }
    File::close();
    file_size_cache_ = cached_data_.size();
}

void BinaryFile::close() {
    if (isEmpty()) {
        return;
    }
    if (is_reading_) {
        if (use_cached_ && allow_deferred_) {
            uncompressAll();
        }
    } else if (use_cached_ && !cached_data_.isEmpty()) {
        std::FILE * const stream = File::open(WRITE_BINARY);
        errno = 0;
        std::size_t const written = std::fwrite(cached_data_.data(), 1, cached_data_.size(), stream);
        if (written < cached_data_.size()) {
            int const error = errno;
            TranslatedString message = Translatable(write_error_label, write_error_text);
            message.replace(error_slot, error != 0
                                            ? TranslatedString::DirectString(FilePlatform::ErrorText(error).view())
                                            : Translatable(unknown_write_error_text));
            throw Exception(message, Translatable(write_error_title), false);
        }
    }
    File::close();
    releaseImage();
}

void BinaryFile::switchToFile(File target, bool for_reading, bool through_temp) {
    if (is_reading_) {
        return;
    }
    if (use_cached_) {
        File::close();
        File::operator=(target.view());
        std::FILE * const stream = File::open(through_temp ? WRITE_BINARY_TEMP : WRITE_BINARY);
        use_cached_ = false;
        if (!cached_data_.isEmpty()) {
            std::fwrite(cached_data_.data(), 1, cached_data_.size(), stream);
        }
        is_reading_ = !for_reading;
        return;
    }
    close();
    if (!isEmpty() && exists()) {
        copyTo(target, true, LogPtr());
    }
    File::operator=(target.view());
    is_reading_ = !for_reading;
    if (isEmpty()) {
        return;
    }
    // Opening for writing truncates the copy just made; that is how the switch has always behaved.
    if (for_reading) {
        File::open(through_temp ? WRITE_BINARY_TEMP : WRITE_BINARY);
        file_size_cache_ = FileCachedData::unknown_size;
    } else {
        File::open(through_temp ? READ_BINARY_TEMP_COPY : READ_BINARY);
        invalidateCache();
        file_size_cache_ = File::fileSize();
    }
    position_ = 0;
}

void BinaryFile::seek(unsigned long long position) {
    position_ = position;
    if (!use_cached_ && filePtr() != nullptr) {
        std::fseek(filePtr(), static_cast<long>(std::min<unsigned long long>(position, LONG_MAX)), SEEK_SET);
    }
}

unsigned long long BinaryFile::position() const {
    if (use_cached_) {
        return position_;
    }
    if (filePtr() == nullptr) {
        return 0;
    }
    long const here = std::ftell(filePtr());
    return here < 0 ? 0 : static_cast<unsigned long long>(here);
}

bool BinaryFile::isFinished() const {
    if (use_cached_) {
        return position_ >= cached_data_.size();
    }
    return filePtr() == nullptr || std::feof(filePtr()) != 0;
}

unsigned long long BinaryFile::fileSize() const {
    if (use_cached_) {
        return cached_data_.size();
    }
    return file_size_cache_ != FileCachedData::unknown_size ? file_size_cache_ : File::fileSize();
}

float BinaryFile::percent() const {
    unsigned long long const size = fileSize();
    if (size == 0 || size == FileCachedData::unknown_size) {
        return 0.0f;
    }
    return static_cast<float>(static_cast<double>(position()) / static_cast<double>(size));
}

unsigned long long BinaryFile::remainingBytes() const {
    if (use_cached_) {
        return position_ < cached_data_.size() ? cached_data_.size() - position_ : 0;
    }
    if (file_size_cache_ == FileCachedData::unknown_size) {
        return FileCachedData::unknown_size;
    }
    return position_ < file_size_cache_ ? file_size_cache_ - position_ : 0;
}

// Raw values

void BinaryFile::writeToImage(void const * bytes, unsigned long long size) {
    if (size == 0) {
        return;
    }
    if (position_ > ~0ull - size) {
        return;
    }
    unsigned long long const end = position_ + size;
    unsigned long long const old_size = cached_data_.size();
    if (end > old_size) {
        if (end > cached_data_.capacity()) {
            unsigned long long const capacity = cached_data_.capacity();
            cached_data_.ensureCapacity(std::max(end, capacity + capacity / 2 + 64));
        }
        cached_data_.setSize(end);
        if (cached_data_.data() == nullptr) {
            releaseImage(); // a failed allocation is not reported, as for every Buffer
            return;
        }
        if (position_ > old_size) {
            std::memset(cached_data_.data() + old_size, 0, position_ - old_size);
        }
    }
    if (bytes != nullptr) {
        std::memcpy(cached_data_.data() + position_, bytes, size);
    } else {
        std::memset(cached_data_.data() + position_, 0, size);
    }
    position_ = end;
}

void BinaryFile::writeDirect(void const * bytes, unsigned long long size) {
    if (use_cached_) {
        writeToImage(bytes, size);
    } else if (filePtr() != nullptr && size != 0) {
        std::fwrite(bytes, 1, size, filePtr());
    }
}

void BinaryFile::writeZeros(unsigned long long size) {
    if (use_cached_) {
        writeToImage(nullptr, size);
        return;
    }
    while (size != 0) {
        unsigned long long const chunk = std::min<unsigned long long>(size, zero_block_size);
        writeDirect(zero_block, chunk);
        size -= chunk;
    }
}

unsigned long long BinaryFile::readDirect(void * bytes, unsigned long long size) {
    if (use_cached_) {
        unsigned long long const count = std::min(size, remainingBytes());
        if (count != 0) {
            std::memcpy(bytes, cached_data_.data() + position_, count);
            position_ += count;
        }
        return count;
    }
    if (filePtr() == nullptr || size == 0) {
        return 0;
    }
    std::size_t const count = std::fread(bytes, 1, size, filePtr());
    position_ += count;
    return count;
}

void BinaryFile::writeRawData(StringView const & text, unsigned int width, char fill) {
    if (use_cached_) {
        unsigned int const kept = std::min(text.size(), width);
        writeDirect(text.data(), kept);
        for (unsigned int i = kept; i < width; ++i) {
            writeDirect(&fill, 1);
        }
        return;
    }
    writeDirect(text.data(), text.size());
    if (text.size() >= width) {
        return;
    }
    // Each run wrote n bytes from the address of the fill byte; what lay behind it is written as
    // zeros, so that the length of the field stays what stored files have.
    unsigned int const lack = width - text.size();
    for (unsigned int run = 0; run < lack; ++run) {
        writeDirect(&fill, 1);
        writeZeros(lack - 1);
    }
}

void BinaryFile::writeTerminatingString(StringView const & text, char terminator) {
    writeDirect(text.data(), text.size());
    writeDirect(&terminator, 1);
}

void BinaryFile::readString(String & out, char terminator) {
    if (use_cached_) {
        unsigned long long const available = remainingBytes();
        if (available == 0) {
            return;
        }
        unsigned char const * const begin = cached_data_.data() + position_;
        void const * const found = std::memchr(begin, static_cast<unsigned char>(terminator), available);
        unsigned long long const length =
            found != nullptr ? static_cast<unsigned long long>(static_cast<unsigned char const *>(found) - begin)
                             : available;
        unsigned long long const kept = std::min<unsigned long long>(length, String::not_found - 1 - out.size());
        out.append(reinterpret_cast<char const *>(begin), static_cast<unsigned int>(kept));
        position_ += found != nullptr ? length + 1 : length;
        return;
    }
    if (filePtr() == nullptr) {
        return;
    }
    for (int c = std::getc(filePtr()); c != EOF; c = std::getc(filePtr())) {
        ++position_;
        if (static_cast<char>(c) == terminator) {
            return;
        }
        out.append(static_cast<char>(c));
    }
}

unsigned int BinaryFile::readString(char * out, unsigned int capacity, char terminator) {
    if (capacity == 0) {
        return 0;
    }
    unsigned int count = 0;
    char c = 0;
    while (count + 1 < capacity && readDirect(&c, 1) == 1 && c != terminator) {
        out[count++] = c;
    }
    out[count] = 0;
    return count;
}

String BinaryFile::readData(unsigned int count) {
    count = static_cast<unsigned int>(std::min<unsigned long long>(count, remainingBytes()));
    String out;
    out.setSize(count);
    if (count != 0 && out.data() != BufferDetail::empty_text) {
        out.setSize(readData(out.data(), count));
    } else {
        out = String();
    }
    return out;
}

unsigned int BinaryFile::readData(char * out, unsigned int count) {
    if (!use_cached_) {
        return static_cast<unsigned int>(readDirect(out, count));
    }
    unsigned int delivered = 0;
    if (position_ >= cached_data_.size()) {
        return 0;
    }
    while (delivered < count) {
        ++position_;
        if (position_ >= cached_data_.size()) {
            break; // the last byte of the image stays behind: stored readers expect it
        }
        out[delivered++] = static_cast<char>(cached_data_[position_ - 1]);
    }
    return delivered;
}

// Blocks

TypeInfo BinaryFile::Block64Info() noexcept {
    return ElementInfo(8, true, true);
}

void BinaryFile::writeHeaderField(unsigned long long value) {
    if (use_large_compression_) {
        writeDirect(&value, 8);
    } else {
        unsigned int const narrow = static_cast<unsigned int>(value);
        writeDirect(&narrow, 4);
    }
}

bool BinaryFile::readHeaderField(unsigned long long & value) {
    unsigned int const width = headerWidth();
    unsigned char bytes[8] = {};
    unsigned long long const read = readDirect(bytes, width);
    if (read == 0) {
        return false;
    }
    if (read < width) {
        ThrowDataError();
    }
    value = 0;
    std::memcpy(&value, bytes, width);
    return true;
}

BinaryCompressionObject BinaryFile::createCompressionObject() {
    BinaryCompressionObject object;
    object.string_index = &string_index_;
    object.string_offsets = &string_offsets_;
    object.string_data = &string_data_;
    return object;
}

void BinaryFile::writeBlock(void const * data, unsigned long long count, unsigned int element_size,
                            TypeInfo const & info, unsigned char mode) {
    if (count == 0) {
        writeHeaderField(0);
        return;
    }
    unsigned long long const bytes = count * element_size;
    BinaryCompressionObject object = createCompressionObject();
    object.compression_mode = mode;
    object.uncompressed_data = static_cast<unsigned char *>(const_cast<void *>(data)); // only read
    object.uncompressed_size = bytes;
    object.object_count = count;
    object.object_info = info;
    // A block that will be stored as it is needs room for its bytes whatever mode was asked for;
    // only a string reference fits in 8 bytes.
    bool const stored_anyway = bytes < Compressor::min_deflate_size;
    unsigned long long const room = mode == Compressor::string_index_mode          ? 0
                                    : mode == STRING_COMPRESSION && !stored_anyway ? 8
                                                                                   : bytes;
    scratch_.setSize(room);
    if (room != 0 && scratch_.data() == nullptr) {
        scratch_ = LargeByteBuffer();
        Compressor::ThrowError(Compressor::ZLIB_MEMORY_ERROR);
    }
    object.compressed_data = scratch_.data();
    object.compressed_size = room;
    Compressor::CompressData(object);
    unsigned char const used = object.compression_mode;
    if (used == NUMBER_COMPRESSION || used > BEST_COMPRESSION) {
        object.compressed_data = nullptr; // the mode wrote nothing: the block's bytes go out as zeros
    }
    writeCompression(object);
}

void BinaryFile::writeCompression(BinaryCompressionObject & object) {
    Buffer<BinaryCompressionObject *> chain;
    for (BinaryCompressionObject * link = &object; link != nullptr; link = link->child.get()) {
        chain.add(link);
    }
    for (unsigned int i = chain.size(); i-- > 0;) {
        BinaryCompressionObject const & block = *chain[i];
        if (!use_large_compression_ && (block.object_count > 0xFFFFFFFFull || block.compressed_size >= 0xFFFFFFFFull)) {
            Compressor::ThrowError(Compressor::ZLIB_BUFFER_ERROR); // too large for 32-bit fields
        }
        writeHeaderField(block.object_count);
        if (block.object_count == 0) {
            continue;
        }
        writeHeaderField(block.compressed_size + 1);
        writeDirect(&block.compression_mode, 1);
        if (block.compression_mode == Compressor::string_index_mode) {
            continue;
        }
        if (block.compressed_data != nullptr) {
            writeDirect(block.compressed_data, block.compressed_size);
        } else {
            writeZeros(block.compressed_size);
        }
    }
}

bool BinaryFile::readBlockHeader(BlockHeader & header, unsigned int element_size, unsigned long long max_count) {
    header = BlockHeader();
    if (!readHeaderField(header.count) || header.count == 0) {
        header.count = 0;
        return false;
    }
    unsigned long long size_plus_one = 0;
    if (!readHeaderField(size_plus_one) || size_plus_one == 0 || readDirect(&header.mode, 1) != 1) {
        ThrowDataError();
    }
    header.payload = size_plus_one - 1;
    unsigned long long bytes = 0;
    if (header.count > max_count || __builtin_mul_overflow(header.count, element_size, &bytes)) {
        ThrowDataError();
    }
    bool fits = false;
    switch (header.mode) {
    case NO_COMPRESSION:
        fits = bytes == header.payload;
        break;
    case DEFAULT_COMPRESSION:
    case BEST_SPEED:
    case BEST_COMPRESSION:
    case NUMBER_COMPRESSION:
        fits = FitsInflation(bytes, header.payload);
        break;
    case STRING_COMPRESSION:
        fits = header.payload >= 8 && bytes <= string_data_.size();
        break;
    case Compressor::string_index_mode:
        fits = header.payload < string_offsets_.size() && bytes <= string_data_.size();
        break;
    default:
        break;
    }
    // Mode 14 has no payload in the file; in stream mode its index bytes are read all the same.
    bool const has_payload = header.mode != Compressor::string_index_mode || !use_cached_;
    if (!fits || (has_payload && header.payload > remainingBytes())) {
        ThrowDataError();
    }
    return true;
}

void BinaryFile::fetchPayload(BlockHeader const & header) {
    if (use_cached_) {
        return;
    }
    scratch_.setSize(0);
    unsigned long long got = 0;
    while (got < header.payload) {
        unsigned long long const chunk = std::min(header.payload - got, std::max(payload_chunk_size, got));
        scratch_.setSize(got + chunk);
        if (scratch_.data() == nullptr) {
            scratch_ = LargeByteBuffer();
            Compressor::ThrowError(Compressor::ZLIB_MEMORY_ERROR);
        }
        unsigned long long const read = readDirect(scratch_.data() + got, chunk);
        got += read;
        if (read < chunk) {
            ThrowDataError();
        }
    }
}

void BinaryFile::decodePayload(BlockHeader const & header, unsigned char * target, unsigned long long target_size,
                               bool & may_defer) {
    BinaryCompressionObject object = createCompressionObject();
    object.compression_mode = header.mode;
    object.uncompressed_data = target;
    object.uncompressed_size = target_size;
    object.object_count = header.count;
    object.compressed_size = header.payload;
    if (!use_cached_) {
        object.compressed_data = scratch_.data();
        Compressor::DecompressData(object);
        if (header.mode == NUMBER_COMPRESSION) {
            std::memset(target, 0, target_size);
        }
        return;
    }
    if (header.mode == Compressor::string_index_mode) {
        Compressor::DecompressData(object);
        return;
    }
    object.compressed_data = cached_data_.data() + position_;
    may_defer = header.mode != NO_COMPRESSION && header.mode != STRING_COMPRESSION && may_defer;
    position_ += header.payload;
    if (header.mode == NUMBER_COMPRESSION) {
        std::memset(target, 0, target_size); // the mode keeps nothing; its bytes in the file are zeros
        return;
    }
    if (may_defer && allow_deferred_) {
        sections_.add(std::move(object));
        return;
    }
    Compressor::DecompressData(object);
}

void BinaryFile::write(String const & text, CompressionMode mode) {
    writeBlock(text.data(), text.size(), 1, ElementInfo(1, false, false), mode);
}

void BinaryFile::write(StringView const & text, CompressionMode mode) {
    unsigned char used = mode;
    if (mode == DEFAULT_COMPRESSION || mode == BEST_COMPRESSION) {
        used = Compressor::string_index_mode;
    }
    writeBlock(text.data(), text.size(), 1, ElementInfo(1, false, false), used);
}

void BinaryFile::write(Buffer<unsigned char> const & values, CompressionMode mode) {
    writeBlock(values.data(), values.size(), 1, ElementInfo(1, true, false), mode);
}

void BinaryFile::write(Buffer<unsigned short> const & values, CompressionMode mode) {
    writeBlock(values.data(), values.size(), 2, ElementInfo(2, true, false), mode);
}

void BinaryFile::write(Buffer<unsigned int> const & values, CompressionMode mode) {
    writeBlock(values.data(), values.size(), 4, ElementInfo(4, true, false), mode);
}

void BinaryFile::write(Buffer<String> const & texts, CompressionMode mode) {
    Buffer<unsigned int> lengths;
    String bytes;
    unsigned long long total = 0;
    for (String const & text : texts) {
        total += text.size();
    }
    if (total > String::not_found - 1) {
        Compressor::ThrowError(Compressor::ZLIB_BUFFER_ERROR);
    }
    lengths.ensureCapacity(texts.size());
    bytes.ensureCapacity(static_cast<unsigned int>(total));
    for (String const & text : texts) {
        lengths.add(text.size());
        bytes.append(text.view());
    }
    write(lengths, mode);
    write(bytes, mode);
}

void BinaryFile::read(String & target, bool & may_defer) {
    readBlockInto(target, may_defer);
}

void BinaryFile::read(Buffer<unsigned char> & target, bool & may_defer) {
    readBlockInto(target, may_defer);
}

void BinaryFile::read(Buffer<unsigned short> & target, bool & may_defer) {
    readBlockInto(target, may_defer);
}

void BinaryFile::read(Buffer<unsigned int> & target, bool & may_defer) {
    readBlockInto(target, may_defer);
}

void BinaryFile::read(Buffer<String> & target) {
    target.clear();
    Buffer<unsigned int> lengths;
    String bytes;
    read(lengths);
    read(bytes);
    unsigned long long begin = 0;
    for (unsigned int length : lengths) {
        if (length > bytes.size() - begin) {
            target.clear();
            ThrowDataError();
        }
        target.add(String(bytes.data() + begin, length));
        begin += length;
    }
}

// The string table

void BinaryFile::writeStringData(CompressionMode mode) {
    write(string_data_, mode);
    Buffer<unsigned int> lengths;
    lengths.ensureCapacity(string_offsets_.size());
    for (StringTableBounds const & bounds : string_offsets_) {
        lengths.add(bounds.high[0] - bounds.low[0]);
    }
    if (lengths.isEmpty()) {
        writeHeaderField(0);
    } else {
        write(lengths, mode);
    }
}

void BinaryFile::readStringData(bool with_index) {
    read(string_data_);
    if (!with_index) {
        return;
    }
    Buffer<unsigned int> lengths;
    read(lengths);
    string_offsets_.clear();
    string_offsets_.ensureCapacity(lengths.size());
    unsigned int begin = 0;
    for (unsigned int length : lengths) {
        if (length > string_data_.size() - begin) {
            string_offsets_.clear();
            ThrowDataError();
        }
        StringTableBounds bounds;
        bounds.low[0] = begin;
        bounds.high[0] = begin + length;
        string_offsets_.add(bounds);
        begin += length;
    }
}

// Deferred blocks

void BinaryFile::SetDecompressionThreads(unsigned int threads) noexcept {
    DecompressionThreads().store(threads, std::memory_order_relaxed);
}

void BinaryFile::uncompressSections(unsigned int first, unsigned int count) {
    unsigned int const size = sections_.size();
    if (first >= size || count == 0) {
        return;
    }
    unsigned int const end = count > size - first ? size : first + count;
    std::exception_ptr const failure = Internal::DecompressSideBySide(
        sections_.data() + first, end - first, DecompressionThreads().load(std::memory_order_relaxed));
    if (first == 0 && end == size) {
        sections_.clear();
    } else {
        Buffer<BinaryCompressionObject> kept;
        kept.ensureCapacity(size - (end - first));
        for (unsigned int i = 0; i < size; ++i) {
            if (i < first || i >= end) {
                kept.add(std::move(sections_[i]));
            }
        }
        sections_ = std::move(kept);
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void BinaryFile::uncompressAll() {
    uncompressSections(0, sections_.size());
}

// Embedded files

bool BinaryFile::writeDirectlyFrom(File source) {
    source.invalidateCache();
    unsigned long long size = source.exists() ? source.fileSize() : 0;
    if (size == FileCachedData::unknown_size) {
        size = 0;
    }
    writeDirect(&size, 8);
    if (size == 0) {
        return true;
    }
    std::FILE * const stream = source.open(READ_BINARY);
    if (use_cached_) {
        unsigned long long const start = position_;
        writeZeros(size);
        if (cached_data_.size() >= start + size) {
            std::fread(cached_data_.data() + start, 1, size, stream);
        }
    } else {
        LargeByteBuffer chunk;
        chunk.setSize(std::min(size, embed_chunk_size));
        unsigned long long left = size;
        while (left != 0 && chunk.data() != nullptr) {
            unsigned long long const wanted = std::min(left, chunk.size());
            std::size_t const read = std::fread(chunk.data(), 1, wanted, stream);
            writeDirect(chunk.data(), read);
            left -= read;
            if (read < wanted) {
                break;
            }
        }
        writeZeros(left);
    }
    source.close();
    return true;
}

bool BinaryFile::readDirectlyTo(File target) {
    unsigned long long size = 0;
    if (!readDirect(size) || size == 0) {
        return true;
    }
    if (!target.exists()) {
        target.create(false);
    }
    std::FILE * const stream = target.open(WRITE_BINARY);
    if (use_cached_) {
        unsigned long long const count = std::min(size, remainingBytes());
        if (count != 0) {
            std::fwrite(cached_data_.data() + position_, 1, count, stream);
            position_ += count;
        }
    } else {
        LargeByteBuffer chunk;
        chunk.setSize(std::min(size, embed_chunk_size));
        unsigned long long left = size;
        while (left != 0 && chunk.data() != nullptr) {
            unsigned long long const read = readDirect(chunk.data(), std::min(left, chunk.size()));
            if (read == 0) {
                break;
            }
            std::fwrite(chunk.data(), 1, read, stream);
            left -= read;
        }
    }
    target.close();
    return true;
}

} // namespace QELTA
