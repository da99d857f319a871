// Threads: start, run loop, registry and the split helper.
#include "Base/Concurrency/Thread.h"

#include "Base/Concurrency/Platform/ThreadPlatform.h"
#include "Base/Concurrency/RWLock.h"
#include "Base/Failure/Exception.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/Dictionary.h"

#include <exception>
#include <system_error>
#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char start_error_title[] = "Thread Start Error";
constexpr char join_error_title[] = "Thread Join Error";
constexpr char detach_error_title[] = "Thread Detatch Error"; // the stored spelling of this title
constexpr char unknown_error_text[] = "Unknown Error";
constexpr char split_suffix[] = " Split";

using ThreadMap = Dictionary<unsigned int, Thread *>;

// The running threads by system id; its address names its lock. Never freed.
ThreadMap & Threads() {
    static ThreadMap * const threads = new ThreadMap;
    return *threads;
}

std::atomic<unsigned int> & ThreadCount() noexcept {
    static std::atomic<unsigned int> count{0};
    return count;
}

// Runs `operation`, raising what fails as an Exception titled `title`; an Exception passes.
template <class Operation>
void Raising(char const * title, Operation && operation) {
    try {
        operation();
    } catch (Exception const &) {
        throw;
    } catch (std::exception const & error) {
        throw Exception(TranslatedString::DirectString(StringView(error.what())), Translatable(title), true);
    } catch (...) {
        throw Exception(Translatable(unknown_error_text), Translatable(title), true);
    }
}

// An unset primary id matches no thread, rather than every thread that is not running.
bool IsPrimary(unsigned int id) noexcept {
    return id != ThreadFunctions::no_thread && id == ThreadFunctions::PrimaryThreadID();
}

} // namespace

Thread::Thread() = default;

Thread::Thread(StringView const & name) : thread_name_(name) {}

Thread::~Thread() {
    if (thread_ == nullptr) {
        return;
    }
    is_running_.store(false, std::memory_order_relaxed);
    if (thread_->joinable()) {
        thread_->detach();
    }
    {
        WLock const registry(&Threads());
        Threads().erase(thread_id_.load(std::memory_order_relaxed));
    }
    delete thread_;
}

void Thread::stopThread() {
    is_running_.store(false, std::memory_order_relaxed);
    detach();
}

void Thread::requestStopThread() {
    is_running_.store(false, std::memory_order_relaxed);
}

bool Thread::shouldExitThread() const {
    return false;
}

void Thread::run() {}

void Thread::start() {
    if (is_running_.load(std::memory_order_relaxed)) {
        return;
    }
    Raising(start_error_title, [this] {
        // Held until the std::thread is complete: the new thread waits for it before it runs.
        WLock const own(&thread_);
        if (thread_ != nullptr) {
            if (thread_->joinable()) {
                thread_->join();
            }
            delete thread_;
            thread_ = nullptr;
        }
        is_running_.store(true, std::memory_order_relaxed);
        try {
            thread_ = new std::thread(&Thread::startInThread, this);
        } catch (...) {
            is_running_.store(false, std::memory_order_relaxed);
            throw;
        }
    });
}

void Thread::startInThread() {
    WLock const own(&thread_);
    ThreadCount().fetch_add(1, std::memory_order_relaxed);
    unsigned int const id = ThreadFunctions::CurrentThreadID();
    thread_id_.store(id, std::memory_order_relaxed);
    {
        WLock const registry(&Threads());
        Threads().emplace(id, this); // an id already registered keeps its entry
    }
    if (!thread_name_.isEmpty()) {
        ThreadPlatform::SetCurrentThreadName(thread_name_);
    }
    do {
        run();
        if (run_once_) {
            is_running_.store(false, std::memory_order_relaxed);
        }
    } while (is_running_.load(std::memory_order_relaxed));
    {
        WLock const registry(&Threads());
        Threads().erase(id);
    }
    thread_id_.store(ThreadFunctions::no_thread, std::memory_order_relaxed);
    ThreadCount().fetch_sub(1, std::memory_order_relaxed);
    is_running_.store(false, std::memory_order_relaxed);
}

void Thread::join() {
    if (thread_ == nullptr || !thread_->joinable() || thread_->get_id() == std::this_thread::get_id()) {
        return;
    }
    Raising(join_error_title, [this] { thread_->join(); });
}

void Thread::detach() {
    if (thread_ == nullptr || !thread_->joinable()) {
        return;
    }
    Raising(detach_error_title, [this] { thread_->detach(); });
}

bool Thread::isRunning() const noexcept {
    return is_running_.load(std::memory_order_relaxed) || IsPrimary(thread_id_.load(std::memory_order_relaxed));
}

bool Thread::isPrimaryThread() const noexcept {
    return IsPrimary(thread_id_.load(std::memory_order_relaxed));
}

void Thread::setIsPrimaryThread(bool primary) noexcept {
    unsigned int const id = thread_id_.load(std::memory_order_relaxed);
    if (primary) {
        ThreadFunctions::SetPrimaryThreadID(id);
    } else if (IsPrimary(id)) {
        ThreadFunctions::SetPrimaryThreadID(ThreadFunctions::no_thread);
    }
}

void Thread::setThreadName(StringView const & name) {
    thread_name_ = name;
}

Thread * Thread::CurrentThread() {
    unsigned int const id = ThreadFunctions::CurrentThreadID();
    WLock const registry(&Threads());
    Thread *& entry = Threads()[id];
    if (entry == nullptr) {
        // A thread this library did not start: an object that only knows the id and the name.
        entry = new Thread(ThreadPlatform::CurrentThreadName());
        entry->thread_id_.store(id, std::memory_order_relaxed);
    }
    return entry;
}

String Thread::CurrentThreadName() {
    RLock const registry(&Threads());
    auto const entry = Threads().find(ThreadFunctions::CurrentThreadID());
    return entry == Threads().end() ? String() : entry->value()->thread_name_;
}

void Thread::SetCurrentThreadName(StringView const & name) {
    {
        WLock const registry(&Threads());
        auto const entry = Threads().find(ThreadFunctions::CurrentThreadID());
        if (entry != Threads().end()) {
            entry->value()->thread_name_ = name;
        }
    }
    ThreadPlatform::SetCurrentThreadName(name);
}

void Thread::StopAllThreads() {
    ThreadMap copy;
    {
        RLock const registry(&Threads());
        copy = Threads();
    }
    for (auto & entry : copy) {
        Thread * const thread = entry.value();
        if (thread->is_running_.load(std::memory_order_relaxed) || IsPrimary(entry.key())) {
            thread->stopThread();
        }
    }
}

void Thread::ServiceVirtualThreads() {
    StopAllThreads();
}

unsigned int Thread::GetThreadCount() noexcept {
    return ThreadCount().load(std::memory_order_relaxed);
}

BasicThread::BasicThread(StringView const & name, bool const & run_once, std::function<void()> const & body)
    : Thread(name), body_(body) {
    run_once_ = run_once;
}

BasicThread::~BasicThread() {
    requestStopThread();
    try {
        join();
    } catch (Exception const &) {
        detach();
    }
}

void BasicThread::run() {
    body_();
}

void BasicThread::splitThread(StringView const & name, std::function<void()> const & a,
                              std::function<void()> const & b) {
    BasicThread second(name, true, b);
    second.start();
    try {
        a();
    } catch (...) {
        second.join();
        throw;
    }
    second.join();
}

void BasicThread::splitThread(std::function<void()> const & a, std::function<void()> const & b) {
    splitThread(CurrentThreadName() + StringView(split_suffix), a, b);
}

} // namespace QELTA
