// The task queue's walk.
#include "Base/Concurrency/ThreadQueue.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Failure/Exception.h"

namespace QELTA {
namespace {

constexpr unsigned int initial_task_capacity = 10;

} // namespace

ThreadQueue::ThreadQueue(String const & name) : Thread(name) {
    tasks_.ensureCapacity(initial_task_capacity);
}

ThreadQueue::~ThreadQueue() {
    requestStopThread();
    try {
        join();
    } catch (Exception const &) {
        detach();
    }
}

void ThreadQueue::add(std::function<void()> const & task) {
    // Appending and looking at the running flag under the list's lock closes the gap between a
    // walk's last look at the list and the end of its run: that look stops the thread under this
    // lock, so a task appended after it starts a new thread, and one appended before it is walked.
    WLock const list(&tasks_);
    tasks_.add(task);
    start();
}

bool ThreadQueue::nextTask(unsigned int index, std::function<void()> & task) {
    WLock const list(&tasks_);
    if (index >= tasks_.size() || !is_running_.load(std::memory_order_relaxed)) {
        return false;
    }
    task = tasks_[index];
    return true;
}

void ThreadQueue::run() {
    unsigned int index = 0;
    for (;;) {
        is_processing.set(true);
        for (std::function<void()> task; nextTask(index, task); ++index) {
            task();
        }
        // The thread still runs while the listeners hear that it is idle, so a listener that
        // adds a task only appends it; the look below takes it up.
        is_processing.set(false);
        WLock const list(&tasks_);
        if (index >= tasks_.size() || !is_running_.load(std::memory_order_relaxed)) {
            requestStopThread();
            return;
        }
    }
}

} // namespace QELTA
