// BinaryFile: the exact bytes of small blocks, round trips of every block kind and mode through
// both working modes and both header widths, the shared string table, deferred blocks decompressed
// side by side, and files that lie about their blocks.
#include "Base/Files/BinaryFile.h"
#include "Base/Failure/Exception.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Bytes = std::vector<unsigned char>;
using Testing::ReadAll;
using Testing::WriteAll;

template <class Values>
auto Vec(Values const & values) {
    return std::vector<std::remove_cv_t<std::remove_reference_t<decltype(*values.data())>>>(values.begin(),
                                                                                            values.end());
}

std::string Str(StringView const & text) {
    return std::string(text.data(), text.size());
}

Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (Bytes const & part : parts) {
        out.insert(out.end(), part.begin(), part.end());
    }
    return out;
}

Bytes Of(std::string const & text) {
    return Bytes(text.begin(), text.end());
}

// Words and numbers that deflate shrinks.
std::string TextLike(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string text;
    while (text.size() < size) {
        text += "item " + std::to_string(random() % 500) + " = " + std::to_string(random() % 9999) + ";\n";
    }
    text.resize(size);
    return text;
}

std::string Noise(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char & byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

// The bytes a memory-mode writer leaves.
Bytes Image(std::function<void(BinaryFile &)> const & writer, bool large = false) {
    BinaryFile file;
    file.setUseLargeCompression(large);
    file.cachedOpen(false);
    writer(file);
    return Vec(file.cachedData());
}

std::string English(TranslatedString const & text) {
    String english(text.englishDefine());
    text.replaceVals(english);
    return Str(english);
}

// "title: message" of what `action` raised, empty when nothing was.
std::string CompressionErrorOf(std::function<void()> const & action) {
    try {
        action();
    } catch (Exception const & failure) {
        return English(failure.title()) + ": " + English(failure.message());
    }
    return "";
}

TEST(BinaryFileTest, ExactBytesOfSmallBlocks) {
    std::string const noise = Noise(300, 1);
    std::string const text = TextLike(300, 2);
    Bytes deflated(400);
    uLongf deflated_size = deflated.size();
    ASSERT_EQ(compress2(deflated.data(), &deflated_size, reinterpret_cast<Bytes::value_type const *>(text.data()),
                        text.size(), 1),
              Z_OK);
    deflated.resize(deflated_size);
    unsigned char const size_plus_one = static_cast<unsigned char>(deflated_size + 1);
    ASSERT_LT(deflated_size + 1, 256u);

    struct Row {
        char const * name;
        bool large;
        std::function<void(BinaryFile &)> writer;
        Bytes expected;
    };
    Row const rows[] = {
        {"empty text", false, [](BinaryFile & f) { f.write(String(), BEST_SPEED); }, Bytes(4, 0)},
        {"empty text, 64-bit", true, [](BinaryFile & f) { f.write(String(), BEST_SPEED); }, Bytes(8, 0)},
        {"three bytes stored",
         false,
         [](BinaryFile & f) { f.write(String("abc"), NO_COMPRESSION); },
         {3, 0, 0, 0, 4, 0, 0, 0, 0, 'a', 'b', 'c'}},
        {"three bytes stored, 64-bit",
         true,
         [](BinaryFile & f) { f.write(String("abc"), NO_COMPRESSION); },
         {3, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 'a', 'b', 'c'}},
        {"a text into the table, twice",
         false,
         [](BinaryFile & f) {
             f.write(StringView("abc"), DEFAULT_COMPRESSION);
             f.write(StringView("abc"), BEST_COMPRESSION);
         },
         {3, 0, 0, 0, 1, 0, 0, 0, 14, 3, 0, 0, 0, 1, 0, 0, 0, 14}},
        {"incompressible 300 bytes", false, [&](BinaryFile & f) { f.write(String(noise.c_str(), 300), BEST_SPEED); },
         Cat({{0x2C, 1, 0, 0, 0x2D, 1, 0, 0, 0}, Of(noise)})},
        {"compressible 300 bytes", false, [&](BinaryFile & f) { f.write(String(text.c_str(), 300), BEST_SPEED); },
         Cat({{0x2C, 1, 0, 0, size_plus_one, 0, 0, 0, 2}, deflated})},
        {"16-bit numbers",
         false,
         [](BinaryFile & f) {
             f.write(Buffer<unsigned short>{1, 0x203}, BEST_SPEED);
         },
         {2, 0, 0, 0, 5, 0, 0, 0, 0, 1, 0, 3, 2}},
        {"no texts", false, [](BinaryFile & f) { f.write(Buffer<String>(), BEST_SPEED); }, Bytes(8, 0)},
        {"texts",
         false,
         [](BinaryFile & f) {
             f.write(Buffer<String>{String("a"), String("bc")}, NO_COMPRESSION);
         },
         {2, 0, 0, 0, 9, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0, 4, 0, 0, 0, 0, 'a', 'b', 'c'}},
        {"empty string table", false, [](BinaryFile & f) { f.writeStringData(BEST_SPEED); }, Bytes(8, 0)},
        {"string table",
         false,
         [](BinaryFile & f) {
             f.write(StringView("xy"), DEFAULT_COMPRESSION);
             f.write(StringView("z"), DEFAULT_COMPRESSION);
             f.writeStringData(NO_COMPRESSION);
         },
         {2, 0, 0, 0,   1,   0,   0, 0, 14, 1, 0, 0, 0, 2, 0, 0, 0, 14, 3, 0, 0, 0, 4, 0,
          0, 0, 0, 'x', 'y', 'z', 2, 0, 0,  0, 9, 0, 0, 0, 0, 2, 0, 0,  0, 1, 0, 0, 0}},
        {"padded field", false,
         [](BinaryFile & f) {
             f.writeRawData("ab", 4, '.');
             f.writeRawData("abcdef", 3, '.');
             f.writeTerminatingString("q", ';');
         },
         Of("ab..abcq;")},
        {"number mode keeps zeros", false,
         [&](BinaryFile & f) { f.write(String(text.c_str(), 300), NUMBER_COMPRESSION); },
         Cat({{0x2C, 1, 0, 0, 0x2D, 1, 0, 0, 4}, Bytes(300, 0)})},
        {"missing embedded file", false, [](BinaryFile & f) { f.writeDirectlyFrom(File("/no/such/file")); },
         Bytes(8, 0)},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Image(row.writer, row.large), row.expected);
    }
}

