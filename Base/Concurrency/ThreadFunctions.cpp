// The calling thread's id and the primary thread.
#include "Base/Concurrency/ThreadFunctions.h"

#include "Base/Concurrency/Platform/ThreadPlatform.h"

#include <atomic>

namespace QELTA {
namespace {

std::atomic<unsigned int> & PrimaryID() noexcept {
    static std::atomic<unsigned int> id{ThreadFunctions::no_thread};
    return id;
}

} // namespace

unsigned int ThreadFunctions::CurrentThreadID() noexcept {
    thread_local unsigned int const id = static_cast<unsigned int>(ThreadPlatform::CurrentThreadId());
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

} // namespace QELTA
