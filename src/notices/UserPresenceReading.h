#pragma once

#include <cstdint>
#include <optional>

namespace vigilmoth {

// Whether the user is at the machine and looking at an agent's application, so that a notice
// need not interrupt them.
class UserPresenceReading {
public:
    virtual ~UserPresenceReading() = default;
    // The application in front, none when there is none.
    virtual std::optional<std::int32_t> frontmostPid() = 0;
    // Seconds since the last keyboard or pointer input of any kind.
    virtual double secondsSinceInput() = 0;
};

}  // namespace vigilmoth
