// Info pipes: the empty LogPtr, forwarding, the scope guards, the cooperative cancel and input
// rules, and the process-wide ids under concurrent use.
#include "Base/Logging/InfoPipe.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/MemoryInfoPipe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

TranslatedString Title(char const * text) {
    return TranslatedString::DirectString(text);
}

std::string Text(StringView const & text) {
    return std::string(text.data(), text.size());
}

// Remembers, besides the messages, the order of the progress calls and the index of each message.
class RecordingPipe : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int index, LogMessage const & message) override {
        events.push_back("message " + std::to_string(index));
        MemoryInfoPipe::addMessage(index, message);
    }
    void setProgressIdx(unsigned int index, float progress) override {
        events.push_back("progress " + std::to_string(index) + " " + std::to_string(progress));
        MemoryInfoPipe::setProgressIdx(index, progress);
    }
    void removeProgressSource(unsigned int index) override {
        events.push_back("remove " + std::to_string(index));
        MemoryInfoPipe::removeProgressSource(index);
    }

    std::vector<std::string> events;
};

TEST(LogPtrTest, EmptyAcceptsEveryCall) {
    LogPtr empty;
    LogPtr wrapped_empty(&empty, 5);
    for (LogPtr * log : {&empty, &wrapped_empty}) {
        SCOPED_TRACE(log == &empty ? "empty" : "wrapping an empty LogPtr");
        Buffer<LogMessage> batch;
        batch.add(LogMessage("m", 1));
        log->addMessage(log->index(), Title("t"), 1);
        log->addMessage(log->index(), StringView("s"), 1);
        log->addMessage(log->index(), LogMessage("m", 1));
        log->addMessages(log->index(), batch);
        log->addStream(nullptr, true);
        log->removeStream(nullptr);
        log->requestCancel();
        log->requestCancel(1);
        log->addInput("in");
        log->addInput("in", 1);
        log->addProgressSource(Title("p"), 1, 0.5f);
        log->setProgressIdx(1, 0.5f);
        log->removeProgressSource(1);
        log->addCancelGuard(Title("c"), 1);
        log->removeCancelGuard(1);
        log->addInputGuard(Title("i"), 1);
        log->clearInputIdx(1);
        log->removeInputGuard(1);
        EXPECT_FALSE(log->cancelRequested());
        EXPECT_FALSE(log->cancelRequestedIdx(1));
        EXPECT_EQ(log->progressIdx(1), 1.0f);
        EXPECT_EQ(log->addProgressSource(Title("p"), 0.0f), InfoPipe::no_id);
        EXPECT_EQ(log->addCancelGuard(Title("c")), InfoPipe::no_id);
        EXPECT_EQ(log->addInputGuard(Title("i")), InfoPipe::no_id);
        String out("kept");
        log->getInputIdx(out, 1, true);
        EXPECT_EQ(Text(out.view()), "kept");
        // The guards on it do nothing either.
        ProgressInfo progress(Title("p"), *log, 0.0f);
        progress.setProgress(0.5f);
        EXPECT_EQ(progress.index(), InfoPipe::no_id);
        CancelInfo cancel(Title("c"), *log);
        cancel.requestCancel();
        EXPECT_FALSE(cancel.cancelRequested());
        InputInfoPipe input(Title("i"), *log);
        input.addInput("typed");
        EXPECT_EQ(input.inputIndex(), InfoPipe::no_id);
        EXPECT_TRUE(input.getInput().isEmpty());
    }
}

TEST(LogPtrTest, ForwardsIndexAndTextUnchanged) {
    RecordingPipe pipe;
    LogPtr direct(&pipe, 5);
    LogPtr wrapper(&direct, 9);
    wrapper.addMessage(direct.index(), StringView("first"), 3);
    wrapper.addMessage(InfoPipe::no_id, LogMessage("second", 4));
    EXPECT_EQ(pipe.events, (std::vector<std::string>{"message 5", "message 4294967295"}));
    Buffer<LogMessage> const messages = pipe.messages();
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(Text(messages[0].rawMessage().view()), "first");
    EXPECT_EQ(messages[0].logRecordLevel(), 3);
    EXPECT_EQ(Text(messages[1].rawMessage().view()), "second");
}

TEST(ProgressInfoTest, FinishesTheBarBeforeRemovingIt) {
    RecordingPipe pipe;
    unsigned int id = 0;
    {
        ProgressInfo progress(Title("Copying"), LogPtr(&pipe), 0.25f);
        id = progress.index();
        ASSERT_NE(id, InfoPipe::no_id);
        EXPECT_EQ(pipe.progressIdx(id), 0.25f);
        progress.setProgress(0.5f);
        EXPECT_EQ(pipe.progressSources().size(), 1u);
        pipe.events.clear();
    }
    std::string const ids = std::to_string(id);
    EXPECT_EQ(pipe.events, (std::vector<std::string>{"progress " + ids + " 1.000000", "remove " + ids}));
    EXPECT_TRUE(pipe.progressSources().empty());
    // The title was announced as a message at level 10, under the source's id.
    Buffer<LogMessage> const messages = pipe.messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(Text(messages[0].rawMessage().view()), "Copying");
    EXPECT_EQ(messages[0].logRecordLevel(), 10);
}