class BinaryFileDiskTest : public Testing::TempFolderTest {
  protected:
    // The bytes a stream-mode writer leaves in the file.
    Bytes Streamed(std::function<void(BinaryFile &)> const & writer, bool large = false) {
        BinaryFile file(Path("stream.bin"));
        file.setUseLargeCompression(large);
        file.open(false);
        writer(file);
        file.close();
        return Of(ReadAll(SystemPath("stream.bin")));
    }
};

// One of each block kind, small and large, with the string table at the end behind its position.
struct Content {
    String text;
    Buffer<unsigned char> bytes;
    Buffer<unsigned short> shorts;
    Buffer<unsigned int> ints;
    Buffer<double> doubles;
    Buffer<Time> times;
    Buffer<String> texts;

    explicit Content(unsigned int size) {
        std::string const words = TextLike(size, size);
        text = String(words.c_str(), size);
        for (unsigned int i = 0; i < size; ++i) {
            bytes.add(static_cast<unsigned char>(words[i]));
            shorts.add(static_cast<unsigned short>(i % 300));
            ints.add(i * 2654435761u % 1000);
            doubles.add(i * 0.25);
            times.add(Time(1'700'000'000'000'000'000ull + i));
            texts.add(String(std::to_string(i % 17).c_str()));
        }
    }

    void write(BinaryFile & file, CompressionMode mode) const {
        file.write(text, mode);
        file.write(bytes, mode);
        file.write(shorts, mode);
        file.write(ints, mode);
        file.write(doubles, mode);
        file.write(times, mode);
        file.write(texts, mode);
    }

