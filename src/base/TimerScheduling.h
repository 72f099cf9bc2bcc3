#pragma once

#include <functional>
#include <memory>

namespace vigilmoth {

// One-shot timers on the main loop, for the services that wait on their own (heartbeats,
// retries). The timer is cancelled when its token goes.
class TimerScheduling {
public:
    class Token {
    public:
        virtual ~Token() = default;
    };

    virtual ~TimerScheduling() = default;
    virtual std::unique_ptr<Token> after(double seconds, std::function<void()> action) = 0;
};

}  // namespace vigilmoth
