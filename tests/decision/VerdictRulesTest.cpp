// Show that each verdict rule takes the evidence and memory it should and no other: file writes,
// reports, hooks, processor buckets, weak-only tracking and the stated state; and that the
// numbers reasons carry are whole and finite whatever duration they come from.
#include <functional>
#include <limits>

#include <gtest/gtest.h>

#include "decision/VerdictReason.h"
#include "decision/VerdictRules.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

using namespace verdicttest;

// Evidence of an agent that wrote at `fileAt` and gave `reported`.
AgentEvidence wrote(std::optional<Date> fileAt, std::optional<StateReport> reported = {}) {
    auto evidence = agent();
    evidence.fileActivityAt = fileAt;
    evidence.reported = reported;
    return evidence;
}

TEST(VerdictRulesTest, FileWriteTakesTheLatestOwnWriteAndNeverTheFuture) {
    const Date start(epoch - 3600);
    const auto none = std::nullopt;
    const std::tuple<const char*, AgentEvidence, std::optional<Date>> cases[] = {
        {"nothing written", agent(), none},
        {"file activity", wrote(now - 5), now - 5},
        {"a file-activity report seen later wins",
         wrote(now - 5, report(working, Source::fileActivity, now - 1)), now - 1},
        {"other reports are not writes",
         wrote(now - 5, report(working, Source::codexRollout, now - 1)), now - 5},
        {"only a file-activity report", wrote(none, report(idle, Source::fileActivity, now - 2)),
         now - 2},
        {"a write before the process started is not its own", wrote(start - 1), none},
        {"a write at the start is its own", wrote(start), start},
        {"a write in the future is clamped to now", wrote(now + 30), now},
    };
    for (const auto& [name, evidence, expected] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(VerdictRules::fileWrite(evidence, now), expected);
    }
    // Writes are left to the rule above; every other report is the agent's stated state.
    EXPECT_EQ(VerdictRules::stateReport(agent()), none);
    EXPECT_EQ(VerdictRules::stateReport(wrote(none, report(working, Source::fileActivity, now))),
              none);
    const auto stated = report(waiting, Source::claudeSessionFile, now);
    EXPECT_EQ(VerdictRules::stateReport(wrote(none, stated)), stated);
}

TEST(VerdictRulesTest, SteadyCPUNeedsThreeBusyBucketsOfTheLastThirtySeconds) {
    using Sample = AgentMemory::CPUSample;
    const auto share = [](double age, double cpuShare, double interval = 2) {
        return Sample{now - age, cpuShare * interval, interval};
    };
    struct Case {
        const char* name;
        std::vector<Sample> samples;
        bool steady;
    };
    const Case cases[] = {
        {"no samples", {}, false},
        {"one burst", {share(0, 4.0)}, false},
        {"3 percent in one bucket", {share(0, 0.03), share(2, 0.03), share(4, 0.03)}, false},
        {"3 percent in two buckets", {share(0, 0.03), share(6, 0.03)}, false},
        {"3 percent in three buckets", {share(0, 0.03), share(6, 0.03), share(12, 0.03)}, true},
        {"exactly 2 percent counts", {share(1, 0.02), share(6, 0.02), share(11, 0.02)}, true},
        {"1 percent everywhere",
         {share(0, 0.01), share(6, 0.01), share(12, 0.01), share(18, 0.01)},
         false},
        {"a sample 30 seconds old is out", {share(0, 0.5), share(6, 0.5), share(30, 0.5)}, false},
        {"one just under 30 seconds is in", {share(0, 0.5), share(6, 0.5), share(29.9, 0.5)}, true},
        {"future samples are ignored", {share(0, 0.5), share(6, 0.5), share(-1, 0.5)}, false},
        {"a bucket without covered time is not busy",
         {share(0, 0.5), share(6, 0.5), Sample{now - 12, 1, 0}},
         false},
        // 0.1 of 12 seconds is under 1 percent: a bucket is judged on its sums.
        {"a bucket is judged on its sums",
         {share(0, 0.5), share(6, 0.5), Sample{now - 11, 0.1, 2}, Sample{now - 12, 0, 10}},
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(VerdictRules::hasSteadyCPU(c.samples, now), c.steady);
    }
}

TEST(VerdictRulesTest, NoteCPUKeepsOnlyUsableRecentSamples) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    // Each case: processor seconds, the interval they cover, whether they are kept.
    const std::tuple<const char*, double, double, bool> cases[] = {
        {"measured", 0.5, 2, true},
        {"first sight of the tree", 0.5, 0, false},
        {"negative interval", 0.5, -2, false},
        {"cpu not a number", nan, 2, false},
        {"cpu infinite", infinity, 2, false},
    };
    for (const auto& [name, cpu, interval, kept] : cases) {
        SCOPED_TRACE(name);
        AgentMemory memory;
        memory.cpuSamples = {{now - 30, 1, 2}, {now - 29, 1, 2}, {now + 1, 1, 2}};
        auto evidence = agent();
        evidence.subtreeCPUSeconds = cpu;
        evidence.sampleInterval = interval;
        VerdictRules::noteCPU(evidence, memory, now);
        std::vector<AgentMemory::CPUSample> expected = {{now - 29, 1, 2}};
        if (kept) expected.push_back({now, cpu, interval});
        EXPECT_EQ(memory.cpuSamples, expected);
        EXPECT_EQ(memory.lastCPUAt, std::nullopt);
    }
}

