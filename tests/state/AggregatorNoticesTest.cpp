// Show that the aggregator's notices keep a short history, count the front application only
// when asked to, announce a hidden notice once, and read the sleep timer sparingly.
#include <gtest/gtest.h>

#include "state/AggregatorNotices.h"
#include "support/DecisionBuilders.h"
#include "support/FakeNotificationCenter.h"
#include "support/MachineWording.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);
constexpr auto working = ReportedState::working;
constexpr auto waiting = ReportedState::waitingForUser;

// Every session runs in application 50, which is in front; the sleep timer's reads wait for
// their answers.
class FakeSystem final : public AgentHostFinding,
                         public UserPresenceReading,
                         public SleepTimerReading,
                         public PowerAssertionListing {
public:
    int lookups = 0;
    double idleSeconds = 2;
    std::vector<bool> reads;
    std::vector<std::function<void(std::optional<int>)>> answers;
    std::set<int> pids{42};

    std::vector<std::optional<AgentHost>> hosts(const std::vector<AgentHostRequest>&) override {
        return {};
    }
    bool bringForward(std::int32_t) override { return false; }
    std::vector<std::optional<std::int32_t>> owners(
        const std::vector<std::int32_t>& pids) override {
        ++lookups;
        return std::vector<std::optional<std::int32_t>>(pids.size(), 50);
    }
    std::optional<std::int32_t> frontmostPid() override { return 50; }
    double secondsSinceInput() override { return idleSeconds; }
    void read(bool onBattery, std::function<void(std::optional<int>)> done) override {
        reads.push_back(onBattery);
        answers.push_back(std::move(done));
    }
    std::set<int> assertingPIDs() override { return pids; }
};

class AggregatorNoticesTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink([](LogLevel, std::string_view, std::string_view) {});
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    // The sessions of the sample at `offset`, each in its state.
    void announce(double offset, std::vector<std::pair<std::int32_t, ReportedState>> sessions,
                  AggregatorNotices* to = nullptr) {
        DetectionSample sample;
        for (auto [pid, state] : sessions)
            sample.readings.push_back(testing::readingOf("claude", "Claude Code", {pid, 1}, state));
        (to ? *to : notices).announceAgents(sample, situation, kStart + offset);
    }

    testing::FakeNotificationCenter center;
    Notifier notifier{center};
    FakeSystem hosts;
    AgentNoticeSituation situation{
        .settings = {.waiting = true, .finished = true, .onlyWhenAway = false}};
    std::vector<std::string> posted;
    AggregatorNotices notices{
        {.notifier = &notifier,
         .hosts = &hosts,
         .presence = &hosts,
         .notify = [this](const std::string& text) { posted.push_back(text); }}};
};

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
    EXPECT_EQ(entries.front().result.kind, AgentNoticeHistory::Result::Kind::sending);
    EXPECT_EQ(entries[1].title, "An agent started to wait for you");
    EXPECT_EQ(entries[1].result.kind, AgentNoticeHistory::Result::Kind::notActive);
    EXPECT_EQ(entries.back().id, "skipped-1");
}

TEST_F(AggregatorNoticesTest, TheFrontApplicationCountsOnlyWhenTheUserWantsToBeAway) {
    // The user at the agent's own application, gone for a while, and told always.
    for (auto [onlyWhenAway, idleSeconds, posted] :
         {std::tuple{true, 2.0, 0u}, {true, 30.0, 1u}, {false, 2.0, 1u}}) {
        SCOPED_TRACE(idleSeconds);
        AggregatorNotices notices({.notifier = &notifier, .hosts = &hosts, .presence = &hosts});
        center.added.clear();
        hosts.idleSeconds = idleSeconds;
        situation.settings.onlyWhenAway = onlyWhenAway;
        announce(0, {}, &notices);
        announce(1, {{5, waiting}}, &notices);
        announce(4, {{5, waiting}}, &notices);
        EXPECT_EQ(center.added.size(), posted);
        EXPECT_EQ(notices.history().entries.front().result.kind ==
                      AgentNoticeHistory::Result::Kind::inFront,
                  posted == 0);
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
    EXPECT_TRUE(center.added.empty());
    announce(7, {{5, working}});
    announce(8, {{5, waiting}});
    announce(11, {{5, waiting}});
    ASSERT_EQ(center.added.size(), 1u);
    EXPECT_EQ(center.added.front().title, "Claude Code is waiting for you");
}

TEST_F(AggregatorNoticesTest, AnnouncesAHiddenNoticeOnceWhileTheIconIsHidden) {
    HiddenNoticeFacts off{.showMenuBarIcon = false, .sleepDisabled = true};
    HiddenNoticeFacts unreachable{.showMenuBarIcon = false,
                                  .helperStatus = HelperStatus::enabled,
                                  .hasBattery = true,
                                  .stayAwakeLidClosedOnBattery = true,
                                  .setup = HelperSetup::notResponding};
    HiddenNoticeFacts fine{.showMenuBarIcon = false, .helperStatus = HelperStatus::enabled};
    HiddenNoticeFacts shown{.sleepDisabled = true};
    // The icon shows it; hiding the icon later does not announce what held already; it goes
    // away and comes back, once; another case.
    const std::vector<std::pair<HiddenNoticeFacts, size_t>> steps = {
        {shown, 0}, {off, 0}, {fine, 0}, {off, 1}, {off, 1}, {unreachable, 2}};
    for (size_t at = 0; at < steps.size(); ++at) {
        SCOPED_TRACE(at);
        notices.announceHiddenNotice(steps[at].first);
        EXPECT_EQ(posted.size(), steps[at].second);
    }
    EXPECT_EQ(posted.back(), testing::worded("vigilmoth cannot reach its helper. Your Mac will "
                                             "sleep when you close the lid on battery."));
}

TEST_F(AggregatorNoticesTest, ReadsTheSleepTimerAtMostEveryThirtySecondsOnOnePowerSource) {
    auto& timer = hosts;
    AggregatorNotices notices({.sleepTimer = &timer, .assertions = &timer, .ownPid = 42});
    FrameContext mains, battery{.onBattery = true, .lidClosed = true};
    notices.updateMacSleep(mains, kStart, false);
    timer.answers.back()(10);
    notices.updateMacSleep(mains, kStart + 29, true);
    EXPECT_EQ(notices.macSleep(), (MacSleepState{.flagInUse = true, .sleepTimerMinutes = 10}));
    notices.updateMacSleep(mains, kStart + 31, false);
    // A switch reads at once, and forgets the other source's minutes.
    notices.updateMacSleep(battery, kStart + 32, false);
    EXPECT_EQ(timer.reads, (std::vector{false, false, true}));
    EXPECT_EQ(notices.macSleep(), (MacSleepState{.lidClosed = true, .onBattery = true}));
    // The answer of a read for mains arrives after the switch: stale.
    timer.answers[1](25);
    timer.pids = {42, 7};
    notices.updateMacSleep(battery, kStart + 33, false);
    EXPECT_EQ(notices.macSleep(),
              (MacSleepState{.lidClosed = true, .onBattery = true, .otherAppHolds = true}));
}

}  // namespace
}  // namespace vigilmoth
