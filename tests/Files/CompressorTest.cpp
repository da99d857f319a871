// Compressor: the text forms of the modes, block round trips of every mode against zlib itself,
// the string table, and the exact errors for streams and sizes that lie.
#include "Base/Files/Compressor.h"
#include "Base/Failure/Exception.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Bytes = std::vector<unsigned char>;

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return std::string(english.c_str(), english.size());
}

// Lines of words and numbers, as a table written as text; deflate shrinks them well.
Bytes TextLike(std::size_t size, unsigned int seed = 7) {
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < size) {
        text += "row " + std::to_string(random() % 1000) + "\tvalue " + std::to_string(random() % 100000) + ".5\n";
    }
    return Bytes(text.begin(), text.begin() + static_cast<long>(size));
}

Bytes Noise(std::size_t size, unsigned int seed = 11) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (unsigned char & byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

// A string table as BinaryFile keeps one.
struct Table {
    StringTableIndex index;
    StringTableOffsets offsets;
    String data;

    BinaryCompressionObject object(unsigned char mode) {
        BinaryCompressionObject result;
        result.compression_mode = mode;
        result.string_index = &index;
        result.string_offsets = &offsets;
        result.string_data = &data;
        return result;
    }
};

// Compresses `plain` with `mode` into room of its own size (8 for a string reference, as
// BinaryFile gives) and returns the packed bytes; `object` keeps the outcome.
Bytes Compress(BinaryCompressionObject & object, Bytes & plain) {
    Bytes packed(std::max<std::size_t>(plain.size(), 8));
    object.uncompressed_data = plain.data();
    object.uncompressed_size = plain.size();
    object.object_count = plain.size();
    object.compressed_data = packed.data();
    object.compressed_size = object.compression_mode == STRING_COMPRESSION && plain.size() >= 256 ? 8 : plain.size();
    Compressor::CompressData(object);
    if (object.compression_mode != Compressor::string_index_mode) {
        packed.resize(object.compressed_size);
    }
    return packed;
}

std::string ErrorText(BinaryCompressionObject & object) {
    try {
        Compressor::DecompressData(object);
    } catch (Exception const & failure) {
        EXPECT_EQ(English(failure.title()), "Compression Error");
        return English(failure.message());
    }
    return "";
}

TEST(CompressionModeTest, NamesAndDisplayTexts) {
    struct Row {
        unsigned char mode;
        char const * name;
        char const * display;
    };
    Row const rows[] = {{0, "NO_COMPRESSION", "No Compression"},
                        {1, "DEFAULT_COMPRESSION", "Default Compression"},
                        {2, "BEST_SPEED", "Best Speed"},
                        {3, "STRING_COMPRESSION", "String Compression"},
                        {4, "NUMBER_COMPRESSION", "Number Compression"},
                        {5, "BEST_COMPRESSION", "Best Compression"},
                        {7, "7", "7"},
                        {14, "14", "14"}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        CompressionMode const mode = static_cast<CompressionMode>(row.mode);
        StringAllocatingView text;
        StringStream<CompressionMode>::toString(mode, text);
        EXPECT_EQ(text.view(), StringView(row.name));
        TranslatedString display;
        StringStream<CompressionMode>::toDisplayString(mode, display);
        EXPECT_EQ(English(display), row.display);
        for (String const & spelling : {String(row.name), String(String(row.name).toLower().view())}) {
            CompressionMode read = BEST_SPEED;
            StringStream<CompressionMode>::fromString(spelling.view(), read);
            EXPECT_EQ(read, mode) << spelling.c_str();
        }
    }
}

TEST(CompressorTest, EveryModeRoundTripsAndStoresWhatDeflateCannotShrink) {
    struct Row {
        unsigned char mode;
        Bytes plain;
        unsigned char stored_mode;
    };
    Row const rows[] = {
        {BEST_COMPRESSION, TextLike(255), NO_COMPRESSION},
        {BEST_COMPRESSION, TextLike(256), BEST_COMPRESSION},
        {DEFAULT_COMPRESSION, TextLike(65536), DEFAULT_COMPRESSION},
        {BEST_SPEED, TextLike(300), BEST_SPEED},
        {BEST_SPEED, Noise(300), NO_COMPRESSION},
        {BEST_SPEED, Noise(1), NO_COMPRESSION},
        {NO_COMPRESSION, TextLike(1000), NO_COMPRESSION},
        {STRING_COMPRESSION, TextLike(255), NO_COMPRESSION},
        {STRING_COMPRESSION, TextLike(400), STRING_COMPRESSION},
        {Compressor::string_index_mode, TextLike(10), Compressor::string_index_mode},
        {Compressor::string_index_mode, TextLike(5000), Compressor::string_index_mode},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::Message() << "mode " << int(row.mode) << ", " << row.plain.size() << " bytes");
        Table table;
        Bytes plain = row.plain;
        BinaryCompressionObject packing = table.object(row.mode);
        Bytes packed = Compress(packing, plain);
        EXPECT_EQ(packing.compression_mode, row.stored_mode);
        if (row.stored_mode == NO_COMPRESSION) {
            EXPECT_EQ(packed, plain);
        } else if (row.stored_mode != STRING_COMPRESSION && row.stored_mode != Compressor::string_index_mode) {
            // Level 1 exactly, as zlib itself makes it.
            Bytes expected(compressBound(plain.size()));
            uLongf size = expected.size();
            ASSERT_EQ(compress2(expected.data(), &size, plain.data(), plain.size(), 1), Z_OK);
            expected.resize(size);
            EXPECT_EQ(packed, expected);
        }
        Bytes unpacked(plain.size(), 0xAA);
        BinaryCompressionObject unpacking = table.object(packing.compression_mode);
        unpacking.uncompressed_data = unpacked.data();
        unpacking.uncompressed_size = unpacked.size();
        unpacking.compressed_data = packed.data();
        unpacking.compressed_size = packing.compressed_size;
        Compressor::DecompressData(unpacking);
        EXPECT_EQ(unpacked, plain);
    }
}

