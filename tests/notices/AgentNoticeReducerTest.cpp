// Show that the notice reducer debounces, groups and suppresses notices as its scenarios
// require, and logs every decision with its reason.
#include <gtest/gtest.h>

#include "base/DefaultsKeys.h"
#include "notices/AgentNoticeReducer.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

struct Session {
    std::int32_t pid;
    ReportedState state;
    std::optional<double> since = std::nullopt;  // seconds after kStart
    bool failed = false;
    bool withTurn = true;
};

// Drives one reducer through updates at offsets from kStart.
class Scenario {
public:
    Scenario() { input.settings = {.waiting = true, .finished = true, .onlyWhenAway = true}; }

    // The notices due at `offset` and the log lines of that update.
    std::vector<AgentNotice> at(double offset, const std::vector<Session>& sessions) {
        input.readings.clear();
        for (const auto& session : sessions) {
            // The verdict disagrees on purpose: the reported turn is what is followed.
            auto reading = testing::readingOf("claude", "Claude Code", {session.pid, 100},
                                              ReportedState::idle);
            if (session.withTurn) {
                std::optional<Date> since;
                if (session.since) since = kStart + *session.since;
                reading.turn = AgentTurn{session.state, since, session.failed};
            } else {
                reading.verdict.state = session.state;
            }
            input.readings.push_back(reading);
        }
        auto notices = reducer.update(kStart + offset, input);
        log.clear();
        for (const auto& decision : reducer.decisions)
            log.push_back(decision.logLine());
        return notices;
    }

    AgentNoticeReducer reducer;
    AgentNoticeInput input;
    std::vector<std::string> log;
};

using Lines = std::vector<std::string>;
constexpr auto working = ReportedState::working;
constexpr auto waiting = ReportedState::waitingForUser;
constexpr auto idle = ReportedState::idle;

std::vector<std::int32_t> pids(const AgentNotice& notice) {
    std::vector<std::int32_t> pids;
    for (const auto& session : notice.sessions)
        pids.push_back(session.identity.pid);
    return pids;
}

TEST(AgentNoticeReducerTest, AWaitFallsDueAfterItsDebounceAndAShortOneIsWithdrawn) {
    Scenario scenario;
    scenario.at(0, {{1, working}});
    EXPECT_TRUE(scenario.at(1, {{1, waiting}}).empty());
    EXPECT_TRUE(scenario.at(2.5, {{1, working}}).empty());
    EXPECT_EQ(scenario.log, (Lines{"waiting skipped pid 1: the wait ended after 1.5 s"}));

    scenario.at(10, {{1, waiting}});
    EXPECT_TRUE(scenario.at(12, {{1, waiting}}).empty());
    auto notices = scenario.at(12.1, {{1, waiting}});
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].kind, AgentNoticeKind::waiting);
    EXPECT_EQ(scenario.log, (Lines{"waiting fired pid 1"}));
    EXPECT_TRUE(scenario.reducer.sessions.at({1, 100}).waitTold);
}

TEST(AgentNoticeReducerTest, WhatHeldAtLaunchIsNeverTold) {
    Scenario scenario;
    scenario.at(0, {{1, waiting}, {2, working}});
    EXPECT_EQ(scenario.log, (Lines{"waiting skipped pid 1: it waited already at launch"}));
    EXPECT_TRUE(scenario.at(10, {{1, waiting}, {2, working}}).empty());
    EXPECT_TRUE(scenario.log.empty());
}

TEST(AgentNoticeReducerTest, AgentsWaitingWithinMomentsAreToldTogether) {
    Scenario scenario;
    scenario.at(0, {{1, working}, {2, working}, {3, working}});
    scenario.at(1, {{1, waiting}, {2, working}, {3, working}});
    scenario.at(2.5, {{1, waiting}, {2, waiting}, {3, working}});
    // pid 1 is old enough, but pid 2 is still fresh: the group keeps forming.
    EXPECT_TRUE(scenario.at(4, {{1, waiting}, {2, waiting}, {3, working}}).empty());
    auto notices = scenario.at(4.6, {{1, waiting}, {2, waiting}, {3, working}});
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(pids(notices[0]), (std::vector<std::int32_t>{1, 2}));
    EXPECT_EQ(scenario.log, (Lines{"waiting fired pid 1", "waiting fired pid 2"}));
}

TEST(AgentNoticeReducerTest, AFinishedTurnWaitsThreeSecondsAndCarriesItsLength) {
    Scenario scenario;
    scenario.at(0, {{1, idle}});
    scenario.at(10, {{1, working, 8}});
    scenario.at(100, {{1, idle, std::nullopt, true}});
    EXPECT_TRUE(scenario.at(102.5, {{1, idle}}).empty());
    auto notices = scenario.at(103, {{1, idle}});
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].sessions[0].workedFor, 92.0);
    EXPECT_TRUE(notices[0].sessions[0].failed);
    EXPECT_EQ(scenario.log, (Lines{"finished fired pid 1 after 92.0 s"}));
}

