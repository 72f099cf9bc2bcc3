// Show that time asleep or stalled between two ticks is measured with the engine's constants,
// and that the memories are moved over it.
#include <gtest/gtest.h>

#include "decision/SampleGap.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

TEST(SampleGapTest, GapsCountSleepAndStallsButNotJitter) {
    struct Case {
        std::string name;
        double wall;
        std::optional<double> awakeBefore;
        std::optional<double> awakeAfter;
        std::optional<double> gap;
    };
    const std::vector<Case> cases = {
        {"a normal tick", 2, 100, 102, std::nullopt},
        {"40 s awake is a stall", 40, 100, 140, 40},
        {"40 s with 5 s awake slept 35 s", 40, 100, 105, 35},
        {"slept and stalled", 100, 100, 120, 100},
        {"one second of clock jitter", 3, 100, 102, std::nullopt},
        {"no awake clock, short", 15, std::nullopt, std::nullopt, std::nullopt},
        {"no awake clock, long", 16, 100, std::nullopt, 16},
        {"awake clock went back", 20, 100, 50, 20},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        SampleTime before{kStart, testCase.awakeBefore};
        SampleTime after{kStart + testCase.wall, testCase.awakeAfter};
        EXPECT_EQ(SampleGap::length(before, after), testCase.gap);
    }
    EXPECT_EQ(SampleGap::length(std::nullopt, SampleTime{kStart, 5.0}), std::nullopt);
}

TEST(SampleGapTest, ShiftsTheDatesVigilmothSetItself) {
    AgentMemory memory;
    memory.lastCommandAt = kStart;
    memory.hookWorkAt = kStart;  // the hook's own time stamp did not move
    AgentMemories memories = {{ProcessIdentity{1, 2}, memory}};
    SampleGap::shift(memories, 35);
    EXPECT_EQ(memories.begin()->second.lastCommandAt, kStart + 35);
    EXPECT_EQ(memories.begin()->second.hookWorkAt, kStart);

    PolicyMemory policy;
    policy.instances[{1, 2}] = {kStart, std::nullopt};
    policy.instances[{3, 4}] = {std::nullopt, kStart + 1};
    SampleGap::shift(policy, 35);
    EXPECT_EQ(policy.instances.at({1, 2}), (PolicyMemory::Instance{kStart + 35, std::nullopt}));
    EXPECT_EQ(policy.instances.at({3, 4}), (PolicyMemory::Instance{std::nullopt, kStart + 36}));
}

}  // namespace
}  // namespace vigilmoth