    void expectRead(BinaryFile & file) const {
        Content read(0);
        file.read(read.text);
        file.read(read.bytes);
        file.read(read.shorts);
        file.read(read.ints);
        file.read(read.doubles);
        file.read(read.times);
        file.read(read.texts);
        EXPECT_EQ(Str(read.text), Str(text));
        EXPECT_EQ(Vec(read.bytes), Vec(bytes));
        EXPECT_EQ(Vec(read.shorts), Vec(shorts));
        EXPECT_EQ(Vec(read.ints), Vec(ints));
        EXPECT_EQ(Vec(read.doubles), Vec(doubles));
        EXPECT_EQ(Vec(read.times), Vec(times));
        ASSERT_EQ(read.texts.size(), texts.size());
        for (unsigned int i = 0; i < texts.size(); ++i) {
            EXPECT_EQ(Str(read.texts[i]), Str(texts[i]));
        }
    }
};

void WriteWithTable(BinaryFile & file, CompressionMode mode, bool table_texts) {
    for (unsigned int size : {0u, 7u, 3000u}) {
        Content(size).write(file, mode);
    }
    if (table_texts) {
        for (char const * text : {"alpha", "beta", "alpha", ""}) {
            file.write(StringView(text), DEFAULT_COMPRESSION);
        }
    }
    unsigned long long const table = file.position();
    // A table that refers to itself can't be read back: it goes with a mode of its own.
    file.writeStringData(mode == STRING_COMPRESSION ? BEST_SPEED : mode);
    file.writeDirect(table);
}

void ReadWithTable(BinaryFile & file, bool table_texts) {
    file.seek(file.fileSize() - 8);
    unsigned long long table = 0;
    ASSERT_TRUE(file.readDirect(table));
    file.seek(table);
    file.readStringData(true);
    file.seek(0);
    for (unsigned int size : {0u, 7u, 3000u}) {
        SCOPED_TRACE(size);
        Content(size).expectRead(file);
    }
    if (table_texts) {
        for (char const * text : {"alpha", "beta", "alpha", ""}) {
            String read("stale");
            file.read(read);
            EXPECT_EQ(Str(read), text);
        }
    }
    EXPECT_EQ(file.position(), table);
}

TEST_F(BinaryFileDiskTest, EveryBlockKindRoundTripsInBothModesAndWidths) {
    for (CompressionMode mode :
         {NO_COMPRESSION, DEFAULT_COMPRESSION, BEST_SPEED, STRING_COMPRESSION, BEST_COMPRESSION}) {
        for (bool large : {false, true}) {
            SCOPED_TRACE(testing::Message() << "mode " << int(mode) << (large ? ", 64-bit" : ", 32-bit"));
            // A block of mode 14 with an index above 0 is readable only in memory mode.
            Bytes const streamed = Streamed([&](BinaryFile & f) { WriteWithTable(f, mode, false); }, large);
            Bytes const image = Image([&](BinaryFile & f) { WriteWithTable(f, mode, false); }, large);
            EXPECT_EQ(streamed, image) << "both modes write the same bytes";
            {
                BinaryFile file(Path("stream.bin"));
                file.setUseLargeCompression(large);
                file.open(true);
                ReadWithTable(file, false);
            }
            Bytes const with_texts = Image([&](BinaryFile & f) { WriteWithTable(f, mode, true); }, large);
            BinaryFile memory(with_texts.data(), with_texts.size());
            memory.setUseLargeCompression(large);
            ReadWithTable(memory, true);
        }
    }
}

TEST_F(BinaryFileDiskTest, StreamPaddingKeepsItsLayoutWithZeros) {
    EXPECT_EQ(Streamed([](BinaryFile & f) {
                  f.writeRawData("ab", 4, '.');
                  f.writeRawData("abcdef", 3, '.');
              }),
              Cat({Of("ab"), {'.', 0, '.', 0}, Of("abcdef")}));
}

