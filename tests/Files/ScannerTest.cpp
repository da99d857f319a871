// Scanner and BufferedScanner: every field reader and its empty value, quoting, the line and
// white-space switches, positions, seeking, bad input, and both scanner kinds against each other
// on generated files. File tests run in a temporary folder.
#include "Base/Files/Scanner.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Internal/ByteSearch.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Testing::WriteAll;

std::string Text(StringView const & view) {
    return std::string(view.data() == nullptr ? "" : view.data(), view.size());
}

// The lines nextLine() makes current, at most 100 so that a scanner that never ends fails.
std::vector<std::string> Lines(Scanner & scanner) {
    std::vector<std::string> lines;
    while (lines.size() < 100 && scanner.nextLine()) {
        lines.push_back(Text(scanner.currentLine().view()));
    }
    return lines;
}

// Restores the source size limit at the end of a test.
struct SizeLimit {
    explicit SizeLimit(unsigned long long bytes) { Scanner::SetMaxSourceSizeForTesting(bytes); }
    ~SizeLimit() { Scanner::SetMaxSourceSizeForTesting(0); }
};

std::unique_ptr<Scanner> Open(bool buffered, File const & file, char delimiter, File::OpenMode mode) {
    return buffered ? std::make_unique<BufferedScanner>(file, delimiter, mode)
                    : std::make_unique<Scanner>(file, delimiter, mode);
}

class ScannerFileTest : public Testing::TempFolderTest {
  protected:
    File Write(std::string const & name, std::string const & content) {
        WriteAll(SystemPath(name), content);
        return Path(name);
    }
};

TEST_F(ScannerFileTest, ReadsEveryFieldTypeFromBothSources) {
    File const file = Write("table.csv", "id;value\r\n"
                                         "-12;+34;-32767;65534;-127;200;-9223372036854775807;1.5;-2.25e3;yes;1fz;"
                                         "'a;b';16384.9;0.1;2021_03_04_10_20_30;dropped;x\n");
    for (bool buffered : {false, true}) {
        SCOPED_TRACE(buffered ? "BufferedScanner" : "Scanner");
        std::unique_ptr<Scanner> const scanner = Open(buffered, file, ';', File::READ_TEXT);
        scanner->setQuoteCharacter('\'');
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(Text(scanner->currentLine()), "id;value");
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(scanner->getNext<int>(), -12);
        EXPECT_EQ(scanner->getNext<unsigned int>(), 34u);
        EXPECT_EQ(scanner->getNext<short>(), -32767);
        EXPECT_EQ(scanner->getNext<unsigned short>(), 65534);
        EXPECT_EQ(scanner->getNext<signed char>(), -127);
        EXPECT_EQ(scanner->getNext<unsigned char>(), 200);
        EXPECT_EQ(scanner->getNext<long long>(), -9223372036854775807ll);
        EXPECT_EQ(scanner->getNext<float>(), 1.5f);
        EXPECT_EQ(scanner->getNext<double>(), -2250.0);
        EXPECT_TRUE(scanner->getNext<bool>());
        EXPECT_EQ(scanner->getNextHex<unsigned int>(), 0x1fu);
        EXPECT_EQ(Text(scanner->getNext<String>()), "a;b");
        EXPECT_EQ(scanner->getNext<Angle<int>>().value, 16384);
        EXPECT_EQ(scanner->getNext<Angle<double>>().value, static_cast<double>(0.1f));
        EXPECT_EQ(scanner->getNext<Time>(), Time(2021, 3, 4, 10, 20, 30, true));
        // The time reader drops the field behind it.
        EXPECT_EQ(scanner->getNext<char>(), 'x');
        EXPECT_EQ(scanner->getNext<char>(), 0);
    }
}

