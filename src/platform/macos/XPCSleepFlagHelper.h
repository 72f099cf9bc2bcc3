#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <memory>

#include "power/SleepFlagHelper.h"

namespace vigilmoth {

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

}  // namespace vigilmoth
