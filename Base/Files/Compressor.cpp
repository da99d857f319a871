// Compressor: block deflate through zlib, the string table, the error texts of zlib's codes, and
// the text forms of CompressionMode.
#include "Base/Files/Compressor.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Failure/Exception.h"
#include "Base/Language/Internal/Translatable.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char const * mode_names[] = {"NO_COMPRESSION",     "DEFAULT_COMPRESSION", "BEST_SPEED",
                                       "STRING_COMPRESSION", "NUMBER_COMPRESSION",  "BEST_COMPRESSION"};
constexpr char const * mode_display_texts[] = {"No Compression",     "Default Compression", "Best Speed",
                                               "String Compression", "Number Compression",  "Best Compression"};
constexpr unsigned int named_mode_count = sizeof(mode_names) / sizeof(mode_names[0]);

constexpr char compression_error_title[] = "Compression Error";
// Indexed by the negated zlib code; the first text also serves codes without a row.
constexpr char const * zlib_error_texts[] = {
    "Library Zip Error.",       "Library Zip Error.",       "Library Zip Stream Error", "Library Zip Data Error",
    "Library Zip Memory Error", "Library Zip Buffer Error", "Library Zip Version Error"};

// The deflate level of every deflate mode.
constexpr int block_deflate_level = 1;
// The bytes of a STRING_COMPRESSION payload: begin and end, 32 bits each.
constexpr unsigned long long string_reference_size = 8;

bool IsDeflateMode(unsigned char mode) noexcept {
    return mode == DEFAULT_COMPRESSION || mode == BEST_SPEED || mode == BEST_COMPRESSION;
}

// A UUID-like element: 16 one-byte components and only the first extra flag. Deflate can't
// shrink random identifiers, so their blocks are always stored.
bool IsIdentifierLike(TypeInfo const & info) noexcept {
    TypeInfo identifier;
    identifier.total_size = 16;
    identifier.byte_size = 1;
    identifier.vector_size = 16;
    identifier.extra_flag_1 = true;
    return info == identifier;
}

// zlib counts in uLong; the library's sizes are 64 bits.
uLong ZLibLength(unsigned long long size) noexcept {
    constexpr unsigned long long largest = std::numeric_limits<uLong>::max();
    return static_cast<uLong>(std::min(size, largest));
}

unsigned long long LimitTo32Bits(unsigned long long size) noexcept {
    return std::min<unsigned long long>(size, 0xFFFFFFFFull);
}