TEST(ScannerTest, EmptyAndBadFieldsGiveTheEmptyValue) {
    // Each line: an unparsable field, an empty one, an overflowing one, then nothing.
    Scanner ints("x,,4294967296", ',');
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(ints.getNext<int>(), std::numeric_limits<int>::lowest());
    }
    Scanner uints("-1,,4294967296,123456", ',');
    EXPECT_EQ(uints.getNext<unsigned int>(), 4294967295u);
    EXPECT_EQ(uints.getNext<unsigned int>(), 4294967295u);
    EXPECT_EQ(uints.getNext<unsigned int>(), 4294967295u);
    EXPECT_EQ(uints.getNext<unsigned char>(), 255);
    EXPECT_EQ(uints.getNext<unsigned char>(), 255);
    Scanner wide("99999999999999999999,x,,", ',');
    EXPECT_EQ(wide.getNext<long long>(), std::numeric_limits<long long>::lowest());
    EXPECT_TRUE(std::isnan(wide.getNext<double>()));
    EXPECT_TRUE(std::isnan(wide.getNext<float>()));
    EXPECT_EQ(wide.getNext<short>(), -32768);
    EXPECT_EQ(wide.getNext<unsigned short>(), 65535);
    EXPECT_EQ(wide.getNext<signed char>(), -128);
    EXPECT_FALSE(wide.getNext<bool>());
    EXPECT_EQ(wide.getNextHex<unsigned char>(), 255);
    EXPECT_EQ(wide.getNext().data(), nullptr);
    EXPECT_EQ(wide.getNext<Angle<int>>().value, std::numeric_limits<int>::lowest());
    EXPECT_FALSE(wide.getNext<Time>().isValid());
    // Hexadecimal: a field without digits is 0, excess digits shift out at the top.
    Scanner hex("zz,123456789,abc", ',');
    EXPECT_EQ(hex.getNextHex<unsigned int>(), 0u);
    EXPECT_EQ(hex.getNextHex<unsigned int>(), 0x23456789u);
    EXPECT_EQ(hex.getNextHex<unsigned char>(), 0xbc);
}

TEST(ScannerTest, OverflowGivesTheEmptyValueAndMovesPastTheDigits) {
    Scanner scanner("4294967296 7 -3 1000 7 300 3000000000 -129 5000000000 0001", ',');
    scanner.setHasDelimiter(false);
    scanner.setIgnoreWhiteSpace(true);
    EXPECT_EQ(scanner.getNext<unsigned int>(), 4294967295u);
    EXPECT_EQ(scanner.linePosition(), 10u);
    EXPECT_EQ(scanner.getNext<int>(), 7);
    EXPECT_EQ(scanner.getNext<int>(), -3);
    EXPECT_EQ(scanner.getNext<unsigned char>(), 255);
    EXPECT_EQ(scanner.linePosition(), 20u);
    EXPECT_EQ(scanner.getNext<unsigned char>(), 7);
    EXPECT_EQ(scanner.getNext<unsigned char>(), 255);
    EXPECT_EQ(scanner.getNext<int>(), std::numeric_limits<int>::lowest());
    EXPECT_EQ(scanner.getNext<signed char>(), -128);
    EXPECT_TRUE(std::isnan(scanner.getNext<float>()));
    EXPECT_EQ(scanner.linePosition(), 53u);
    EXPECT_EQ(scanner.getNext<unsigned char>(), 1);
    EXPECT_FALSE(scanner.hasNext());
}

TEST(ScannerTest, BooleansReadTheFirstByte) {
    Scanner scanner("yes,no,0,T,true,1,y,F", ',');
    for (bool expected : {true, false, false, true, true, true, true, false}) {
        EXPECT_EQ(scanner.getNext<bool>(), expected);
    }
}

TEST(ScannerTest, QuotingAndViews) {
    struct Row {
        char const * line;
        char quote; // 0: none chosen
        std::vector<std::string> views;
    };
    Row const rows[] = {
        {"1,,3", 0, {"1", "", "3"}},        {"'a,b',c", 0, {"'a", "b'", "c"}},     {"'a,b',c", '\'', {"a,b", "c"}},
        {"x'y'z,'w", '\'', {"x'y'z", "w"}}, {"'open,field", '\'', {"open,field"}}, {"'',a'", '\'', {"", "a"}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.line);
        Scanner scanner(row.line, ',');
        if (row.quote != 0) {
            scanner.setQuoteCharacter(row.quote);
        }
        std::vector<std::string> views;
        for (StringView view = scanner.getNext(); view.data() != nullptr; view = scanner.getNext()) {
            views.push_back(Text(view));
        }
        EXPECT_EQ(views, row.views);
    }
    // The copying form drops every quote; the view keeps inner ones.
    Scanner scanner("x'y'z,'a,b'", ',');
    scanner.setQuoteCharacter('\'');
    String out;
    scanner.getNext(out);
    EXPECT_EQ(Text(out), "xyz");
    out = "";
    scanner.getNext(out);
    EXPECT_EQ(Text(out), "a,b");
    EXPECT_EQ(scanner.delimitersPassed(), 1u);
}

