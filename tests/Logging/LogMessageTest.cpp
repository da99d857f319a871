// LogMessage: the stored text form and its reading rules, the text flags, the ANSI blocks, the
// session marks and the session number of the run.
#include "Base/Logging/LogMessage.h"
#include "Base/Language/TranslatedString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

// 2021-02-03 04:05:06.123456789 UTC.
Time const sample_time(Time(2021, 2, 3, 4, 5, 6, false).nanoseconds() + 123456789);

std::string Text(StringView const & text) {
    return std::string(text.data(), text.size());
}

std::string Stored(LogMessage const & message) {
    StringAllocatingView out;
    StringStream<LogMessage>::toString(message, out);
    return Text(out.view());
}

using Blocks = std::vector<std::pair<std::string, std::string>>;

Blocks BlocksOf(LogMessage const & message) {
    Blocks blocks;
    for (std::pair<String, String> const & block : message.ansiiEscapeBlocks()) {
        blocks.emplace_back(Text(block.first), Text(block.second));
    }
    return blocks;
}

// The text rules written with std::regex, as they first were. std::regex recurses once per byte,
// so this only serves short texts.
std::string const escape(1, '\x1b');

std::string ExpressionMessage(std::string const & raw, bool keep_new_lines, bool keep_tabs, bool keep_formatting) {
    std::string text;
    for (char const c : raw) {
        text += !keep_new_lines && c == '\n'   ? "\\n"
                : !keep_new_lines && c == '\r' ? "\\r"
                : !keep_tabs && c == '\t'      ? "\\t"
                                               : std::string(1, c);
    }
    if (!keep_formatting) {
        static std::regex const sequence(escape + "\\[[0-9;]*[A-Za-z]");
        for (std::size_t at = text.find(escape); at != std::string::npos; at = text.find(escape, at + 1)) {
            text = text.substr(0, at) + std::regex_replace(text.substr(at), sequence, "");
        }
    }
    return text;
}

Blocks ExpressionBlocks(std::string const & text) {
    static std::regex const sequence(escape + "\\[([0-9;]*)[A-Za-z]");
    Blocks blocks;
    std::size_t offset = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), sequence), end; match != end; ++match) {
        std::size_t const start = static_cast<std::size_t>(match->position(0));
        if (start > offset) {
            blocks.emplace_back("0", text.substr(offset, start - offset));
        }
        std::size_t const text_start = start + static_cast<std::size_t>(match->length(0));
        offset = std::min(text.find(escape, text_start), text.size());
        blocks.emplace_back((*match)[1].str(), text.substr(text_start, offset - text_start));
    }
    if (offset < text.size()) {
        blocks.emplace_back("0", text.substr(offset));
    }
    return blocks;
}

TEST(LogMessageTest, StoredFormIsOneLineOfFourFields) {
    struct Row {
        char const * message;
        unsigned char level;
        unsigned short session;
        char const * expected;
    };
    Row const rows[] = {
        {"started", 2, 42, "21-02-03 04:05:06:123456\tstarted\t2\t42"},
        // A tab in the text must not become a field separator.
        {"a\tb", 7, 1, "21-02-03 04:05:06:123456\ta\\tb\t7\t1"},
        {"one\ntwo\r\n", 0, 0, "21-02-03 04:05:06:123456\tone\\ntwo\\r\\n\t0\t0"},
        {"\x1b[1;31mred\x1b[0m plain", 10, 7, "21-02-03 04:05:06:123456\tred plain\t10\t7"},
        {"", 0, 0, "21-02-03 04:05:06:123456\t\t0\t0"},
        // Records of an older run keep 65535 as digits.
        {"old", 255, 65535, "21-02-03 04:05:06:123456\told\t255\t65535"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.expected);
        // Appends to what the text holds.
        StringAllocatingView out(StringView("line\t"));
        StringStream<LogMessage>::toString(LogMessage(sample_time, row.message, row.level, row.session), out);
        EXPECT_EQ(Text(out.view()), std::string("line\t") + row.expected);
    }
}

