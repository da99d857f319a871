// Settings files: every option type through both forms, the escapes, the reading rules, hostile
// binary files, and the read and save paths of INIInterface.
#include "Base/Settings/INIFactory.h"

#include "Base/Files/FileException.h"
#include "Base/Files/Scanner.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Text/StringStream.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace QELTA {
namespace {

using Testing::Std;

using Testing::ReadAll;
using Testing::WriteAll;

// One value of every option type, with the targets of a factory that reads or writes them.
struct AllTypes {
    char letter = 0;
    unsigned int number = 0;
    bool flag = false;
    File path;
    String text;
    Time time;
    TimeSpan span;
    UUID id;
    Vector<64, bool> bits;

    static AllTypes Sample() {
        AllTypes sample;
        sample.letter = 'q';
        sample.number = 4000000000u;
        sample.flag = true;
        sample.path = File(String("\\srv\\data\\table.csv"));
        sample.text = String("a=b\\c\td\ne\bf\fg;%h");
        sample.time = Time(2021, 3, 4, 10, 20, 30, false);
        sample.span = TimeSpan(Time(2020, 1, 2, 3, 4, 5, false), 90500000000ll);
        sample.id = UUID::CreateUUID(StringView("settings"));
        sample.bits.set(0, true);
        sample.bits.set(9, true);
        sample.bits.set(63, true);
        return sample;
    }

    void addTo(INIFactory & factory) {
        factory.addINIOption("letter", new INIFactory::INIObject<char>(&letter));
        factory.addINIOption("number", new INIFactory::INIObject<unsigned int>(&number));
        factory.addINIOption("flag", new INIFactory::INIObject<bool>(&flag));
        factory.addINIOption("path", new INIFactory::INIObject<File>(&path));
        factory.addINIOption("text", new INIFactory::INIObject<String>(&text));
        factory.addINIOption("time", new INIFactory::INIObject<Time>(&time));
        factory.addINIOption("span", new INIFactory::INIObject<TimeSpan>(&span));
        factory.addINIOption("id", new INIFactory::INIObject<UUID>(&id));
        factory.addINIOption("bits", new INIFactory::INIObject<Vector<64, bool>>(&bits));
    }