TEST(ScannerTest, BlankDelimiterStopsTheWhiteSpaceSkip) {
    Scanner scanner("a  b", ' ');
    scanner.setIgnoreWhiteSpace(true);
    EXPECT_EQ(Text(scanner.getNext()), "a");
    EXPECT_EQ(Text(scanner.getNext()), "");
    EXPECT_EQ(Text(scanner.getNext()), "b");
    Scanner tabs(" \t 5,\t6", ',');
    tabs.setIgnoreWhiteSpace(true);
    EXPECT_EQ(tabs.getNext<int>(), 5);
    EXPECT_EQ(tabs.getNext<int>(), 6);
}

TEST(ScannerTest, DelimiterCarriesAnUnchosenQuote) {
    Scanner scanner("a", ',');
    scanner.setDelimiter(';');
    EXPECT_EQ(scanner.quoteCharacter(), ';');
    scanner.setQuoteCharacter('"');
    scanner.setDelimiter('\t');
    EXPECT_EQ(scanner.quoteCharacter(), '"');
}

TEST(ScannerTest, SkipToFormsCountDelimitersAndStayInTheLine) {
    struct Row {
        char const * target;
        bool ignore_case;
        bool found;
        unsigned int position;
        unsigned int delimiters;
    };
    // "ab,'c,X',xy,Z" with quote "'": the quoted comma is not counted.
    Row const rows[] = {
        {"xy", false, true, 9, 2}, {"XY", true, true, 9, 2},    {"XY", false, false, 13, 3},
        {"x", true, true, 6, 1},   {"Zq", false, false, 13, 3},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.target);
        Scanner scanner("ab,'c,X',xy,Z", ',');
        scanner.setQuoteCharacter('\'');
        EXPECT_EQ(scanner.skipTo(row.target, row.ignore_case), row.found);
        EXPECT_EQ(scanner.linePosition(), row.position);
        EXPECT_EQ(scanner.delimitersPassed(), row.delimiters);
    }
    Scanner scanner("ab,cd", ',');
    EXPECT_FALSE(scanner.skipTo(""));
    EXPECT_TRUE(scanner.skipTo('C', true));
    EXPECT_TRUE(scanner.skipTo(""));
    EXPECT_TRUE(scanner.skipTo(Buffer<char>{'x', 'd'}));
    EXPECT_EQ(scanner.linePosition(), 4u);
    scanner.moveForward(10);
    EXPECT_FALSE(scanner.skipTo('d'));
    EXPECT_FALSE(scanner.hasNext());
    EXPECT_EQ(*scanner.getCurrent(), 0);
}

TEST(ScannerTest, TextSourceHasItsLineAtOnce) {
    Scanner scanner("7;8", ';');
    EXPECT_FALSE(scanner.nextLine());
    EXPECT_EQ(scanner.getNext<int>(), 7);
    EXPECT_EQ(scanner.getNext<int>(), 8);
    EXPECT_EQ(scanner.dataSize(), 3u);
    TranslatedString const position = scanner.getDebugPosition();
    EXPECT_EQ(Text(position.englishTranslation()), " line: 0 position: 3");
    EXPECT_EQ(Text(position.readableID()), "scanner_debug_position");
}

TEST(BufferedScannerTest, EmptyTextHasTheClosingLineStart) {
    BufferedScanner scanner(StringView(""), ',');
    EXPECT_EQ(scanner.lineStarts().size(), 2u);
    EXPECT_EQ(scanner.lineStarts()[0], 0u);
    EXPECT_EQ(scanner.lineStarts()[1], 1u);
    EXPECT_FALSE(scanner.nextLine());
}

