#pragma once

#include "base/Log.h"
#include "platform/linux/Logind.h"
#include "power/SleepNotices.h"

namespace vigilmoth {

// logind's PrepareForSleep signal. While the machine is awake vigilmoth holds a "sleep" lock in
// mode "delay": logind then waits for it before sleeping, so the handler runs first; the lock
// is let go once the handler is done, and taken again after the wake.
class LogindSleepNotices final : public SleepNoticing {
public:
    explicit LogindSleepNotices(LogindReach& logind);

    void onNotice(std::function<void(SleepNotice)> handler) override {
        handler_ = std::move(handler);
    }

private:
    static int preparing(sd_bus_message* message, void* self, sd_bus_error*);
    void takeDelayLock();

    LogindReach& logind_;
    std::function<void(SleepNotice)> handler_;
    SdBusSlot match_;
    FileDescriptor delay_;
    Logger log_{"SleepNotices"};
};

}  // namespace vigilmoth