TEST_F(BinaryFileDiskTest, MemoryImageGoesToDiskAtCloseAndComesBackWhole) {
    Content const content(5000);
    {
        BinaryFile file(Path("image.bin"));
        file.cachedOpen(false);
        content.write(file, BEST_SPEED);
        EXPECT_FALSE(std::filesystem::exists(SystemPath("image.bin"))) << "the disk waits for close";
    }
    BinaryFile file(Path("image.bin"));
    file.cachedOpen(true);
    EXPECT_EQ(file.fileSize(), std::filesystem::file_size(SystemPath("image.bin")));
    bool may_defer = true;
    String text;
    file.read(text, may_defer);
    EXPECT_TRUE(may_defer);
    EXPECT_EQ(file.pendingSections(), 1u);
    file.close();
    EXPECT_EQ(Str(text), Str(content.text)) << "close decompresses what waited";
}

TEST_F(BinaryFileDiskTest, ShortWriteOfTheImageRaisesTheWriteError) {
    BinaryFile file(File("/dev/full"));
    file.cachedOpen(false);
    std::string const noise = Noise(1 << 20, 5);
    file.writeDirect(noise.data(), noise.size());
    EXPECT_EQ(CompressionErrorOf([&] { file.close(); }),
              std::string("Binary File Error: Error writing to binary file: ") + std::strerror(ENOSPC));
    EXPECT_EQ(file.cachedData().size(), noise.size()) << "the image stays";
}

TEST_F(BinaryFileDiskTest, SwitchToFileGoesOnInAStream) {
    BinaryFile file;
    file.cachedOpen(false);
    file.write(String("first"), NO_COMPRESSION);
    file.switchToFile(Path("switched.bin"), true, false);
    file.write(String("second"), NO_COMPRESSION);
    file.close();
    EXPECT_EQ(Of(ReadAll(SystemPath("switched.bin"))), Image([](BinaryFile & f) {
                  f.write(String("first"), NO_COMPRESSION);
                  f.write(String("second"), NO_COMPRESSION);
              }));
}

TEST_F(BinaryFileDiskTest, EmbeddedFilesRoundTripInBothModes) {
    std::string const content = Noise(3'000'000, 9);
    WriteAll(SystemPath("source.dat"), content);
    for (bool memory : {false, true}) {
        SCOPED_TRACE(memory ? "memory" : "stream");
        std::filesystem::remove(SystemPath("copy.dat"));
        {
            BinaryFile file(Path("embed.bin"));
            memory ? file.cachedOpen(false) : file.open(false);
            file.writeTerminatingString("head", 0);
            EXPECT_TRUE(file.writeDirectlyFrom(Path("source.dat")));
            EXPECT_TRUE(file.writeDirectlyFrom(Path("missing.dat")));
            file.writeTerminatingString("tail", 0);
        }
        BinaryFile file(Path("embed.bin"));
        memory ? file.cachedOpen(true) : file.open(true);
        String text;
        file.readString(text, 0);
        EXPECT_EQ(Str(text), "head");
        EXPECT_TRUE(file.readDirectlyTo(Path("copy.dat")));
        EXPECT_TRUE(file.readDirectlyTo(Path("nothing.dat")));
        EXPECT_FALSE(std::filesystem::exists(SystemPath("nothing.dat")));
        text = String();
        file.readString(text, 0);
        EXPECT_EQ(Str(text), "tail");
        EXPECT_EQ(ReadAll(SystemPath("copy.dat")), content);
    }
}

TEST(BinaryFileTest, RawReadersStopAtTheEnd) {
    Bytes const bytes = Of("ab;cdef");
    BinaryFile memory(bytes.data(), bytes.size());
    String text("x");
    memory.readString(text, ';');
    EXPECT_EQ(Str(text), "xab");
    char field[4];
    EXPECT_EQ(memory.readString(field, sizeof(field), ';'), 3u) << "bounded by the room";
    EXPECT_STREQ(field, "cde");
    memory.seek(3);
    // The last byte of the image is never delivered by readData, and the cursor ends behind it.
    EXPECT_EQ(Str(memory.readData(10)), "cde");
    EXPECT_TRUE(memory.isFinished());
    EXPECT_EQ(memory.position(), bytes.size());
    memory.seek(5);
    text = String();
    memory.readString(text, '!');
    EXPECT_EQ(Str(text), "ef") << "a terminator that never comes";
    EXPECT_EQ(memory.readDirect(field, 4), 0u);
}