TEST(CompressorTest, NumberCompressionWritesAndReadsNothing) {
    Table table;
    Bytes plain = TextLike(400);
    Bytes packed(400, 0x5A);
    BinaryCompressionObject object = table.object(NUMBER_COMPRESSION);
    object.uncompressed_data = plain.data();
    object.uncompressed_size = plain.size();
    object.compressed_data = packed.data();
    object.compressed_size = packed.size();
    Compressor::CompressData(object);
    EXPECT_EQ(object.compression_mode, NUMBER_COMPRESSION);
    EXPECT_EQ(packed, Bytes(400, 0x5A));
    Compressor::DecompressData(object);
    EXPECT_EQ(plain, TextLike(400));
}

TEST(CompressorTest, IdentifierLikeBlocksAreStored) {
    Table table;
    Bytes plain = TextLike(4096);
    BinaryCompressionObject object = table.object(BEST_COMPRESSION);
    object.object_info.total_size = 16;
    object.object_info.byte_size = 1;
    object.object_info.vector_size = 16;
    object.object_info.extra_flag_1 = true;
    Compress(object, plain);
    EXPECT_EQ(object.compression_mode, NO_COMPRESSION);
    object = table.object(BEST_COMPRESSION);
    object.object_info.total_size = 16;
    object.object_info.byte_size = 1;
    object.object_info.vector_size = 16;
    object.object_info.extra_flag_1 = true;
    object.object_info.is_number = true;
    Compress(object, plain);
    EXPECT_EQ(object.compression_mode, BEST_COMPRESSION) << "another flag makes it no identifier";
}

