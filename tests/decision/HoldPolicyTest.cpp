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
using C = HoldCause;
using H = HoldHeadline;
constexpr auto agentWorking = AwakeMode::agentWorking;
constexpr auto agentOpen = AwakeMode::agentOpen;
constexpr auto none = std::nullopt;

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

using Holds = std::vector<AgentHold>;
using S = HoldSituation;
using W = WakePermission;

TEST(HoldPolicyTest, RememberTracksWorkAndWaitsAndForgetsTheGoneAndIgnored) {
    DetectionSettings settings;
    settings.agentRules["skipped"] = AgentRule::ignore;
    const PolicyMemory old{{{{1, 5}, instance(100, none)},
                            {{2, 5}, instance(100, 50)},
                            {{3, 5}, instance(100, 50)},
                            {{9, 5}, instance(1, none)}}};
    const auto memory = HoldPolicy::remember(
        {reading("a", working, 1), reading("b", waiting, 2), reading("c", idle, 3),
         reading("d", waiting, 4), reading("skipped", working, 5)},
        old, settings, now);
    EXPECT_EQ(memory, (PolicyMemory{{{{1, 5}, instance(0, none)},
                                     {{2, 5}, instance(100, 50)},
                                     {{3, 5}, instance(100, none)},
                                     {{4, 5}, instance(none, 0)}}}));
}

TEST(HoldPolicyTest, EachAgentsCauseIsTheFirstThatApplies) {
    struct Case {
        const char* name;
        AgentReading reading;
        std::optional<PolicyMemory::Instance> instance;
        AwakeMode mode;
        std::optional<HoldCause> expected;
    };
    const auto a = reading("a", idle), state = reading("a", idle, 1, Level::state);
    const auto app = reading("app", idle, 1, Level::activity, AgentKind::desktop);
    auto liveApp = app;
    liveApp.hasLiveSession = true;
    const auto blank = instance(none, none);
    const Case cases[] = {
        {"working", reading("a", working), instance(0, none), agentWorking, C::working},
        {"no instance means ignored", reading("a", working), none, agentOpen, none},
        {"waiting within the hold", reading("a", waiting), instance(none, 299), agentWorking,
         C::waitingForUser},
        {"waiting past the hold", reading("a", waiting), instance(none, 300), agentWorking, none},
        {"waiting past the hold, finished recently", reading("a", waiting, 1, Level::state),
         instance(100, 300), agentWorking, C::finishedRecently},
        {"waiting past the hold, open", reading("a", waiting), instance(none, 300), agentOpen,
         C::open},
        {"state level idle within the grace", state, instance(119, none), agentWorking,
         C::finishedRecently},
        {"state level idle past the grace", state, instance(120, none), agentWorking, none},
        {"activity level gets no grace", a, instance(1, none), agentWorking, none},
        {"open command-line agent", a, blank, agentOpen, C::open},
        {"open desktop agent without a session", app, blank, agentOpen, none},
        {"open desktop agent with a session", liveApp, blank, agentOpen, C::open},
        {"mode always gives no open cause", a, blank, AwakeMode::always, none},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PolicyMemory memory;
        if (c.instance) memory.instances[c.reading.identity] = *c.instance;
        EXPECT_EQ(HoldPolicy::cause(c.reading, memory, c.mode, {}, now), c.expected);
    }
}