    void expectEqual(AllTypes const & other) const {
        EXPECT_EQ(letter, other.letter);
        EXPECT_EQ(number, other.number);
        EXPECT_EQ(flag, other.flag);
        EXPECT_EQ(path.view(), other.path.view());
        EXPECT_EQ(text, other.text);
        EXPECT_EQ(time, other.time);
        EXPECT_EQ(span.start, other.span.start);
        EXPECT_EQ(span.duration, other.span.duration);
        EXPECT_EQ(id, other.id);
        EXPECT_TRUE(bits == other.bits);
    }
};

class INIFactoryTest : public Testing::TempFolderTest {
  protected:
    // Reads `text` as a settings file into `factory`.
    void readText(std::string const & text, INIFactory & factory) {
        WriteAll(SystemPath("in.ini"), text);
        File file = Path("in.ini");
        factory.readAsciiFile(file);
    }
};

TEST_F(INIFactoryTest, EveryTypeRoundTripsThroughBothForms) {
    AllTypes written = AllTypes::Sample();
    INIFactory writer;
    written.addTo(writer);
    File ascii = Path("all.ini");
    File binary = Path("all.inib");
    writer.writeToAsciiFile(ascii, true);
    writer.writeToBinaryFile(binary);
    for (bool from_binary : {false, true}) {
        SCOPED_TRACE(from_binary ? "binary" : "ascii");
        AllTypes read;
        INIFactory reader;
        read.addTo(reader);
        from_binary ? reader.readBinaryFile(binary) : reader.readAsciiFile(ascii);
        read.expectEqual(written);
        EXPECT_TRUE(reader.extraOptions().isEmpty());
    }
}

// Hand-worked payloads: count, then per record the hash, the size and the bytes.
TEST_F(INIFactoryTest, BinaryRecordsHaveTheirFixedLayout) {
    unsigned int number = 0x01020304;
    String text("a=b");
    INIFactory factory;
    factory.addINIOption("n", new INIFactory::INIObject<unsigned int>(&number));
    factory.addINIOption("t", new INIFactory::INIObject<String>(&text));
    File file = Path("layout.inib");
    factory.writeToBinaryFile(file);
    std::string const bytes = ReadAll(SystemPath("layout.inib"));
    ASSERT_EQ(bytes.size(), 4u + (12 + 4) + (12 + 4));
    std::uint32_t count = 0;
    std::memcpy(&count, bytes.data(), 4);
    EXPECT_EQ(count, 2u);
    // The label hash: 5381 * 33 + 'n' and 5381 * 33 + 't'.
    for (std::size_t record = 4; record < bytes.size(); record += 16) {
        std::uint64_t hash = 0;
        std::uint32_t size = 0;
        std::memcpy(&hash, bytes.data() + record, 8);
        std::memcpy(&size, bytes.data() + record + 8, 4);
        std::string const payload = bytes.substr(record + 12, size);
        if (hash == 5381u * 33 + 'n') {
            EXPECT_EQ(payload, std::string("\x04\x03\x02\x01", 4));
        } else {
            EXPECT_EQ(hash, 5381u * 33 + 't');
            EXPECT_EQ(payload, "a\\eb"); // the escaped text, without a terminator
        }
    }
}

TEST(INIEscapeTest, BothDirections) {
    struct Row {
        char const * plain;
        char const * escaped;
    } const rows[] = {
        {"plain", "plain"},
        {"a\\b", "a\\\\b"},
        {"\b\f\n\t=", "\\b\\f\\n\\t\\e"},
        {"x=y=z", "x\\ey\\ez"},
        {"\\\\", "\\\\\\\\"},
        {"\\n", "\\\\n"},
        {"", ""},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.plain);
        String text(row.plain);
        INIFactory::ConvertToINIString(text);
        EXPECT_EQ(Std(text), row.escaped);
        INIFactory::ConvertFromINIString(text);
        EXPECT_EQ(Std(text), row.plain);
    }
    // Reading only: a carriage return comes back as a backslash; a lone backslash or an unknown
    // letter stays; three backslashes are one pair and one lone one.
    struct Read {
        char const * stored;
        char const * plain;
    } const reads[] = {
        {"a\rb", "a\\b"}, {"a\\", "a\\"}, {"\\q", "\\q"}, {"\\\\\\n", "\\\n"}, {"\\\r", "\\\\"},
    };
    for (Read const & row : reads) {
        SCOPED_TRACE(row.stored);
        String text(row.stored);
        INIFactory::ConvertFromINIString(text);
        EXPECT_EQ(Std(text), row.plain);
    }
}

TEST_F(INIFactoryTest, ReadingRules) {
    String kept("unchanged");
    String value;
    String spaced;
    INIFactory factory;
    factory.addINIOption("kept", new INIFactory::INIObject<String>(&kept));
    factory.addINIOption("key", new INIFactory::INIObject<String>(&value));
    factory.addINIOption("spaced", new INIFactory::INIObject<String>(&spaced));
    readText("key=a=b\n"
             "kept=\n"
             "  spaced \t= v\n"
             "=no label\n"
             ";a comment=1\n"
             "%not a comment\n"
             "unknown=x\\ey\r\n"
             ";end_file\n"
             "late=1\n"
             "key=late\n",
             factory);
    EXPECT_EQ(Std(value), "a");
    EXPECT_EQ(Std(kept), "unchanged");
    EXPECT_EQ(Std(spaced), " v");
    EXPECT_FALSE(factory.hasOption("late"));
    EXPECT_FALSE(factory.hasOption(";a comment"));
    Dictionary<String, String> const extras = factory.extraOptions();
    ASSERT_EQ(extras.size(), 2u);
    EXPECT_EQ(Std(extras.at(String("unknown"))), "x=y");
    EXPECT_EQ(Std(extras.at(String("%not a comment"))), "");
    // Extras give their plain text, typed options their escaped text.
    EXPECT_EQ(Std(factory.getOption("unknown", "-")), "x=y");
    EXPECT_EQ(Std(factory.getOption("missing", "-")), "-");
    value = String("p=q");
    EXPECT_EQ(Std(factory.getOption("key", "-")), "p\\eq");
    // The extras are written back with the typed options.
    File out = Path("out.ini");
    factory.setPreserveOrder(false);
    factory.writeToAsciiFile(out, false);
    std::string const written = ReadAll(SystemPath("out.ini"));
    EXPECT_NE(written.find("unknown=x\\ey\n"), std::string::npos) << written;
    EXPECT_NE(written.find("%not a comment=\n"), std::string::npos) << written;
}

