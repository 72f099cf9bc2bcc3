// Show that the memory steps record hook waits, hook work, work after an idle stamp, weak-only
// stretches and Cursor's approval signs exactly when they should, and that a shift after a
// sleep moves only the dates vigilmoth set itself.
#include <gtest/gtest.h>

#include <functional>

#include "decision/CursorApprovalRule.h"
#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;

TEST(VerdictNotesTest, AHookWaitIsJudgedOverOnlyWhenTheAgentMovedOn) {
    const Date h = now - 30;
    const auto rollout = [](std::optional<Date> since) {
        return [since](AgentMemory& m) {
            rememberReport(m, report(working, Source::codexRollout, now, since));
        };
    };
    struct Case {
        const char* name;
        AgentEvidence evidence;
        std::function<void(AgentMemory&)> memory;
        std::optional<Date> ended;
    };
    const Case cases[] = {
        {"no hook clears", agent(), [h](AgentMemory& m) { m.endedHookWaitAt = h; }, std::nullopt},
        {"a hook too far ahead clears", withHook(agent(), waiting, now + 6),
         [](AgentMemory& m) { m.endedHookWaitAt = now + 6; }, std::nullopt},
        {"a wait already judged stays judged", withHook(agent(), waiting, h),
         [h](AgentMemory& m) { m.endedHookWaitAt = h; }, h},
        {"a busy command answers it",
         with(withHook(agent(), waiting, h), [](auto& e) { e.busyChildCommands = 1; }),
         [](AgentMemory&) {}, h},
        {"a working job answers it",
         with(withHook(agent(), waiting, h), [](auto& e) { e.backgroundJobsWorking = 1; }),
         [](AgentMemory&) {}, h},
        {"no working report keeps it open",
         with(withHook(agent(), waiting, h), [](auto& e) { e.fileActivityAt = now; }),
         [](AgentMemory&) {}, std::nullopt},
        {"working with a file write well after it",
         with(withHook(agent(), waiting, h), [h](auto& e) { e.fileActivityAt = h + 2.5; }),
         rollout(std::nullopt), h},
        {"working with a file write just after it",
         with(withHook(agent(), waiting, h), [h](auto& e) { e.fileActivityAt = h + 2; }),
         rollout(std::nullopt), std::nullopt},
        {"working with a turn begun after it", withHook(agent(), waiting, h), rollout(h + 3), h},
        {"working with a turn begun before it", withHook(agent(), waiting, h), rollout(h - 3),
         std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        c.memory(memory);
        VerdictRules::noteHookWait(c.evidence, memory, {}, now);
        EXPECT_EQ(memory.endedHookWaitAt, c.ended);
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
    struct Case {
        const char* name;
        AgentEvidence evidence;
        std::function<void(AgentMemory&)> memory;
        std::optional<Date> idleAt;
        std::optional<Date> workAfter;
    };
    const Case cases[] = {
        {"a new stamp forgets older work", withHook(agent(), idle, h),
         [](AgentMemory& m) {
             m.hookIdleAt = now - 500;
             m.workAfterHookIdleAt = now - 400;
         },
         h, std::nullopt},
        {"the same stamp keeps it", withHook(agent(), idle, h),
         [h](AgentMemory& m) {
             m.hookIdleAt = h;
             m.workAfterHookIdleAt = now - 5;
         },
         h, now - 5},
        {"a command after the quiet seconds",
         with(withHook(agent(), idle, h), [](auto& e) { e.busyChildCommands = 1; }),
         [](AgentMemory&) {}, h, now},
        {"a command inside the quiet seconds",
         with(withHook(agent(), idle, now - 10), [](auto& e) { e.busyChildCommands = 1; }),
         [](AgentMemory&) {}, now - 10, std::nullopt},
        {"an own assertion",
         with(withHook(agent(), idle, h), [](auto& e) { e.ownsSleepAssertion = true; }),
         [](AgentMemory&) {}, h, now},
        {"a write after the quiet seconds",
         with(withHook(agent(), idle, h), [h](auto& e) { e.fileActivityAt = h + 11; }),
         [](AgentMemory&) {}, h, h + 11},
        {"an older write does not move it back",
         with(withHook(agent(), idle, h), [h](auto& e) { e.fileActivityAt = h + 11; }),
         [h](AgentMemory& m) {
             m.hookIdleAt = h;
             m.workAfterHookIdleAt = h + 20;
         },
         h, h + 20},
        {"a state-level agent keeps none",
         with(withHook(stateAgent(), idle, h), [](auto& e) { e.busyChildCommands = 1; }),
         [h](AgentMemory& m) { m.hookIdleAt = h; }, std::nullopt, std::nullopt},
        {"a working hook clears both", withHook(agent(), working, h),
         [h](AgentMemory& m) {
             m.hookIdleAt = h;
             m.workAfterHookIdleAt = now;
         },
         std::nullopt, std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        c.memory(memory);
        VerdictRules::noteHookIdle(c.evidence, memory, now);
        EXPECT_EQ(memory.hookIdleAt, c.idleAt);
        EXPECT_EQ(memory.workAfterHookIdleAt, c.workAfter);
    }
}

TEST(VerdictNotesTest, WeakOnlyStretchesStartResetAndCap) {
    struct Case {
        const char* name;
        bool statesWork;
        std::function<void(AgentMemory&)> memory;
        std::optional<Date> since;
        bool capped;
    };
    const Case cases[] = {
        {"stated work resets", true,
         [](AgentMemory& m) {
             m.lastCPUAt = now;
             m.weakOnlySince = now - 3000;
             m.weakCapped = true;
         },
         std::nullopt, false},
        {"a strong sign resets", false,
         [](AgentMemory& m) {
             m.lastCPUAt = now;
             m.lastFileWriteAt = now - 299;
             m.weakOnlySince = now - 3000;
             m.weakCapped = true;
         },
         std::nullopt, false},
        {"processor use starts a stretch", false, [](AgentMemory& m) { m.lastCPUAt = now; }, now,
         false},
        {"a stretch short of the cap", false,
         [](AgentMemory& m) {
             m.lastCPUAt = now;
             m.lastCommandAt = now - 300;
             m.weakOnlySince = now - 1799;
         },
         now - 1799, false},
        {"a stretch at the cap", false,
         [](AgentMemory& m) {
             m.lastCPUAt = now;
             m.weakOnlySince = now - 1800;
         },
         now - 1800, true},
        {"a pause in processor use keeps the stretch", false,
         [](AgentMemory& m) {
             m.lastCPUAt = now - 400;
             m.weakOnlySince = now - 2000;
             m.weakCapped = true;
         },
         now - 2000, true},
        {"a long pause ends it", false,
         [](AgentMemory& m) {
             m.lastCPUAt = now - 1800;
             m.weakOnlySince = now - 4000;
             m.weakCapped = true;
         },
         std::nullopt, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        c.memory(memory);
        VerdictRules::noteWeakOnly(memory, c.statesWork, {}, now);
        EXPECT_EQ(memory.weakOnlySince, c.since);
        EXPECT_EQ(memory.weakCapped, c.capped);
    }
}

AgentEvidence cursorAtWork(std::optional<Date> turnSince = std::nullopt) {
    auto evidence = agent("cursor-desktop", 300);
    evidence.kind = AgentDefinition::Kind::desktop;
    evidence.reported = report(working, Source::cursorTranscript, now, turnSince);
    return evidence;
}

TEST(VerdictNotesTest, CursorApprovalSignsNeedAQuietWorkingTranscript) {
    struct Case {
        const char* name;
        AgentEvidence evidence;
        bool signs;
        bool endedByStop;
    };
    const Case cases[] = {
        {"a quiet working transcript", cursorAtWork(), true, false},
        {"another agent", with(cursorAtWork(), [](auto& e) { e.agentID = "cursor"; }), false,
         false},
        {"another source",
         with(cursorAtWork(), [](auto& e) { e.reported->source = Source::claudeTranscript; }),
         false, false},
        {"an idle transcript", with(cursorAtWork(), [](auto& e) { e.reported->state = idle; }),
         false, false},
        {"a child command, even an idle one",
         with(cursorAtWork(), [](auto& e) { e.childCommands = 1; }), false, false},
        {"an own assertion", with(cursorAtWork(), [](auto& e) { e.ownsSleepAssertion = true; }),
         false, false},
        {"a stop hook ends the turn", withHook(cursorAtWork(now - 60), idle, now - 20), false,
         true},
        {"a stop hook before the turn began", withHook(cursorAtWork(now - 10), idle, now - 20),
         true, false},
        {"a stop hook kept per session",
         with(withHook(cursorAtWork(), idle, now - 20),
              [](auto& e) { e.hookStateBySession = true; }),
         true, false},
        {"a working hook", withHook(cursorAtWork(), working, now - 20), true, false},
        {"a stop hook 6 seconds ahead is no hook", withHook(cursorAtWork(), idle, now + 6), true,
         false},
        {"a stop hook 5 seconds ahead counts", withHook(cursorAtWork(), idle, now + 5), false,
         true},
        {"writes long after the stop",
         with(withHook(cursorAtWork(), idle, now - 20),
              [](auto& e) { e.fileActivityAt = now - 4; }),
         true, false},
        {"writes just after the stop",
         with(withHook(cursorAtWork(), idle, now - 20),
              [](auto& e) { e.fileActivityAt = now - 5; }),
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
    AgentMemory memory;
    const Date d = now;
    for (auto* date : {&memory.firstSeenAt, &memory.lastCommandAt, &memory.lastBackgroundJobAt,
                       &memory.lastAssertionAt, &memory.lastFileWriteAt, &memory.lastCPUAt,
                       &memory.weakOnlySince, &memory.lastReportSeenAt, &memory.endedHookWaitAt,
                       &memory.hookWorkAt, &memory.hookWorkSince, &memory.hookIdleAt,
                       &memory.workAfterHookIdleAt, &memory.approvalSignsSince}) {
        *date = d;
    }
    memory.lastReport = report(working, Source::codexRollout, d, d);
    memory.cpuSamples = {{d, 1, 2}, {d - 2, 1, 2}};
    const auto moved = memory.shifted(600);
    for (auto date :
         {moved.firstSeenAt, moved.lastCommandAt, moved.lastBackgroundJobAt, moved.lastAssertionAt,
          moved.lastFileWriteAt, moved.lastCPUAt, moved.weakOnlySince, moved.lastReportSeenAt,
          moved.hookWorkSince, moved.workAfterHookIdleAt, moved.approvalSignsSince}) {
        EXPECT_EQ(date, d + 600);
    }
    // Compared with stamps the agents and hooks wrote, which did not move.
    EXPECT_EQ(moved.endedHookWaitAt, d);
    EXPECT_EQ(moved.hookWorkAt, d);
    EXPECT_EQ(moved.hookIdleAt, d);
    EXPECT_EQ(moved.lastReport, memory.lastReport);
    EXPECT_EQ(moved.cpuSamples,
              (std::vector<AgentMemory::CPUSample>{{d + 600, 1, 2}, {d + 598, 1, 2}}));
    EXPECT_EQ(AgentMemory{}.shifted(600), AgentMemory{});
}

}  // namespace
}  // namespace vigilmoth
