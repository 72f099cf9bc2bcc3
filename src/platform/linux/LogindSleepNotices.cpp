#include "platform/linux/LogindSleepNotices.h"

#include <cstring>

namespace vigilmoth {

LogindSleepNotices::LogindSleepNotices(LogindReach& logind) : logind_(logind) {
    if (!logind_.bus()) return;
    sd_bus_slot* slot = nullptr;
    const int code =
        sd_bus_match_signal(logind_.bus()->get(), &slot, Logind::kService, Logind::kPath,
                            Logind::kManager, "PrepareForSleep", &preparing, this);
    if (code < 0) {
        log_.error(std::string("could not listen for sleep notices: ") + std::strerror(-code));
        return;
    }
    match_.reset(slot);
    takeDelayLock();
}

void LogindSleepNotices::takeDelayLock() {
    if (delay_ || !logind_.available()) return;
    std::string failure;
    delay_ = Logind::inhibit(
        *logind_.bus(),
        {"sleep", "vigilmoth notes the sleep and puts the display back first", "delay"}, failure);
    if (!delay_) log_.error("could not take the sleep delay lock: " + failure);
}

int LogindSleepNotices::preparing(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& notices = *static_cast<LogindSleepNotices*>(self);
    int start = 0;
    if (sd_bus_message_read(message, "b", &start) < 0) return 0;
    if (start) {
        if (notices.handler_) notices.handler_(SleepNotice::willSleep);
        notices.delay_.reset();
    } else {
        notices.takeDelayLock();
        if (notices.handler_) notices.handler_(SleepNotice::didWake);
    }
    return 0;
}

}  // namespace vigilmoth
