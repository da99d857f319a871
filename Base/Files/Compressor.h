// Compressor: one block's bytes turned into what goes to disk and back (deflate through zlib), the
// string table that lets equal texts of a whole file be stored once, and files and folders packed
// into zip archives and unpacked again (through minizip).
//
// Compressor is all static and owns nothing: a BinaryCompressionObject points at buffers and at a
// string table that its caller owns (BinaryFile keeps the table). CompressData and DecompressData
// touch only the object's own buffers, so several threads may work on the blocks of one file at
// once; AddString takes the write lock named by the table's `string_index`, while GetString and
// DecompressData read the table without a lock, which is safe because a table is complete before
// it is read from. Failures raise an Exception titled "Compression Error" with the text of zlib's
// code; a block whose sizes or table offsets do not fit its buffers raises the data error, and its
// target is cleared to zeros rather than written past its end. The zip functions work on the
// caller's thread and files only; how they fail is told at each.
#pragma once

#include "Base/Export.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/File.h"
#include "Base/Geometry/Bounds.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Text/TypeInfo.h"

#include <cstdint>

namespace QELTA {

class PasswordString;
struct Module;

// How a block is stored. The three deflate modes all deflate at level 1; the byte only records
// which was asked for. Values without a name (14 among them, see Compressor) stay readable as
// numbers.
enum CompressionMode : unsigned char {
    NO_COMPRESSION = 0,
    DEFAULT_COMPRESSION = 1,
    BEST_SPEED = 2,
    STRING_COMPRESSION = 3,
    // Does nothing at all: the block keeps no payload of its own and a reader leaves its target
    // alone. Kept as a value that stored files may hold.
    NUMBER_COMPRESSION = 4,
    BEST_COMPRESSION = 5,
};

// Names "NO_COMPRESSION" ... "BEST_COMPRESSION"; any other value is written as its number. Reading
// compares the upper-case form by hash, so case does not matter, and reads any other text as a
// number (as unsigned char).
template <>
class QELTA_BASE_EXPORT StringStream<CompressionMode> {
  public:
    static void fromString(StringView const & text, CompressionMode & value);
    static void toString(CompressionMode const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
    // "No Compression" ... "Best Compression"; another value shows its number, untranslated.
    static void toDisplayString(CompressionMode const & value, TranslatedString & out);
};

// The hash of the string table: the text hash over the bytes up to the first zero byte, so two
// texts that differ only behind a zero byte share a hash and are told apart by comparison.
struct StringTableHash {
    std::uint64_t operator()(String const & key) const noexcept { return StringView(key.c_str()).hash(); }
    std::uint64_t secret(String const & key) const noexcept { return DictionarySecretHash(key.data(), key.size()); }
};

// The three shared structures of a string table. Entry i occupies the string data from
// offsets[i].low[0] (begin) to offsets[i].high[0] (end); entries lie end to end in order of first
// appearance and the index maps each distinct text to its entry.
using StringTableIndex = Dictionary<String, unsigned int, StringTableHash>;
using StringTableBounds = Bounds<1, unsigned int>;
using StringTableOffsets = Buffer<StringTableBounds>;

// An entry's number and its place in the string data.
struct CompressedStringInfo {
    unsigned int index = 0;
    unsigned int begin = 0;
    unsigned int end = 0;
};

// The working record of one block. The buffers are not owned. On the way to the disk
// `uncompressed_data` is only read; on the way back it is the target and is written.
struct BinaryCompressionObject {
    unsigned char compression_mode = NO_COMPRESSION; // CompressData may change it
    unsigned char * uncompressed_data = nullptr;
    unsigned long long uncompressed_size = 0; // bytes
    unsigned char * compressed_data = nullptr;
    // Compressing: in, the room at compressed_data; out, the bytes used. Mode 14: the table index.
    unsigned long long compressed_size = 0;
    unsigned long long object_count = 0; // elements in the block
    TypeInfo object_info;
    StringTableIndex * string_index = nullptr;
    StringTableOffsets * string_offsets = nullptr;
    String * string_data = nullptr;
    // A block that goes to the file ahead of this one.
    DynamicPointer<BinaryCompressionObject> child;
};

class QELTA_BASE_EXPORT Compressor {
  public:
    Compressor() = delete;

    // The mode without a name: the block is a string table entry and keeps only its index.
    static constexpr unsigned char string_index_mode = 14;
    // Blocks below this many bytes are stored as they are: deflate's fixed cost would outweigh it.
    static constexpr unsigned long long min_deflate_size = 256;
    // The most a deflate stream expands: no stream of n bytes yields more than n times this.
    static constexpr unsigned long long max_inflate_ratio = 1032;

    // zlib's result codes that the error texts stand for.
    enum ZLibCode : int {
        ZLIB_OK = 0,
        ZLIB_ERRNO = -1,
        ZLIB_STREAM_ERROR = -2,
        ZLIB_DATA_ERROR = -3,
        ZLIB_MEMORY_ERROR = -4,
        ZLIB_BUFFER_ERROR = -5,
        ZLIB_VERSION_ERROR = -6,
    };

