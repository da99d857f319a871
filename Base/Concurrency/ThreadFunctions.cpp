// The calling thread's id and the primary thread.
#include "Base/Concurrency/ThreadFunctions.h"

#include "Base/Concurrency/Platform/ThreadPlatform.h"
#include "Base/Concurrency/Thread.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Time/TimeSpan.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace QELTA {
namespace {

constexpr char no_sleep_text[] = "Requesting No Sleep";
constexpr unsigned char no_sleep_level = 2;

std::atomic<unsigned int> & PrimaryID() noexcept {
    static std::atomic<unsigned int> id{ThreadFunctions::no_thread};
    return id;
}

} // namespace

unsigned int ThreadFunctions::CurrentThreadID() noexcept {
    thread_local unsigned int const id __attribute__((tls_model("initial-exec"))) =
        static_cast<unsigned int>(ThreadPlatform::CurrentThreadId());
    return id;
}

unsigned int ThreadFunctions::PrimaryThreadID() noexcept {
    return PrimaryID().load(std::memory_order_relaxed);
}

void ThreadFunctions::SetPrimaryThreadID(unsigned int id) noexcept {
    PrimaryID().store(id, std::memory_order_relaxed);
}

bool ThreadFunctions::IsPrimaryThread() noexcept {
    return CurrentThreadID() == PrimaryThreadID();
}

String ThreadFunctions::CurrentThreadName() {
    return Thread::CurrentThreadName();
}

void ThreadFunctions::SetCurrentThreadName(StringView const & name) {
    Thread::SetCurrentThreadName(name);
}

void ThreadFunctions::RequestSleep(unsigned long long milliseconds) {
    // In slices, so that no count of milliseconds overflows the clock's arithmetic.
    constexpr unsigned long long slice = 3600000ull;
    while (milliseconds > slice) {
        std::this_thread::sleep_for(std::chrono::milliseconds(slice));
        milliseconds -= slice;
    }
    if (milliseconds > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
}

void ThreadFunctions::RequestSleep(TimeSpan const & span) {
    RequestSleep(span.isValid() ? static_cast<unsigned long long>(span.duration / 1000000) : 0x8000000000000000ull);
}

void ThreadFunctions::RequestConcurrentExecution(StringView const & name, std::function<void()> const & work) {
    BasicThread * const thread = new BasicThread(name, true, work);
    thread->start();
    thread->detach(); // nobody joins it; its object stays for the rest of the run
}

void ThreadFunctions::RequestNoSleep(bool on, LogPtr const & log) {
    if (on) {
        LogPtr(log).addMessage(log.index(), Internal::Translatable(no_sleep_text), no_sleep_level);
    }
    ThreadPlatform::KeepAwake(on);
}

} // namespace QELTA
