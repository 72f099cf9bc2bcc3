// Show that one tick's reading takes the first rule that applies, in order: the user's rule,
// the approval signs, the stated state with commands overruling it, then inference; and that
// the turn says where the conversation stands.
#include <gtest/gtest.h>

#include <functional>

#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;

struct Case {
    const char* name;
    AgentEvidence evidence;
    std::function<void(AgentMemory&)> memory;
    AgentVerdict expected;
};

void noMemory(AgentMemory&) {}

AgentVerdict verdict(ReportedState state, Confidence confidence, VerdictReason reason) {
    return {state, confidence, reason};
}

VerdictOutcome readOnce(const AgentEvidence& evidence, const AgentMemory& memory,
                        const DetectionSettings& settings) {
    return VerdictRules::readings(testing::frameAt(now, {evidence}),
                                  {{evidence.identity(), memory}}, settings);
}

TEST(VerdictReadingTest, TheFirstRuleThatAppliesDecides) {
    const auto plain = VerdictReason::plain;
    const Case cases[] = {
        {"nothing at all on the first tick", agent(), noMemory,
         verdict(idle, Confidence::inferredWeak, VerdictReason::noActivity(0))},
        {"a busy command overrules a waiting hook",
         with(withHook(agent(), waiting, now - 30), [](auto& e) { e.busyChildCommands = 1; }),
         noMemory, verdict(working, Confidence::inferredStrong, VerdictReason::runningCommand(1))},
        {"working jobs overrule a stated idle",
         with(withHook(agent(), idle, now - 5), [](auto& e) { e.backgroundJobsWorking = 2; }),
         noMemory, verdict(working, Confidence::inferredStrong, VerdictReason::backgroundJob(2))},
        {"the hook says working", withHook(agent(), working, now - 5), noMemory,
         verdict(working, Confidence::reported, plain(Kind::reportsBusy))},
        {"a report says waiting",
         with(agent(), [](auto& e) { e.reported = report(waiting, Source::codexRollout, now); }),
         noMemory, verdict(waiting, Confidence::reported, plain(Kind::asksPermission))},
        {"the hook says idle", withHook(agent(), idle, now - 5), noMemory,
         verdict(idle, Confidence::reported, plain(Kind::atPrompt))},
        {"a sleep assertion after the idle stamp",
         with(withHook(agent(), idle, now - 20), [](auto& e) { e.ownsSleepAssertion = true; }),
         noMemory, verdict(working, Confidence::inferredStrong, plain(Kind::holdsSleepAssertion))},
        {"a session write after the idle stamp",
         with(withHook(agent(), idle, now - 60), [](auto& e) { e.fileActivityAt = now - 40; }),
         noMemory,
         verdict(working, Confidence::inferredStrong, VerdictReason::writingSessionFile(40))},
        {"a write in the ten seconds after the idle stamp is the turn's tail",
         with(withHook(agent(), idle, now - 60), [](auto& e) { e.fileActivityAt = now - 51; }),
         noMemory, verdict(idle, Confidence::reported, plain(Kind::atPrompt))},
        {"a command after the idle stamp, gone now", withHook(agent(), idle, now - 60),
         [](AgentMemory& m) {
             m.hookIdleAt = now - 60;
             m.workAfterHookIdleAt = now - 20;
             m.lastFileWriteAt = now - 30;
         },
         verdict(working, Confidence::inferredStrong, VerdictReason::workedRecently(20))},
        {"work after the idle stamp too long ago", withHook(agent(), idle, now - 600),
         [](AgentMemory& m) {
             m.hookIdleAt = now - 600;
             m.workAfterHookIdleAt = now - 300;
         },
         verdict(idle, Confidence::reported, plain(Kind::atPrompt))},
        {"a state-level agent takes no work after its idle stamp",
         with(withHook(stateAgent(), idle, now - 20), [](auto& e) { e.ownsSleepAssertion = true; }),
         noMemory, verdict(idle, Confidence::reported, plain(Kind::atPrompt))},
        {"an own sleep assertion", with(agent(), [](auto& e) { e.ownsSleepAssertion = true; }),
         noMemory, verdict(working, Confidence::inferredStrong, plain(Kind::holdsSleepAssertion))},
        {"a recent write", with(agent(), [](auto& e) { e.fileActivityAt = now - 30.7; }), noMemory,
         verdict(working, Confidence::inferredStrong, VerdictReason::writingSessionFile(30))},
        {"a command 40 seconds ago", agent(), [](AgentMemory& m) { m.lastCommandAt = now - 40; },
         verdict(working, Confidence::inferredStrong, VerdictReason::workedRecently(40))},
        {"strong signs end after releaseAfterActivity", agent(),
         [](AgentMemory& m) {
             m.firstSeenAt = now - 4000;
             m.lastCommandAt = now - 300;
         },
         verdict(idle, Confidence::inferredWeak, VerdictReason::noActivity(5))},
        {"idle minutes count from the first sight without signs", agent(),
         [](AgentMemory& m) { m.firstSeenAt = now - 7250; },
         verdict(idle, Confidence::inferredWeak, VerdictReason::noActivity(120))},
        {"a write before the process started is ignored",
         with(agent(), [](auto& e) { e.fileActivityAt = Date(e.startTime - 10); }), noMemory,
         verdict(idle, Confidence::inferredWeak, VerdictReason::noActivity(0))},
        {"steady processor use", agent(), [](AgentMemory& m) { m.lastCPUAt = now - 10; },
         verdict(working, Confidence::inferredWeak, plain(Kind::cpuActivity))},
        {"processor use past the cap", agent(),
         [](AgentMemory& m) {
             m.lastCPUAt = now - 10;
             m.weakOnlySince = now - 2000;
             m.weakCapped = true;
         },
         verdict(idle, Confidence::inferredWeak, VerdictReason::onlyWeakSigns(30))},
    };
    const DetectionSettings settings;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        c.memory(memory);
        EXPECT_EQ(readOnce(c.evidence, memory, settings).readings.at(0).verdict, c.expected);
    }
}

