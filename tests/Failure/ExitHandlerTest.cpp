// Exit handlers: all are told to stop before any is waited for, finished handlers end the wait,
// and one that never finishes is given up on at the limit.
#include "Base/Failure/ExitHandler.h"

#include "Base/Logging/MemoryInfoPipe.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

std::vector<std::string> s_events;

// Finishes `delay` after onExit, on a thread of its own; a negative delay never finishes.
class DelayedHandler : public ExitHandler {
  public:
    DelayedHandler(char const * name, int delay_ms)
        : ExitHandler(UUID::CreateUUID()), name_(name), delay_ms_(delay_ms) {}
    ~DelayedHandler() override {
        if (worker_.joinable()) {
            worker_.join();
        }
    }
    void onExit() override {
        s_events.push_back(std::string("exit ") + name_);
        if (delay_ms_ >= 0) {
            worker_ = std::thread([this] {
                std::this_thread::sleep_for(std::chrono::milliseconds(delay_ms_));
                finished_ = true;
            });
        }
    }
    TranslatedString name() const override { return TranslatedString::DirectString(name_); }
    bool isFinished() const override { return finished_; }

  private:
    char const * name_;
    int delay_ms_;
    std::atomic<bool> finished_{false};
    std::thread worker_;
};

class ExitHandlerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        s_events.clear();
        ExitHandlerManager::SetLog(LogPtr(&log_));
    }
    void TearDown() override {
        for (UUID const & id : registered_) {
            ExitHandlerManager::Unregister(id);
        }
        ExitHandlerManager::SetLog(LogPtr());
        ExitHandlerManager::SetYieldFunction(nullptr);
        ExitHandlerManager::SetTimeLimitForTesting(0);
    }
    void add(char const * name, int delay_ms) {
        DynamicPointer<ExitHandler> handler(new DelayedHandler(name, delay_ms));
        registered_.push_back(handler->id());
        ExitHandlerManager::Register(handler);
    }
    std::vector<std::string> messages(unsigned char level) const {
        std::vector<std::string> out;
        for (LogMessage const & message : log_.messages()) {
            if (message.logRecordLevel() == level) {
                out.emplace_back(message.rawMessage().c_str());
            }
        }
        return out;
    }

    MemoryInfoPipe log_;
    std::vector<UUID> registered_;
};

TEST_F(ExitHandlerTest, StartsEveryHandlerThenWaitsUntilAllFinished) {
    add("quick", 0);
    add("slow", 300);
    ExitHandlerManager::Register(DynamicPointer<ExitHandler>());
    auto const start = std::chrono::steady_clock::now();
    ExitHandlerManager::RunAll();
    auto const took = std::chrono::steady_clock::now() - start;
    ASSERT_EQ(s_events.size(), 2u);
    EXPECT_GE(took, std::chrono::milliseconds(300));
    EXPECT_LT(took, std::chrono::seconds(5));
    EXPECT_TRUE(messages(ExitHandlerManager::giving_up_level).empty());
    EXPECT_FALSE(messages(ExitHandlerManager::waiting_level).empty());
}

TEST_F(ExitHandlerTest, GivesUpOnAHandlerThatNeverFinishes) {
    ExitHandlerManager::SetTimeLimitForTesting(400);
    static std::atomic<int> s_yields{0};
    s_yields = 0;
    ExitHandlerManager::SetYieldFunction([] {
        ++s_yields;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    });
    add("stuck", -1);
    add("done", 0);
    auto const start = std::chrono::steady_clock::now();
    ExitHandlerManager::RunAll();
    auto const took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(400));
    EXPECT_LT(took, std::chrono::seconds(5));
    EXPECT_GT(s_yields.load(), 5);
    EXPECT_EQ(messages(ExitHandlerManager::giving_up_level),
              std::vector<std::string>{"Giving up on exit handler: stuck"});
}

} // namespace
} // namespace QELTA
