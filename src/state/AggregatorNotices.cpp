#include "state/AggregatorNotices.h"

#include "ui/AgentNoticeText.h"
#include "ui/HiddenNoticeText.h"

namespace vigilmoth {

AggregatorNotices::AggregatorNotices(AggregatorNoticesParts parts)
    : parts_(std::move(parts)), self_(std::make_shared<AggregatorNotices*>(this)) {}

AggregatorNotices::~AggregatorNotices() = default;

std::unordered_map<ProcessIdentity, std::int32_t> AggregatorNotices::owners(
    const std::vector<AgentReading>& readings) {
    std::unordered_map<ProcessIdentity, std::int32_t> table;
    std::vector<const AgentReading*> unknown;
    for (const auto& reading : readings) {
        auto known = sessionOwners_.find(reading.identity);
        if (known != sessionOwners_.end()) {
            table[reading.identity] = known->second;
        } else {
            unknown.push_back(&reading);
        }
    }
    // One look at the system for all the new sessions.
    std::vector<std::int32_t> pids;
    for (const auto* reading : unknown)
        pids.push_back(reading->identity.pid);
    std::vector<std::optional<std::int32_t>> found(pids.size());
    if (parts_.hosts && !pids.empty()) found = parts_.hosts->owners(pids);
    for (size_t at = 0; at < unknown.size(); ++at) {
        auto owner = at < found.size() ? found[at] : std::nullopt;
        table[unknown[at]->identity] = owner.value_or(0);
    }
    // Sessions that ended drop out.
    sessionOwners_ = table;
    std::erase_if(table, [](const auto& entry) { return entry.second <= 0; });
    return table;
}

void AggregatorNotices::announceAgents(const DetectionSample& sample,
                                       const AgentNoticeSituation& situation, Date now) {
    if (!parts_.notifier) return;
    AgentNoticeFeed::Conditions conditions{.settings = situation.settings,
                                           .active = situation.active};
    if (!situation.settings.waiting && !situation.settings.finished) {
        sessionOwners_.clear();
        feed_.feed(sample.readings, now, conditions);
        return;
    }
    conditions.owners = owners(sample.readings);
    conditions.labels = situation.labels;
    for (const auto& [identity, hint] : sample.sessionHints) {
        if (auto name = SessionHint::cleaned(hint.name)) conditions.labels[identity] = *name;
    }
    // Deliberately neither the front application nor the user's input counts unless the user
    // asked to be told only when away.
    if (situation.settings.onlyWhenAway && parts_.presence) {
        conditions.frontmostPid = parts_.presence->frontmostPid();
        conditions.userActive = parts_.presence->secondsSinceInput() < kActiveSeconds;
    }
    auto step = feed_.feed(sample.readings, now, std::move(conditions));
    record(step, sample, now);
}

void AggregatorNotices::record(const AgentNoticeFeed::Step& step, const DetectionSample& sample,
                               Date now) {
    auto before = history_;
    for (const auto& decision : step.decisions) {
        log_.info(decision.logLine());
        auto outcome = decision.outcome.kind;
        if (outcome != AgentNoticeDecision::Outcome::Kind::notActive &&
            outcome != AgentNoticeDecision::Outcome::Kind::inFront) {
            continue;
        }
        history_.add({.id = "skipped-" + std::to_string(++skipped_),
                      .at = now,
                      .title = AgentNoticeText::skippedTitle(decision.kind),
                      .result = AgentNoticeHistory::Result::of(
                          outcome == AgentNoticeDecision::Outcome::Kind::inFront
                              ? AgentNoticeHistory::Result::Kind::inFront
                              : AgentNoticeHistory::Result::Kind::notActive)});
    }
    for (const auto& notice : step.due) {
        SleepOutlook outlook(sample.decision, macSleep_, now);
        log_.info(outlook.logLine());
        auto content = AgentNoticeText::content(notice, outlook, now);
        history_.add(
            {.id = content.id,
             .at = now,
             .title = content.title,
             .result = AgentNoticeHistory::Result::of(AgentNoticeHistory::Result::Kind::sending)});
        parts_.notifier->post(content);
    }
    if (history_ != before) changed();
}

void AggregatorNotices::delivered(const std::string& id, AgentNoticeDelivery delivery) {
    auto before = history_;
    history_.delivered(id, delivery);
    if (history_ != before) changed();
}

void AggregatorNotices::announceHiddenNotice(const HiddenNoticeFacts& facts) {
    std::optional<HiddenNotice> now;
    if (facts.helperStatus != HelperStatus::enabled && facts.sleepDisabled) {
        now = HiddenNotice::helperSwitchedOff;
    } else if (facts.hasBattery && facts.stayAwakeLidClosedOnBattery &&
               facts.setup == HelperSetup::notResponding) {
        now = HiddenNotice::helperNotResponding;
    }
    // A case that arose while the icon showed it is not announced later; one is announced
    // again only after it went away and came back.
    if (!facts.showMenuBarIcon && now && now != hiddenNotice_ && parts_.notify) {
        parts_.notify(HiddenNoticeText::text(*now));
    }
    hiddenNotice_ = now;
}

void AggregatorNotices::updateMacSleep(const FrameContext& context, Date at, bool flagInUse) {
    if (parts_.sleepTimer) {
        bool fresh = sleepTimerRead_ && sleepTimerRead_->onBattery == context.onBattery &&
                     at - sleepTimerRead_->at < kSleepTimerSeconds;
        if (!fresh) readSleepTimer(context.onBattery, at);
    }
    bool otherAppHolds = false;
    if (parts_.assertions) {
        auto holders = parts_.assertions->assertingPIDs();
        holders.erase(parts_.ownPid);
        otherAppHolds = !holders.empty();
    }
    MacSleepState state{
        .lidClosed = context.lidClosed,
        .onBattery = context.onBattery,
        .flagInUse = flagInUse,
        .sleepTimerMinutes = sleepTimerRead_ ? sleepTimerRead_->minutes : std::nullopt,
        .otherAppHolds = otherAppHolds};
    if (state != macSleep_) {
        macSleep_ = state;
        changed();
    }
}

void AggregatorNotices::readSleepTimer(bool onBattery, Date at) {
    std::optional<int> previous;
    if (sleepTimerRead_ && sleepTimerRead_->onBattery == onBattery) {
        previous = sleepTimerRead_->minutes;
    }
    sleepTimerRead_ = SleepTimerRead{onBattery, at, previous};
    parts_.sleepTimer->read(onBattery, [alive = std::weak_ptr<AggregatorNotices*>(self_),
                                        onBattery](std::optional<int> minutes) {
        auto self = alive.lock();
        if (!self) return;
        auto& read = (*self)->sleepTimerRead_;
        // A switch of power source since the read asked makes its answer stale.
        if (read && read->onBattery == onBattery) read->minutes = minutes;
    });
}

void AggregatorNotices::changed() {
    if (onChange) onChange();
}

}  // namespace vigilmoth