TEST_F(INIFactoryTest, OrderHashLabelsAndEndMark) {
    String a("1");
    String b("2");
    INIFactory factory;
    factory.setPreserveOrder(true);
    factory.addINIOption("zeta", new INIFactory::INIObject<String>(&a));
    factory.addINIOption("alpha", new INIFactory::INIObject<String>(&b));
    factory.setDelimiter(':');
    File file = Path("ordered.ini");
    factory.writeToAsciiFile(file, true);
    EXPECT_EQ(ReadAll(SystemPath("ordered.ini")), "zeta:1\nalpha:2\n;end_file\n");
    factory.setUseHashLabels(true);
    factory.writeToAsciiFile(file, false);
    EXPECT_EQ(ReadAll(SystemPath("ordered.ini")),
              std::to_string(StringView("zeta").hash()) + ":1\n" + std::to_string(StringView("alpha").hash()) + ":2\n");
    // A moved factory keeps its order but not its hash labels.
    INIFactory moved(std::move(factory));
    moved.writeToAsciiFile(file, false);
    EXPECT_EQ(ReadAll(SystemPath("ordered.ini")), "zeta:1\nalpha:2\n");
}

TEST_F(INIFactoryTest, ResourceTargetsNotifyOnlyOnChange) {
    Resource<unsigned int> number(5);
    int calls = 0;
    number.addListener(new BasicResourceListener([&calls] { ++calls; }), true);
    INIFactory factory;
    factory.addINIOption("n", new INIFactory::INIObject<unsigned int>(&number));
    readText("n=5\nn=+6\nn=6\n", factory);
    EXPECT_EQ(number.value(), 6u);
    EXPECT_EQ(calls, 1);
}

TEST_F(INIFactoryTest, SecondOptionOfALabelIsInForce) {
    String first;
    String second;
    INIFactory factory;
    INIOption * const replaced = new INIFactory::INIObject<String>(&first);
    factory.addINIOption("x", replaced);
    factory.addINIOption("x", new INIFactory::INIObject<String>(&second));
    readText("x=v\n", factory);
    EXPECT_TRUE(first.isEmpty());
    EXPECT_EQ(Std(second), "v");
    replaced->fromString(String("still usable")); // not deleted before the factory is
    EXPECT_EQ(Std(first), "still usable");
}

// Writes a binary settings file of raw bytes.
std::string Record(std::uint64_t hash, std::uint32_t size, std::string const & payload) {
    std::string bytes(12, '\0');
    std::memcpy(bytes.data(), &hash, 8);
    std::memcpy(bytes.data() + 8, &size, 4);
    return bytes + payload;
}

std::string Count(std::uint32_t count) {
    return std::string(reinterpret_cast<char const *>(&count), 4);
}

TEST_F(INIFactoryTest, HostileBinaryFilesAreReadSafely) {
    std::uint64_t const text_hash = StringView("t").hash();
    std::uint64_t const number_hash = StringView("n").hash();
    struct Row {
        char const * name;
        std::string bytes;
        char const * text;
        unsigned int number;
    } const rows[] = {
        {"oversized record skipped",
         Count(2) + Record(text_hash, 5000, std::string(5000, 'x')) +
             Record(number_hash, 4, std::string("\x07\0\0\0", 4)),
         "old", 7},
        {"count beyond the data", Count(0xFFFFFFFF) + Record(number_hash, 4, std::string("\x09\0\0\0", 4)), "old", 9},
        {"cut inside a payload", Count(1) + Record(text_hash, 10, "abc"), "old", 1},
        {"cut inside a header", Count(3) + std::string("\x01\x02", 2), "old", 1},
        {"short fixed payload reads zeros", Count(1) + Record(number_hash, 1, "\x05"), "old", 5},
        {"unknown hash", Count(1) + Record(12345, 3, "abc"), "old", 1},
        {"empty file", "", "old", 1},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        WriteAll(SystemPath("hostile.inib"), row.bytes);
        String text("old");
        unsigned int number = 1;
        INIFactory factory;
        factory.addINIOption("t", new INIFactory::INIObject<String>(&text));
        factory.addINIOption("n", new INIFactory::INIObject<unsigned int>(&number));
        File file = Path("hostile.inib");
        factory.readBinaryFile(file);
        EXPECT_EQ(Std(text), row.text);
        EXPECT_EQ(number, row.number);
    }
}

