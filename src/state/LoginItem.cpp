#include "state/LoginItem.h"

namespace vigilmoth {

LoginItemSwitch::LoginItemSwitch(LoginItemManaging& service, bool canRegister)
    : service_(service), canRegister_(canRegister) {
    refresh();
}

void LoginItemSwitch::setOpenAtLogin(bool on) {
    if (state_ == LoginItemState::unavailable) return;
    if (state_ == (on ? LoginItemState::on : LoginItemState::off)) return;
    error_ = on ? service_.registerItem() : service_.unregisterItem();
    refresh();
}

void LoginItemSwitch::refresh() {
    auto state = LoginItemState::unavailable;
    if (canRegister_) {
        switch (service_.status()) {
            case LoginItemManaging::Status::enabled:
                state = LoginItemState::on;
                break;
            case LoginItemManaging::Status::requiresApproval:
                state = LoginItemState::needsApproval;
                break;
            case LoginItemManaging::Status::notRegistered:
            case LoginItemManaging::Status::notFound:
                state = LoginItemState::off;
                break;
        }
    }
    state_ = state;
    if (onChange) onChange();
}

}  // namespace vigilmoth
