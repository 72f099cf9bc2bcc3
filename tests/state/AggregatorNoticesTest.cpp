// Show that the aggregator's notices post what the lab's replay finds for the same recording,
// keep a short history, announce a hidden notice once, and read the sleep timer sparingly.
#include <gtest/gtest.h>

#include <map>

#include "lab/LabFormat.h"
#include "lab/LabNotices.h"
#include "lab/LabReplay.h"
#include "state/AggregatorNotices.h"
#include "support/DecisionBuilders.h"
#include "support/FakeNotificationCenter.h"
#include "support/TestSupport.h"
#include "ui/AgentNoticeText.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

class FakeHosts final : public AgentHostFinding {
public:
    std::map<std::int32_t, std::int32_t> ownerOf;
    int lookups = 0;

    std::vector<std::optional<AgentHost>> hosts(const std::vector<AgentHostRequest>&) override {
        return {};
    }
    bool bringForward(std::int32_t) override { return false; }
    std::vector<std::optional<std::int32_t>> owners(
        const std::vector<std::int32_t>& pids) override {
        ++lookups;
        std::vector<std::optional<std::int32_t>> found;
        for (auto pid : pids) {
            auto owner = ownerOf.find(pid);
            found.push_back(owner == ownerOf.end() ? std::nullopt : std::optional(owner->second));
        }
        return found;
    }
};

class FakePresence final : public UserPresenceReading {
public:
    std::optional<std::int32_t> front;
    double idleSeconds = 0;
    std::optional<std::int32_t> frontmostPid() override { return front; }
    double secondsSinceInput() override { return idleSeconds; }
};

class FakeSleepTimer final : public SleepTimerReading {
public:
    std::vector<bool> reads;
    std::vector<std::function<void(std::optional<int>)>> pending;
    void read(bool onBattery, std::function<void(std::optional<int>)> done) override {
        reads.push_back(onBattery);
        pending.push_back(std::move(done));
    }
};

class FakeAssertions final : public PowerAssertionListing {
public:
    std::set<int> pids;
    std::set<int> assertingPIDs() override { return pids; }
};

DetectionSample sampleOf(std::vector<std::pair<std::int32_t, ReportedState>> sessions) {
    DetectionSample sample;
    for (auto [pid, state] : sessions) {
        sample.readings.push_back(
            testing::readingOf("claude", "Claude Code", {pid, 100}, state));
    }
    return sample;
}

class AggregatorNoticesTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink([](LogLevel, std::string_view, std::string_view) {});
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    // Every session of the sample in one state at `offset`.
    void announce(double offset, std::vector<std::pair<std::int32_t, ReportedState>> sessions) {
        notices.announceAgents(sampleOf(std::move(sessions)), situation, kStart + offset);
    }
    std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const auto& request : center.added)
            all.push_back(request.title);
        return all;
    }

    testing::FakeNotificationCenter center;
    Notifier notifier{center};
    FakeHosts hosts;
    FakePresence presence;
    AgentNoticeSituation situation{.settings = {.waiting = true, .finished = true,
                                                .onlyWhenAway = true}};
    std::vector<std::string> posted;
    AggregatorNotices notices{{.notifier = &notifier,
                               .hosts = &hosts,
                               .presence = &presence,
                               .notify = [this](const std::string& text) {
                                   posted.push_back(text);
                               }}};
};

constexpr auto working = ReportedState::working;
constexpr auto waiting = ReportedState::waitingForUser;