TEST_F(INIFactoryTest, AsciiFilesOfAnyBytesRead) {
    std::string garbage;
    for (int i = 0; i < 4096; ++i) {
        garbage += static_cast<char>((i * 131) % 256);
    }
    for (std::string const & text :
         {garbage, std::string(1 << 20, 'a'), std::string("a\0b=c\0d\n", 8), std::string("\xff\xfe=\xc3(\n")}) {
        INIFactory factory;
        readText(text, factory);
        File out = Path("again.ini");
        factory.writeToAsciiFile(out, false);
        INIFactory again;
        File in = Path("again.ini");
        again.readAsciiFile(in);
        EXPECT_EQ(again.extraOptions().size(), factory.extraOptions().size());
    }
}

TEST_F(INIFactoryTest, MissingFileRaisesAsAnInvalidFile) {
    INIFactory factory;
    File missing = Path("missing.ini");
    try {
        factory.readAsciiFile(missing);
        FAIL() << "no exception";
    } catch (FileException const & failure) {
        EXPECT_EQ(failure.type(), FileException::invalid_file);
    }
}

// A class with settings: one number, with the calls of the read and save paths counted.
class Settings : public INIInterface {
  public:
    using INIInterface::INIInterface;
    unsigned int number = 0;
    int prepared = 0;
    int finished = 0;

    void getINI(INIFactory & factory) override {
        factory.addINIOption("number", new INIFactory::INIObject<unsigned int>(&number));
    }
    void prepareForINI(INIFactory &) override { ++prepared; }
    void finishReadingINI(INIFactory &) override { ++finished; }
};

TEST_F(INIFactoryTest, InterfaceReadsAsciiFirstAndFallsBackOnBinary) {
    Settings settings(Path("app.ini"));
    EXPECT_FALSE(settings.readINIOptions());
    WriteAll(SystemPath("app.inib"), Count(1) + Record(StringView("number").hash(), 4, std::string("\x02\0\0\0", 4)));
    EXPECT_TRUE(settings.readINIOptions());
    EXPECT_EQ(settings.number, 2u);
    WriteAll(SystemPath("app.ini"), "number=3\n");
    EXPECT_TRUE(settings.readINIOptions());
    EXPECT_EQ(settings.number, 3u);
    EXPECT_EQ(settings.prepared, 2);
    EXPECT_EQ(settings.finished, 2);
    settings.number = 4;
    EXPECT_TRUE(settings.saveINIOptions(true));
    EXPECT_EQ(ReadAll(SystemPath("app.ini")), "number=4\n"); // no end mark, whatever the flag
    EXPECT_FALSE(Settings().saveINIOptions(true));
    MemoryInfoPipe pipe;
    settings.writeToLog(LogPtr(&pipe), 5);
    ASSERT_EQ(pipe.messages().size(), 2u);
    EXPECT_EQ(Std(pipe.messages()[0].rawMessage()), "app");
    EXPECT_EQ(Std(pipe.messages()[1].rawMessage()), "  number = 4");
}

// A file size limit stands in for a full disk: the save fails and the old file stays whole.
TEST_F(INIFactoryTest, FailedSaveLeavesTheOldFile) {
    WriteAll(SystemPath("full.ini"), "number=1\n");
    auto const save_beyond_the_limit = [this] {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit const limit{16, 16};
        setrlimit(RLIMIT_FSIZE, &limit);
        INIFactory factory;
        String big(std::string(4096, 'v').c_str());
        factory.addINIOption("big", new INIFactory::INIObject<String>(&big));
        File file = Path("full.ini");
        try {
            factory.writeToAsciiFile(file, false);
        } catch (FileException const &) {
            std::_Exit(0);
        }
        std::_Exit(1);
    };
    EXPECT_EXIT(save_beyond_the_limit(), ::testing::ExitedWithCode(0), "");
    EXPECT_EQ(ReadAll(SystemPath("full.ini")), "number=1\n");
}

} // namespace
} // namespace QELTA
