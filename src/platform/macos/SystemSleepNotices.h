#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <memory>

#include "power/SleepNotices.h"

namespace vigilmoth {

// The workspace's will-sleep and did-wake notifications, on the main queue.
class SystemSleepNotices final : public SleepNoticing {
public:
    SystemSleepNotices();
    ~SystemSleepNotices() override;
    void onNotice(std::function<void(SleepNotice)> handler) override;

private:
    struct Observers;
    std::unique_ptr<Observers> observers_;
};

}  // namespace vigilmoth
