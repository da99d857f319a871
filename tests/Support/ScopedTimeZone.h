// ScopedTimeZone: runs a test under a fixed TZ setting and restores the previous one afterwards.
//
// POSIX rule strings ("EST5EDT,M3.2.0,M11.1.0") need no zone database. Not thread-safe: the
// process has one time zone; use it before a test starts threads.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace QELTA::Testing {

class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(char const * zone) {
        if (char const * previous = std::getenv("TZ")) {
            previous_ = previous;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        if (previous_) {
            setenv("TZ", previous_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    ScopedTimeZone(ScopedTimeZone const &) = delete;
    ScopedTimeZone & operator=(ScopedTimeZone const &) = delete;

  private:
    std::optional<std::string> previous_;
};

} // namespace QELTA::Testing
