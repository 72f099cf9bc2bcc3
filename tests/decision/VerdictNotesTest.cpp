// Show that the memory steps record hook waits, hook work, work after an idle stamp, weak-only
// stretches and Cursor's approval signs exactly when they should, and that a shift after a
// sleep moves only the dates vigilmoth set itself.
#include <gtest/gtest.h>

#include "decision/CursorApprovalRule.h"
#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;
using M = AgentMemory;

// Memory of a rollout seen now saying working, its turn begun at `since`.
AgentMemory rollout(std::optional<Date> since) {
    return {.lastReport = report(working, Source::codexRollout, now, since),
            .lastReportSeenAt = now};
}

TEST(VerdictNotesTest, AHookWaitIsJudgedOverOnlyWhenTheAgentMovedOn) {
    const Date h = now - 30;
    const auto none = std::nullopt;
    const auto waits = [h](auto change) { return with(withHook(agent(), waiting, h), change); };
    struct Case {
        const char* name;
        AgentEvidence evidence;
        AgentMemory memory;
        std::optional<Date> ended;
    };
    const Case cases[] = {
        {"no hook clears", agent(), M{.endedHookWaitAt = h}, none},
        {"a hook too far ahead clears", withHook(agent(), waiting, now + 6),
         M{.endedHookWaitAt = now + 6}, none},
        {"a wait already judged stays judged", waits([](auto&) {}), M{.endedHookWaitAt = h}, h},
        {"a busy command answers it", waits([](auto& e) { e.busyChildCommands = 1; }), M{}, h},
        {"a working job answers it", waits([](auto& e) { e.backgroundJobsWorking = 1; }), M{}, h},
        {"no working report keeps it open", waits([](auto& e) { e.fileActivityAt = now; }), M{},
         none},
        {"working with a file write well after it",
         waits([h](auto& e) { e.fileActivityAt = h + 2.5; }), rollout(none), h},
        {"working with a file write just after it",
         waits([h](auto& e) { e.fileActivityAt = h + 2; }), rollout(none), none},
        {"working with a turn begun after it", waits([](auto&) {}), rollout(h + 3), h},
        {"working with a turn begun before it", waits([](auto&) {}), rollout(h - 3), none},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.name);
        VerdictRules::noteHookWait(c.evidence, c.memory, {}, now);
        EXPECT_EQ(c.memory.endedHookWaitAt, c.ended);
    }
}

TEST(VerdictNotesTest, HookWorkTakesANewStampOnceAndNeverStartsInTheFuture) {
    AgentMemory memory;
    VerdictRules::noteHookWork(withHook(agent(), working, now - 10), memory, now);
    EXPECT_EQ(memory.hookWorkAt, now - 10);
    EXPECT_EQ(memory.hookWorkSince, now - 10);
    // The same stamp again changes nothing, even much later.
    VerdictRules::noteHookWork(withHook(agent(), working, now - 10), memory, now + 500);
    EXPECT_EQ(memory.hookWorkSince, now - 10);
    // A stamp a little ahead starts the work now.
    VerdictRules::noteHookWork(withHook(agent(), working, now + 4), memory, now);
    EXPECT_EQ(memory.hookWorkAt, now + 4);
    EXPECT_EQ(memory.hookWorkSince, now);
    VerdictRules::noteHookWork(withHook(agent(), idle, now), memory, now);
    EXPECT_EQ(memory.hookWorkAt, std::nullopt);
    EXPECT_EQ(memory.hookWorkSince, std::nullopt);
}

