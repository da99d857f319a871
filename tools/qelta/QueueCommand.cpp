// qelta queue: work on a background ThreadQueue that reports messages and progress through a pipe.
#include "tools/qelta/Command.h"

#include "Base/Concurrency/MultiLock.h"
#include "Base/Concurrency/ThreadQueue.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Logging/MemoryInfoPipe.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <thread>

namespace QELTA::Tool {
namespace {

constexpr unsigned int largest_task_count = 1000;

// Runs `tasks` tasks on a queue; each reports a message and its share of the progress. Returns
// the pipe's messages in order, printed by the caller's thread only.
void RunQueue(unsigned int tasks) {
    MemoryInfoPipe pipe;
    LogPtr const log(&pipe);
    std::atomic<unsigned int> done{0};
    float last_progress = 0.0f;
    {
        ProgressInfo progress(TranslatedString::DirectString("Queued work"), log, 0.0f);
        ThreadQueue queue("Work Queue");
        for (unsigned int task = 1; task <= tasks; ++task) {
            queue.add([&, task] {
                // Two objects locked together, in the one global order whatever the order named.
                MultiWLock const both{static_cast<void const *>(&done), static_cast<void const *>(&pipe)};
                progress.setProgress(static_cast<float>(task) / static_cast<float>(tasks));
                char text[64];
                std::snprintf(text, sizeof text, "task %u of %u done on \"%s\"", task, tasks,
                              Thread::CurrentThreadName().c_str());
                LogPtr(log).addMessage(log.index(), StringView(text), 2);
                ++done;
            });
        }
        while (done.load() < tasks) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        last_progress = pipe.progressIdx(progress.index());
        queue.join();
    }
    Buffer<LogMessage> const messages = pipe.messages();
    for (LogMessage const & message : messages) {
        StringAllocatingView const text = message.message(false, false, false);
        std::printf("  %.*s\n", static_cast<int>(text.size()), text.data());
    }
    std::printf("  progress before the guard closed: %.2f; sources left: %zu\n", static_cast<double>(last_progress),
                pipe.progressSources().size());
}

} // namespace

void DemoQueue() {
    std::puts("\n== Threads and locks");
    std::puts("A ThreadQueue runs tasks in order in the background; each locks two objects at once and");
    std::puts("reports through a pipe, with a progress guard that closes at 1.0:");
    RunQueue(3);
}

void AddQueueCommand(CLI::App & qelta) {
    auto const tasks = std::make_shared<unsigned int>(5);
    CLI::App & queue =
        AddCommand(qelta, "queue", "tasks on a background thread queue, reporting messages and progress",
                   "Runs N tasks one after another on a ThreadQueue named \"Work Queue\". Each task takes write\n"
                   "locks on two objects through one MultiWLock, advances a progress guard by 1/N and adds a\n"
                   "message to an in-memory pipe. The messages are printed afterwards, with the progress the\n"
                   "pipe held before the guard closed and the sources left after it closed.",
                   [tasks] {
                       RunQueue(*tasks);
                       return exit_ok;
                   });
    AddCount(queue, "--tasks", *tasks, 1, largest_task_count, "the tasks N, from 1 to 1000 (default 5)");
}

} // namespace QELTA::Tool
