// Fuzz target: binary container files read in memory mode, and block decompression of every mode.
//
// Byte 0 holds switches (64-bit header fields, deferred blocks, a string table first and with its
// index, stream mode on a file instead of memory mode), bytes 1 to 4 the order of the block
// readers, and the rest is the file. Every reader runs in that order until the data ends; the
// deferred blocks are decompressed at the end. Then the
// same bytes go through DecompressData as the payload of each mode, and through a round trip of
// each mode, which must give them back. A read outside the data, an allocation beyond it or a
// round trip that changes the bytes is the fault looked for; Compressor's errors are answers.
#include "Base/Failure/Exception.h"
#include "Base/Files/BinaryFile.h"
#include "Base/Files/Compressor.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace {

using QELTA::BinaryCompressionObject;
using QELTA::BinaryFile;
using QELTA::Buffer;
using QELTA::Compressor;
using QELTA::String;
using QELTA::Fuzzing::Check;
using QELTA::Fuzzing::ScratchFile;

// The targets of one read each, kept in place until the deferred blocks are filled.
struct Targets {
    std::vector<std::unique_ptr<String>> texts;
    std::vector<std::unique_ptr<Buffer<unsigned char>>> bytes;
    std::vector<std::unique_ptr<Buffer<unsigned short>>> shorts;
    std::vector<std::unique_ptr<Buffer<unsigned int>>> ints;
    std::vector<std::unique_ptr<Buffer<unsigned long long>>> longs;
    std::vector<std::unique_ptr<Buffer<String>>> lists;
};

template <class Target>
Target & Fresh(std::vector<std::unique_ptr<Target>> & list) {
    list.push_back(std::make_unique<Target>());
    return *list.back();
}

void ReadOne(BinaryFile & file, Targets & targets, unsigned char kind) {
    bool may_defer = (kind & 0x80) != 0;
    switch (kind % 9) {
    case 0:
        file.read(Fresh(targets.texts), may_defer);
        break;
    case 1:
        file.read(Fresh(targets.bytes), may_defer);
        break;
    case 2:
        file.read(Fresh(targets.shorts), may_defer);
        break;
    case 3:
        file.read(Fresh(targets.ints), may_defer);
        break;
    case 4:
        file.read(Fresh(targets.longs), may_defer);
        break;
    case 5:
        file.read(Fresh(targets.lists));
        break;
    case 6: {
        String text;
        file.readString(text, static_cast<char>(kind >> 4));
        break;
    }
    case 7: {
        char field[17];
        Check(file.readData(field, 16) <= 16);
        Check(file.readString(field, sizeof(field), ';') < sizeof(field));
        break;
    }
    default: {
        unsigned long long value = 0;
        file.readDirect(value);
        break;
    }
    }
}

void ReadFile(std::uint8_t const * data, std::size_t size) {
    unsigned char const switches = data[0];
    BinaryFile file;
    if ((switches & 16) != 0) {
        static ScratchFile const stream("binary", ".bin");
        file = BinaryFile(QELTA::File(stream.fill(data + 5, size - 5).c_str()));
        file.open(true);
    } else {
        file = BinaryFile(data + 5, size - 5);
    }
    file.setUseLargeCompression((switches & 1) != 0);
    file.setAllowDeferred((switches & 2) != 0);
    Targets targets;
    try {
        if ((switches & 4) != 0) {
            file.readStringData((switches & 8) != 0);
        }
    } catch (QELTA::Exception const &) {
    }
    for (unsigned int round = 0; round < 64 && !file.isFinished(); ++round) {
        for (unsigned int i = 1; i <= 4; ++i) {
            try {
                ReadOne(file, targets, data[i]);
            } catch (QELTA::Exception const &) {
            }
            Check(file.position() <= file.fileSize() || file.isFinished());
        }
    }
    try {
        file.uncompressAll();
    } catch (QELTA::Exception const &) {
    }
    Check(file.pendingSections() == 0);
}

// The bytes as the payload of every mode, into a target of a size they choose.
void DecompressEveryMode(std::uint8_t const * data, std::size_t size) {
    QELTA::StringTableIndex index;
    QELTA::StringTableOffsets offsets;
    String table(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size / 2));
    for (unsigned int begin = 0; begin + 3 <= table.size(); begin += 3) {
        QELTA::StringTableBounds bounds;
        bounds.low[0] = begin;
        bounds.high[0] = begin + 3;
        offsets.add(bounds);
    }
    std::vector<unsigned char> payload(data, data + size);
    std::vector<unsigned char> target((data[0] | data[1] << 8) % 70000);
    for (unsigned char mode = 0; mode < 16; ++mode) {
        BinaryCompressionObject object;
        object.compression_mode = mode;
        object.uncompressed_data = target.data();
        object.uncompressed_size = target.size();
        object.compressed_data = payload.data();
        object.compressed_size = mode == Compressor::string_index_mode ? data[2] : payload.size();
        object.string_index = &index;
        object.string_offsets = &offsets;
        object.string_data = &table;
        try {
            Compressor::DecompressData(object);
        } catch (QELTA::Exception const &) {
        }
    }
}

// Every mode must give the bytes back.
void RoundTripEveryMode(std::uint8_t const * data, std::size_t size) {
    QELTA::StringTableIndex index;
    QELTA::StringTableOffsets offsets;
    String table;
    std::vector<unsigned char> plain(data, data + size);
    for (unsigned char mode : {0, 1, 2, 3, 5, 14}) {
        BinaryCompressionObject object;
        object.compression_mode = mode;
        object.string_index = &index;
        object.string_offsets = &offsets;
        object.string_data = &table;
        std::vector<unsigned char> packed(size + 8);
        object.uncompressed_data = plain.data();
        object.uncompressed_size = size;
        object.compressed_data = packed.data();
        object.compressed_size = mode == 3 && size >= Compressor::min_deflate_size ? 8 : size;
        Compressor::CompressData(object);
        std::vector<unsigned char> unpacked(size, 0xA5);
        object.uncompressed_data = unpacked.data();
        Compressor::DecompressData(object);
        Check(unpacked == plain);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size < 5 || size > 1 << 20) {
        return 0;
    }
    ReadFile(data, size);
    DecompressEveryMode(data, size);
    RoundTripEveryMode(data, size);
    return 0;
}
