#include "power/SleepFlagController.h"

#include <tuple>

#include "base/DefaultsKeys.h"

namespace vigilmoth {
namespace {

const char* statusName(HelperStatus status) {
    switch (status) {
        case HelperStatus::notRegistered:
            return "notRegistered";
        case HelperStatus::requiresApproval:
            return "requiresApproval";
        case HelperStatus::enabled:
            return "enabled";
        case HelperStatus::notFound:
            break;
    }
    return "notFound";
}

}  // namespace

std::optional<bool> SleepFlagRequest::next(bool wanted, bool helperEnabled, double now) {
    if (!helperEnabled) {
        sent.reset();
        failed.reset();
        return std::nullopt;
    }
    if (sent == wanted) return std::nullopt;
    if (failed == wanted && now < retryAt) return std::nullopt;
    sent = wanted;
    failed.reset();
    return wanted;
}

void SleepFlagRequest::noteFailure(bool value, double now) {
    sent.reset();
    failed = value;
    retryAt = now + kRetrySeconds;
}

SleepFlagController::SleepFlagController(SleepFlagParts parts)
    : parts_(std::move(parts)), lastSampleAt_(parts_.now()) {
    refreshStatus();
}

void SleepFlagController::refreshStatus() {
    helperStatus_ = parts_.service.status();
    if (helperStatus_ == HelperStatus::enabled) {
        parts_.defaults.set(defaults_keys::helperWasSetUp, true);
    }
    needsSudoersCleanup_ = parts_.sudoers && parts_.sudoers->present();
    refreshHealth();
}

void SleepFlagController::refreshHealth() {
    if (helperStatus_ != HelperStatus::enabled) {
        health_ = HelperHealth{.repairTried = health_.repairTried};
        notResponding_ = false;
    } else if (health_.repairFailed) {
        notResponding_ = true;
    } else {
        notResponding_ =
            health_.troubleSince && parts_.now() - *health_.troubleSince >= kTroubleSeconds;
    }
    repairTried_ = health_.repairTried;
    const bool wasSetUp = parts_.defaults.boolValue(defaults_keys::helperWasSetUp).value_or(false);
    if (repairing_) {
        setup_ = HelperSetup::repairing;
    } else if (helperStatus_ == HelperStatus::requiresApproval) {
        setup_ = HelperSetup::requiresApproval;
    } else if (helperStatus_ == HelperStatus::enabled) {
        setup_ = notResponding_ ? HelperSetup::notResponding : HelperSetup::ready;
    } else if (lostByRepair_) {
        setup_ = slowRetriesLeft_ > 0 ? HelperSetup::notResponding : HelperSetup::lost;
    } else {
        setup_ = wasSetUp ? HelperSetup::lost : HelperSetup::notSetUp;
    }
    publish();
}

std::optional<std::string> SleepFlagController::install() {
    auto error = parts_.service.registerService();
    if (error) log_.error("register failed: " + *error);
    refreshStatus();
    return error;
}

std::optional<std::string> SleepFlagController::uninstall() {
    auto error = parts_.service.unregisterService();
    if (error) log_.error("removing the helper failed: " + *error);
    parts_.defaults.remove(defaults_keys::helperWasSetUp);
    refreshStatus();
    return error;
}

void SleepFlagController::send(bool value, const std::string& reason,
                               std::function<void(bool)> done) {
    wanted_ = value;
    reason_ = reason;
    if (sending_) {
        sendAgain_ = true;
        return;
    }
    sending_ = true;
    flagUnconfirmed_ = true;
    log_.info(std::string("sending SleepDisabled ") + (value ? "true" : "false") +
              " to the helper: " + reason);
    // The helper may answer before this call returns, so nothing follows it here.
    parts_.helper.setSleepDisabled(
        value, [this, value, done = std::move(done)](std::optional<HelperCallError> error) {
            sending_ = false;
            answered(value, error);
            if (done) done(!error);
            if (sendAgain_) {
                sendAgain_ = false;
                send(wanted_, reason_);
            } else if (wanted_) {
                startHeartbeat();
            }
        });
}

void SleepFlagController::answered(bool value, const std::optional<HelperCallError>& error) {
    if (!error) {
        sleepDisabled_ = value;
        flagUnconfirmed_ = false;
        lastSetFailed_ = false;
        health_.troubleSince.reset();
        health_.failures = 0;
        refreshHealth();
        return;
    }
    const double now = parts_.now();
    // A connection lost once is tried again on a new one before it counts as trouble.
    if (error->kind == HelperCallError::Kind::connectionLost &&
        now - lastSendAfterLoss_ > kResendAfterLossSeconds) {
        lastSendAfterLoss_ = now;
        parts_.helper.disconnect();
        sendAgain_ = true;
        return;
    }
    lastSetFailed_ = true;
    failed(*error);
}

void SleepFlagController::failed(const HelperCallError& error) {
    log_.error("helper call failed: " + error.text);
    ++health_.failures;
    if (!health_.troubleSince) health_.troubleSince = parts_.now();
    const bool repairNow =
        error.kind == HelperCallError::Kind::codeSigningRequirement || health_.failures >= 2;
    if (!health_.repairTried && repairNow) {
        health_.repairTried = true;
        repairHelper();
        return;
    }
    refreshHealth();
}

void SleepFlagController::repairHelper() {
    if (repairing_) return;
    repairing_ = true;
    refreshHealth();
    log_.info("registering the helper again");
    if (auto error = parts_.service.unregisterService()) {
        log_.error("removing the helper failed: " + *error);
    }
    if (parts_.service.status() == HelperStatus::enabled) {
        log_.error("the helper is still registered after it was removed");
    }
    parts_.helper.disconnect();
    if (auto error = parts_.service.registerService()) {
        log_.error("registering the helper failed: " + *error);
    }
    helperStatus_ = parts_.service.status();
    if (helperStatus_ != HelperStatus::enabled) {
        log_.error(std::string("the helper is ") + statusName(helperStatus_) +
                   " after registering again");
        finishRepair(false, true);
        return;
    }
    parts_.helper.status(
        [this](std::optional<HelperState> state, std::optional<HelperCallError> error) {
            if (error) {
                log_.error("no answer on a new connection: " + error->text);
            } else if (state->version.empty()) {
                log_.error("the helper gave no version: " + state->setBy);
            }
            finishRepair(!error, false);
        });
}

void SleepFlagController::finishRepair(bool answered, bool lost) {
    repairing_ = false;
    lostByRepair_ = lost;
    health_.repairFailed = !answered;
    if (answered) {
        health_.troubleSince.reset();
        health_.failures = 0;
    }
    lastRepairEnd_ = parts_.now();
    refreshHealth();
    if (answered && wanted_) send(true, "the helper was registered again");
}

void SleepFlagController::replaceHelper(const std::string& ifNotVersion) {
    parts_.helper.status([this, ifNotVersion](std::optional<HelperState> state,
                                              std::optional<HelperCallError> error) {
        if (error) {
            log_.error("the new helper gave no answer: " + error->text);
            return;
        }
        if (state->version == ifNotVersion) return;
        log_.info("helper is " + state->version + ", app is " + ifNotVersion +
                  ": asking it to leave");
        parts_.helper.retire([this, state, ifNotVersion](std::optional<HelperCallError> left) {
            if (left) {
                log_.error("the helper did not leave: " + left->text);
                log_.info("helper is " + state->version + ", app is " + ifNotVersion +
                          ": registering again");
            }
            repairHelper();
        });
    });
}

void SleepFlagController::startHeartbeat() {
    if (heartbeat_ || heartbeatsHeldBack_) return;
    heartbeat_ = parts_.timers.after(kHeartbeatSeconds, [this] {
        // The token is kept until the beat has been sent, so that no second loop starts.
        beat();
    });
}

void SleepFlagController::beat() {
    auto running = std::move(heartbeat_);
    if (!wanted_) return;
    if (parts_.now() - lastSampleAt_ > kSampleSilenceSeconds) {
        // A stalled application stops its heartbeats, so that the helper clears the flag.
        heartbeatsHeldBack_ = true;
        log_.info("no sample for " + std::to_string(static_cast<long>(kSampleSilenceSeconds)) +
                  " seconds: the heartbeats stop until the next one");
        return;
    }
    parts_.helper.heartbeat([this](std::optional<HelperCallError> error) {
        if (!error) return;
        log_.error("heartbeat failed: " + error->text);
        failed(*error);
    });
    startHeartbeat();
}

void SleepFlagController::sampled() {
    lastSampleAt_ = parts_.now();
    if (!heartbeatsHeldBack_) return;
    heartbeatsHeldBack_ = false;
    if (wanted_) startHeartbeat();
}

bool SleepFlagController::offOwed() const {
    return (sleepDisabled_ || flagUnconfirmed_) && helperStatus_ == HelperStatus::enabled;
}

bool SleepFlagController::stopWanting() {
    wanted_ = false;
    heartbeat_.reset();
    if (!offOwed() || sending_) return false;
    send(false, "the flag is no longer wanted");
    return true;
}

void SleepFlagController::clearForQuit(double timeoutSeconds) {
    heartbeat_.reset();
    if ((wanted_ || sleepDisabled_ || flagUnconfirmed_) && helperStatus_ == HelperStatus::enabled) {
        if (parts_.helper.setSleepDisabledWaiting(false, timeoutSeconds)) {
            sleepDisabled_ = false;
            flagUnconfirmed_ = false;
        }
    }
    wanted_ = false;
}

void SleepFlagController::retryRepairIfDue() {
    const auto due = [this] {
        return lostByRepair_ && !repairing_ && slowRetriesLeft_ > 0 &&
               parts_.now() - lastRepairEnd_ >= kSlowRetrySeconds;
    };
    if (!due()) return;
    refreshStatus();
    if (!due()) return;
    --slowRetriesLeft_;
    log_.info("registering the helper again, " + std::to_string(slowRetriesLeft_) +
              " more tries after this one");
    repairHelper();
}

void SleepFlagController::removeSudoersEntry() {
    if (!parts_.sudoers) return;
    parts_.sudoers->remove();
    refreshStatus();
}

void SleepFlagController::publish() {
    // Observers hear of a change only when a published value really changed.
    const std::tuple now{helperStatus_,        setup_,         sleepDisabled_,
                         needsSudoersCleanup_, notResponding_, repairTried_};
    if (published_ == now) return;
    published_ = now;
    if (observer_) observer_();
}

}  // namespace vigilmoth