TEST(CompressorTest, StringTableStoresEqualTextsOnce) {
    Table table;
    BinaryCompressionObject object = table.object(Compressor::string_index_mode);
    CompressedStringInfo const first = Compressor::AddString(object, String("alpha"));
    CompressedStringInfo const second = Compressor::AddString(object, String("beta"));
    unsigned int const size = table.data.size();
    CompressedStringInfo const again = Compressor::AddString(object, String("alpha"));
    EXPECT_EQ(table.data.size(), size);
    EXPECT_EQ(again.index, first.index);
    EXPECT_EQ(again.begin, first.begin);
    EXPECT_EQ(again.end, first.end);
    EXPECT_EQ(second.index, 1u);
    EXPECT_EQ(second.begin, 5u);
    EXPECT_EQ(second.end, 9u);
    EXPECT_EQ(std::string(Compressor::GetString(object, 1), Compressor::GetStringLength(object, 1)), "beta");

    // Behind a zero byte the hash sees nothing, the comparison everything.
    String const zero_a("x\0a", 3);
    String const zero_b("x\0b", 3);
    EXPECT_EQ(StringTableHash()(zero_a), StringTableHash()(zero_b));
    EXPECT_NE(Compressor::AddString(object, zero_a).index, Compressor::AddString(object, zero_b).index);

    CompressedStringInfo const empty = Compressor::AddString(object, String());
    EXPECT_EQ(empty.begin, empty.end);
    EXPECT_EQ(Compressor::GetString(object, 99), nullptr);
    EXPECT_EQ(Compressor::GetStringLength(object, 99), 0u);
}

