// Show that the memory steps record hook work and work after an idle stamp exactly when they
// should, and that a shift after a sleep moves only the dates vigilmoth set itself.
#include <gtest/gtest.h>

#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;
using M = AgentMemory;

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