TEST(LogMessageTest, AppendMessageChangesOnlyTheAppendedPart) {
    StringAllocatingView out(StringView("kept\t\n\x1b[1m|"));
    LogMessage(sample_time, "a\tb\n\x1b[2mc", 0, 0).appendMessage(out, false, false, false);
    EXPECT_EQ(Text(out.view()), "kept\t\n\x1b[1m|a\\tb\\nc");
}

// Hand-worked rows for the rules the expressions below also hold: a byte 27 that starts no
// sequence stays, a removal joins a stray byte 27 with what follows into a new sequence that goes
// too, a leading sequence gives no "0" block before it and a trailing one an empty last block.
TEST(LogMessageTest, SequencesAndTheirBlocks) {
    struct Row {
        char const * raw;
        char const * stripped;
        Blocks blocks;
    };
    Row const rows[] = {
        {"", "", {}},
        {"plain", "plain", {{"0", "plain"}}},
        {"\x1b[31mred", "red", {{"31", "red"}}},
        {"pre\x1b[1;32mgreen\x1b[0m", "pregreen", {{"0", "pre"}, {"1;32", "green"}, {"0", ""}}},
        {"a\x1b[mb", "ab", {{"0", "a"}, {"", "b"}}},
        {"\x1b[31mred\x1b stray\x1b[0mend", "red\x1b strayend", {{"31", "red"}, {"0", "\x1b stray"}, {"0", "end"}}},
        {"x\x1b[31", "x\x1b[31", {{"0", "x\x1b[31"}}},
        {"\x1bx\x1b\x1b[1m[2mz", "\x1bxz", {{"0", "\x1bx\x1b"}, {"1", "[2mz"}}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::PrintToString(std::string(row.raw)));
        LogMessage const message(sample_time, row.raw, 0, 0);
        EXPECT_EQ(Text(message.message(true, true, false).view()), row.stripped);
        EXPECT_EQ(BlocksOf(message), row.blocks);
    }
}

// Texts made of the bytes of sequences, against the regular expressions. Appended pieces bring
// the bytes on both sides of the digit and letter ranges; fragments inserted at random places
// nest sequences inside each other, so that removals join their parts several levels deep.
TEST(LogMessageTest, SequenceRulesMatchTheRegularExpressions) {
    std::string const pieces[] = {"\x1b",    "\x1b", "[",  "[",  "0",  "9",    ";",
                                  "m",       "A",    "Z",  "z",  "/",  ":",    "@",
                                  "`",       "{",    "\n", "\r", "\t", "\xc3", std::string(1, '\0'),
                                  "\x1b[1m", "[m"};
    std::string const fragments[] = {"\x1b[m", "\x1b[1m", "\x1b", "x", "\x1b[", "1"};
    std::string const before = escape + "[1";
    std::mt19937 random(11);
    for (int i = 0; i < 4000; ++i) {
        std::size_t const size = random() % 41;
        std::string raw;
        while (raw.size() < size) {
            if (i % 2 == 0) {
                raw += pieces[random() % std::size(pieces)];
            } else {
                raw.insert(random() % (raw.size() + 1), fragments[random() % std::size(fragments)]);
            }
        }
        SCOPED_TRACE(testing::PrintToString(raw));
        LogMessage const message(sample_time, StringView(raw), 0, 0);
        for (int flags = 0; flags < 8; ++flags) {
            bool const keep_new_lines = (flags & 1) != 0;
            bool const keep_tabs = (flags & 2) != 0;
            bool const keep_formatting = (flags & 4) != 0;
            std::string const expected = ExpressionMessage(raw, keep_new_lines, keep_tabs, keep_formatting);
            EXPECT_EQ(Text(message.message(keep_new_lines, keep_tabs, keep_formatting).view()), expected) << flags;
            // What is already in `out` never joins the appended text.
            StringAllocatingView out{StringView(before)};
            message.appendMessage(out, keep_new_lines, keep_tabs, keep_formatting);
            EXPECT_EQ(Text(out.view()), before + expected) << flags;
        }
        EXPECT_EQ(BlocksOf(message), ExpressionBlocks(raw));
    }
}