void Store32(unsigned char * out, unsigned int value) noexcept {
    for (unsigned int i = 0; i < 4; ++i) {
        out[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

unsigned int Load32(unsigned char const * in) noexcept {
    unsigned int value = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        value |= static_cast<unsigned int>(in[i]) << (8 * i);
    }
    return value;
}

[[noreturn]] void RaiseZLibError(int code) {
    constexpr int listed = static_cast<int>(sizeof(zlib_error_texts) / sizeof(zlib_error_texts[0]));
    char const * const text = code < 0 && -code < listed ? zlib_error_texts[-code] : zlib_error_texts[0];
    throw Exception(Translatable(text), Translatable(compression_error_title), false);
}

// Clears the target and raises the error of `code`, or the data error for a code that is not one.
[[noreturn]] void FailDecompression(BinaryCompressionObject & object, int code) {
    if (object.uncompressed_data != nullptr && object.uncompressed_size != 0) {
        std::memset(object.uncompressed_data, 0, object.uncompressed_size);
    }
    RaiseZLibError(code < 0 ? code : Compressor::ZLIB_DATA_ERROR);
}

// Copies `object.uncompressed_size` bytes of the string data from `begin`, which must lie with
// them inside the data.
void CopyFromTable(BinaryCompressionObject & object, unsigned long long begin) {
    String const * const data = object.string_data;
    if (data == nullptr || begin > data->size() || object.uncompressed_size > data->size() - begin) {
        FailDecompression(object, Compressor::ZLIB_DATA_ERROR);
    }
    if (object.uncompressed_size != 0) {
        std::memcpy(object.uncompressed_data, data->data() + begin, object.uncompressed_size);
    }
}

} // namespace

void StringStream<CompressionMode>::fromString(StringView const & text, CompressionMode & value) {
    unsigned long long const hash = text.hashUpper();
    for (unsigned int mode = 0; mode < named_mode_count; ++mode) {
        if (StringView(mode_names[mode]).hash() == hash) {
            value = static_cast<CompressionMode>(mode);
            return;
        }
    }
    // The number readers stop at a terminator; the view may lack one.
    String const terminated(text);
    unsigned char number = 0;
    StringStream<unsigned char>::fromString(terminated.view(), number);
    value = static_cast<CompressionMode>(number);
}

void StringStream<CompressionMode>::toString(CompressionMode const & value, StringAllocatingView & out) {
    if (value < named_mode_count) {
        StringView const name(mode_names[value]);
        if (out.isEmpty()) {
            out.borrow(name);
        } else {
            out.append(name);
        }
        return;
    }
    unsigned char const number = value;
    StringStream<unsigned char>::toString(number, out);
}

char const * StringStream<CompressionMode>::getValidRegex() noexcept {
    return ".*";
}

void StringStream<CompressionMode>::toDisplayString(CompressionMode const & value, TranslatedString & out) {
    if (value < named_mode_count) {
        out = Translatable(mode_display_texts[value]);
        return;
    }
    StringAllocatingView number;
    StringStream<unsigned char>::toString(static_cast<unsigned char>(value), number);
    out = TranslatedString::DirectString(number.view());
}

void Compressor::ThrowError(int code) {
    RaiseZLibError(code < 0 ? code : ZLIB_DATA_ERROR);
}

void Compressor::ThrowOnZLibError(int code) {
    if (code < 0) {
        RaiseZLibError(code);
    }
}

void Compressor::CompressData(BinaryCompressionObject & object) {
    if (object.compression_mode != string_index_mode &&
        (object.uncompressed_size < min_deflate_size || IsIdentifierLike(object.object_info))) {
        object.compression_mode = NO_COMPRESSION;
    }
    unsigned char const mode = object.compression_mode;
    if (mode == NO_COMPRESSION) {
        if (object.compressed_size < object.uncompressed_size) {
            RaiseZLibError(ZLIB_BUFFER_ERROR);
        }
        if (object.uncompressed_size != 0) {
            std::memcpy(object.compressed_data, object.uncompressed_data, object.uncompressed_size);
        }
        return;
    }
    if (IsDeflateMode(mode)) {
        uLongf packed = ZLibLength(object.compressed_size);
        int const code = compress2(object.compressed_data, &packed, object.uncompressed_data,
                                   ZLibLength(object.uncompressed_size), block_deflate_level);
        if (code == Z_BUF_ERROR) {
            object.compression_mode = NO_COMPRESSION;
            if (object.compressed_size < object.uncompressed_size) {
                RaiseZLibError(ZLIB_BUFFER_ERROR);
            }
            std::memcpy(object.compressed_data, object.uncompressed_data, object.uncompressed_size);
            object.compressed_size = object.uncompressed_size;
            return;
        }
        ThrowOnZLibError(code);
        object.compressed_size = packed;
        return;
    }
    if (mode == STRING_COMPRESSION || mode == string_index_mode) {
        if (object.uncompressed_size > String::not_found - 1) {
            RaiseZLibError(ZLIB_MEMORY_ERROR);
        }
        String const text(reinterpret_cast<char const *>(object.uncompressed_data),
                          static_cast<unsigned int>(object.uncompressed_size));
        CompressedStringInfo const info = AddString(object, text);
        if (mode == string_index_mode) {
            object.compressed_size = info.index;
            return;
        }
        if (object.compressed_size < string_reference_size) {
            RaiseZLibError(ZLIB_BUFFER_ERROR);
        }
        Store32(object.compressed_data, info.begin);
        Store32(object.compressed_data + 4, info.end);
    }
    // NUMBER_COMPRESSION and the unknown modes write nothing.
}

void Compressor::DecompressData(BinaryCompressionObject & object) {
    unsigned char const mode = object.compression_mode;
    if ((object.uncompressed_size != 0 && object.uncompressed_data == nullptr) ||
        (object.compressed_size != 0 && object.compressed_data == nullptr && mode != string_index_mode)) {
        RaiseZLibError(ZLIB_DATA_ERROR);
    }
    if (mode == NO_COMPRESSION) {
        if (object.compressed_size != object.uncompressed_size) {
            FailDecompression(object, ZLIB_DATA_ERROR);
        }
        if (object.uncompressed_size != 0) {
            std::memcpy(object.uncompressed_data, object.compressed_data, object.uncompressed_size);
        }
        return;
    }
    if (IsDeflateMode(mode)) {
        if (object.uncompressed_size > std::numeric_limits<uLong>::max() ||
            object.compressed_size > std::numeric_limits<uLong>::max()) {
            FailDecompression(object, ZLIB_BUFFER_ERROR);
        }
        uLongf unpacked = static_cast<uLong>(object.uncompressed_size);
        int const code = uncompress(object.uncompressed_data, &unpacked, object.compressed_data,
                                    static_cast<uLong>(object.compressed_size));
        if (code != Z_OK) {
            FailDecompression(object, code);
        }
        if (unpacked != object.uncompressed_size) {
            FailDecompression(object, ZLIB_DATA_ERROR);
        }
        return;
    }
    if (mode == STRING_COMPRESSION) {
        if (object.compressed_size < string_reference_size) {
            FailDecompression(object, ZLIB_DATA_ERROR);
        }
        CopyFromTable(object, Load32(object.compressed_data));
        return;
    }
    if (mode == string_index_mode) {
        StringTableOffsets const * const offsets = object.string_offsets;
        if (offsets == nullptr || object.compressed_size >= offsets->size()) {
            FailDecompression(object, ZLIB_DATA_ERROR);
        }
        CopyFromTable(object, (*offsets)[static_cast<unsigned int>(object.compressed_size)].low[0]);
    }
    // NUMBER_COMPRESSION and the unknown modes leave the target alone.
}

CompressedStringInfo Compressor::AddString(BinaryCompressionObject & object, String const & text) {
    StringTableIndex & index = *object.string_index;
    StringTableOffsets & offsets = *object.string_offsets;
    String & data = *object.string_data;
    WLock lock(&index);
    CompressedStringInfo info;
    info.index = offsets.size();
    auto const [entry, added] = index.emplace(text, info.index);
    if (!added) {
        info.index = entry->value();
        info.begin = offsets[info.index].low[0];
        info.end = offsets[info.index].high[0];
        return info;
    }
    if (text.size() > String::not_found - 1 - data.size()) {
        index.erase(text);
        RaiseZLibError(ZLIB_MEMORY_ERROR);
    }
    info.begin = data.size();
    info.end = info.begin + text.size();
    data.append(text.view());
    StringTableBounds bounds;
    bounds.low[0] = info.begin;
    bounds.high[0] = info.end;
    offsets.add(bounds);
    return info;
}

char const * Compressor::GetString(BinaryCompressionObject & object, unsigned int index) {
    if (object.string_offsets == nullptr || index >= object.string_offsets->size()) {
        return nullptr;
    }
    return GetString(object, (*object.string_offsets)[index]);
}

char const * Compressor::GetString(BinaryCompressionObject & object, StringTableBounds const & bounds) {
    if (object.string_data == nullptr || bounds.low[0] > object.string_data->size()) {
        return nullptr;
    }
    return object.string_data->data() + bounds.low[0];
}

unsigned int Compressor::GetStringLength(BinaryCompressionObject & object, unsigned int index) {
    if (object.string_offsets == nullptr || index >= object.string_offsets->size()) {
        return 0;
    }
    StringTableBounds const & bounds = (*object.string_offsets)[index];
    return bounds.high[0] - bounds.low[0];
}

int Compressor::ZLibCompress(unsigned char * dest, unsigned char const * source, unsigned long long & size,
                             unsigned long long source_size) {
    unsigned long long const room = size;
    uLongf packed = ZLibLength(room);
    // The room doubles as the source length; a caller's larger room must not read past the source.
    int const code = compress(dest, &packed, source, ZLibLength(std::min(room, source_size)));
    if (code == Z_OK && packed < room) {
        size = packed;
        return code;
    }
    size = std::min(source_size, room);
    if (size != 0) {
        std::memcpy(dest, source, size);
    }
    return code;
}

int Compressor::ZLibDecompress(unsigned char const * source, unsigned char * dest, unsigned long long source_size,
                               unsigned long long & dest_size) {
    uLongf unpacked = static_cast<uLong>(LimitTo32Bits(dest_size));
    int const code = uncompress(dest, &unpacked, source, static_cast<uLong>(LimitTo32Bits(source_size)));
    dest_size = LimitTo32Bits(unpacked);
    return code;
}

} // namespace QELTA
