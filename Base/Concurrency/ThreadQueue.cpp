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
    // walk that found no more tasks and the end of its run: such a walk has stopped the thread
    // under this lock, so the task starts a new one, and a running walk is sure to see it.
    WLock const list(&tasks_);
    tasks_.add(task);
    start();
}

void ThreadQueue::run() {
    is_processing.set(true);
    for (unsigned int index = 0;; ++index) {
        std::function<void()> task;
        {
            WLock const list(&tasks_);
            if (index >= tasks_.size() || !is_running_.load(std::memory_order_relaxed)) {
                requestStopThread();
                break;
            }
            task = tasks_[index];
        }
        task();
    }
    is_processing.set(false);
}

} // namespace QELTA