TEST(VerdictNotesTest, WorkAfterAnIdleStampCountsOnlyPastItsFirstTenSeconds) {
    const Date h = now - 30;
    const auto none = std::nullopt;
    const auto idles = [](auto change, Date at = now - 30) {
        return with(withHook(agent(), idle, at), change);
    };
    const auto command = [](auto& e) { e.busyChildCommands = 1; };
    const auto writes = [h](auto& e) { e.fileActivityAt = h + 11; };
    struct Case {
        const char* name;
        AgentEvidence evidence;
        AgentMemory memory;
        std::optional<Date> idleAt, workAfter;
    };
    const Case cases[] = {
        {"a new stamp forgets older work", idles([](auto&) {}),
         M{.hookIdleAt = now - 500, .workAfterHookIdleAt = now - 400}, h, none},
        {"the same stamp keeps it", idles([](auto&) {}),
         M{.hookIdleAt = h, .workAfterHookIdleAt = now - 5}, h, now - 5},
        {"a command after the quiet seconds", idles(command), M{}, h, now},
        {"a command inside the quiet seconds", idles(command, now - 10), M{}, now - 10, none},
        {"an own assertion", idles([](auto& e) { e.ownsSleepAssertion = true; }), M{}, h, now},
        {"a write after the quiet seconds", idles(writes), M{}, h, h + 11},
        {"an older write does not move it back", idles(writes),
         M{.hookIdleAt = h, .workAfterHookIdleAt = h + 20}, h, h + 20},
        {"a state-level agent keeps none", with(withHook(stateAgent(), idle, h), command),
         M{.hookIdleAt = h}, none, none},
        {"a working hook clears both", withHook(agent(), working, h),
         M{.hookIdleAt = h, .workAfterHookIdleAt = now}, none, none},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.name);
        VerdictRules::noteHookIdle(c.evidence, c.memory, now);
        EXPECT_EQ(c.memory.hookIdleAt, c.idleAt);
        EXPECT_EQ(c.memory.workAfterHookIdleAt, c.workAfter);
    }
}

TEST(VerdictNotesTest, WeakOnlyStretchesStartResetAndCap) {
    const auto none = std::nullopt;
    struct Case {
        const char* name;
        bool statesWork;
        AgentMemory memory;
        std::optional<Date> since;
        bool capped;
    };
    const Case cases[] = {
        {"stated work resets", true,
         M{.lastCPUAt = now, .weakOnlySince = now - 3000, .weakCapped = true}, none, false},
        {"a strong sign resets", false,
         M{.lastFileWriteAt = now - 299,
           .lastCPUAt = now,
           .weakOnlySince = now - 3000,
           .weakCapped = true},
         none, false},
        {"processor use starts a stretch", false, M{.lastCPUAt = now}, now, false},
        {"a stretch short of the cap", false,
         M{.lastCommandAt = now - 300, .lastCPUAt = now, .weakOnlySince = now - 1799}, now - 1799,
         false},
        {"a stretch at the cap", false, M{.lastCPUAt = now, .weakOnlySince = now - 1800},
         now - 1800, true},
        {"a pause in processor use keeps the stretch", false,
         M{.lastCPUAt = now - 400, .weakOnlySince = now - 2000, .weakCapped = true}, now - 2000,
         true},
        {"a long pause ends it", false,
         M{.lastCPUAt = now - 1800, .weakOnlySince = now - 4000, .weakCapped = true}, none, false},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.name);
        VerdictRules::noteWeakOnly(c.memory, c.statesWork, {}, now);
        EXPECT_EQ(c.memory.weakOnlySince, c.since);
        EXPECT_EQ(c.memory.weakCapped, c.capped);
    }
}

AgentEvidence cursorAtWork(std::optional<Date> turnSince = std::nullopt) {
    auto evidence = agent("cursor-desktop", 300);
    evidence.kind = AgentDefinition::Kind::desktop;
    evidence.reported = report(working, Source::cursorTranscript, now, turnSince);
    return evidence;
}

