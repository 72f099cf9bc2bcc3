#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/Date.h"
#include "base/Log.h"
#include "catalog/AgentHostFinding.h"
#include "decision/DetectionSample.h"
#include "decision/SleepOutlook.h"
#include "evidence/PowerContextReading.h"
#include "notices/AgentNoticeFeed.h"
#include "notices/AgentNoticeHistory.h"
#include "notices/HiddenNotice.h"
#include "notices/Notifier.h"
#include "notices/UserPresenceReading.h"
#include "power/SleepFlagHelper.h"
#include "power/SleepTimerReading.h"

namespace vigilmoth {

// The state aggregator's collaborators for what it tells the user after each sample. Each may
// be absent where a system (or the lab) has none.
struct AggregatorNoticesParts {
    Notifier* notifier = nullptr;
    // The applications the sessions run in, for the "in front" test.
    AgentHostFinding* hosts = nullptr;
    UserPresenceReading* presence = nullptr;
    SleepTimerReading* sleepTimer = nullptr;
    PowerAssertionListing* assertions = nullptr;
    // Posts a plain notification text.
    std::function<void(const std::string&)> notify;
    // vigilmoth's own pid, whose power locks are not another application's.
    std::int32_t ownPid = 0;
};

// What the aggregator holds that the agent notices depend on.
struct AgentNoticeSituation {
    AgentNoticeSettings settings;
    // vigilmoth is switched on and not paused.
    bool active = true;
    // The published session labels; the sample's own labels win over them.
    std::unordered_map<ProcessIdentity, std::string> labels;
};

// The sleep-flag helper's facts behind the hidden notices.
struct HiddenNoticeFacts {
    bool showMenuBarIcon = true;
    HelperStatus helperStatus = HelperStatus::notRegistered;
    bool sleepDisabled = false;
    bool hasBattery = false;
    bool stayAwakeLidClosedOnBattery = false;
    HelperSetup setup = HelperSetup::notSetUp;
};

// What the state aggregator tells the user after each sample, and the machine's own sleep
// outlook it keeps for the panel and the waiting notices. Lives on the main loop.
class AggregatorNotices {
public:
    static constexpr int kHistoryCount = 5;
    // Input this recent means the user is at the machine.
    static constexpr double kActiveSeconds = 10;
    // The system's sleep timer is read again after this long on one power source.
    static constexpr double kSleepTimerSeconds = 30;

    explicit AggregatorNotices(AggregatorNoticesParts parts);
    ~AggregatorNotices();
    AggregatorNotices(const AggregatorNotices&) = delete;
    AggregatorNotices& operator=(const AggregatorNotices&) = delete;

    // Runs the notice reducer over the sample and posts what falls due at `now`.
    void announceAgents(const DetectionSample& sample, const AgentNoticeSituation& situation,
                        Date now);
    // Posts a hidden notice once when it arises, only while the icon is hidden.
    void announceHiddenNotice(const HiddenNoticeFacts& facts);
    // `flagInUse`: the sleep flag is confirmed on.
    void updateMacSleep(const FrameContext& context, Date at, bool flagInUse);
    // The notifier's report on a posting.
    void delivered(const std::string& id, AgentNoticeDelivery delivery);

    const AgentNoticeHistory& history() const { return history_; }
    const MacSleepState& macSleep() const { return macSleep_; }
    std::optional<HiddenNotice> hiddenNotice() const { return hiddenNotice_; }
    // Runs when the history or the sleep outlook changed.
    std::function<void()> onChange;

private:
    struct SleepTimerRead {
        bool onBattery = false;
        Date at;
        std::optional<int> minutes;
    };

    std::unordered_map<ProcessIdentity, std::int32_t> owners(
        const std::vector<AgentReading>& readings);
    void record(const AgentNoticeFeed::Step& step, const DetectionSample& sample, Date now);
    void readSleepTimer(bool onBattery, Date at);
    void changed();

    AggregatorNoticesParts parts_;
    Logger log_{"Notices"};
    AgentNoticeFeed feed_;
    // The application each session runs in, 0 when none was found.
    std::unordered_map<ProcessIdentity, std::int32_t> sessionOwners_;
    AgentNoticeHistory history_{.count = kHistoryCount};
    int skipped_ = 0;
    std::optional<HiddenNotice> hiddenNotice_;
    MacSleepState macSleep_;
    std::optional<SleepTimerRead> sleepTimerRead_;
    std::shared_ptr<AggregatorNotices*> self_;
};

}  // namespace vigilmoth
