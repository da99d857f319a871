// Thread and BasicThread: named worker threads with a registry, and the primary thread.
//
// A Thread owns its std::thread. start() runs the virtual run() on a new thread, which enters
// the registry of running threads under its system id and gives the system its name. The object
// must outlive its thread: a derived class stops and joins in its own destructor (BasicThread
// and ThreadQueue do). start, join and detach are thread-safe and raise an Exception ("Thread
// Start Error", "Thread Join Error", "Thread Detatch Error") when the system refuses; nothing
// else raises. Lock order: a thread's own lock (keyed by its std::thread member) before the
// registry's.
#pragma once

#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <atomic>
#include <functional>
#include <thread>

namespace QELTA {

// A worker with a name and a virtual run(). While run_once is false, run() is called again and
// again until a stop request clears the running flag; run() itself looks at isRunning() to
// leave early. The thread id is ThreadFunctions::no_thread while nothing runs.
class QELTA_BASE_EXPORT Thread {
  public:
    Thread();
    explicit Thread(StringView const & name);
    Thread(Thread const &) = delete;
    Thread & operator=(Thread const &) = delete;
    // Detaches a thread still running (which must not touch the object any more) and leaves the
    // registry.
    virtual ~Thread();

    // Clears the running flag and detaches.
    virtual void stopThread();
    // Clears the running flag only; run() is expected to notice and return.
    virtual void requestStopThread();
    void forceStop() { requestStopThread(); }
    // False here; workers that can be asked to leave early answer it.
    virtual bool shouldExitThread() const;
    virtual void run();

    // Starts the thread unless it runs already: a second start() starts nothing. A start while a
    // finished run is still winding up waits for it.
    void start();
    // Waits for the thread; does nothing without a joinable thread or on the thread itself.
    void join();
    void detach();

    // True while running, and always for the object of the primary thread.
    bool isRunning() const noexcept;
    bool isPrimaryThread() const noexcept;
    // True makes this thread's id the primary id; false clears the primary id if it was this one.
    void setIsPrimaryThread(bool primary) noexcept;

    // The full name; the system may show only its first 15 bytes.
    String const & threadName() const noexcept { return thread_name_; }
    void setThreadName(StringView const & name);
    std::thread * self() noexcept { return thread_; }
    unsigned int threadID() const noexcept { return thread_id_.load(std::memory_order_relaxed); }

    // The Thread of the calling thread; a thread this library did not start gets an object
    // (with its id and system name) that lives until the process ends.
    static Thread * CurrentThread();
    // The registered name of the calling thread, or empty.
    static String CurrentThreadName();
    // Stores the name in the calling thread's registry entry, if any, and names the system thread.
    static void SetCurrentThreadName(StringView const & name);
    // Calls stopThread() on every registered thread that runs (and on the primary thread's).
    static void StopAllThreads();
    // The same as StopAllThreads where threads are real.
    static void ServiceVirtualThreads();
    // Threads started by this library and still running.
    static unsigned int GetThreadCount() noexcept;

  protected:
    String thread_name_;
    std::thread * thread_ = nullptr;
    std::atomic<unsigned int> thread_id_{ThreadFunctions::no_thread};
    std::atomic<bool> is_running_{false};
    bool run_once_ = true;

  private:
    // The new thread's entry: registers, names, runs and unregisters.
    void startInThread();
};

// A thread that runs one function, once or (with run_once false) until stopped.
class QELTA_BASE_EXPORT BasicThread : public Thread {
  public:
    BasicThread(StringView const & name, bool const & run_once, std::function<void()> const & body);
    // Asks the thread to stop and waits for it.
    ~BasicThread() override;

    void run() override;

    // Runs `a` on the calling thread and `b` on a new thread named `name`, and returns when both
    // are done. An exception from `a` is raised after `b` finished.
    static void splitThread(StringView const & name, std::function<void()> const & a, std::function<void()> const & b);
    // The same, the new thread named after the calling thread with " Split" behind.
    static void splitThread(std::function<void()> const & a, std::function<void()> const & b);

  private:
    std::function<void()> body_;
};

} // namespace QELTA
