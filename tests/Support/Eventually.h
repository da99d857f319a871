// Eventually: waits for a condition that another thread brings about, up to a deadline.
//
// For concurrency tests that must not rely on bare sleeps: the condition is polled about once a
// millisecond, and the deadline only bounds a test that would otherwise hang.
#pragma once

#include <chrono>
#include <thread>

namespace QELTA::Testing {

inline constexpr std::chrono::seconds default_deadline{20};

// True as soon as `condition()` holds; false when the deadline passed first.
template <class Condition>
bool Eventually(Condition && condition, std::chrono::milliseconds deadline = default_deadline) {
    auto const end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace QELTA::Testing
