// Text log files: the exact line of a record, the session filter, files emptied, queued, moved
// and lost, the reader's field order, the manager's files, and children killed while logging.
#include "Base/Logging/AsciiFileOutputStream.h"

#include "Base/Logging/Log.h"
#include "Base/Logging/LogManager.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/Eventually.h"
#include "tests/Support/LogKillRound.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <thread>

namespace QELTA {
namespace {

using Testing::ReadAll;
using Testing::WriteAll;

constexpr unsigned long long second = 1000ull * 1000 * 1000;

std::string Session(unsigned short session = CurrentLogSession()) {
    return std::to_string(session);
}

class AsciiFileOutputStreamTest : public Testing::TempFolderTest {};

TEST_F(AsciiFileOutputStreamTest, WritesOneTabSeparatedLineARecord) {
    struct Row {
        char const * text;
        unsigned char level;
        char const * line;
    };
    Row const rows[] = {
        {"plain", 2, "\tplain\t2\t"},
        {"tab\there", 0, "\ttab\\there\t0\t"},
        {"two\nlines\r", 10, "\ttwo\\nlines\\r\t10\t"},
        {"\x1b[1;31mred\x1b[0m text", 255, "\tred text\t255\t"},
    };
    // 2021-02-03 04:05:06.123456789 UTC.
    Time const time(1612325106123456789ull);
    Log log;
    AsciiFileOutputStream stream(Path("log.txt"), true);
    log.addStream(&stream, false);
    std::string expected;
    for (Row const & row : rows) {
        log.addMessage(InfoPipe::no_id, LogMessage(time, row.text, row.level));
        expected += std::string("21-02-03 04:05:06:123456") + row.line + Session() + "\n";
    }
    ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    EXPECT_EQ(ReadAll(SystemPath("log.txt")), expected);
}

TEST_F(AsciiFileOutputStreamTest, OtherSessionsAreDroppedUnlessWrittenWhole) {
    unsigned short const other = static_cast<unsigned short>(CurrentLogSession() + 1);
    Log log;
    log.addMessage(InfoPipe::no_id, LogMessage(Time(0), LogSessionStart(), 2, other));
    log.addMessage(InfoPipe::no_id, LogMessage(Time(0), "old run", 2, other));
    log.addMessage(InfoPipe::no_id, LogMessage(Time(0), "this run", 2));
    {
        AsciiFileOutputStream stream(Path("current.txt"), true);
        log.addStream(&stream, true);
        ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    }
    EXPECT_EQ(ReadAll(SystemPath("current.txt")), "70-01-01 00:00:00:000000\tthis run\t2\t" + Session() + "\n");
    AsciiFileOutputStream::WriteLogFile(LogPtr(&log), Path("all.txt"));
    EXPECT_EQ(ReadAll(SystemPath("all.txt")),
              "70-01-01 00:00:00:000000\t" + std::string(LogSessionStart().data(), LogSessionStart().size()) + "\t2\t" +
                  Session(other) + "\n70-01-01 00:00:00:000000\told run\t2\t" + Session(other) +
                  "\n70-01-01 00:00:00:000000\tthis run\t2\t" + Session() + "\n");
}

TEST_F(AsciiFileOutputStreamTest, WithoutAppendAnExistingFileIsEmptiedAtOnce) {
    WriteAll(SystemPath("old.txt"), "yesterday\n");
    AsciiFileOutputStream stream(Path("old.txt"), false);
    EXPECT_EQ(ReadAll(SystemPath("old.txt")), "");
    AsciiFileOutputStream appending(Path("kept.txt"), true);
    WriteAll(SystemPath("kept.txt"), "yesterday\n");
    appending.addMessage(InfoPipe::no_id, LogMessage(Time(0), "today", 1));
    ASSERT_TRUE(appending.waitUntilWritten(10 * second));
    EXPECT_EQ(ReadAll(SystemPath("kept.txt")), "yesterday\n70-01-01 00:00:00:000000\ttoday\t1\t" + Session() + "\n");
}

TEST_F(AsciiFileOutputStreamTest, WithoutAPathRecordsWaitForSetFile) {
    AsciiFileOutputStream stream(File(), true);
    stream.addMessage(InfoPipe::no_id, LogMessage(Time(0), "waiting", 1));
    EXPECT_FALSE(stream.waitUntilWritten(second / 20));
    stream.setFile(Path("late.txt"), true);
    ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    EXPECT_EQ(ReadAll(SystemPath("late.txt")), "70-01-01 00:00:00:000000\twaiting\t1\t" + Session() + "\n");
}

TEST_F(AsciiFileOutputStreamTest, MoveFileWhileLoggingLosesNothing) {
    constexpr unsigned int count = 20000;
    Log log;
    AsciiFileOutputStream stream(Path("first.txt"), true);
    log.addStream(&stream, false);
    std::thread logger([&log] {
        for (unsigned int n = 0; n < count; ++n) {
            std::string const text = "t0 " + std::to_string(n);
            log.addMessage(InfoPipe::no_id, StringView(text.c_str()), 2);
        }
    });
    ASSERT_TRUE(Testing::Eventually([&] { return Testing::FileBytes(SystemPath("first.txt")) > 0; }));
    stream.moveFile(Path("moved/second.txt"));
    stream.moveFile(Path("third.txt"));
    logger.join();
    ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    EXPECT_FALSE(std::filesystem::exists(SystemPath("first.txt")));
    EXPECT_FALSE(std::filesystem::exists(SystemPath("moved/second.txt")));
    EXPECT_EQ(stream.file().view(), Path("third.txt").view());
    Testing::KillRoundResult const result = Testing::CheckKilledLog(SystemPath("third.txt"));
    EXPECT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.lines, count);
}

TEST_F(AsciiFileOutputStreamTest, AFileThatCannotBeOpenedCostsLinesNeverTheLogger) {
    WriteAll(SystemPath("blocker"), "a file where a folder should be\n");
    AsciiFileOutputStream stream(Path("blocker/log.txt"), true);
    stream.setQueueLimit(5);
    for (int n = 0; n < 8; ++n) {
        stream.addMessage(InfoPipe::no_id, LogMessage(Time(0), "lost", 1));
    }
    EXPECT_EQ(stream.droppedMessages(), 3u);
    EXPECT_FALSE(stream.waitUntilWritten(second / 10));
}

TEST_F(AsciiFileOutputStreamTest, AFullDiskDropsTheBatchAndGoesOn) {
    AsciiFileOutputStream stream(File("/dev/full"), true);
    for (int n = 0; n < 10000; ++n) {
        stream.addMessage(InfoPipe::no_id, LogMessage(Time(0), "no room", 1));
    }
    EXPECT_TRUE(stream.waitUntilWritten(10 * second));
}

TEST_F(AsciiFileOutputStreamTest, ADeletedFolderIsMadeAgain) {
    AsciiFileOutputStream stream(Path("logs/app.txt"), true);
    stream.addMessage(InfoPipe::no_id, LogMessage(Time(0), "one", 1));
    ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    std::filesystem::remove_all(SystemPath("logs"));
    stream.addMessage(InfoPipe::no_id, LogMessage(Time(0), "two", 1));
    ASSERT_TRUE(stream.waitUntilWritten(10 * second));
    EXPECT_EQ(ReadAll(SystemPath("logs/app.txt")), "70-01-01 00:00:00:000000\ttwo\t1\t" + Session() + "\n");
}

TEST_F(AsciiFileOutputStreamTest, ReadLogFileTakesTheFieldsAsTimeLevelSessionText) {
    // A stored line read so gets its level text as the text and its level as the session.
    WriteAll(SystemPath("read.txt"), "21-02-03 04:05:06:123456\thello\t7\t321\n\n"
                                     "21-02-03 04:05:06:000001\t42\t9\t5\n"
                                     "garbage\n");
    MemoryInfoPipe pipe;
    AsciiFileOutputStream::ReadLogFile(LogPtr(&pipe), Path("read.txt"));
    Buffer<LogMessage> const read = pipe.messages();
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read[0].recordTime(), Time(1612325106123456000ull));
    EXPECT_EQ(read[0].logRecordLevel(), 255);
    EXPECT_EQ(read[0].sessionNumber(), 7);
    EXPECT_EQ(read[0].rawMessage().view(), StringView("321"));
    EXPECT_EQ(read[1].logRecordLevel(), 42);
    EXPECT_EQ(read[1].sessionNumber(), 9);
    EXPECT_EQ(read[2].rawMessage().view(), StringView());
}