    // Fills the packed side by the mode. Below min_deflate_size bytes, and for a UUID-like
    // element (16 one-byte components with only extra_flag_1 set), every mode but 14 becomes
    // NO_COMPRESSION. Deflate that does not fit in the room (which is no larger than the source)
    // falls back to NO_COMPRESSION with compressed_size = uncompressed_size. STRING_COMPRESSION
    // enters the bytes in the table and keeps begin and end as 8 payload bytes; mode 14 enters
    // them and sets compressed_size to the index. NUMBER_COMPRESSION and unknown modes write
    // nothing. Raises the buffer error when the room can't take the stored bytes.
    static void CompressData(BinaryCompressionObject & object);
    // Fills exactly uncompressed_size bytes of the plain side by the mode. NUMBER_COMPRESSION and
    // unknown modes leave it alone. Stored bytes of another count, a deflate stream that yields
    // fewer bytes, and table offsets beyond the string data raise the data error; a stream that
    // yields more raises the buffer error. On failure the target holds zeros.
    static void DecompressData(BinaryCompressionObject & object);

    // Enters `text` in the object's table unless an equal text is there, under the table's write
    // lock. Raises the memory error when the string data would pass 4 GiB.
    static CompressedStringInfo AddString(BinaryCompressionObject & object, String const & text);
    // Where entry `index` begins in the string data; not terminated there (see GetStringLength).
    // Null for an index beyond the table.
    static char const * GetString(BinaryCompressionObject & object, unsigned int index);
    // Where `bounds` begins; null when it lies beyond the string data.
    static char const * GetString(BinaryCompressionObject & object, StringTableBounds const & bounds);
    // End minus begin of entry `index`; 0 beyond the table.
    static unsigned int GetStringLength(BinaryCompressionObject & object, unsigned int index);

    // zlib's compress at its default level, `size` bytes of `source` (never more than `source_size`)
    // into `size` bytes of room. When that fails or does not shrink the data, the source is copied
    // and `size` becomes `source_size` (at most the room). Returns zlib's code, also when the copy
    // was made.
    static int ZLibCompress(unsigned char * dest, unsigned char const * source, unsigned long long & size,
                            unsigned long long source_size);
    // zlib's uncompress; `dest_size` comes in as the room and goes out as the count, both limited
    // to 32 bits. Returns zlib's code.
    static int ZLibDecompress(unsigned char const * source, unsigned char * dest, unsigned long long source_size,
                              unsigned long long & dest_size);

    // Raises the Exception of a negative zlib code: "Library Zip Error." (-1 and unlisted codes),
    // "Library Zip Stream Error", "Library Zip Data Error", "Library Zip Memory Error",
    // "Library Zip Buffer Error", "Library Zip Version Error", titled "Compression Error". 0 and
    // positive codes return.
    static void ThrowOnZLibError(int code);
    // The same for a code known to be a failure; a code of 0 or above raises the data error.
    [[noreturn]] static void ThrowError(int code);

    // Zip archives (Base/Files/ZipPacking.cpp)

    // ZLibDecompressFile's results for a source that minizip can't open as a zip archive, and for
    // one whose directory can't be read.
    static constexpr int not_an_archive = -1;
    static constexpr int unreadable_archive = -2;

    // Packs `source` into a new zip archive at `target`, making its folder when missing, and
    // returns 0. A file becomes one entry named by its name and extension. A folder (a
    // directory-shaped path) gives an entry for each file below it, named by its path below the
    // folder with "/" between the pieces, and an entry "<path>/" for each empty folder; hidden
    // names are left out, as File::getChildren leaves them. Entries are deflated at zlib's default
    // level, dated by the files' modification times, and with a password encrypted by the classic
    // zip scheme. Raises FileException: "Could not open" on `target`, "Failed to add file to ZIP"
    // and "Failed to add Data to ZIP" on the file being added, and what reading the files raises.
    // Progress goes to a source titled "Packing [file_a] into [file_b]" with a cancel guard, which
    // raises CancelException between chunks. An archive cut short by a failure is left as it is.
    static int ZLibCompressFile(File source, File target, PasswordString const & password, LogPtr log = LogPtr());

    // Unpacks the zip archive `source` into the folder `target` (made when missing) and returns 0.
    // A source whose name ends in ".tar" or ".tar.gz", in any case, goes to TAR::Extract, and its
    // result is returned. A source that isn't a zip archive gives not_an_archive; one whose
    // directory can't be read prints "could not read file global info" on the standard output and
    // gives unreadable_archive. An entry whose name ends in "/" or "\" is a folder. Entries that
    // would land outside `target` (names with "..", roots or drives) or be written through a link
    // are skipped and listed in `extraction`. Raises an Exception with the detail "Error code
    // [err]" (id "zlib_error") and the text "Could not read file info" (also for a name of 128
    // bytes or more, or with a zero byte in it: code -102), "Could not open destination" (an error
    // number), "Could not Read Content" (also for a damaged entry or a wrong password),
    // "Cound not read next file"; "[name] passes the extraction limit of [limit] bytes" before an
    // entry that would pass a limit; FileException for a folder that can't be made. Progress goes
    // to a source titled "Extracting [file_a] into [file_b]". Entries done before a failure stay.
    static int ZLibDecompressFile(File source, File target, PasswordString const & password, LogPtr log = LogPtr());
    static int ZLibDecompressFile(File source, File target, PasswordString const & password,
                                  ArchiveExtraction & extraction, LogPtr log = LogPtr());

    // zlib described as a module, without a library: "ZLib", its description, icon, address and
    // notice.
    static Module ZLibModule();
};

} // namespace QELTA