// Logged text may come from anywhere; a megabyte of code must not run out of stack.
TEST(LogMessageTest, TakesMegabyteSequences) {
    std::string const digits(1 << 20, '7');
    struct Row {
        std::string raw;
        std::string message;
        Blocks blocks;
    };
    Row const rows[] = {
        {escape + "[" + digits + "m", "", {{digits, ""}}},
        {escape + "[" + digits, escape + "[" + digits, {{"0", escape + "[" + digits}}},
        {std::string(1 << 20, '\x1b'), std::string(1 << 20, '\x1b'), {{"0", std::string(1 << 20, '\x1b')}}},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.raw.substr(0, 8)));
        LogMessage const message(sample_time, StringView(row.raw), 3, 4);
        EXPECT_TRUE(Text(message.message(true, true, false).view()) == row.message);
        LogMessage read;
        StringStream<LogMessage>::fromString(StringView(Stored(message)), read);
        EXPECT_TRUE(Text(read.rawMessage().view()) == row.message);
        EXPECT_EQ(read.sessionNumber(), 4);
        EXPECT_TRUE(BlocksOf(message) == row.blocks);
    }
}

TEST(LogMessageTest, SessionMarks) {
    std::string const start = "\\" + std::string(98, '-') + "|";
    std::string const end = "/" + std::string(98, '-') + "|";
    EXPECT_EQ(Text(LogSessionStart()), start);
    EXPECT_EQ(Text(LogSessionEnd()), end);

    struct Row {
        std::string raw;
        bool session_start;
        bool session_end;
    };
    // isSessionEnd compares against the start mark: true on a start, false on an end.
    Row const rows[] = {
        {start, true, true}, {end, false, false}, {start + " ", false, false}, {start.substr(1), false, false},
        {"", false, false},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.raw);
        LogMessage const message(sample_time, StringView(row.raw), 2, 65535);
        EXPECT_EQ(message.isSessionStart(), row.session_start);
        EXPECT_EQ(message.isSessionEnd(), row.session_end);
    }
}