TEST_F(AsciiFileOutputStreamTest, ManagerKeepsAFilePerNameAndMovesThem) {
    LogManager manager;
    manager.setDefaultAsciiLogPath(Path("logs/"), LogManager::MOVE_FILE);
    LogPtr(manager.getLog("survey")).addMessage(InfoPipe::no_id, StringView("measured"), 2);
    manager.getLog("no|file");
    AsciiFileOutputStream * const stream = manager.asciiStream("survey");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(manager.asciiStream("no|file"), nullptr);
    Log extra;
    manager.addLog("extra", &extra);
    EXPECT_NE(manager.asciiStream("extra"), nullptr);
    ASSERT_TRUE(stream->waitUntilWritten(10 * second));
    manager.setDefaultAsciiLogPath(Path("archive/"), LogManager::MOVE_FILE);
    ASSERT_TRUE(stream->waitUntilWritten(10 * second));
    EXPECT_FALSE(std::filesystem::exists(SystemPath("logs/survey.txt")));
    std::string const text = ReadAll(SystemPath("archive/survey.txt"));
    EXPECT_NE(text.find("Session "), std::string::npos);
    EXPECT_NE(text.find("\tmeasured\t2\t"), std::string::npos);
}

TEST(LogFileKillTest, EveryKilledChildLeavesAGapFreePrefixThatReadsBack) {
    unsigned int rounds = 200;
    if (char const * wanted = std::getenv("QELTA_KILL_ROUNDS")) {
        rounds = static_cast<unsigned int>(std::strtoul(wanted, nullptr, 10));
    }
    char folder[] = "/tmp/qelta-kill-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    std::string const path = std::string(folder) + "/child.txt";
    std::mt19937 random(20240517);
    unsigned long long lines = 0;
    for (unsigned int round = 0; round < rounds; ++round) {
        Testing::KillRoundResult const result = Testing::KillRound(QELTA_LOG_KILL_CHILD, path, random);
        ASSERT_TRUE(result.ok) << "round " << round << ": " << result.error;
        lines += result.lines;
    }
    std::filesystem::remove_all(folder);
    EXPECT_GT(lines, rounds);
}

} // namespace
} // namespace QELTA
