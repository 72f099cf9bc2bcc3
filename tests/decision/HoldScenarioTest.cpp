// Show over many ticks, from evidence to decision, that a wait holds the Mac for waitingHold
// and is then released, that only state-level agents get the finished grace, and what the
// menu bar reads along the way.
#include <gtest/gtest.h>

#include "decision/HoldPolicy.h"
#include "support/DecisionBuilders.h"
#include "support/MachineWording.h"
#include "ui/HoldHeadlineText.h"

namespace vigilmoth {
namespace {

using testing::worded;

using namespace verdicttest;

AgentEvidence codexReporting(ReportedState state, double t) {
    auto evidence = agent("codex");
    evidence.displayName = "Codex";
    evidence.reported = report(state, Source::codexRollout, at(t));
    return evidence;
}

AgentEvidence claudeReporting(ReportedState state, double t) {
    auto evidence = stateAgent("claude");
    evidence.reported = report(state, Source::claudeSessionFile, at(t));
    return evidence;
}

TEST(HoldScenarioTest, AWaitHoldsForWaitingHoldThenLetsTheMacSleep) {
    TickRun run;
    for (double t = 0; t <= 20; t += 2)
        run.tickOne(at(t), codexReporting(working, t));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline), "Awake: Codex is working");
    EXPECT_EQ(run.decision.waitingEnds, std::nullopt);

    // The wait starts at t = 22 and holds until t = 322.
    for (double t = 22; t <= 400; t += 2) {
        run.tickOne(at(t), codexReporting(waiting, t));
        SCOPED_TRACE(t);
        if (t < 322) {
            EXPECT_TRUE(run.decision.hold);
            EXPECT_EQ(HoldHeadlineText::text(run.decision.headline),
                      "Awake: Codex is waiting for you");
            EXPECT_EQ(run.decision.waitingEnds, at(322));
            EXPECT_EQ(run.decision.perAgent.at(0).cause, HoldCause::waitingForUser);
        } else {
            EXPECT_FALSE(run.decision.hold);
            EXPECT_EQ(run.decision.headline,
                      HoldHeadline::waitingReleased(HoldSubject::one("Codex")));
            EXPECT_EQ(HoldHeadlineText::text(run.decision.headline),
                      worded("Mac can sleep: Codex is waiting for you"));
            EXPECT_EQ(run.decision.waitingEnds, std::nullopt);
            EXPECT_EQ(run.decision.perAgent.at(0).cause, std::nullopt);
        }
    }
    // Answering and waiting again starts a new hold.
    run.tickOne(at(402), codexReporting(working, 402));
    run.tickOne(at(404), codexReporting(waiting, 404));
    EXPECT_TRUE(run.decision.hold);
    EXPECT_EQ(run.decision.waitingEnds, at(704));
}

TEST(HoldScenarioTest, AStateLevelAgentsGraceCanOutlastItsWait) {
    TickRun run;
    run.settings.waitingHold = 60;
    for (double t = 0; t <= 10; t += 2)
        run.tickOne(at(t), claudeReporting(working, t));
    for (double t = 12; t <= 200; t += 2) {
        run.tickOne(at(t), claudeReporting(waiting, t));
        SCOPED_TRACE(t);
        // Waiting until 12 + 60, then finished recently until 10 + 120.
        const std::string expected = t < 72 ? "Awake: Claude Code is waiting for you"
                                     : t < 130
                                         ? "Awake: Claude Code finished a moment ago"
                                         : worded("Mac can sleep: Claude Code is waiting for you");
        EXPECT_EQ(HoldHeadlineText::text(run.decision.headline), expected);
        EXPECT_EQ(run.decision.waitingEnds, t < 72 ? std::optional(at(130)) : std::nullopt);
    }
}

TEST(HoldScenarioTest, OnlyStateLevelAgentsGetTheFinishedGrace) {
    TickRun claude;
    TickRun codex;
    for (double t = 0; t <= 10; t += 2) {
        claude.tickOne(at(t), claudeReporting(working, t));
        codex.tickOne(at(t), codexReporting(working, t));
    }
    for (double t = 12; t <= 200; t += 2) {
        claude.tickOne(at(t), claudeReporting(idle, t));
        codex.tickOne(at(t), codexReporting(idle, t));
        SCOPED_TRACE(t);
        EXPECT_EQ(claude.decision.hold, t < 130);
        EXPECT_EQ(HoldHeadlineText::text(claude.decision.headline),
                  t < 130 ? "Awake: Claude Code finished a moment ago"
                          : worded("Mac can sleep: Claude Code is idle"));
        EXPECT_FALSE(codex.decision.hold);
        EXPECT_EQ(HoldHeadlineText::text(codex.decision.headline),
                  worded("Mac can sleep: Codex is idle"));
    }
}

TEST(HoldScenarioTest, HeadlinesForManyAgentsCountThem) {
    TickRun run;
    const auto both = [](ReportedState state, double t) {
        auto second = codexReporting(state, t);
        second.pid = 101;
        return std::vector{codexReporting(state, t), second};
    };
    run.tick(at(0), both(working, 0));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline), "Awake: 2 agents are working");
    run.tick(at(2), both(waiting, 2));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline), "Awake: 2 agents are waiting for you");
    run.tick(at(302), both(waiting, 302));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline),
              worded("Mac can sleep: 2 agents are waiting for you"));
    run.tick(at(304), both(idle, 304));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline),
              worded("Mac can sleep: all agents are idle"));
    run.situation.mode = AwakeMode::agentOpen;
    run.tick(at(306), both(idle, 306));
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline), "Awake: 2 agents are open");
    run.tick(at(308), {});
    EXPECT_EQ(HoldHeadlineText::text(run.decision.headline),
              worded("Mac can sleep: no agent is open"));
    EXPECT_TRUE(run.policy.instances.empty());
}

TEST(HoldScenarioTest, AnIgnoredAgentNeverHoldsNorShowsUp) {
    TickRun run;
    run.settings.agentRules["codex"] = AgentRule::ignore;
    auto busy = codexReporting(working, 0);
    busy.busyChildCommands = 2;
    run.tickOne(at(0), busy);
    EXPECT_FALSE(run.decision.hold);
    EXPECT_EQ(run.decision.headline, HoldHeadline::noAgents());
    EXPECT_TRUE(run.policy.instances.empty());
}

}  // namespace
}  // namespace vigilmoth
