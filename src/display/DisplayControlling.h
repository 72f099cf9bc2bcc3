#pragma once

#include <functional>

#include "base/Date.h"

namespace vigilmoth {

// What the state aggregator asks of the display controller: keep the built-in display's
// handling under a closed lid in step with the hold, and put a brightness it darkened back
// whenever vigilmoth lets go.
class DisplayControlling {
public:
    virtual ~DisplayControlling() = default;
    // `onChange` runs after every change of the displays has been handled.
    virtual void start(std::function<void()> onChange) = 0;
    // `enabled`: the display goes off under a closed lid; `fade`: it dims as the lid closes.
    virtual void update(bool lidClosed, bool holding, bool enabled, bool fade, Date now) = 0;
    virtual void willSleep() = 0;
    virtual void stop() = 0;
};

}  // namespace vigilmoth