TEST(HoldPolicyTest, TheHeadlineNamesTheFirstCauseInOrderThenReachableThenRemoteAccess) {
    const FrameContext remote{.remoteAccessDetected = true};
    struct Case {
        const char* name;
        Holds holds;
        AwakeMode mode;
        H expected;
        std::optional<Date> reachable = none;
        FrameContext context = {};
        bool remoteWanted = true;
    };
    const auto a = reading("A", idle, 1), b = reading("B", idle, 2), c3 = reading("C", idle, 3);
    const auto one = [](const char* name) { return HoldSubject::one(name); };
    const auto many = HoldSubject::many;
    const Case cases[] = {
        {"always", Holds{{a, C::working}}, AwakeMode::always, H::alwaysOn()},
        {"working beats waiting", Holds{{a, C::waitingForUser}, {b, C::working}}, agentWorking,
         H::working(one("B"))},
        {"many working", Holds{{a, C::working}, {b, C::open}, {c3, C::working}}, agentOpen,
         H::working(many(2))},
        {"waiting beats finished", Holds{{a, C::finishedRecently}, {b, C::waitingForUser}},
         agentWorking, H::waitingHeld(one("B"))},
        {"finished beats open", Holds{{a, C::open}, {b, C::finishedRecently}}, agentOpen,
         H::finishedRecently(one("B"))},
        {"open", Holds{{a, C::open}, {b, C::open}}, agentOpen, H::open(many(2))},
        {"a cause beats reachable", Holds{{a, C::open}}, agentOpen, H::open(one("A")), now + 60},
        {"reachable", Holds{{a, none}}, agentWorking, H::reachable(now + 60), now + 60, remote},
        {"remote access while plugged in", Holds{{a, none}}, agentWorking, H::remoteAccess(), none,
         remote},
        {"remote access on battery",
         Holds{{a, none}},
         agentWorking,
         H::idle(one("A")),
         none,
         {.onBattery = true, .remoteAccessDetected = true}},
        {"remote access switched off", Holds{}, agentWorking, H::noAgents(), none, remote, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DetectionSettings settings;
        settings.stayAwakeForRemoteAccess = c.remoteWanted;
        EXPECT_EQ(HoldPolicy::headline(c.holds, c.mode, c.reachable, settings, c.context),
                  c.expected);
    }
}

TEST(HoldPolicyTest, TheRestHeadlineSpeaksOfWaitersThenIdlersAndNeverOfIgnoredAgents) {
    DetectionSettings settings;
    settings.agentRules["skipped"] = AgentRule::ignore;
    const auto codex = reading("Codex", idle, 1);
    struct Case {
        const char* name;
        Holds holds;
        std::string text;
    };
    const Case cases[] = {
        {"none", Holds{}, "Mac can sleep: no agent is open"},
        {"only an ignored agent", Holds{{reading("skipped", waiting), none}},
         "Mac can sleep: no agent is open"},
        {"one idle", Holds{{codex, none}}, "Mac can sleep: Codex is idle"},
        {"two idle and an ignored one",
         Holds{{codex, none},
               {reading("skipped", idle, 2), none},
               {reading("Aider", working, 3), none}},
         "Mac can sleep: all agents are idle"},
        {"a waiter is named before the idle",
         Holds{{codex, none}, {reading("Claude Code", waiting, 2), none}},
         "Mac can sleep: Claude Code is waiting for you"},
        {"an ignored waiter is not", Holds{{codex, none}, {reading("skipped", waiting, 2), none}},
         "Mac can sleep: Codex is idle"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(HoldHeadlineText::text(HoldPolicy::restHeadline(c.holds, settings)),
                  worded(c.text));
    }
}

TEST(HoldPolicyTest, AWaitOnlyHoldEndsAtTheLatestWaitersEnd) {
    const auto waiter = reading("A", waiting, 1);
    const auto stateWaiter = reading("S", waiting, 2, Level::state);
    PolicyMemory memory;
    memory.instances[waiter.identity] = instance(10, 100);
    memory.instances[stateWaiter.identity] = instance(10, 20);
    struct Case {
        const char* name;
        Holds holds;
        double grace;
        std::optional<Date> expected;
    };
    const Case cases[] = {
        {"nobody holds", Holds{{waiter, none}}, 120, none},
        {"one waiter", Holds{{waiter, C::waitingForUser}}, 120, now - 100 + 300},
        {"the later of two", Holds{{waiter, C::waitingForUser}, {stateWaiter, C::waitingForUser}},
         120, now - 20 + 300},
        {"a state-level agent's grace outlasts its wait", Holds{{stateWaiter, C::waitingForUser}},
         400, now - 10 + 400},
        {"an activity-level agent has no such grace", Holds{{waiter, C::waitingForUser}}, 400,
         now - 100 + 300},
        {"anything else holding leaves no end",
         Holds{{waiter, C::waitingForUser}, {reading("B", idle, 3), C::open}}, 120, none},
        {"a waiter without memory", Holds{{reading("C", waiting, 4), C::waitingForUser}}, 120,
         none},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DetectionSettings settings;
        settings.releaseAfterState = c.grace;
        EXPECT_EQ(HoldPolicy::waitingEnds(c.holds, memory, settings), c.expected);
    }
}

TEST(HoldPolicyTest, SafetySwitchPauseAndWakeGateOverrideAHoldAndOnlyAWaitOnlyHoldEnds) {
    const auto worker = reading("Codex", working), waiter = reading("Codex", waiting);
    const auto one = HoldSubject::one("Codex");
    const auto alwaysPausedOffAndLow = HoldSituation{.mode = AwakeMode::always,
                                                     .enabled = false,
                                                     .pausedUntil = now + 60,
                                                     .safetyStop = SafetyStop::batteryLow(12)};
    const auto remote = S{.context = FrameContext{.remoteAccessDetected = true}};
    struct Case {
        const char* name;
        HoldSituation situation;
        H headline;  // the hold, its flag and the causes stand or fall together
        bool hold;
        bool waits = false;  // the agent waits (since 100 s) instead of working
        std::optional<Date> waitingEnds = none;
    };
    const Case cases[] = {
        {"a plain hold", S{}, H::working(one), true},
        {"a safety stop wins over always and a pause", alwaysPausedOffAndLow,
         H::safetyStop(SafetyStop::batteryLow(12)), false},
        {"switched off", S{.enabled = false}, H::switchedOff(), false},
        {"paused", S{.pausedUntil = now + 1}, H::paused(now + 1), false},
        {"a pause that ended", S{.pausedUntil = now}, H::working(one), true},
        {"a new hold waits for the wake gate", S{.wake = W{.wakePending = true}}, H::idle(one),
         false},
        {"an announced sleep blocks a new hold", S{.wake = W{.sleepAnnounced = true}}, H::idle(one),
         false},
        {"a hold that was on survives an announcement",
         S{.previousHold = true, .wake = W{.sleepAnnounced = true}}, H::working(one), true},
        {"but not the settling after a sleep", S{.previousHold = true, .wake = W{.settling = true}},
         H::idle(one), false},
        {"a wait ends", S{}, H::waitingHeld(one), true, true, now + 200},
        {"a reachable end that passed", S{.reachableUntil = now}, H::waitingHeld(one), true, true,
         now + 200},
        {"agentOpen", S{.mode = agentOpen}, H::waitingHeld(one), true, true},
        {"always", S{.mode = AwakeMode::always}, H::alwaysOn(), true, true},
        {"reachable", S{.reachableUntil = now + 1}, H::waitingHeld(one), true, true},
        {"remote access", remote, H::waitingHeld(one), true, true},
    };
    PolicyMemory waited;
    waited.instances[waiter.identity] = instance(none, 100);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto& agent = c.waits ? waiter : worker;
        const auto outcome =
            HoldPolicy::decide({agent}, c.waits ? waited : PolicyMemory{}, {}, c.situation, now);
        const auto& d = outcome.decision;
        EXPECT_EQ(std::tie(d.hold, d.lidClosedFlag, d.headline, d.waitingEnds),
                  std::tie(c.hold, c.hold, c.headline, c.waitingEnds));
        if (c.waits) continue;
        EXPECT_EQ(d.perAgent, (Holds{{worker, c.hold ? std::optional(C::working) : none}}));
        // The memory moves on whatever overrides the hold.
        EXPECT_EQ(outcome.memory.instances.at(worker.identity).lastWorkingAt, now);
    }
    DetectionSettings noLidFlag;
    noLidFlag.stayAwakeLidClosedOnBattery = false;
    const auto flagless = HoldPolicy::decide({worker}, {}, noLidFlag, {}, now).decision;
    EXPECT_TRUE(flagless.hold);
    EXPECT_FALSE(flagless.lidClosedFlag);
}

}  // namespace
}  // namespace vigilmoth
