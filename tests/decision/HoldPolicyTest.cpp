// Show that the hold policy finds each agent's cause, chooses the headline in its order, lets
// safety, the switch, a pause and the wake gate override a hold, and ends a wait-only hold.
#include "decision/HoldPolicy.h"

#include <gtest/gtest.h>

#include "support/DecisionBuilders.h"
#include "support/MachineWording.h"
#include "ui/HoldHeadlineText.h"

namespace vigilmoth {
namespace {

using testing::worded;

using namespace verdicttest;
using Level = AgentDefinition::Level;
using AgentKind = AgentDefinition::Kind;

AgentReading reading(std::string name, ReportedState state, std::int32_t pid = 1,
                     Level level = Level::activity, AgentKind kind = AgentKind::cli) {
    auto made = testing::readingOf(name, name, ProcessIdentity{pid, 5}, state);
    made.level = level;
    made.kind = kind;
    return made;
}

PolicyMemory::Instance instance(std::optional<double> workedAgo, std::optional<double> waitingFor) {
    PolicyMemory::Instance made;
    if (workedAgo) made.lastWorkingAt = now - *workedAgo;
    if (waitingFor) made.waitingSince = now - *waitingFor;
    return made;
}

TEST(HoldPolicyTest, RememberTracksWorkAndWaitsAndForgetsTheGoneAndIgnored) {
    DetectionSettings settings;
    settings.agentRules["skipped"] = AgentRule::ignore;
    PolicyMemory old;
    old.instances[{1, 5}] = instance(100, std::nullopt);
    old.instances[{2, 5}] = instance(100, 50);
    old.instances[{3, 5}] = instance(100, 50);
    old.instances[{9, 5}] = instance(1, std::nullopt);
    const auto memory = HoldPolicy::remember(
        {reading("a", working, 1), reading("b", waiting, 2), reading("c", idle, 3),
         reading("d", waiting, 4), reading("skipped", working, 5)},
        old, settings, now);
    const PolicyMemory expected{{
        {{1, 5}, instance(0, std::nullopt)},
        {{2, 5}, instance(100, 50)},
        {{3, 5}, instance(100, std::nullopt)},
        {{4, 5}, instance(std::nullopt, 0)},
    }};
    EXPECT_EQ(memory, expected);
}

TEST(HoldPolicyTest, EachAgentsCauseIsTheFirstThatApplies) {
    struct Case {
        const char* name;
        AgentReading reading;
        std::optional<PolicyMemory::Instance> instance;
        AwakeMode mode;
        std::optional<HoldCause> expected;
    };
    const auto agentOpen = AwakeMode::agentOpen;
    const auto agentWorking = AwakeMode::agentWorking;
    auto liveDesktop = reading("app", idle, 1, Level::activity, AgentKind::desktop);
    liveDesktop.hasLiveSession = true;
    const Case cases[] = {
        {"working", reading("a", working), instance(0, std::nullopt), agentWorking,
         HoldCause::working},
        {"no instance means ignored", reading("a", working), std::nullopt, agentOpen, std::nullopt},
        {"waiting within the hold", reading("a", waiting), instance(std::nullopt, 299),
         agentWorking, HoldCause::waitingForUser},
        {"waiting past the hold", reading("a", waiting), instance(std::nullopt, 300), agentWorking,
         std::nullopt},
        {"waiting past the hold, finished recently", reading("a", waiting, 1, Level::state),
         instance(100, 300), agentWorking, HoldCause::finishedRecently},
        {"waiting past the hold, open", reading("a", waiting), instance(std::nullopt, 300),
         agentOpen, HoldCause::open},
        {"state level idle within the grace", reading("a", idle, 1, Level::state),
         instance(119, std::nullopt), agentWorking, HoldCause::finishedRecently},
        {"state level idle past the grace", reading("a", idle, 1, Level::state),
         instance(120, std::nullopt), agentWorking, std::nullopt},
        {"activity level gets no grace", reading("a", idle), instance(1, std::nullopt),
         agentWorking, std::nullopt},
        {"open command-line agent", reading("a", idle), instance(std::nullopt, std::nullopt),
         agentOpen, HoldCause::open},
        {"open desktop agent without a session",
         reading("app", idle, 1, Level::activity, AgentKind::desktop),
         instance(std::nullopt, std::nullopt), agentOpen, std::nullopt},
        {"open desktop agent with a session", liveDesktop, instance(std::nullopt, std::nullopt),
         agentOpen, HoldCause::open},
        {"mode always gives no open cause", reading("a", idle),
         instance(std::nullopt, std::nullopt), AwakeMode::always, std::nullopt},
    };
    const DetectionSettings settings;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PolicyMemory memory;
        if (c.instance) memory.instances[c.reading.identity] = *c.instance;
        EXPECT_EQ(HoldPolicy::cause(c.reading, memory, c.mode, settings, now), c.expected);
    }
}

std::vector<AgentHold> holds(std::vector<std::pair<AgentReading, std::optional<HoldCause>>> list) {
    std::vector<AgentHold> made;
    for (auto& [r, c] : list)
        made.push_back({r, c});
    return made;
}

TEST(HoldPolicyTest, TheHeadlineNamesTheFirstCauseInOrderThenReachableThenRemoteAccess) {
    using C = HoldCause;
    FrameContext remote;
    remote.remoteAccessDetected = true;
    FrameContext remoteOnBattery = remote;
    remoteOnBattery.onBattery = true;
    DetectionSettings noRemote;
    noRemote.stayAwakeForRemoteAccess = false;
    struct Case {
        const char* name;
        std::vector<AgentHold> holds;
        AwakeMode mode;
        std::optional<Date> reachable;
        FrameContext context;
        DetectionSettings settings;
        HoldHeadline expected;
    };
    const auto a = reading("A", idle, 1);
    const auto b = reading("B", idle, 2);
    const auto c3 = reading("C", idle, 3);
    const Case cases[] = {
        {"always",
         holds({{a, C::working}}),
         AwakeMode::always,
         std::nullopt,
         {},
         {},
         HoldHeadline::alwaysOn()},
        {"working beats waiting",
         holds({{a, C::waitingForUser}, {b, C::working}}),
         AwakeMode::agentWorking,
         std::nullopt,
         {},
         {},
         HoldHeadline::working(HoldSubject::one("B"))},
        {"many working",
         holds({{a, C::working}, {b, C::open}, {c3, C::working}}),
         AwakeMode::agentOpen,
         std::nullopt,
         {},
         {},
         HoldHeadline::working(HoldSubject::many(2))},
        {"waiting beats finished",
         holds({{a, C::finishedRecently}, {b, C::waitingForUser}}),
         AwakeMode::agentWorking,
         std::nullopt,
         {},
         {},
         HoldHeadline::waitingHeld(HoldSubject::one("B"))},
        {"finished beats open",
         holds({{a, C::open}, {b, C::finishedRecently}}),
         AwakeMode::agentOpen,
         std::nullopt,
         {},
         {},
         HoldHeadline::finishedRecently(HoldSubject::one("B"))},
        {"open",
         holds({{a, C::open}, {b, C::open}}),
         AwakeMode::agentOpen,
         std::nullopt,
         {},
         {},
         HoldHeadline::open(HoldSubject::many(2))},
        {"a cause beats reachable",
         holds({{a, C::open}}),
         AwakeMode::agentOpen,
         now + 60,
         {},
         {},
         HoldHeadline::open(HoldSubject::one("A"))},
        {"reachable",
         holds({{a, std::nullopt}}),
         AwakeMode::agentWorking,
         now + 60,
         remote,
         {},
         HoldHeadline::reachable(now + 60)},
        {"remote access while plugged in",
         holds({{a, std::nullopt}}),
         AwakeMode::agentWorking,
         std::nullopt,
         remote,
         {},
         HoldHeadline::remoteAccess()},
        {"remote access on battery",
         holds({{a, std::nullopt}}),
         AwakeMode::agentWorking,
         std::nullopt,
         remoteOnBattery,
         {},
         HoldHeadline::idle(HoldSubject::one("A"))},
        {"remote access switched off", holds({}), AwakeMode::agentWorking, std::nullopt, remote,
         noRemote, HoldHeadline::noAgents()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(HoldPolicy::headline(c.holds, c.mode, c.reachable, c.settings, c.context),
                  c.expected);
    }
}

TEST(HoldPolicyTest, TheRestHeadlineSpeaksOfWaitersThenIdlersAndNeverOfIgnoredAgents) {
    DetectionSettings settings;
    settings.agentRules["skipped"] = AgentRule::ignore;
    struct Case {
        const char* name;
        std::vector<AgentHold> holds;
        HoldHeadline expected;
        std::string text;
    };
    const Case cases[] = {
        {"none", holds({}), HoldHeadline::noAgents(), worded("Mac can sleep: no agent is open")},
        {"only an ignored agent", holds({{reading("skipped", waiting), std::nullopt}}),
         HoldHeadline::noAgents(), worded("Mac can sleep: no agent is open")},
        {"one idle", holds({{reading("Codex", idle), std::nullopt}}),
         HoldHeadline::idle(HoldSubject::one("Codex")), worded("Mac can sleep: Codex is idle")},
        {"two idle and an ignored one",
         holds({{reading("Codex", idle, 1), std::nullopt},
                {reading("skipped", idle, 2), std::nullopt},
                {reading("Aider", working, 3), std::nullopt}}),
         HoldHeadline::idle(HoldSubject::many(2)), worded("Mac can sleep: all agents are idle")},
        {"a waiter is named before the idle",
         holds({{reading("Codex", idle, 1), std::nullopt},
                {reading("Claude Code", waiting, 2), std::nullopt}}),
         HoldHeadline::waitingReleased(HoldSubject::one("Claude Code")),
         worded("Mac can sleep: Claude Code is waiting for you")},
        {"an ignored waiter is not",
         holds({{reading("Codex", idle, 1), std::nullopt},
                {reading("skipped", waiting, 2), std::nullopt}}),
         HoldHeadline::idle(HoldSubject::one("Codex")), worded("Mac can sleep: Codex is idle")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto headline = HoldPolicy::restHeadline(c.holds, settings);
        EXPECT_EQ(headline, c.expected);
        EXPECT_EQ(HoldHeadlineText::text(headline), c.text);
    }
}

TEST(HoldPolicyTest, AWaitOnlyHoldEndsAtTheLatestWaitersEnd) {
    using C = HoldCause;
    const auto waiter = reading("A", waiting, 1);
    const auto stateWaiter = reading("S", waiting, 2, Level::state);
    PolicyMemory memory;
    memory.instances[waiter.identity] = instance(10, 100);
    memory.instances[stateWaiter.identity] = instance(10, 20);
    DetectionSettings longGrace;
    longGrace.releaseAfterState = 400;
    struct Case {
        const char* name;
        std::vector<AgentHold> holds;
        DetectionSettings settings;
        std::optional<Date> expected;
    };
    const Case cases[] = {
        {"nobody holds", holds({{waiter, std::nullopt}}), {}, std::nullopt},
        {"one waiter", holds({{waiter, C::waitingForUser}}), {}, now - 100 + 300},
        {"the later of two",
         holds({{waiter, C::waitingForUser}, {stateWaiter, C::waitingForUser}}),
         {},
         now - 20 + 300},
        {"a state-level agent's grace outlasts its wait", holds({{stateWaiter, C::waitingForUser}}),
         longGrace, now - 10 + 400},
        {"an activity-level agent has no such grace", holds({{waiter, C::waitingForUser}}),
         longGrace, now - 100 + 300},
        {"anything else holding leaves no end",
         holds({{waiter, C::waitingForUser}, {reading("B", idle, 3), C::open}}),
         {},
         std::nullopt},
        {"a waiter without memory",
         holds({{reading("C", waiting, 4), C::waitingForUser}}),
         {},
         std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(HoldPolicy::waitingEnds(c.holds, memory, c.settings), c.expected);
    }
}

struct DecideCase {
    const char* name;
    HoldSituation situation;
    bool hold;
    bool lidClosedFlag;
    HoldHeadline headline;
    bool causesKept;
};

TEST(HoldPolicyTest, SafetySwitchPauseAndWakeGateOverrideAHold) {
    const auto worker = reading("Codex", working);
    const auto situation = [](auto&& change) {
        HoldSituation made;
        change(made);
        return made;
    };
    const auto one = HoldSubject::one("Codex");
    const DecideCase cases[] = {
        {"a plain hold", {}, true, true, HoldHeadline::working(one), true},
        {"a safety stop wins over always and a pause", situation([](HoldSituation& s) {
             s.mode = AwakeMode::always;
             s.pausedUntil = now + 60;
             s.enabled = false;
             s.safetyStop = SafetyStop::batteryLow(12);
         }),
         false, false, HoldHeadline::safetyStop(SafetyStop::batteryLow(12)), false},
        {"switched off", situation([](HoldSituation& s) { s.enabled = false; }), false, false,
         HoldHeadline::switchedOff(), false},
        {"paused", situation([](HoldSituation& s) { s.pausedUntil = now + 1; }), false, false,
         HoldHeadline::paused(now + 1), false},
        {"a pause that ended", situation([](HoldSituation& s) { s.pausedUntil = now; }), true, true,
         HoldHeadline::working(one), true},
        {"a new hold waits for the wake gate",
         situation([](HoldSituation& s) { s.wake.wakePending = true; }), false, false,
         HoldHeadline::idle(one), false},
        {"an announced sleep blocks a new hold",
         situation([](HoldSituation& s) { s.wake.sleepAnnounced = true; }), false, false,
         HoldHeadline::idle(one), false},
        {"a hold that was on survives an announcement", situation([](HoldSituation& s) {
             s.wake.sleepAnnounced = true;
             s.previousHold = true;
         }),
         true, true, HoldHeadline::working(one), true},
        {"but not the settling after a sleep", situation([](HoldSituation& s) {
             s.wake.settling = true;
             s.previousHold = true;
         }),
         false, false, HoldHeadline::idle(one), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto outcome = HoldPolicy::decide({worker}, {}, {}, c.situation, now);
        EXPECT_EQ(outcome.decision.hold, c.hold);
        EXPECT_EQ(outcome.decision.lidClosedFlag, c.lidClosedFlag);
        EXPECT_EQ(outcome.decision.headline, c.headline);
        EXPECT_EQ(outcome.decision.waitingEnds, std::nullopt);
        ASSERT_EQ(outcome.decision.perAgent.size(), 1u);
        EXPECT_EQ(outcome.decision.perAgent[0].reading, worker);
        EXPECT_EQ(outcome.decision.perAgent[0].cause,
                  c.causesKept ? std::optional(HoldCause::working) : std::nullopt);
        // The memory moves on whatever overrides the hold.
        EXPECT_EQ(outcome.memory.instances.at(worker.identity).lastWorkingAt, now);
    }
}

TEST(HoldPolicyTest, TheLidClosedFlagFollowsTheSetting) {
    DetectionSettings settings;
    settings.stayAwakeLidClosedOnBattery = false;
    const auto outcome = HoldPolicy::decide({reading("Codex", working)}, {}, settings, {}, now);
    EXPECT_TRUE(outcome.decision.hold);
    EXPECT_FALSE(outcome.decision.lidClosedFlag);
}

TEST(HoldPolicyTest, AWaitingEndIsGivenOnlyWhenNothingElseCouldHold) {
    const auto waiter = reading("Codex", waiting);
    PolicyMemory memory;
    memory.instances[waiter.identity] = instance(std::nullopt, 100);
    FrameContext remote;
    remote.remoteAccessDetected = true;
    struct Case {
        const char* name;
        AwakeMode mode;
        std::optional<Date> reachable;
        FrameContext context;
        std::optional<Date> expected;
    };
    const Case cases[] = {
        {"agentWorking", AwakeMode::agentWorking, std::nullopt, {}, now + 200},
        {"a reachable end that passed", AwakeMode::agentWorking, now, {}, now + 200},
        {"agentOpen", AwakeMode::agentOpen, std::nullopt, {}, std::nullopt},
        {"always", AwakeMode::always, std::nullopt, {}, std::nullopt},
        {"reachable", AwakeMode::agentWorking, now + 1, {}, std::nullopt},
        {"remote access", AwakeMode::agentWorking, std::nullopt, remote, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        HoldSituation situation;
        situation.mode = c.mode;
        situation.reachableUntil = c.reachable;
        situation.context = c.context;
        const auto outcome = HoldPolicy::decide({waiter}, memory, {}, situation, now);
        EXPECT_TRUE(outcome.decision.hold);
        EXPECT_EQ(outcome.decision.waitingEnds, c.expected);
    }
}

}  // namespace
}  // namespace vigilmoth