TEST(LogMessageTest, SessionNumberIsOneForTheRun) {
    unsigned short const session = CurrentLogSession();
    EXPECT_LT(session, 65534);
    std::vector<unsigned short> seen(8, 65535);
    std::vector<std::thread> threads;
    for (unsigned short & slot : seen) {
        threads.emplace_back([&slot] { slot = CurrentLogSession(); });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    for (unsigned short const other : seen) {
        EXPECT_EQ(other, session);
    }
    EXPECT_TRUE(LogMessage().isFromCurrentSession());
    EXPECT_TRUE(LogMessage("now", 1).isFromCurrentSession());
    EXPECT_FALSE(LogMessage(sample_time, "old", 1, 65535).isFromCurrentSession());
}

TEST(LogMessageTest, HasSubString) {
    struct Row {
        char const * raw;
        char const * needle;
        bool ignore_case;
        bool expected;
    };
    Row const rows[] = {
        {"", "", false, true},         {"abc", "", false, true},    {"ab", "abc", false, false},
        {"Hello", "LL", false, false}, {"Hello", "LL", true, true}, {"Hello", "lo", false, true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(testing::Message() << row.raw << " / " << row.needle);
        EXPECT_EQ(LogMessage(sample_time, row.raw, 0, 0).hasSubString(row.needle, row.ignore_case), row.expected);
    }
}

// The record keeps the translatable text form, slots unfilled, so that it can be shown later
// in another language.
TEST(LogMessageTest, TranslatedTextKeepsItsTextForm) {
    TranslatedString text = TranslatedString::DirectString("Copied [count] files");
    text.replace("[count]", "3");
    LogMessage const message(text, 2);
    EXPECT_EQ(Text(message.rawMessage().view()), "Copied [count] files~[count]~3");
    EXPECT_EQ(message.logRecordLevel(), 2);
    EXPECT_TRUE(message.isFromCurrentSession());
}

TEST(LogMessageTest, StoredFormReadsBack) {
    std::mt19937_64 random(7);
    // Two-digit years read back within 50 years of now.
    unsigned long long const first = Time(2000, 1, 1, 0, 0, 0, false).nanoseconds();
    unsigned long long const last = Time(2060, 12, 31, 23, 59, 59, false).nanoseconds();
    std::uniform_int_distribution<unsigned long long> pick_time(first, last);
    for (int i = 0; i < 200; ++i) {
        Time const time(pick_time(random));
        auto const level = static_cast<unsigned char>(random() % 256);
        auto const session = static_cast<unsigned short>(random() % 65536);
        std::string const text = "record " + std::to_string(i) + " \x1b[32mok\x1b[0m";
        LogMessage read;
        StringStream<LogMessage>::fromString(StringView(Stored(LogMessage(time, StringView(text), level, session))),
                                             read);
        SCOPED_TRACE(text);
        EXPECT_EQ(read.recordTime().nanoseconds(), time.nanoseconds() / 1000 * 1000);
        EXPECT_EQ(Text(read.rawMessage().view()), "record " + std::to_string(i) + " ok");
        EXPECT_EQ(read.logRecordLevel(), level);
        EXPECT_EQ(read.sessionNumber(), session);
    }
}

// The stored time field is what the general time writer makes of the format, also for records
// that follow each other within one second.
TEST(LogMessageTest, StoredTimeIsTheTimeWritersText) {
    std::mt19937_64 random(11);
    std::uniform_int_distribution<unsigned long long> pick_time(0, Time(2099, 12, 31, 23, 59, 59, false).nanoseconds());
    for (int i = 0; i < 300; ++i) {
        unsigned long long const start = pick_time(random);
        for (unsigned long long const step : {0ull, 1ull, 999ull, 1000ull, 987654321ull}) {
            Time const time(start + step);
            std::string const stored = Stored(LogMessage(time, "x", 1, 1));
            StringAllocatingView const expected = time.getAsString(false, StringStream<LogMessage>::time_format);
            ASSERT_EQ(stored.substr(0, stored.find('\t')), Text(expected.view())) << time.nanoseconds();
        }
    }
}

TEST(LogMessageTest, StoredFormReadingRules) {
    Time const read_time(Time(2021, 2, 3, 4, 5, 6, false).nanoseconds() + 123456000);
    struct Row {
        char const * text;
        unsigned long long time;
        char const * message;
        unsigned char level;
        unsigned short session;
    };
    Row const rows[] = {
        {"21-02-03 04:05:06:123456\tmsg\t3\t9\textra\tmore", read_time.nanoseconds(), "msg", 3, 9},
        // Three fields are time, level, text, and the session is what the text begins with.
        {"21-02-03 04:05:06:123456\t7\t123 started", read_time.nanoseconds(), "123 started", 7, 123},
        {"21-02-03 04:05:06:123456\t7\tplain", read_time.nanoseconds(), "plain", 7, 0},
        {"21-02-03 04:05:06:123456\t7\t", read_time.nanoseconds(), "", 7, 0},
        // Escapes are not turned back.
        {"21-02-03 04:05:06:123456\ta\\nb\\tc\t2\t5", read_time.nanoseconds(), "a\\nb\\tc", 2, 5},
        // Numbers follow the typed text rules: a bad level is 255, a bad session Invalid.
        {"21-02-03 04:05:06:123456\tm\tlow\tnone", read_time.nanoseconds(), "m", 255, 65535},
        // An Invalid time is written "NaN" and reads back Invalid.
        {"NaN\tm\t1\t2", Time::invalid, "m", 1, 2},
        {"21-13-03 04:05:06:000000\tm\t1\t2", Time::invalid, "m", 1, 2},
        // Fewer than three fields leave the record alone.
        {"", sample_time.nanoseconds(), "kept", 4, 5},
        {"21-02-03 04:05:06:123456", sample_time.nanoseconds(), "kept", 4, 5},
        {"21-02-03 04:05:06:123456\tonly", sample_time.nanoseconds(), "kept", 4, 5},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        LogMessage read(sample_time, "kept", 4, 5);
        StringStream<LogMessage>::fromString(row.text, read);
        EXPECT_EQ(read.recordTime().nanoseconds(), row.time);
        EXPECT_EQ(Text(read.rawMessage().view()), row.message);
        EXPECT_EQ(read.logRecordLevel(), row.level);
        EXPECT_EQ(read.sessionNumber(), row.session);
    }
}

} // namespace
} // namespace QELTA
