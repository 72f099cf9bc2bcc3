#pragma once

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>

#include "base/KeyValueStore.h"
#include "base/Log.h"
#include "base/TimerScheduling.h"
#include "power/SleepFlagHelper.h"

namespace vigilmoth {

// The aggregator's de-duplication of flag requests: each value is asked once, and a value whose
// request failed is not asked again before `retryAt`.
struct SleepFlagRequest {
    static constexpr double kRetrySeconds = 30;

    std::optional<bool> sent;
    std::optional<bool> failed;
    double retryAt = 0;

    // The value to send now, or nothing.
    std::optional<bool> next(bool wanted, bool helperEnabled, double now);
    void noteFailure(bool value, double now);
};

struct HelperHealth {
    std::optional<double> troubleSince;
    int failures = 0;
    bool repairTried = false;
    bool repairFailed = false;
};

struct SleepFlagParts {
    HelperServiceManaging& service;
    SleepFlagHelperConnecting& helper;
    SudoersCleaning* sudoers = nullptr;  // none where no older version could have left one
    KeyValueStore& defaults;
    TimerScheduling& timers;
    std::function<double()> now;  // the awake clock, in seconds
    std::string appVersion;
};

// Decides when the helper is asked to keep the machine awake with the lid closed, keeps the
// flag alive with heartbeats while it is wanted, watches the helper's health and repairs it.
// Lives on the main loop for the application's run; the helper's replies come back there.
class SleepFlagController {
public:
    static constexpr double kHeartbeatSeconds = 15;
    static constexpr double kSampleSilenceSeconds = 30;
    static constexpr double kTroubleSeconds = 20;
    static constexpr double kSlowRetrySeconds = 60;
    static constexpr double kResendAfterLossSeconds = 10;
    static constexpr int kSlowRetries = 5;

    explicit SleepFlagController(SleepFlagParts parts);

    HelperStatus helperStatus() const { return helperStatus_; }
    HelperSetup setup() const { return setup_; }
    bool sleepDisabled() const { return sleepDisabled_; }
    bool needsSudoersCleanup() const { return needsSudoersCleanup_; }
    bool notResponding() const { return notResponding_; }
    bool repairTried() const { return repairTried_; }
    bool lastSetFailed() const { return lastSetFailed_; }
    bool flagUnconfirmed() const { return flagUnconfirmed_; }
    bool heartbeatsHeldBack() const { return heartbeatsHeldBack_; }
    // Called whenever one of the published values above changes.
    void onChange(std::function<void()> observer) { observer_ = std::move(observer); }

    void refreshStatus();
    void refreshHealth();
    std::optional<std::string> install();
    std::optional<std::string> uninstall();
    void repairHelper();
    void replaceHelper(const std::string& ifNotVersion);
    // `done` learns whether the helper confirmed the value.
    void send(bool value, const std::string& reason, std::function<void(bool)> done = {});
    // True when it sent the "off" still owed to the helper itself.
    bool stopWanting();
    void clearForQuit(double timeoutSeconds);
    // A detection sample arrived: held-back heartbeats go on.
    void sampled();
    void retryRepairIfDue();
    // Throws SudoersCleanupError.
    void removeSudoersEntry();

private:
    void answered(bool value, const std::optional<HelperCallError>& error);
    void failed(const HelperCallError& error);
    void finishRepair(bool answered, bool lost);
    void startHeartbeat();
    void beat();
    bool offOwed() const;
    void publish();

    SleepFlagParts parts_;
    Logger log_{"SleepFlag"};
    std::function<void()> observer_;

    HelperStatus helperStatus_ = HelperStatus::notRegistered;
    HelperSetup setup_ = HelperSetup::notSetUp;
    bool sleepDisabled_ = false;
    bool needsSudoersCleanup_ = false;
    bool notResponding_ = false;
    bool repairTried_ = false;
    bool lastSetFailed_ = false;
    bool flagUnconfirmed_ = false;

    HelperHealth health_;
    bool wanted_ = false;
    std::string reason_;
    bool sending_ = false;
    bool sendAgain_ = false;
    bool repairing_ = false;
    bool lostByRepair_ = false;
    int slowRetriesLeft_ = kSlowRetries;
    double lastRepairEnd_ = -std::numeric_limits<double>::infinity();
    double lastSendAfterLoss_ = -std::numeric_limits<double>::infinity();
    double lastSampleAt_ = 0;
    bool heartbeatsHeldBack_ = false;
    std::unique_ptr<TimerScheduling::Token> heartbeat_;
    std::optional<std::tuple<HelperStatus, HelperSetup, bool, bool, bool, bool>> published_;
};

}  // namespace vigilmoth