// The line table is built from 64-byte masks and lines are copied in fixed blocks; both are held
// to a plain walk over random texts whose lines run from empty to several blocks long.
TEST(BufferedScannerTest, LineTableAndLinesMatchAPlainWalk) {
    std::mt19937 random(64);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        std::string text;
        std::vector<unsigned int> starts{0};
        std::vector<std::string> lines{""};
        unsigned int const longest = round % 4 == 0 ? 200 : 70;
        for (unsigned int size = random() % 1000; text.size() < size;) {
            char const c = random() % longest == 0 ? '\n' : static_cast<char>('!' + random() % 90);
            text += c;
            if (c == '\n') {
                starts.push_back(static_cast<unsigned int>(text.size()));
                lines.emplace_back();
            } else {
                lines.back() += c;
            }
        }
        starts.push_back(static_cast<unsigned int>(text.size()) + 1);
        BufferedScanner scanner{StringView(text.data(), static_cast<unsigned int>(text.size())), ','};
        ASSERT_EQ(scanner.lineStarts().size(), starts.size());
        for (unsigned int i = 0; i < starts.size(); ++i) {
            EXPECT_EQ(scanner.lineStarts()[i], starts[i]) << i;
        }
        String line;
        for (std::string const & expected : lines) {
            ASSERT_TRUE(scanner.nextLine(line, false));
            EXPECT_EQ(Text(line), expected);
        }
        EXPECT_FALSE(scanner.nextLine(line, false));
    }
    constexpr char alphabet[] = {'\n', '\n', '\xff', '\x8a', '\x0b', 0, 'a', 'b'};
    for (int round = 0; round < 1000; ++round) {
        char bytes[64];
        for (char & byte : bytes) {
            byte = alphabet[random() % sizeof alphabet];
        }
        ASSERT_EQ(Internal::ByteMask64(bytes, '\n'), Internal::ByteMask64Words(bytes, '\n')) << round;
        ASSERT_EQ(Internal::ByteMask64(bytes, '\xff'), Internal::ByteMask64Words(bytes, '\xff')) << round;
    }
}

TEST_F(ScannerFileTest, EmptyLineAndWhiteSpaceSwitches) {
    File const file = Write("lines.txt", "  a\t\n\n \n b,c \r\n\n");
    struct Row {
        bool buffered;
        bool ignore_empty;
        bool ignore_white;
        std::vector<std::string> lines;
    };
    Row const rows[] = {
        {false, false, false, {"  a\t", "", " ", " b,c ", "", ""}},
        {false, false, true, {"a\t", "", "", "b,c ", "", ""}},
        {false, true, false, {"  a\t", " ", " b,c "}},
        {false, true, true, {"a\t", "b,c "}},
        {true, false, false, {"  a\t", "", " ", " b,c "}},
        {true, false, true, {"a", "", "", "b,c"}},
        {true, true, false, {"  a\t", " ", " b,c "}},
        {true, true, true, {"a", "b,c"}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::Message() << row.buffered << row.ignore_empty << row.ignore_white);
        std::unique_ptr<Scanner> const scanner = Open(row.buffered, file, ',', File::READ_BINARY);
        scanner->setIgnoreEmptyLines(row.ignore_empty);
        scanner->setIgnoreWhiteSpace(row.ignore_white);
        EXPECT_EQ(Lines(*scanner), row.lines);
    }
}

TEST_F(ScannerFileTest, PositionsAfterEachRead) {
    File const file = Write("pos.csv", "12,ab,,7\r\nx\n");
    for (bool buffered : {false, true}) {
        SCOPED_TRACE(buffered);
        std::unique_ptr<Scanner> const scanner = Open(buffered, file, ',', File::READ_TEXT);
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(scanner->getCurrentFilePosition(), 10u);
        EXPECT_EQ(scanner->getCurrentLineNumber(), 1u);
        EXPECT_EQ(scanner->dataSize(), 12u);
        unsigned int const cursors[] = {3, 6, 7, 8};
        unsigned int const delimiters[] = {1, 2, 3, 3};
        for (unsigned int i = 0; i < 4; ++i) {
            scanner->getNext();
            EXPECT_EQ(scanner->linePosition(), cursors[i]);
            EXPECT_EQ(scanner->delimitersPassed(), delimiters[i]);
        }
        EXPECT_EQ(Text(scanner->getDebugPosition().englishTranslation()), Text(file.view()) + " line: 1 position: 8");
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(scanner->linePosition(), 0u);
        EXPECT_EQ(scanner->getCurrentFilePosition(), 12u);
        EXPECT_FLOAT_EQ(scanner->getFilePercent(), 1.0f);
    }
}