TEST(VerdictReadingTest, UserRulesWinOverEverythingAndGiveNoTurn) {
    const auto busy = with(withHook(agent(), waiting, now - 5), [](auto& e) {
        e.busyChildCommands = 3;
        e.reported = report(working, Source::codexRollout, now);
    });
    struct RuleCase {
        AgentRule rule;
        AgentVerdict expected;
    };
    const RuleCase cases[] = {
        {AgentRule::alwaysWorkingWhileOpen,
         verdict(working, Confidence::reported, VerdictReason::plain(Kind::alwaysWorkingByRule))},
        {AgentRule::ignore,
         verdict(idle, Confidence::reported, VerdictReason::plain(Kind::ignoredByRule))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(static_cast<int>(c.rule));
        DetectionSettings settings;
        settings.agentRules[busy.agentID] = c.rule;
        const auto reading = readOnce(busy, {}, settings).readings.at(0);
        EXPECT_EQ(reading.verdict, c.expected);
        EXPECT_EQ(reading.turn, std::nullopt);
    }
}

TEST(VerdictReadingTest, TheReadingCarriesTheAgentsIdentity) {
    auto evidence = with(agent("cursor-desktop", 42), [](auto& e) {
        e.displayName = "Cursor";
        e.kind = AgentDefinition::Kind::desktop;
        e.hasLiveSession = true;
    });
    const auto reading = readOnce(evidence, {}, {}).readings.at(0);
    EXPECT_EQ(reading.agentID, "cursor-desktop");
    EXPECT_EQ(reading.displayName, "Cursor");
    EXPECT_EQ(reading.kind, AgentDefinition::Kind::desktop);
    EXPECT_EQ(reading.identity, (ProcessIdentity{42, epoch - 3600}));
    EXPECT_TRUE(reading.hasLiveSession);
}

TEST(VerdictReadingTest, TheTurnFollowsTheStatedStateAndItsDetail) {
    struct TurnCase {
        const char* name;
        AgentEvidence evidence;
        std::optional<AgentTurn> expected;
    };
    const auto reported = [](AgentEvidence e, StateReport r) {
        e.reported = r;
        return e;
    };
    auto ended = report(working, Source::claudeSessionFile, now, now - 50);
    ended.turnEnded = true;
    auto failed = report(idle, Source::codexRollout, now);
    failed.failed = true;
    const TurnCase cases[] = {
        {"nothing said", agent(), std::nullopt},
        {"a session file at work tells the turn's start",
         reported(stateAgent(), report(working, Source::claudeSessionFile, now, now - 50)),
         AgentTurn{working, now - 50, false}},
        {"a job state at work tells no start",
         reported(stateAgent(), report(working, Source::claudeJobState, now, now - 50)),
         AgentTurn{working, std::nullopt, false}},
        {"a turn that ended", reported(stateAgent(), ended), AgentTurn{idle, std::nullopt, false}},
        {"an idle report after an error", reported(agent(), failed),
         AgentTurn{idle, std::nullopt, true}},
        {"a waiting hook", withHook(agent(), waiting, now - 5),
         AgentTurn{waiting, std::nullopt, false}},
        {"a fresh working hook of a state-level agent", withHook(stateAgent(), working, now - 5),
         AgentTurn{working, std::nullopt, false}},
        {"a stale working hook of a state-level agent", withHook(stateAgent(), working, now - 61),
         std::nullopt},
        {"a stale idle hook of a state-level agent", withHook(stateAgent(), idle, now - 61),
         AgentTurn{idle, std::nullopt, false}},
        {"a hook too far ahead", withHook(agent(), idle, now + 6), std::nullopt},
        {"an idle hook overruled by a working rollout",
         reported(withHook(agent(), idle, now - 30),
                  report(working, Source::codexRollout, now, now - 10)),
         AgentTurn{working, now - 10, false}},
        {"a session that went idle after the working hook",
         reported(withHook(agent(), working, now - 30),
                  report(idle, Source::codexRollout, now, now - 10)),
         AgentTurn{idle, std::nullopt, false}},
        {"a session idle from before the working hook",
         reported(withHook(agent(), working, now - 30),
                  report(idle, Source::codexRollout, now, now - 40)),
         AgentTurn{working, std::nullopt, false}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(readOnce(c.evidence, {}, {}).readings.at(0).turn, c.expected);
    }
}

TEST(VerdictReadingTest, ADuplicateOfAProcessInTheSameFrameIsIgnored) {
    auto first = agent("codex", 7);
    auto duplicate = with(agent("codex", 7), [](auto& e) { e.busyChildCommands = 4; });
    auto other = agent("aider", 8);
    const AgentMemories previous = {{ProcessIdentity{9, 1}, AgentMemory{}}};
    const auto outcome =
        VerdictRules::readings(testing::frameAt(now, {first, duplicate, other}), previous, {});
    ASSERT_EQ(outcome.readings.size(), 2u);
    EXPECT_EQ(outcome.readings[0].agentID, "codex");
    EXPECT_EQ(outcome.readings[0].verdict.reason, VerdictReason::noActivity(0));
    EXPECT_EQ(outcome.readings[1].agentID, "aider");
    // The gone process's memory is dropped; the duplicate left no trace.
    ASSERT_EQ(outcome.memories.size(), 2u);
    EXPECT_EQ(outcome.memories.at(first.identity()).lastCommandAt, std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
