// ThreadQueue: a thread that runs a growing list of tasks in order.
//
// add() appends a task and starts the thread unless it runs; a running walk reaches tasks added
// meanwhile, also from inside a task. Tasks stay in the list: a thread started again after its
// walk ended runs the whole list again from the first task, so owners that want a fresh list
// build a fresh queue. is_processing tells its listeners when a walk starts and ends; a listener
// may add tasks when it hears of the end, and the same thread takes them up. All
// members are thread-safe; start failures raise as Thread::start does.
#pragma once

#include "Base/Concurrency/Thread.h"
#include "Base/Export.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT ThreadQueue : public Thread {
  public:
    explicit ThreadQueue(String const & name);
    // Asks the thread to stop after its current task and waits for it.
    ~ThreadQueue() override;

    void add(std::function<void()> const & task);
    void run() override;

    // True while a walk works through the list.
    Resource<bool> is_processing{false};

  private:
    using TaskList = Buffer<std::function<void()>, BufferAllocator<std::function<void()>, 64, 0, unsigned int, 0, 0>>;

    // Copies the task at `index` under the list's lock; false at the end of the list or once a
    // stop was asked for.
    bool nextTask(unsigned int index, std::function<void()> & task);

    TaskList tasks_;
};

} // namespace QELTA