TEST_F(ScannerFileTest, CarriageReturnsBeforeLineFeedsAreDropped) {
    File const file = Write("crlf.txt", "a,1\r\nb,2\r\n");
    BufferedScanner from_file(file, ',', File::READ_TEXT);
    BufferedScanner from_text(StringView("a,1\r\nb,2\r\n"), ',');
    EXPECT_EQ(Lines(from_file), (std::vector<std::string>{"a,1", "b,2"}));
    EXPECT_EQ(Lines(from_text), (std::vector<std::string>{"a,1", "b,2"}));
}

TEST_F(ScannerFileTest, BadInputStaysInsideTheLine) {
    // No final line end, CR-only line ends, NUL bytes and an unclosed quote.
    char const bytes[] = "1\0002,x\0y\n\"open,3\rnext,4\r";
    File const file = Write("bad.txt", std::string(bytes, sizeof bytes - 1));
    for (bool buffered : {false, true}) {
        SCOPED_TRACE(buffered);
        std::unique_ptr<Scanner> const scanner = Open(buffered, file, ',', File::READ_BINARY);
        scanner->setQuoteCharacter('"');
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(scanner->getLineLength(), 7u);
        EXPECT_EQ(scanner->getNext<int>(), 1);
        EXPECT_EQ(Text(scanner->getNext()), std::string("x\0y", 3));
        ASSERT_TRUE(scanner->nextLine());
        EXPECT_EQ(Text(scanner->currentLine()), "\"open,3\rnext,4");
        EXPECT_EQ(Text(scanner->getNext()), "open,3\rnext,4");
        EXPECT_EQ(scanner->getNext<int>(), std::numeric_limits<int>::lowest());
        EXPECT_FALSE(scanner->nextLine());
    }
}

TEST_F(ScannerFileTest, SeeksByByte) {
    File const file = Write("seek.csv", "a,1\nbb,2\nccc,3\n");
    BufferedScanner scanner(file, ',', File::READ_BINARY);
    scanner.setFilePosition(9, true);
    EXPECT_EQ(Text(scanner.currentLine()), "ccc,3");
    EXPECT_EQ(scanner.linePosition(), 0u);
    EXPECT_EQ(scanner.getCurrentFilePosition(), 15u);
    // Back into the middle of a line: that line, with the cursor left past its end.
    scanner.setFilePosition(5, true);
    EXPECT_EQ(Text(scanner.currentLine()), "bb,2");
    EXPECT_EQ(scanner.linePosition(), 0xFFFFFFFFu);
    EXPECT_EQ(scanner.getNext<int>(), std::numeric_limits<int>::lowest());
    // Back onto a line start: the walk back stops below the position, at the line before.
    scanner.setFilePosition(4, true);
    EXPECT_EQ(Text(scanner.currentLine()), "a,1");
    EXPECT_EQ(scanner.linePosition(), 0xFFFFFFFCu);
    scanner.setFilePosition(4, false);
    EXPECT_EQ(*scanner.getByteArray(), 'b');
    EXPECT_TRUE(scanner.currentLine().isEmpty());
    // Past the end nothing is read and the raw bytes end at the buffer's end.
    scanner.setFilePosition(1000, true);
    EXPECT_FALSE(scanner.nextLine());
    EXPECT_EQ(scanner.getByteArray(), scanner.buffer().data() + scanner.buffer().size());
    EXPECT_FALSE(scanner.hasNext());

    Scanner stream(file, ',', File::READ_BINARY);
    stream.setFilePosition(4, true);
    EXPECT_EQ(Text(stream.currentLine()), "bb,2");
    EXPECT_EQ(stream.getNext<String>().size(), 2u);
    stream.setFilePosition(1000, true);
    EXPECT_TRUE(stream.currentLine().isEmpty());
    EXPECT_FALSE(stream.nextLine());
}

