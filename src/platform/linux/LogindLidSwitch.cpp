#include "platform/linux/LogindLidSwitch.h"

namespace vigilmoth {

std::optional<HelperCallError> LogindLidSwitch::set(bool disabled) {
    if (!disabled) {
        if (lock_) leases_.release(*lock_);
        lock_.reset();
        return std::nullopt;
    }
    if (lock_ && leases_.renew(*lock_)) return std::nullopt;
    if (!logind_.available()) {
        return HelperCallError{HelperCallError::Kind::failed, "logind cannot be reached"};
    }
    std::string failure;
    auto lock = Logind::inhibit(
        *logind_.bus(),
        {"handle-lid-switch", "vigilmoth keeps this computer awake with the lid closed", "block"},
        failure);
    if (!lock) return HelperCallError{HelperCallError::Kind::failed, failure};
    lock_ = leases_.add(std::move(lock), lease_);
    return std::nullopt;
}

void LogindLidSwitch::heartbeat(Reply reply) {
    if (!lock_ || leases_.renew(*lock_)) return reply(std::nullopt);
    lock_.reset();
    reply(HelperCallError{HelperCallError::Kind::failed, "the lid lock had lapsed"});
}

void LogindLidSwitch::status(StatusReply reply) {
    reply(HelperState{lock_.has_value(), "vigilmoth", version_}, std::nullopt);
}

}  // namespace vigilmoth
