#include "power/PowerKeeper.h"

namespace vigilmoth {

void PowerKeeper::hold(const std::string& reason) {
    if (held() && extend(reason)) return;
    dropAssertions();
    reason_ = reason;
    if (!system_.available()) return;
    for (const auto& kind : system_.kinds()) {
        auto created = system_.create(kind, reason);
        if (created.id) {
            assertionIDs_.push_back(*created.id);
            lastFailures_.erase(kind);
            continue;
        }
        auto line = system_.creationCall() + "(" + kind + ") failed: " + created.failure;
        if (line != lastFailures_[kind]) log_.error(line);
        lastFailures_[kind] = std::move(line);
    }
    if (held()) log_.info("acquired power assertions: " + reason);
}

bool PowerKeeper::extend(const std::string& reason) {
    for (const auto id : assertionIDs_) {
        if (!system_.renew(id)) return false;
    }
    if (reason != reason_) {
        // A failed rename keeps the old name on a hold that is still good.
        for (const auto id : assertionIDs_)
            system_.rename(id, reason);
    }
    reason_ = reason;
    return true;
}

void PowerKeeper::release() {
    if (!held()) return;
    dropAssertions();
    log_.info("released power assertions");
}

void PowerKeeper::dropAssertions() {
    for (const auto id : assertionIDs_)
        system_.release(id);
    assertionIDs_.clear();
}

}  // namespace vigilmoth