TEST(AggregatorNoticesReplayTest, PostsTheNoticesTheLabsReplayFinds) {
    setLogSink([](LogLevel, std::string_view, std::string_view) {});
    auto recording = LabFormat::recording(testing::readFile(testing::fixture("lab/notices.jsonl")));
    testing::FakeNotificationCenter center;
    Notifier notifier(center);
    AggregatorNotices notices({.notifier = &notifier});
    AgentNoticeSituation replay{.settings = AgentNoticeFeed::Conditions::replay().settings};
    for (const auto& step : LabReplay::steps(recording, std::nullopt, std::nullopt)) {
        notices.announceAgents({.readings = step.readings, .decision = step.decision}, replay,
                               step.at);
    }
    std::vector<std::pair<std::string, std::string>> expected, live;
    for (const auto& told : LabNotices::notices(recording, std::nullopt)) {
        auto content = AgentNoticeText::content(told.notice, {}, told.at);
        expected.emplace_back(content.id, content.title);
    }
    for (const auto& request : center.added)
        live.emplace_back(request.identifier, request.title);
    EXPECT_EQ(live.size(), 5u);
    EXPECT_EQ(live, expected);
    setLogSink(writeLogLineToStandardError);
}

TEST_F(AggregatorNoticesTest, KeepsTheFiveNewestDecisionsNewestFirst) {
    announce(0, {});
    situation.active = false;
    for (int pid = 1; pid <= 4; ++pid)
        announce(pid, {{pid, waiting}});
    situation.active = true;
    announce(10, {{10, waiting}});
    announce(13, {{10, waiting}});
    const auto& entries = notices.history().entries;
    ASSERT_EQ(entries.size(), 5u);
    EXPECT_EQ(entries.front().title, "Claude Code is waiting for you");
    EXPECT_EQ(entries.front().result.kind, AgentNoticeHistory::Result::Kind::sending);
    EXPECT_EQ(entries[1].id, "skipped-4");
    EXPECT_EQ(entries[1].title, "An agent started to wait for you");
    EXPECT_EQ(entries[1].result.kind, AgentNoticeHistory::Result::Kind::notActive);
    EXPECT_EQ(entries.back().id, "skipped-1");

    notices.delivered(center.added.back().identifier, AgentNoticeDelivery::noBanner);
    EXPECT_EQ(notices.history().entries.front().result,
              AgentNoticeHistory::Result::sent(AgentNoticeDelivery::noBanner));
}

TEST_F(AggregatorNoticesTest, TheFrontApplicationCountsOnlyWhenTheUserWantsToBeAway) {
    hosts.ownerOf = {{5, 50}};
    presence.front = 50;
    presence.idleSeconds = 2;
    struct Case {
        const char* name;
        bool onlyWhenAway;
        double idleSeconds;
        std::vector<std::string> titles;
    };
    for (const auto& c : {Case{"away only, user at its terminal", true, 2, {}},
                          Case{"away only, user gone for a while", true, 30,
                               {"Claude Code is waiting for you"}},
                          Case{"always", false, 2, {"Claude Code is waiting for you"}}}) {
        SCOPED_TRACE(c.name);
        testing::FakeNotificationCenter center;
        Notifier notifier(center);
        AggregatorNotices notices({.notifier = &notifier, .hosts = &hosts, .presence = &presence});
        presence.idleSeconds = c.idleSeconds;
        situation.settings.onlyWhenAway = c.onlyWhenAway;
        notices.announceAgents(sampleOf({}), situation, kStart);
        notices.announceAgents(sampleOf({{5, waiting}}), situation, kStart + 1);
        notices.announceAgents(sampleOf({{5, waiting}}), situation, kStart + 4);
        std::vector<std::string> titles;
        for (const auto& request : center.added)
            titles.push_back(request.title);
        EXPECT_EQ(titles, c.titles);
        bool inFront = !notices.history().entries.empty() &&
                       notices.history().entries.front().result.kind ==
                           AgentNoticeHistory::Result::Kind::inFront;
        EXPECT_EQ(inFront, c.titles.empty());
    }
    // Each session's owner was looked up once, when it appeared.
    EXPECT_EQ(hosts.lookups, 3);
}

TEST_F(AggregatorNoticesTest, SwitchingBothKindsOffAndOnAnnouncesNoStateThatAlreadyHeld) {
    announce(0, {{5, working}});
    situation.settings.waiting = situation.settings.finished = false;
    announce(1, {{5, waiting}});
    situation.settings.waiting = situation.settings.finished = true;
    announce(2, {{5, waiting}});
    announce(6, {{5, waiting}});
    EXPECT_EQ(titles(), std::vector<std::string>{});
    announce(7, {{5, working}});
    announce(8, {{5, waiting}});
    announce(11, {{5, waiting}});
    EXPECT_EQ(titles(), std::vector<std::string>{"Claude Code is waiting for you"});
}

