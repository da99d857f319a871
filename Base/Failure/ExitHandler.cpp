// Exit handlers: the table, the start of all handlers at once and the polling with its limit.
#include "Base/Failure/ExitHandler.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Time/Time.h"

#include <atomic>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char giving_up_text[] = "Giving up on exit handler";
constexpr char name_separator[] = ": ";
constexpr unsigned long long nanoseconds_per_ms = 1000ull * 1000;

// The table and its companions; the table's address names the lock that guards all three.
struct ExitState {
    Dictionary<UUID, DynamicPointer<ExitHandler>> handlers;
    LogPtr log;
    void (*yield)() = nullptr;
};

ExitState & State() {
    static ExitState * const state = new ExitState;
    return *state;
}

std::atomic<unsigned long long> & TimeLimit() noexcept {
    static std::atomic<unsigned long long> limit{ExitHandlerManager::time_limit_ms};
    return limit;
}

} // namespace

ExitHandler::ExitHandler(UUID const & id) : id_(id) {}

ExitHandler::~ExitHandler() = default;

void ExitHandlerManager::Register(DynamicPointer<ExitHandler> const & handler) {
    if (!handler) {
        return;
    }
    WLock const lock(&State());
    State().handlers[handler->id()] = handler;
}

void ExitHandlerManager::Unregister(UUID const & id) {
    WLock const lock(&State());
    State().handlers.erase(id);
}

void ExitHandlerManager::SetLog(LogPtr log) {
    WLock const lock(&State());
    State().log = log;
}

void ExitHandlerManager::SetYieldFunction(void (*yield)()) {
    WLock const lock(&State());
    State().yield = yield;
}

void ExitHandlerManager::RunAll() {
    Buffer<DynamicPointer<ExitHandler>> handlers;
    LogPtr log;
    void (*yield)() = nullptr;
    {
        RLock const lock(&State());
        for (auto const & entry : State().handlers) {
            handlers.add(entry.value());
        }
        log = State().log;
        yield = State().yield;
    }
    if (handlers.isEmpty()) {
        return;
    }
    for (DynamicPointer<ExitHandler> const & handler : handlers) {
        handler->onExit();
    }
    Time const start = Time::SystemTime();
    unsigned long long const limit = TimeLimit().load(std::memory_order_relaxed) * nanoseconds_per_ms;
    Buffer<ExitHandler *> waiting;
    while (true) {
        waiting.clear();
        for (DynamicPointer<ExitHandler> const & handler : handlers) {
            if (!handler->isFinished()) {
                waiting.add(handler.get());
            }
        }
        if (waiting.isEmpty()) {
            return;
        }
        if (Time::SystemTime().nanoseconds() - start.nanoseconds() >= limit) {
            for (ExitHandler * handler : waiting) {
                String text(Translatable(giving_up_text).translation());
                text.append(StringView(name_separator));
                text.append(handler->name().translation());
                log.addMessage(log.index(), text.view(), giving_up_level);
            }
            return;
        }
        if (log.hasPipe()) {
            for (ExitHandler * handler : waiting) {
                log.addMessage(log.index(), handler->name(), waiting_level);
            }
        }
        if (yield != nullptr) {
            yield();
        } else {
            ThreadFunctions::RequestSleep(poll_ms);
        }
    }
}

void ExitHandlerManager::SetTimeLimitForTesting(unsigned long long milliseconds) noexcept {
    TimeLimit().store(milliseconds == 0 ? time_limit_ms : milliseconds, std::memory_order_relaxed);
}

} // namespace QELTA