TEST(AgentNoticeReducerTest, ATurnStartIsNeverPlacedBeforeThePreviousUpdate) {
    struct Case {
        std::string name;
        std::optional<double> since;
        double workedFor;
    };
    const std::vector<Case> cases = {
        {"reported start between updates", 7, 13},
        {"reported start before the last update", 2, 15},
        {"reported start in the future", 30, 10},
        {"no reported start", std::nullopt, 10},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        Scenario scenario;
        scenario.at(0, {{1, idle}});
        scenario.at(5, {{1, idle}});
        scenario.at(10, {{1, working, testCase.since}});
        scenario.at(20, {{1, idle}});
        auto notices = scenario.at(30, {{1, idle}});
        ASSERT_EQ(notices.size(), 1u);
        EXPECT_EQ(notices[0].sessions[0].workedFor, testCase.workedFor);
    }
}

TEST(AgentNoticeReducerTest, WorkingAgainWithdrawsTheFinishedNotice) {
    Scenario scenario;
    scenario.at(0, {{1, working}});
    scenario.at(10, {{1, idle}});
    EXPECT_TRUE(scenario.at(12.5, {{1, working}}).empty());
    EXPECT_EQ(scenario.log, (Lines{"finished skipped pid 1: working again after 2.5 s"}));
    EXPECT_TRUE(scenario.at(30, {{1, working}}).empty());
}

TEST(AgentNoticeReducerTest, AToldWaitTurnsTheFinishedNoticeIntoAsksInstead) {
    Scenario scenario;
    scenario.at(0, {{1, working}});
    scenario.at(10, {{1, idle}});
    scenario.at(11, {{1, waiting}});
    // Both fall due at once; the wait is told first, so the finish is not.
    auto notices = scenario.at(20, {{1, waiting}});
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(notices[0].kind, AgentNoticeKind::waiting);
    EXPECT_EQ(scenario.log,
              (Lines{"waiting fired pid 1",
                     "finished skipped pid 1: it asks a question, and that was told"}));
}

TEST(AgentNoticeReducerTest, TheAppInFrontAndASwitchedOffProductSuppress) {
    struct Case {
        std::string name;
        bool onlyWhenAway;
        bool userActive;
        std::optional<std::int32_t> front;
        bool active;
        Lines log;
    };
    const std::vector<Case> cases = {
        {"in front", true, true, 77, true, {"waiting skipped pid 1: front app is its app"}},
        {"in front but away", true, false, 77, true, {}},
        {"another app in front", true, true, 78, true, {}},
        {"in front, told anyway", false, true, 77, true, {}},
        {"paused",
         true,
         false,
         std::nullopt,
         false,
         {"waiting skipped pid 1: vigilmoth is off or paused"}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        Scenario scenario;
        scenario.input.owners = {{{1, 100}, 77}};
        scenario.at(0, {{1, working}});
        scenario.input.settings.onlyWhenAway = testCase.onlyWhenAway;
        scenario.input.userActive = testCase.userActive;
        scenario.input.frontmostPid = testCase.front;
        scenario.input.active = testCase.active;
        scenario.at(1, {{1, waiting}});
        EXPECT_EQ(scenario.log, testCase.log);
        bool told = scenario.at(5, {{1, waiting}}).size() == 1;
        EXPECT_EQ(told, testCase.log.empty());
    }
}

TEST(AgentNoticeReducerTest, PendingNoticesAreScreenedAgainstEachNewInput) {
    Scenario scenario;
    scenario.at(0, {{1, working}, {2, working}});
    scenario.at(1, {{1, waiting}, {2, idle}});
    scenario.input.settings.finished = false;
    scenario.input.active = false;
    EXPECT_TRUE(scenario.at(2, {{1, waiting}, {2, idle}}).empty());
    // The finished one goes without a word; the waiting one is logged as not active.
    EXPECT_EQ(scenario.log, (Lines{"waiting skipped pid 1: vigilmoth is off or paused"}));
    EXPECT_TRUE(scenario.reducer.candidates.empty());
}

TEST(AgentNoticeReducerTest, SessionsThatVanishWhileWorkingHaveFinished) {
    Scenario scenario;
    scenario.at(0, {{3, working}, {1, working}, {2, waiting}});
    scenario.at(5, {{3, waiting}, {1, working}, {2, waiting}});
    scenario.at(6, {});
    // pid 3's pending wait is withdrawn; 1 finished (never "with an error"); 2 just went.
    EXPECT_EQ(scenario.log, (Lines{"waiting skipped pid 3: the wait ended after 1.0 s"}));
    EXPECT_TRUE(scenario.reducer.sessions.empty());
    auto notices = scenario.at(9, {});
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_EQ(pids(notices[0]), (std::vector<std::int32_t>{1}));
    EXPECT_EQ(notices[0].sessions[0].workedFor, 6.0);
    EXPECT_FALSE(notices[0].sessions[0].failed);
}

TEST(AgentNoticeReducerTest, WithoutATurnTheVerdictIsFollowed) {
    Scenario scenario;
    scenario.at(0, {{1, working, std::nullopt, false, false}});
    scenario.at(1, {{1, waiting, std::nullopt, false, false}});
    EXPECT_EQ(scenario.at(4, {{1, waiting, std::nullopt, false, false}}).size(), 1u);
}

TEST(AgentNoticeReducerTest, SettingsLoadOnlyBooleans) {
    MemoryKeyValueStore store;
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{true, false, true}));
    store.set(defaults_keys::noticesWaiting, "no");
    store.set(defaults_keys::noticesFinished, true);
    store.set(defaults_keys::noticesOnlyWhenAway, 0);
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{true, true, true}));
    AgentNoticeSettings{false, true, false}.save(store);
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{false, true, false}));
}

}  // namespace
}  // namespace vigilmoth