TEST_F(AggregatorNoticesTest, WithoutANotifierNothingIsFollowed) {
    AggregatorNotices silent({.hosts = &hosts});
    silent.announceAgents(sampleOf({{5, waiting}}), situation, kStart);
    EXPECT_EQ(hosts.lookups, 0);
    EXPECT_TRUE(silent.history().entries.empty());
}

TEST_F(AggregatorNoticesTest, AnnouncesAHiddenNoticeOnceWhileTheIconIsHidden) {
    HiddenNoticeFacts switchedOff{.showMenuBarIcon = false,
                                  .helperStatus = HelperStatus::notRegistered,
                                  .sleepDisabled = true};
    HiddenNoticeFacts notResponding{.showMenuBarIcon = false,
                                    .helperStatus = HelperStatus::enabled,
                                    .hasBattery = true,
                                    .stayAwakeLidClosedOnBattery = true,
                                    .setup = HelperSetup::notResponding};
    HiddenNoticeFacts fine{.showMenuBarIcon = false, .helperStatus = HelperStatus::enabled};
    auto shown = switchedOff;
    shown.showMenuBarIcon = true;
    // Each step: the facts, and how many texts have been posted after it.
    const std::vector<std::pair<HiddenNoticeFacts, size_t>> steps = {
        {shown, 0},          // the icon shows it
        {switchedOff, 0},    // hiding the icon later does not announce what held already
        {fine, 0},           // it went away
        {switchedOff, 1},    // and came back
        {switchedOff, 1},    // once
        {notResponding, 2},  // another case
    };
    for (size_t at = 0; at < steps.size(); ++at) {
        SCOPED_TRACE(at);
        notices.announceHiddenNotice(steps[at].first);
        EXPECT_EQ(posted.size(), steps[at].second);
    }
    EXPECT_EQ(posted, (std::vector<std::string>{
                          "Your Mac cannot sleep. Allow vigilmoth again in System Settings > "
                          "General > Login Items.",
                          "vigilmoth cannot reach its helper. Your Mac will sleep when you close "
                          "the lid on battery."}));
}

TEST_F(AggregatorNoticesTest, ReadsTheSleepTimerAtMostEveryThirtySecondsOnOnePowerSource) {
    FakeSleepTimer timer;
    FakeAssertions assertions;
    assertions.pids = {42};
    AggregatorNotices notices({.sleepTimer = &timer, .assertions = &assertions, .ownPid = 42});
    FrameContext mains, battery{.onBattery = true, .lidClosed = true};
    notices.updateMacSleep(mains, kStart, false);
    timer.pending.back()(10);
    notices.updateMacSleep(mains, kStart + 29, true);
    EXPECT_EQ(notices.macSleep(), (MacSleepState{.flagInUse = true, .sleepTimerMinutes = 10}));
    notices.updateMacSleep(mains, kStart + 31, false);
    // A switch reads at once, and forgets the other source's minutes.
    notices.updateMacSleep(battery, kStart + 32, false);
    EXPECT_EQ(timer.reads, (std::vector{false, false, true}));
    EXPECT_EQ(notices.macSleep(), (MacSleepState{.lidClosed = true, .onBattery = true}));
    // The answer of a read made for mains arrives after the switch: stale.
    timer.pending[1](25);
    notices.updateMacSleep(battery, kStart + 33, false);
    EXPECT_EQ(notices.macSleep().sleepTimerMinutes, std::nullopt);
    assertions.pids = {42, 7};
    timer.pending[2](0);
    notices.updateMacSleep(battery, kStart + 34, false);
    EXPECT_EQ(notices.macSleep(), (MacSleepState{.lidClosed = true, .onBattery = true,
                                                 .sleepTimerMinutes = 0, .otherAppHolds = true}));
}

}  // namespace
}  // namespace vigilmoth
