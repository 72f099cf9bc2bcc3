// Show that the rules that live in time hold over many ticks: steady processor use, the weak
// evidence cap and Cursor's approval wait.
#include <gtest/gtest.h>

#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;

TEST(VerdictScenarioTest, SustainedLightProcessorUseCountsFromTheThirdBusyBucket) {
    TickRun run;
    std::optional<double> firstWorking;
    for (double t = 0; t <= 60; t += 2) {
        const auto reading = run.tickOne(at(t), withCPU(agent(), 0.03));
        if (reading.verdict.state == working && !firstWorking) firstWorking = t;
        if (firstWorking) {
            EXPECT_EQ(reading.verdict.reason, VerdictReason::plain(Kind::cpuActivity)) << t;
        }
    }
    // Samples aged 0, 5 and 10 seconds fill three buckets at the sixth tick.
    EXPECT_EQ(firstWorking, 10);
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
