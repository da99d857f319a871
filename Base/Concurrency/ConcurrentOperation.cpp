// Atomic counters and the table of condition variables named by address.
#include "Base/Concurrency/ConcurrentOperation.h"

#include "Base/Text/Dictionary.h"

#include <chrono>
#include <condition_variable>

namespace QELTA {
namespace {

// Allocated at first use and never freed, so that a variable outlives every waiter.
struct ConditionTable {
    std::mutex mutex;
    Dictionary<void *, std::condition_variable *> conditions;
};

ConditionTable & Conditions() {
    static ConditionTable * const table = new ConditionTable;
    return *table;
}

std::condition_variable & ConditionOf(void * key) {
    ConditionTable & table = Conditions();
    std::lock_guard<std::mutex> const guard(table.mutex);
    std::condition_variable *& condition = table.conditions[key];
    if (condition == nullptr) {
        condition = new std::condition_variable;
    }
    return *condition;
}

std::condition_variable * FindCondition(void * key) {
    ConditionTable & table = Conditions();
    std::lock_guard<std::mutex> const guard(table.mutex);
    auto const found = table.conditions.find(key);
    return found == table.conditions.end() ? nullptr : found->value();
}

} // namespace

unsigned int ConcurrentOperation::increment(unsigned int volatile & value) noexcept {
    return __atomic_add_fetch(&value, 1u, __ATOMIC_SEQ_CST);
}

unsigned int ConcurrentOperation::decrement(unsigned int volatile & value) noexcept {
    return __atomic_sub_fetch(&value, 1u, __ATOMIC_SEQ_CST);
}

void ConcurrentOperation::wait(void * key, std::unique_lock<std::mutex> & held) {
    ConditionOf(key).wait(held);
}

void ConcurrentOperation::wait(void * key, unsigned long long timeout, std::unique_lock<std::mutex> & held) {
    unsigned long long const milliseconds = timeout / 1000000ull;
    if (milliseconds == 0) {
        return;
    }
    ConditionOf(key).wait_for(held, std::chrono::milliseconds(milliseconds));
}

void ConcurrentOperation::notify(void * key) {
    if (std::condition_variable * const condition = FindCondition(key)) {
        condition->notify_one();
    }
}

void ConcurrentOperation::notifyAll(void * key) {
    if (std::condition_variable * const condition = FindCondition(key)) {
        condition->notify_all();
    }
}

} // namespace QELTA