TEST(CompressorTest, ThreadsShareOneTable) {
    Table table;
    constexpr unsigned int thread_count = 4;
    constexpr unsigned int texts = 200;
    std::vector<std::vector<CompressedStringInfo>> seen(thread_count);
    std::vector<std::thread> threads;
    for (unsigned int t = 0; t < thread_count; ++t) {
        threads.emplace_back([&table, &seen, t] {
            BinaryCompressionObject object = table.object(Compressor::string_index_mode);
            for (unsigned int i = 0; i < texts; ++i) {
                unsigned int const n = (i * 7 + t * 13) % texts; // every thread adds all, in its own order
                seen[t].push_back(Compressor::AddString(object, String(("text " + std::to_string(n)).c_str())));
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    ASSERT_EQ(table.offsets.size(), texts);
    ASSERT_EQ(table.index.size(), texts);
    unsigned int end = 0;
    for (StringTableBounds const & bounds : table.offsets) {
        EXPECT_EQ(bounds.low[0], end) << "entries lie end to end";
        end = bounds.high[0];
    }
    EXPECT_EQ(end, table.data.size());
    for (unsigned int t = 0; t < thread_count; ++t) {
        for (unsigned int i = 0; i < texts; ++i) {
            unsigned int const n = (i * 7 + t * 13) % texts;
            CompressedStringInfo const & info = seen[t][i];
            EXPECT_EQ(std::string(table.data.data() + info.begin, info.end - info.begin), "text " + std::to_string(n));
            EXPECT_EQ(table.index.at(String(("text " + std::to_string(n)).c_str())), info.index);
        }
    }
}

TEST(CompressorTest, ErrorTextsOfZLibCodes) {
    struct Row {
        int code;
        char const * text;
    };
    Row const rows[] = {{-1, "Library Zip Error."},       {-2, "Library Zip Stream Error"},
                        {-3, "Library Zip Data Error"},   {-4, "Library Zip Memory Error"},
                        {-5, "Library Zip Buffer Error"}, {-6, "Library Zip Version Error"},
                        {-7, "Library Zip Error."}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.code);
        try {
            Compressor::ThrowOnZLibError(row.code);
            ADD_FAILURE() << "nothing raised";
        } catch (Exception const & failure) {
            EXPECT_EQ(English(failure.message()), row.text);
            EXPECT_EQ(English(failure.title()), "Compression Error");
        }
    }
    EXPECT_NO_THROW(Compressor::ThrowOnZLibError(0));
    EXPECT_NO_THROW(Compressor::ThrowOnZLibError(2));
}

TEST(CompressorTest, LyingBlocksRaiseAndLeaveZeros) {
    Table table;
    Bytes plain = TextLike(4000);
    BinaryCompressionObject packing = table.object(BEST_SPEED);
    Bytes packed = Compress(packing, plain);
    ASSERT_EQ(packing.compression_mode, BEST_SPEED);
    BinaryCompressionObject reference = table.object(STRING_COMPRESSION);
    Bytes text = TextLike(300, 3);
    Bytes offsets = Compress(reference, text); // begin 0, end 300

    Bytes corrupt = packed;
    corrupt[packed.size() / 2] ^= 0xFF;
    Bytes truncated(packed.begin(), packed.begin() + static_cast<long>(packed.size() / 2));
    Bytes short_reference(offsets.begin(), offsets.begin() + 4);
    struct Row {
        char const * name;
        unsigned char mode;
        Bytes * payload;
        unsigned long long target_size;
        unsigned long long compressed_size;
        char const * error;
    };
    Row const rows[] = {
        {"corrupt stream", BEST_SPEED, &corrupt, 4000, corrupt.size(), "Library Zip Data Error"},
        {"truncated stream", BEST_SPEED, &truncated, 4000, truncated.size(), "Library Zip Data Error"},
        {"target too small", BEST_SPEED, &packed, 3999, packed.size(), "Library Zip Buffer Error"},
        {"stream shorter than the target", BEST_SPEED, &packed, 4001, packed.size(), "Library Zip Data Error"},
        {"stored size differs", NO_COMPRESSION, &packed, packed.size() - 1, packed.size(), "Library Zip Data Error"},
        {"reference past the table", STRING_COMPRESSION, &offsets, 301, 8, "Library Zip Data Error"},
        {"reference cut short", STRING_COMPRESSION, &short_reference, 300, 4, "Library Zip Data Error"},
        {"index past the table", Compressor::string_index_mode, nullptr, 10, 1, "Library Zip Data Error"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        Bytes target(row.target_size, 0xAA);
        BinaryCompressionObject object = table.object(row.mode);
        object.uncompressed_data = target.data();
        object.uncompressed_size = target.size();
        object.compressed_data = row.payload != nullptr ? row.payload->data() : nullptr;
        object.compressed_size = row.compressed_size;
        EXPECT_EQ(ErrorText(object), row.error);
        EXPECT_EQ(target, Bytes(row.target_size, 0));
    }
}

TEST(CompressorTest, ZLibCompressKeepsOnlyWhatShrinks) {
    Bytes text = TextLike(5000);
    Bytes out(text.size());
    unsigned long long size = text.size();
    EXPECT_EQ(Compressor::ZLibCompress(out.data(), text.data(), size, text.size()), Z_OK);
    Bytes expected(compressBound(text.size()));
    uLongf expected_size = expected.size();
    ASSERT_EQ(compress(expected.data(), &expected_size, text.data(), text.size()), Z_OK);
    ASSERT_EQ(size, expected_size);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + static_cast<long>(size)),
              Bytes(expected.begin(), expected.begin() + static_cast<long>(size)));
    Bytes back(text.size());
    unsigned long long back_size = back.size();
    EXPECT_EQ(Compressor::ZLibDecompress(out.data(), back.data(), size, back_size), Z_OK);
    EXPECT_EQ(back_size, text.size());
    EXPECT_EQ(back, text);

    Bytes roomy(text.size() + 100); // more room than source: only the source is read
    size = roomy.size();
    EXPECT_EQ(Compressor::ZLibCompress(roomy.data(), text.data(), size, text.size()), Z_OK);
    EXPECT_EQ(Bytes(roomy.begin(), roomy.begin() + static_cast<long>(size)),
              Bytes(expected.begin(), expected.begin() + static_cast<long>(expected_size)));

    Bytes noise = Noise(500);
    Bytes copy(noise.size());
    size = noise.size();
    EXPECT_EQ(Compressor::ZLibCompress(copy.data(), noise.data(), size, noise.size()), Z_BUF_ERROR);
    EXPECT_EQ(size, noise.size());
    EXPECT_EQ(copy, noise);
}

} // namespace
} // namespace QELTA
