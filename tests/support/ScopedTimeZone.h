#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace vigilmoth::testing {

// Runs the code in its scope under a fixed time zone (a zone name or a POSIX rule such as
// "CET-1CEST,M3.5.0,M10.5.0/3"), then puts the process's own zone back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const std::string& zone) {
        if (const char* previous = std::getenv("TZ")) previous_ = previous;
        setenv("TZ", zone.c_str(), 1);
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
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::optional<std::string> previous_;
};

}  // namespace vigilmoth::testing
