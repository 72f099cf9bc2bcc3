#pragma once

#include <functional>
#include <optional>
#include <string>

namespace vigilmoth {

// Whether vigilmoth opens at login, as the preferences show it.
enum class LoginItemState { on, off, needsApproval, unavailable };

// The system's registration of vigilmoth as an application opened at login.
class LoginItemManaging {
public:
    enum class Status { notRegistered, requiresApproval, enabled, notFound };

    virtual ~LoginItemManaging() = default;
    virtual Status status() = 0;
    // Each returns the system's description of a failure, or nothing on success.
    virtual std::optional<std::string> registerItem() = 0;
    virtual std::optional<std::string> unregisterItem() = 0;
};

// The preferences' "open at login" switch. The state is always read back from the system after
// a change, so that the switch shows the truth whatever the change did.
class LoginItemSwitch {
public:
    // `canRegister`: vigilmoth runs from a place from which it can be registered at all.
    LoginItemSwitch(LoginItemManaging& service, bool canRegister);

    void setOpenAtLogin(bool on);
    void refresh();

    LoginItemState state() const { return state_; }
    // The last failure to change the registration.
    const std::optional<std::string>& error() const { return error_; }
    std::function<void()> onChange;

private:
    LoginItemManaging& service_;
    bool canRegister_;
    LoginItemState state_ = LoginItemState::unavailable;
    std::optional<std::string> error_;
};

}  // namespace vigilmoth
