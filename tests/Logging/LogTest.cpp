// Log and LogManager: fan-out to streams from many threads, the session header, the progress
// threshold, guards as streams see them, and binary logs written and read back.
#include "Base/Logging/Log.h"
#include "Base/Logging/LogManager.h"
#include "Base/Logging/LogStream.h"

#include "Base/Files/BinaryFile.h"
#include "Base/Language/TranslatedString.h"
#include "tests/Support/Eventually.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <mutex>
#include <regex>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

std::string Text(StringView const & text) {
    return std::string(text.data(), text.size());
}

// Records what a pipe tells it, in order, under its own lock.
class RecordingStream : public LogStream {
  public:
    void addMessage(unsigned int, LogMessage const & message) override {
        std::lock_guard<std::mutex> const lock(mutex);
        texts.push_back(Text(message.rawMessage().view()));
    }
    void setProgress(unsigned int id, float progress) override {
        std::lock_guard<std::mutex> const lock(mutex);
        events.push_back("progress " + std::to_string(id) + " " + std::to_string(progress));
    }
    void setCancelActive(bool active) override {
        std::lock_guard<std::mutex> const lock(mutex);
        events.push_back(active ? "cancel on" : "cancel off");
    }
    std::vector<std::string> copy() {
        std::lock_guard<std::mutex> const lock(mutex);
        return texts;
    }

    std::mutex mutex;
    std::vector<std::string> texts;
    std::vector<std::string> events;
};

// Each thread's numbered texts "t<thread> <n>" appear in order and none is missing or repeated.
void ExpectEveryThreadInOrder(std::vector<std::string> const & texts, unsigned int threads, unsigned int count) {
    std::vector<unsigned int> next(threads, 0);
    for (std::string const & text : texts) {
        unsigned int thread = 0;
        unsigned int number = 0;
        ASSERT_EQ(std::sscanf(text.c_str(), "t%u %u", &thread, &number), 2) << text;
        ASSERT_LT(thread, threads);
        ASSERT_EQ(number, next[thread]) << "thread " << thread;
        ++next[thread];
    }
    for (unsigned int t = 0; t < threads; ++t) {
        EXPECT_EQ(next[t], count) << "thread " << t;
    }
}

TEST(LogTest, MessagesFromEightThreadsReachEveryStreamOnceInOrder) {
    constexpr unsigned int threads = 8;
    constexpr unsigned int count = 400;
    Log first;
    Log second;
    RecordingStream a;
    RecordingStream b;
    RecordingStream both;
    first.addStream(&a, false);
    second.addStream(&b, false);
    first.addStream(&both, false);
    second.addStream(&both, false);
    std::vector<std::thread> loggers;
    for (unsigned int t = 0; t < threads; ++t) {
        loggers.emplace_back([&, t] {
            for (unsigned int n = 0; n < count; ++n) {
                std::string const text = "t" + std::to_string(t) + " " + std::to_string(n);
                LogPtr(n % 2 == 0 ? &first : &second).addMessage(InfoPipe::no_id, StringView(text.c_str()), 2);
                LogPtr(n % 2 == 0 ? &second : &first).addMessage(InfoPipe::no_id, StringView(text.c_str()), 2);
            }
        });
    }
    for (std::thread & logger : loggers) {
        logger.join();
    }
    ExpectEveryThreadInOrder(a.copy(), threads, count);
    ExpectEveryThreadInOrder(b.copy(), threads, count);
    EXPECT_EQ(both.copy().size(), 2u * threads * count);
    EXPECT_EQ(first.copyMessages().size(), threads * count);
}

TEST(LogTest, MutedStreamGetsNothing) {
    Log log;
    RecordingStream stream;
    log.addStream(&stream, false);
    stream.setMuted(true);
    log.addMessage(InfoPipe::no_id, StringView("quiet"), 2);
    stream.setMuted(false);
    log.addMessage(InfoPipe::no_id, StringView("loud"), 2);
    EXPECT_EQ(stream.copy(), std::vector<std::string>{"loud"});
}

