#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <memory>
#include <string>

#include "base/KeyValueStore.h"
#include "power/SleepFlagHelper.h"
#include "power/SleepNotices.h"

namespace vigilmoth {

// The launch daemon's registration through the service management framework.
class DaemonService final : public HelperServiceManaging {
public:
    HelperStatus status() override;
    std::optional<std::string> registerService() override;
    std::optional<std::string> unregisterService() override;
};

// The XPC client of the privileged helper. Every call answers once, on the main queue: the
// helper's reply, a lost connection, or a time-out after 5 seconds, whichever is first.
class XPCSleepFlagHelper final : public SleepFlagHelperConnecting {
public:
    static constexpr double kAnswerSeconds = 5;

    XPCSleepFlagHelper();
    ~XPCSleepFlagHelper() override;

    void setSleepDisabled(bool disabled, Reply reply) override;
    void heartbeat(Reply reply) override;
    void status(StatusReply reply) override;
    void retire(Reply reply) override;
    bool setSleepDisabledWaiting(bool disabled, double timeoutSeconds) override;
    void disconnect() override;

private:
    struct State;
    std::shared_ptr<State> state_;
};

// The admin entry an older version left in /etc/sudoers.d, removed with the user's password.
class SudoersEntry final : public SudoersCleaning {
public:
    static constexpr const char* kPath = "/etc/sudoers.d/vigilmoth";
    bool present() const override;
    void remove() override;
};

// Clears what an older version left: its battery override of sleep, once at start.
namespace LegacyBatteryOverride {
void clearLeftover(KeyValueStore& defaults);
}

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