TEST(VerdictRulesTest, ReportedStateTrustsAReportForTenSecondsAndAStuckTranscriptNotAtAll) {
    struct Case {
        const char* name;
        std::optional<StateReport> report;
        double seenAgo;
        std::optional<ReportedState> expected;
    };
    const Case cases[] = {
        {"no report", std::nullopt, 0, std::nullopt},
        {"seen now", report(waiting, Source::claudeSessionFile, now), 0, waiting},
        {"seen 10 seconds ago", report(idle, Source::codexRollout, now - 10), 10, idle},
        {"seen 10.5 seconds ago", report(idle, Source::codexRollout, now - 10), 10.5, std::nullopt},
        {"transcript working, recent turn",
         report(working, Source::claudeTranscript, now, now - 299), 0, working},
        {"transcript working, turn too old",
         report(working, Source::claudeTranscript, now, now - 300), 0, std::nullopt},
        {"transcript working, turn unknown", report(working, Source::claudeTranscript, now), 0,
         std::nullopt},
        {"transcript idle needs no turn", report(idle, Source::claudeTranscript, now), 0, idle},
        {"rollout working needs no turn", report(working, Source::codexRollout, now), 0, working},
    };
    const DetectionSettings settings;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        memory.lastReport = c.report;
        if (c.report) memory.lastReportSeenAt = now - c.seenAgo;
        EXPECT_EQ(VerdictRules::reportedState(memory, settings, now), c.expected);
    }
}

TEST(VerdictRulesTest, StatedStateWeighsTheHookAgainstTheReports) {
    struct Case {
        const char* name;
        AgentEvidence evidence;
        std::function<void(AgentMemory&)> setUp;
        std::optional<ReportedState> expected;
    };
    const auto none = [](AgentMemory&) {};
    const auto reports = [](ReportedState state, std::optional<Date> since = std::nullopt) {
        return [=](AgentMemory& m) {
            rememberReport(m, report(state, Source::claudeSessionFile, now, since));
        };
    };
    const auto activity = [](ReportedState s, Date d) { return withHook(agent(), s, d); };
    const auto state = [](ReportedState s, Date d) { return withHook(stateAgent(), s, d); };
    auto bySession = state(working, now - 20);
    bySession.hookStateBySession = true;
    auto unstamped = agent();
    unstamped.hookState = working;
    const Case cases[] = {
        {"no hook gives the report", agent(), reports(waiting), waiting},
        {"a hook without a time stamp is no hook", unstamped, none, std::nullopt},
        {"a hook 6 seconds ahead is no hook", activity(working, now + 6), reports(idle), idle},
        {"a hook 5 seconds ahead counts", activity(working, now + 5), reports(idle), working},
        {"a wait not yet over", activity(waiting, now - 100), none, waiting},
        {"a wait judged over gives the report", activity(waiting, now - 100),
         [](AgentMemory& m) {
             m.endedHookWaitAt = now - 100;
             rememberReport(m, report(working, Source::codexRollout, now));
         },
         working},
        {"fresh working, activity level", activity(working, now - 60), none, working},
        {"fresh working, state level", state(working, now - 20), none, working},
        {"fresh working, session went idle after it", state(working, now - 20),
         reports(idle, now - 10), idle},
        {"fresh working, session idle from before it", state(working, now - 20),
         reports(idle, now - 30), working},
        {"fresh working, session idle dated in the future", state(working, now - 20),
         reports(idle, now + 1), working},
        {"fresh working kept per session", bySession, reports(idle, now - 10), working},
        {"fresh idle", state(idle, now - 10), none, idle},
        {"fresh idle, the report says working", state(idle, now - 10), reports(working), working},
        {"stale idle, activity level", activity(idle, now - 61), reports(waiting), idle},
        {"stale idle, state level", state(idle, now - 61), reports(waiting), waiting},
        {"60 seconds is still fresh", state(idle, now - 60), none, idle},
        {"stale working, state level", state(working, now - 61), none, std::nullopt},
        {"stale working, recent hook work", activity(working, now - 61),
         [](AgentMemory& m) { m.hookWorkSince = now - 1799; }, working},
        {"stale working, old hook work", activity(working, now - 61),
         [](AgentMemory& m) {
             m.hookWorkSince = now - 1800;
             rememberReport(m, report(idle, Source::codexRollout, now));
         },
         idle},
    };
    const DetectionSettings settings;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        AgentMemory memory;
        c.setUp(memory);
        EXPECT_EQ(VerdictRules::statedState(c.evidence, memory, settings, now), c.expected);
    }
}

TEST(VerdictReasonTest, WholeSecondsTruncateAndHoldNonsenseToFiniteValues) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr std::int64_t most = 1'000'000'000'000'000;
    const std::pair<double, std::int64_t> cases[] = {{0, 0},
                                                     {59.9, 59},
                                                     {-0.5, 0},
                                                     {-61.9, -61},
                                                     {std::numeric_limits<double>::quiet_NaN(), 0},
                                                     {infinity, most},
                                                     {-infinity, -most},
                                                     {1e300, most}};
    for (const auto& [seconds, expected] : cases) {
        SCOPED_TRACE(seconds);
        EXPECT_EQ(wholeSeconds(seconds), expected);
    }
}

}  // namespace
}  // namespace vigilmoth