TEST(LogTest, AddStreamTwiceSendsTheExistingMessagesOnce) {
    Log log;
    log.addMessage(InfoPipe::no_id, StringView("before"), 2);
    RecordingStream stream;
    log.addStream(&stream, true);
    log.addStream(&stream, true);
    log.addMessage(InfoPipe::no_id, StringView("after"), 2);
    EXPECT_EQ(stream.copy(), (std::vector<std::string>{"before", "after"}));
    EXPECT_EQ(stream.pipes().size(), 1u);
}

TEST(LogTest, ProgressThatCreepsByLessThanAThousandthReachesNoStream) {
    struct Step {
        float progress;
        bool reaches;
        float stored;
    };
    float const nan = std::numeric_limits<float>::quiet_NaN();
    Step const steps[] = {
        {0.5005f, false, 0.5f}, {0.502f, true, 0.502f}, {0.9995f, true, 0.9995f},
        {1.0f, true, 1.0f},     {nan, true, nan},       {nan, false, nan},
    };
    Log log;
    RecordingStream stream;
    log.addStream(&stream, false);
    unsigned int const id = log.addProgressSource(TranslatedString::DirectString("Copy"), 0.5f);
    for (Step const & step : steps) {
        SCOPED_TRACE(step.progress);
        std::size_t const before = stream.events.size();
        log.setProgressIdx(id, step.progress);
        EXPECT_EQ(stream.events.size() - before, step.reaches ? 1u : 0u);
        float const stored = log.progressIdx(id);
        EXPECT_TRUE(stored == step.stored || (std::isnan(stored) && std::isnan(step.stored)));
    }
    EXPECT_EQ(stream.copy(), std::vector<std::string>{"Copy"});
}

TEST(LogTest, StreamsHearOfTheFirstCancelGuardAndOfTheLast) {
    Log log;
    RecordingStream stream;
    log.addStream(&stream, false);
    {
        CancelInfo first(TranslatedString::DirectString("a"), LogPtr(&log));
        CancelInfo second(TranslatedString::DirectString("b"), LogPtr(&log));
        log.requestCancel(first.index());
        EXPECT_TRUE(first.cancelRequested());
        EXPECT_FALSE(second.cancelRequested());
    }
    EXPECT_EQ(stream.events, (std::vector<std::string>{"cancel on", "cancel off"}));
}

TEST(LogManagerTest, GetLogMakesOneLogThatBeginsWithTheSessionHeader) {
    LogManager manager;
    InfoPipe * const log = manager.getLog("survey");
    EXPECT_EQ(manager.getLog("survey"), log);
    Buffer<LogMessage> const messages = static_cast<Log *>(log)->copyMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_TRUE(std::regex_match(Text(messages[0].rawMessage().view()),
                                 std::regex("-{30}Session \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d-{30}")));
    EXPECT_EQ(messages[0].logRecordLevel(), 2);
}

TEST(LogManagerTest, BroadcastsToEveryLogAndToItsOwnStreams) {
    LogManager manager;
    Log * const a = static_cast<Log *>(manager.getLog("a"));
    Log * const b = static_cast<Log *>(manager.getLog("b"));
    RecordingStream own;
    manager.addStream(&own, false);
    unsigned int const id = LogPtr(&manager).addCancelGuard(TranslatedString::DirectString("job"));
    LogPtr(&manager).addMessage(InfoPipe::no_id, StringView("to all"), 2);
    EXPECT_EQ(a->copyMessages().last().rawMessage().view(), StringView("to all"));
    EXPECT_EQ(b->copyMessages().last().rawMessage().view(), StringView("to all"));
    // Once through each log it is attached to, and once from the manager itself.
    EXPECT_EQ(own.copy(), (std::vector<std::string>{"to all", "to all", "to all"}));
    a->requestCancel(id);
    EXPECT_TRUE(manager.cancelRequestedIdx(id));
    EXPECT_FALSE(b->cancelRequestedIdx(id));
    manager.removeStream(&own);
    LogPtr(&manager).addMessage(InfoPipe::no_id, StringView("to nobody"), 2);
    EXPECT_EQ(own.copy().size(), 3u);
}