// A memory file of many blocks, some of them waiting, read at once and serially.
Bytes ManyBlocks(unsigned int blocks) {
    return Image([blocks](BinaryFile & f) {
        for (unsigned int i = 0; i < blocks; ++i) {
            std::string const text = TextLike(200 + (i * 977) % 20000, i);
            f.write(String(text.c_str(), static_cast<unsigned int>(text.size())),
                    i % 7 == 0 ? NO_COMPRESSION : (i % 2 == 0 ? BEST_SPEED : BEST_COMPRESSION));
            Buffer<unsigned int> numbers;
            for (unsigned int n = 0; n < i * 13 % 4000; ++n) {
                numbers.add(n * i % 251);
            }
            f.write(numbers, DEFAULT_COMPRESSION);
        }
    });
}

TEST(BinaryFileParallelTest, DeferredBlocksEqualTheSerialRead) {
    constexpr unsigned int blocks = 120;
    Bytes const image = ManyBlocks(blocks);
    std::vector<String> serial_texts(blocks), parallel_texts(blocks);
    std::vector<Buffer<unsigned int>> serial_numbers(blocks), parallel_numbers(blocks);
    BinaryFile serial(image.data(), image.size());
    serial.setAllowDeferred(false);
    BinaryFile parallel(image.data(), image.size());
    for (unsigned int i = 0; i < blocks; ++i) {
        bool may_defer = true;
        serial.read(serial_texts[i], may_defer);
        serial.read(serial_numbers[i], may_defer);
        parallel.read(parallel_texts[i], may_defer);
        parallel.read(parallel_numbers[i], may_defer);
    }
    EXPECT_EQ(serial.pendingSections(), 0u);
    ASSERT_GT(parallel.pendingSections(), blocks);
    BinaryFile::SetDecompressionThreads(4);
    unsigned int const pending = parallel.pendingSections();
    parallel.uncompressSections(pending - 10, 100);
    EXPECT_EQ(parallel.pendingSections(), pending - 10);
    parallel.uncompressAll();
    BinaryFile::SetDecompressionThreads(0);
    EXPECT_EQ(parallel.pendingSections(), 0u);
    for (unsigned int i = 0; i < blocks; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(Str(parallel_texts[i]), Str(serial_texts[i]));
        EXPECT_EQ(Vec(parallel_numbers[i]), Vec(serial_numbers[i]));
    }
}

TEST(BinaryFileParallelTest, AFailingDeferredBlockRaisesAfterTheOthersAreFilled) {
    std::string const text = TextLike(5000, 3);
    Bytes image = Image([&](BinaryFile & f) {
        for (int i = 0; i < 3; ++i) {
            f.write(String(text.c_str(), 5000), BEST_SPEED);
        }
    });
    image[image.size() / 3 * 2 - 1] ^= 0xFF; // the checksum that ends the second block's stream
    BinaryFile file(image.data(), image.size());
    String read[3];
    for (String & target : read) {
        bool may_defer = true;
        file.read(target, may_defer);
    }
    BinaryFile::SetDecompressionThreads(3);
    EXPECT_EQ(CompressionErrorOf([&] { file.uncompressAll(); }), "Compression Error: Library Zip Data Error");
    BinaryFile::SetDecompressionThreads(0);
    EXPECT_EQ(Str(read[0]), text);
    EXPECT_EQ(Str(read[1]), std::string(5000, '\0'));
    EXPECT_EQ(Str(read[2]), text);
}