TEST(CancelInfoTest, TwoGuardsAnswerSeparately) {
    MemoryInfoPipe pipe;
    LogPtr const log(&pipe);
    {
        CancelInfo first(Title("first"), log);
        CancelInfo second(Title("second"), log);
        EXPECT_FALSE(log.cancelRequested());
        LogPtr(&pipe).requestCancel(first.index());
        EXPECT_TRUE(first.cancelRequested());
        EXPECT_FALSE(second.cancelRequested());
        // A plain LogPtr answers for the whole pipe.
        EXPECT_TRUE(log.cancelRequested());
        // A guard handed down as a LogPtr reference still answers for itself.
        LogPtr const & handed_down = second;
        EXPECT_FALSE(handed_down.cancelRequested());
    }
    EXPECT_EQ(pipe.cancelGuardCount(), 0u);
    EXPECT_FALSE(log.cancelRequested());
}

TEST(CancelInfoTest, RequestReachesOnlyGuardsRegisteredThen) {
    MemoryInfoPipe pipe;
    LogPtr const log(&pipe);
    pipe.requestCancel();
    {
        CancelInfo late(Title("late"), log);
        EXPECT_FALSE(late.cancelRequested());
        CancelInfo other(Title("other"), log);
        pipe.requestCancel();
        EXPECT_TRUE(late.cancelRequested());
        EXPECT_TRUE(other.cancelRequested());
        CancelInfo after(Title("after"), log);
        EXPECT_FALSE(after.cancelRequested());
    }
    CancelInfo fresh(Title("fresh"), log);
    EXPECT_FALSE(fresh.cancelRequested());
}

TEST(InputInfoPipeTest, InputReachesRegisteredGuards) {
    MemoryInfoPipe pipe;
    LogPtr const log(&pipe, 7);
    pipe.addInput("lost");
    InputInfoPipe first(Title("first"), log);
    InputInfoPipe second(Title("second"), log);
    // The guard keeps the index of the LogPtr it came from; its own id is separate.
    EXPECT_EQ(first.index(), 7u);
    EXPECT_NE(first.inputIndex(), second.inputIndex());
    pipe.addInput("a");
    pipe.addInput("b", first.inputIndex());
    EXPECT_EQ(Text(first.getInput().view()), "ab");
    EXPECT_EQ(Text(first.getInput().view()), "");
    String peek;
    pipe.getInputIdx(peek, second.inputIndex(), false);
    EXPECT_EQ(Text(peek.view()), "a");
    pipe.clearInputIdx(second.inputIndex());
    EXPECT_EQ(Text(second.getInput().view()), "");
}

TEST(InfoPipeTest, IdsNeverCollideAcrossPipesKindsAndThreads) {
    constexpr int thread_count = 8;
    constexpr int ids_per_thread = 2000;
    MemoryInfoPipe pipes[2];
    std::vector<std::vector<unsigned int>> taken(thread_count);
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t) {
        threads.emplace_back([&pipes, &taken, t] {
            std::vector<unsigned int> & mine = taken[static_cast<std::size_t>(t)];
            for (int i = 0; i < ids_per_thread; ++i) {
                MemoryInfoPipe & pipe = pipes[(t + i) % 2];
                switch (i % 4) {
                case 0:
                    mine.push_back(pipe.addProgressSource(Title("p"), 0.0f));
                    break;
                case 1:
                    mine.push_back(pipe.addCancelGuard(Title("c")));
                    break;
                case 2:
                    mine.push_back(pipe.addInputGuard(Title("i")));
                    break;
                default:
                    mine.push_back(InfoPipe::NewId());
                    break;
                }
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    std::vector<unsigned int> all;
    for (std::vector<unsigned int> const & mine : taken) {
        // One thread sees its ids grow.
        EXPECT_TRUE(std::is_sorted(mine.begin(), mine.end()));
        all.insert(all.end(), mine.begin(), mine.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end()), all.end());
    EXPECT_NE(all.front(), 0u);
    EXPECT_NE(all.back(), InfoPipe::no_id);
    EXPECT_EQ(pipes[0].cancelGuardCount() + pipes[1].cancelGuardCount(),
              static_cast<unsigned int>(thread_count * ids_per_thread / 4));
}

TEST(MemoryInfoPipeTest, ConcurrentGuardsAndMessages) {
    constexpr int thread_count = 6;
    constexpr int rounds = 300;
    MemoryInfoPipe pipe;
    std::vector<std::thread> threads;
    for (int t = 0; t < thread_count; ++t) {
        threads.emplace_back([&pipe] {
            LogPtr log(&pipe);
            for (int i = 0; i < rounds; ++i) {
                ProgressInfo progress(Title("step"), log, 0.0f);
                CancelInfo cancel(Title("cancel"), log);
                InputInfoPipe input(Title("input"), log);
                progress.setProgress(0.5f);
                pipe.requestCancel(cancel.index());
                EXPECT_TRUE(cancel.cancelRequested());
                pipe.addInput("x", input.inputIndex());
                EXPECT_EQ(Text(input.getInput().view()), "x");
                log.addMessage(log.index(), StringView("done"), 1);
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    EXPECT_EQ(pipe.messages().size(), static_cast<unsigned int>(thread_count * rounds * 2));
    EXPECT_TRUE(pipe.progressSources().empty());
    EXPECT_EQ(pipe.cancelGuardCount(), 0u);
    EXPECT_EQ(pipe.inputGuardCount(), 0u);
}

} // namespace
} // namespace QELTA