// A manager with log "a" (levels 1, 5, 9), a log "low" (level 1 only) and a nested manager "sub"
// with log "b".
struct BinaryLogFixture {
    LogManager manager;
    LogManager sub;
    Log a;
    Log low;
    Log b;

    BinaryLogFixture() {
        for (unsigned char const level : {1, 5, 9}) {
            std::string const text = "a" + std::to_string(level);
            a.addMessage(InfoPipe::no_id, LogMessage(Time(1000ull * level), StringView(text.c_str()), level,
                                                     static_cast<unsigned short>(100 + level)));
        }
        low.addMessage(InfoPipe::no_id, StringView("low"), 1);
        b.addMessage(InfoPipe::no_id, LogMessage(Time(77), "b7", 7, 4711));
        manager.addLog("a", &a);
        manager.addLog("low", &low);
        manager.addLog("sub", &sub);
        sub.addLog("b", &b);
    }

    BinaryFile write(unsigned char minimum_level) {
        BinaryFile file;
        file.cachedOpen(false);
        manager.writeToFile(file, minimum_level, DEFAULT_COMPRESSION);
        return BinaryFile(file.cachedData());
    }
};

std::vector<std::string> Describe(InfoPipe * pipe) {
    std::vector<std::string> out;
    for (LogMessage const & message : static_cast<Log *>(pipe)->copyMessages()) {
        std::string text = Text(message.rawMessage().view());
        if (message.rawMessage().view() == LogSessionStart()) {
            text = "start";
        } else if (message.rawMessage().view() == LogSessionEnd()) {
            text = "end";
        }
        out.push_back(text + " " + std::to_string(message.logRecordLevel()) + " " +
                      std::to_string(message.sessionNumber()) + " " +
                      std::to_string(message.recordTime().nanoseconds()));
    }
    return out;
}

TEST(LogManagerTest, BinaryLogReadsBackBetweenSessionMarks) {
    BinaryLogFixture fixture;
    BinaryFile file = fixture.write(5);
    LogManager read;
    read.readFromFile(file, LogManager::session_version);
    EXPECT_FALSE(read.hasLog("low"));
    std::vector<std::string> a = Describe(read.logs().at("a"));
    ASSERT_EQ(a.size(), 4u);
    // The marks are made now; only their text, level and session are fixed.
    EXPECT_EQ(a[0].substr(0, 14), "start 2 65535 ");
    EXPECT_EQ(a[1], "a5 5 105 5000");
    EXPECT_EQ(a[2], "a9 9 109 9000");
    EXPECT_EQ(a[3].substr(0, 12), "end 2 65535 ");
    auto * const sub = dynamic_cast<LogManager *>(read.logs().at("sub"));
    ASSERT_NE(sub, nullptr);
    EXPECT_EQ(Describe(sub->logs().at("b"))[1], "b7 7 4711 77");
}

TEST(LogManagerTest, BinaryLogOfAnOlderVersionHasNoSessions) {
    BinaryLogFixture fixture;
    fixture.manager.addLog("sub", nullptr); // nothing: a null pipe is not entered
    LogManager flat;
    flat.addLog("a", &fixture.a);
    BinaryFile file;
    file.cachedOpen(false);
    flat.writeToFile(file, 0, NO_COMPRESSION);
    BinaryFile bytes(file.cachedData());
    LogManager read;
    read.readFromFile(bytes, LogManager::session_version - 1);
    std::vector<std::string> const a = Describe(read.logs().at("a"));
    ASSERT_EQ(a.size(), 5u);
    EXPECT_EQ(a[1], "a1 1 65535 1000");
}

TEST(LogManagerTest, ReadingIntoAnExistingLogAppends) {
    BinaryLogFixture fixture;
    BinaryFile file = fixture.write(9);
    Log existing;
    existing.addMessage(InfoPipe::no_id, StringView("mine"), 3);
    LogManager read;
    read.addLog("a", &existing);
    read.readFromFile(file, LogManager::session_version);
    std::vector<std::string> const a = Describe(&existing);
    ASSERT_EQ(a.size(), 4u);
    EXPECT_EQ(a[2], "a9 9 109 9000");
}

} // namespace
} // namespace QELTA