TEST(BinaryFileTest, BlocksThatLieRaiseAndLeaveTheTargetEmpty) {
    std::string const text = TextLike(4000, 4);
    Bytes const deflated = Image([&](BinaryFile & f) { f.write(String(text.c_str(), 4000), BEST_SPEED); });
    Bytes const payload(deflated.begin() + 9, deflated.end());
    auto header = [](unsigned long long count, unsigned long long size_plus_one, unsigned char mode) {
        Bytes out(9);
        std::memcpy(out.data(), &count, 4);
        std::memcpy(out.data() + 4, &size_plus_one, 4);
        out[8] = mode;
        return out;
    };
    unsigned long long const size = payload.size() + 1;
    struct Row {
        char const * name;
        Bytes file;
        char const * error;
    };
    Row const rows[] = {
        {"count cut short", {5, 0}, "Library Zip Data Error"},
        {"no size", {5, 0, 0, 0}, "Library Zip Data Error"},
        {"no mode", {5, 0, 0, 0, 6, 0, 0, 0}, "Library Zip Data Error"},
        {"size of zero", header(5, 0, 0), "Library Zip Data Error"},
        {"payload past the end", Cat({header(5, 6, 0), Of("abcd")}), "Library Zip Data Error"},
        {"stored count differs", Cat({header(5, 5, 0), Of("abcd")}), "Library Zip Data Error"},
        {"unknown mode", Cat({header(4, 5, 9), Of("abcd")}), "Library Zip Data Error"},
        {"stream larger than its count", Cat({header(3999, size, 2), payload}), "Library Zip Buffer Error"},
        {"stream smaller than its count", Cat({header(4001, size, 2), payload}), "Library Zip Data Error"},
        {"count beyond any inflation", Cat({header(0xFFFFFFFF, size, 2), payload}), "Library Zip Data Error"},
        {"table index without a table", header(3, 1, 14), "Library Zip Data Error"},
        {"table reference without a table", Cat({header(300, 9, 3), Bytes(8, 0)}), "Library Zip Data Error"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        BinaryFile file(row.file.data(), row.file.size());
        String target("stale");
        EXPECT_EQ(CompressionErrorOf([&] { file.read(target); }), std::string("Compression Error: ") + row.error);
        EXPECT_TRUE(target.isEmpty());
    }

    // 64-bit fields: a count beyond what any target can hold.
    Bytes wide(17, 0);
    unsigned long long const count = (1ull << 62) + 1;
    std::memcpy(wide.data(), &count, 8);
    wide[8] = 1;
    BinaryFile file(wide.data(), wide.size());
    file.setUseLargeCompression(true);
    Buffer<unsigned long long> numbers{1, 2};
    EXPECT_EQ(CompressionErrorOf([&] { file.read(numbers); }), "Compression Error: Library Zip Data Error");
    EXPECT_TRUE(numbers.isEmpty());

    // A table whose lengths run past its bytes.
    Bytes const table = Image([](BinaryFile & f) {
        f.write(String("abc"), NO_COMPRESSION);
        f.write(Buffer<unsigned int>{2, 2}, NO_COMPRESSION);
    });
    BinaryFile with_table(table.data(), table.size());
    EXPECT_EQ(CompressionErrorOf([&] { with_table.readStringData(true); }),
              "Compression Error: Library Zip Data Error");
    EXPECT_TRUE(with_table.stringOffsets().isEmpty());
}

TEST(BinaryFileTest, EveryPrefixOfAFileReadsOrRaises) {
    Bytes const whole = Image([](BinaryFile & f) {
        f.write(String(TextLike(3000, 5).c_str()), BEST_SPEED);
        f.write(StringView("name"), DEFAULT_COMPRESSION);
        f.write(Buffer<unsigned short>{1, 2, 3}, NO_COMPRESSION);
        f.writeStringData(BEST_SPEED);
    });
    for (std::size_t size = 0; size < whole.size(); ++size) {
        BinaryFile file(whole.data(), size);
        try {
            String deferred;
            bool may_defer = true;
            file.read(deferred, may_defer);
            String text;
            file.read(text);
            Buffer<unsigned short> numbers;
            file.read(numbers);
            file.readStringData(true);
            file.uncompressAll();
        } catch (Exception const &) {
            // Raising is one of the two answers; a read past the data is the fault looked for.
        }
    }
}

} // namespace
} // namespace QELTA