TEST_F(ScannerFileTest, RefusesSourcesTooLargeForItsOffsets) {
    SizeLimit const limit(8);
    File const at_limit = Write("eight.txt", "1234567\n");
    EXPECT_EQ(BufferedScanner(at_limit, ',', File::READ_BINARY).buffer().size(), 8u);
    File const over = Write("nine.txt", "123456789");
    try {
        BufferedScanner scanner(over, ',', File::READ_BINARY);
        ADD_FAILURE() << "a file over the limit was read";
    } catch (FileException const & error) {
        std::string const message = Text(error.message().englishTranslation());
        EXPECT_NE(message.find("The source has 9 bytes, but at most 8 bytes can be read at once."), std::string::npos)
            << message;
        EXPECT_NE(message.find("nine.txt"), std::string::npos);
    }
    EXPECT_THROW(BufferedScanner(StringView("123456789"), ','), Exception);
    EXPECT_NO_THROW(BufferedScanner(StringView("12345678\r\r"), ','));
    Scanner stream(over, ',', File::READ_BINARY);
    EXPECT_THROW(stream.nextLine(), FileException);
    Scanner lines(at_limit, ',', File::READ_BINARY);
    EXPECT_TRUE(lines.nextLine());
}

// Generated files of ints, doubles, quoted text with delimiters inside, booleans and empty
// fields, with LF or CRLF and with or without a final line end: the stream scanner, the buffered
// one and the buffered one on the text read back what was written, position for position.
TEST_F(ScannerFileTest, BothKindsReadGeneratedFilesAlike) {
    std::mt19937 random(20261122);
    for (int round = 0; round < 40; ++round) {
        SCOPED_TRACE(round);
        std::string content;
        std::vector<std::vector<std::string>> expected; // per line: int, double, text, bool
        bool const crlf = random() % 2 == 0;
        int const lines = static_cast<int>(random() % 30);
        for (int line = 0; line < lines; ++line) {
            int const value = static_cast<int>(random() % 2000001) - 1000000;
            double const number = static_cast<double>(random() % 100000) / 64.0;
            std::string text;
            for (unsigned int i = random() % 6; i > 0; --i) {
                text += "ab;, "[random() % 5];
            }
            bool const flag = random() % 2 == 0;
            bool const empty = random() % 5 == 0;
            content += (empty ? "" : std::to_string(value)) + ";" + std::to_string(number) + ";\"" + text + "\";" +
                       (flag ? "T" : "F");
            expected.push_back({empty ? "NaN" : std::to_string(value), std::to_string(number), text, flag ? "1" : "0"});
            if (line + 1 < lines || random() % 2 == 0) {
                content += crlf ? "\r\n" : "\n";
            }
        }
        File const file = Write("generated.csv", content);
        std::unique_ptr<Scanner> scanners[] = {std::make_unique<Scanner>(file, ';', File::READ_TEXT),
                                               std::make_unique<BufferedScanner>(file, ';', File::READ_TEXT),
                                               std::make_unique<BufferedScanner>(StringView(content), ';')};
        for (auto & scanner : scanners) {
            scanner->setQuoteCharacter('"');
            scanner->setIgnoreEmptyLines(true);
        }
        for (std::vector<std::string> const & row : expected) {
            for (std::size_t kind = 0; kind < 3; ++kind) {
                SCOPED_TRACE(kind);
                Scanner & scanner = *scanners[kind];
                ASSERT_TRUE(scanner.nextLine());
                int const value = scanner.getNext<int>();
                EXPECT_EQ(value == std::numeric_limits<int>::lowest() ? "NaN" : std::to_string(value), row[0]);
                EXPECT_EQ(std::to_string(scanner.getNext<double>()), row[1]);
                EXPECT_EQ(Text(scanner.getNext()), row[2]);
                EXPECT_EQ(scanner.getNext<bool>() ? "1" : "0", row[3]);
                EXPECT_FALSE(scanner.hasNext());
                EXPECT_EQ(scanner.getCurrentLineNumber(), scanners[0]->getCurrentLineNumber());
                if (kind == 1) {
                    EXPECT_EQ(scanner.getCurrentFilePosition(), scanners[0]->getCurrentFilePosition());
                }
            }
        }
        for (auto & scanner : scanners) {
            EXPECT_FALSE(scanner->nextLine());
        }
    }
}

} // namespace
} // namespace QELTA