TEST(VerdictNotesTest, CursorApprovalSignsNeedAQuietWorkingTranscript) {
    const auto changed = [](auto change) { return with(cursorAtWork(), change); };
    const auto stopped = [](double at, auto change) {
        return with(withHook(cursorAtWork(), idle, now + at), change);
    };
    const auto same = [](auto&) {};
    struct Case {
        const char* name;
        AgentEvidence evidence;
        bool signs, endedByStop;
    };
    const Case cases[] = {
        {"a quiet working transcript", cursorAtWork(), true, false},
        {"another agent", changed([](auto& e) { e.agentID = "cursor"; }), false, false},
        {"another source", changed([](auto& e) { e.reported->source = Source::claudeTranscript; }),
         false, false},
        {"an idle transcript", changed([](auto& e) { e.reported->state = idle; }), false, false},
        {"a child command, even an idle one", changed([](auto& e) { e.childCommands = 1; }), false,
         false},
        {"an own assertion", changed([](auto& e) { e.ownsSleepAssertion = true; }), false, false},
        {"a stop hook ends the turn", withHook(cursorAtWork(now - 60), idle, now - 20), false,
         true},
        {"a stop hook before the turn began", withHook(cursorAtWork(now - 10), idle, now - 20),
         true, false},
        {"a stop hook kept per session", stopped(-20, [](auto& e) { e.hookStateBySession = true; }),
         true, false},
        {"a working hook", withHook(cursorAtWork(), working, now - 20), true, false},
        {"a stop hook 6 seconds ahead is no hook", stopped(6, same), true, false},
        {"a stop hook 5 seconds ahead counts", stopped(5, same), false, true},
        {"writes long after the stop", stopped(-20, [](auto& e) { e.fileActivityAt = now - 4; }),
         true, false},
        {"writes just after the stop", stopped(-20, [](auto& e) { e.fileActivityAt = now - 5; }),
         false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CursorApprovalRule::signs(c.evidence, now), c.signs);
        EXPECT_EQ(CursorApprovalRule::endedByStopHook(c.evidence, now), c.endedByStop);
    }
}

TEST(VerdictNotesTest, StopEndsATurnThatBeganBeforeItWithoutLaterWrites) {
    const Date stop = now;
    struct Case {
        std::optional<Date> since;
        std::optional<Date> write;
        bool ends;
    };
    const Case cases[] = {
        {std::nullopt, std::nullopt, true}, {stop - 1, std::nullopt, true},
        {stop, std::nullopt, true},         {stop + 1, std::nullopt, false},
        {stop - 1, stop + 15, true},        {stop - 1, stop + 15.5, false},
        {std::nullopt, stop - 100, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.write ? *c.write - stop : -1));
        EXPECT_EQ(CursorApprovalRule::stopEnds(c.since, c.write, stop), c.ends);
    }
}

TEST(VerdictNotesTest, ShiftingMovesOnlyTheDatesVigilmothSetItself) {
    using Field = std::optional<Date> AgentMemory::*;
    const Field own[] = {&M::firstSeenAt,         &M::lastCommandAt,     &M::lastBackgroundJobAt,
                         &M::lastAssertionAt,     &M::lastFileWriteAt,   &M::lastCPUAt,
                         &M::weakOnlySince,       &M::lastReportSeenAt,  &M::hookWorkSince,
                         &M::workAfterHookIdleAt, &M::approvalSignsSince};
    // Compared with stamps the agents and hooks wrote, which did not move.
    const Field theirs[] = {&M::endedHookWaitAt, &M::hookWorkAt, &M::hookIdleAt};
    const Date d = now;
    AgentMemory memory{.lastReport = report(working, Source::codexRollout, d, d),
                       .cpuSamples = {{d, 1, 2}, {d - 2, 1, 2}}};
    for (auto field : own)
        memory.*field = d;
    for (auto field : theirs)
        memory.*field = d;
    const auto moved = memory.shifted(600);
    for (auto field : own)
        EXPECT_EQ(moved.*field, d + 600);
    for (auto field : theirs)
        EXPECT_EQ(moved.*field, d);
    EXPECT_EQ(moved.lastReport, memory.lastReport);
    EXPECT_EQ(moved.cpuSamples,
              (std::vector<AgentMemory::CPUSample>{{d + 600, 1, 2}, {d + 598, 1, 2}}));
    EXPECT_EQ(AgentMemory{}.shifted(600), AgentMemory{});
}

}  // namespace
}  // namespace vigilmoth
