// Show that one tick's reading takes the first rule that applies, in order: the user's rule,
// the approval signs, the stated state with commands overruling it, then inference; and that
// the turn says where the conversation stands; and that the rules that live in time hold over
// many ticks: steady processor use, the weak evidence cap and Cursor's approval wait.
#include <gtest/gtest.h>

#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;

VerdictOutcome readOnce(const AgentEvidence& evidence, const AgentMemory& memory,
                        const DetectionSettings& settings) {
    return VerdictRules::readings(testing::frameAt(now, {evidence}),
                                  {{evidence.identity(), memory}}, settings);
}

TEST(VerdictReadingTest, TheFirstRuleThatAppliesDecides) {
    const auto plain = VerdictReason::plain;
    const auto hooked = [](ReportedState s, double ago, auto change) {
        return with(withHook(agent(), s, now - ago), change);
    };
    const auto changed = [](auto change) { return with(agent(), change); };
    const auto same = [](auto&) {};
    const auto asserts = [](auto& e) { e.ownsSleepAssertion = true; };
    const auto strong = [](VerdictReason r) {
        return AgentVerdict{working, Confidence::inferredStrong, r};
    };
    const auto quiet = [](VerdictReason r) {
        return AgentVerdict{idle, Confidence::inferredWeak, r};
    };
    const AgentVerdict atPrompt{idle, Confidence::reported, plain(Kind::atPrompt)};
    using M = AgentMemory;
    using V = AgentVerdict;
    struct Case {
        const char* name;
        AgentEvidence evidence;
        AgentMemory memory;
        AgentVerdict expected;
        AgentRule rule = AgentRule::automatic;
    };
    // User rules win over everything, even a busy command and a working report.
    const auto busy = with(withHook(agent(), waiting, now - 5), [](auto& e) {
        e.busyChildCommands = 3;
        e.reported = report(working, Source::codexRollout, now);
    });
    const Case cases[] = {
        {"a rule to count it working", busy, M{},
         V{working, Confidence::reported, plain(Kind::alwaysWorkingByRule)},
         AgentRule::alwaysWorkingWhileOpen},
        {"a rule to ignore it", busy, M{},
         V{idle, Confidence::reported, plain(Kind::ignoredByRule)}, AgentRule::ignore},
        {"nothing at all on the first tick", agent(), M{}, quiet(VerdictReason::noActivity(0))},
        {"a busy command overrules a waiting hook",
         hooked(waiting, 30, [](auto& e) { e.busyChildCommands = 1; }), M{},
         strong(VerdictReason::runningCommand(1))},
        {"working jobs overrule a stated idle",
         hooked(idle, 5, [](auto& e) { e.backgroundJobsWorking = 2; }), M{},
         strong(VerdictReason::backgroundJob(2))},
        {"the hook says working", hooked(working, 5, same), M{},
         V{working, Confidence::reported, plain(Kind::reportsBusy)}},
        {"a report says waiting",
         changed([](auto& e) { e.reported = report(waiting, Source::codexRollout, now); }), M{},
         V{waiting, Confidence::reported, plain(Kind::asksPermission)}},
        {"the hook says idle", hooked(idle, 5, same), M{}, atPrompt},
        {"a sleep assertion after the idle stamp", hooked(idle, 20, asserts), M{},
         strong(plain(Kind::holdsSleepAssertion))},
        {"a session write after the idle stamp",
         hooked(idle, 60, [](auto& e) { e.fileActivityAt = now - 40; }), M{},
         strong(VerdictReason::writingSessionFile(40))},
        {"a write in the ten seconds after the idle stamp is the turn's tail",
         hooked(idle, 60, [](auto& e) { e.fileActivityAt = now - 51; }), M{}, atPrompt},
        {"a command after the idle stamp, gone now", hooked(idle, 60, same),
         M{.lastFileWriteAt = now - 30, .hookIdleAt = now - 60, .workAfterHookIdleAt = now - 20},
         strong(VerdictReason::workedRecently(20))},
        {"work after the idle stamp too long ago", hooked(idle, 600, same),
         M{.hookIdleAt = now - 600, .workAfterHookIdleAt = now - 300}, atPrompt},
        {"a state-level agent takes no work after its idle stamp",
         with(withHook(stateAgent(), idle, now - 20), asserts), M{}, atPrompt},
        {"an own sleep assertion", changed(asserts), M{}, strong(plain(Kind::holdsSleepAssertion))},
        {"a recent write", changed([](auto& e) { e.fileActivityAt = now - 30.7; }), M{},
         strong(VerdictReason::writingSessionFile(30))},
        {"a command 40 seconds ago", agent(), M{.lastCommandAt = now - 40},
         strong(VerdictReason::workedRecently(40))},
        {"strong signs end after releaseAfterActivity", agent(),
         M{.firstSeenAt = now - 4000, .lastCommandAt = now - 300},
         quiet(VerdictReason::noActivity(5))},
        {"idle minutes count from the first sight without signs", agent(),
         M{.firstSeenAt = now - 7250}, quiet(VerdictReason::noActivity(120))},
        {"a write before the process started is ignored",
         changed([](auto& e) { e.fileActivityAt = Date(e.startTime - 10); }), M{},
         quiet(VerdictReason::noActivity(0))},
        {"steady processor use", agent(), M{.lastCPUAt = now - 10},
         V{working, Confidence::inferredWeak, plain(Kind::cpuActivity)}},
        {"processor use past the cap", agent(),
         M{.lastCPUAt = now - 10, .weakOnlySince = now - 2000, .weakCapped = true},
         quiet(VerdictReason::onlyWeakSigns(30))},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        DetectionSettings settings;
        if (c.rule != AgentRule::automatic) settings.agentRules[c.evidence.agentID] = c.rule;
        const auto reading = readOnce(c.evidence, c.memory, settings).readings.at(0);
        EXPECT_EQ(reading.verdict, c.expected);
        // A ruled agent gives no turn.
        if (c.rule != AgentRule::automatic) {
            EXPECT_EQ(reading.turn, std::nullopt);
        }
    }
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

TEST(VerdictScenarioTest, ProcessorUseKeepsCountingForReleaseAfterActivityOnceItStops) {
    TickRun run;
    for (double t = 0; t <= 20; t += 2)
        run.tickOne(at(t), withCPU(agent(), 0.5));
    // The busy samples still fill three buckets of the window until t = 38, the last steady
    // tick; from there releaseAfterActivity (300 s) runs.
    for (double t = 22; t <= 400; t += 2) {
        const auto reading = run.tickOne(at(t), withCPU(agent(), 0));
        EXPECT_EQ(reading.verdict.state, t < 338 ? working : idle) << t;
    }
    EXPECT_EQ(run.memories.begin()->second.lastCPUAt, at(38));
}

TEST(VerdictScenarioTest, ProcessorUseAloneIsCappedAfterTheWeakEvidenceCap) {
    TickRun run;
    std::optional<double> capped;
    for (double t = 0; t <= 2000; t += 5) {
        const auto reading = run.tickOne(at(t), withCPU(agent(), 0.05, 5));
        if (reading.verdict.state == idle && t > 10 && !capped) capped = t;
    }
    // Steady from t = 10 (three buckets); capped 1800 seconds later.
    ASSERT_EQ(capped, 1810);
    const auto reading = run.tickOne(at(2005), withCPU(agent(), 0.05, 5));
    EXPECT_EQ(reading.verdict, (AgentVerdict{idle, AgentVerdict::Confidence::inferredWeak,
                                             VerdictReason::onlyWeakSigns(30)}));
    EXPECT_EQ(VerdictReasonText::text(reading.verdict.reason),
              "Using the processor for 30 minutes with no other sign of work");

    // A strong sign ends the weak-only stretch at once.
    auto busy = withCPU(agent(), 0.05, 5);
    busy.busyChildCommands = 1;
    EXPECT_EQ(run.tickOne(at(2010), busy).verdict.reason, VerdictReason::runningCommand(1));
    EXPECT_FALSE(run.memories.begin()->second.weakCapped);
    EXPECT_EQ(run.tickOne(at(2015), withCPU(agent(), 0.05, 5)).verdict.reason,
              VerdictReason::workedRecently(5));

    // The cap follows the setting.
    TickRun shortCap;
    shortCap.settings.weakEvidenceCap = 600;
    for (double t = 0; t <= 615; t += 5)
        shortCap.tickOne(at(t), withCPU(agent(), 0.05, 5));
    EXPECT_EQ(shortCap.tickOne(at(620), withCPU(agent(), 0.05, 5)).verdict.reason,
              VerdictReason::onlyWeakSigns(10));
}

AgentEvidence cursorWorking() {
    auto evidence = agent("cursor-desktop", 300);
    evidence.kind = AgentDefinition::Kind::desktop;
    evidence.reported = report(working, Source::cursorTranscript, at(0), at(0));
    return evidence;
}

TEST(VerdictScenarioTest, CursorIsTakenAsAwaitingApprovalAfterFifteenQuietSeconds) {
    TickRun run;
    for (double t = 0; t <= 30; t += 1) {
        const auto reading = run.tickOne(at(t), cursorWorking());
        const bool awaits = t >= 15;
        EXPECT_EQ(reading.verdict.reason.kind, awaits ? Kind::awaitsApproval : Kind::reportsBusy)
            << t;
        EXPECT_EQ(reading.turn->state, awaits ? waiting : working) << t;
    }
    // Approved: a command runs, and the wait ends at once.
    auto approved = cursorWorking();
    approved.childCommands = 1;
    approved.busyChildCommands = 1;
    EXPECT_EQ(run.tickOne(at(31), approved).verdict.reason.kind, Kind::reportsBusy);
    EXPECT_EQ(run.memories.begin()->second.approvalSignsSince, std::nullopt);
    // Quiet again: the fifteen seconds start over.
    EXPECT_EQ(run.tickOne(at(32), cursorWorking()).verdict.reason.kind, Kind::reportsBusy);
    EXPECT_EQ(run.tickOne(at(47), cursorWorking()).verdict.reason.kind, Kind::awaitsApproval);
}

}  // namespace
}  // namespace vigilmoth
