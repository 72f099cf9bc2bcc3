// Show the collector's memory between ticks over fake sources and a temporary home: matches
// reused until a process changes, child commands busy only over both halves of their window, a
// sleep emptying the windows, the unreadable table bridged for 30 s, file activity.
#include "evidence/EvidenceCollector.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "catalog/AgentDefinitions.h"
#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

struct FakeCensus final : ProcessCensusing {
    std::optional<std::vector<ProcessInfoRow>> rows = std::vector<ProcessInfoRow>{};
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return rows; }
    std::optional<ProcessInfoRow> row(int32_t) override { return std::nullopt; }
};

struct FakePower final : PowerContextReading, PowerAssertionListing {
    BatteryReading reading{true, 40, false};
    BatteryReading battery() override { return reading; }
    bool lidClosed() override { return false; }
    int thermalState() override { return 2; }
    std::set<int> assertingPIDs() override { return {}; }
};

ProcessInfoRow process(int32_t pid, int32_t ppid, std::string path, double cpu = 0) {
    ProcessInfoRow row{.pid = pid, .ppid = ppid, .startTime = 1000.0 + pid};
    row.arguments = {path};
    row.executablePath = std::move(path);
    row.cpuTime = cpu;
    return row;
}

// A collector over a fake census and clock; both clocks advance together unless told otherwise.
struct Harness {
    testing::TemporaryFolder home;
    std::shared_ptr<FakeCensus> census = std::make_shared<FakeCensus>();
    std::shared_ptr<FakePower> power = std::make_shared<FakePower>();
    Date now{1'800'000'000};
    double awake = 500;
    std::unique_ptr<EvidenceCollector> collector;

    explicit Harness(const AgentCatalog* catalog = &AgentCatalog::standard()) {
        auto sources = EvidenceCollector::Sources::inHome(home.path().string());
        sources.census = census;
        sources.power = power;
        sources.assertions = power;
        sources.files = std::make_shared<testing::CountingFileAccess>();
        sources.catalog = catalog;
        sources.now = [this] { return now; };
        sources.awakeSeconds = [this] { return std::optional(awake); };
        collector = std::make_unique<EvidenceCollector>(std::move(sources));
    }
    EvidenceSample tick(double seconds, std::optional<double> awakeSeconds = std::nullopt) {
        now = now + seconds;
        awake += awakeSeconds.value_or(seconds);
        return collector->collect({});
    }
};

TEST(EvidenceCollectorTest, MatchesAreReusedUntilTheArgumentsChange) {
    AgentCatalog catalog{{AgentDefinitions::cli()}};
    Harness harness(&catalog);
    harness.census->rows = {{process(10, 1, "/usr/bin/aider")}};
    ASSERT_EQ(harness.tick(2).frame.agents.size(), 1u);
    // With the definitions gone, only the cache can still recognise the process.
    catalog.definitions.clear();
    EXPECT_EQ(harness.tick(2).frame.agents.size(), 1u) << "an unchanged process keeps its match";
    harness.census->rows->front().arguments.push_back("--yes");
    EXPECT_TRUE(harness.tick(2).frame.agents.empty()) << "changed arguments are matched again";
}

// An agent with one child command whose CPU time per tick is given, ticking every second.
struct ChildCase {
    const char* name;
    std::vector<double> childCPU;  // seconds used in each tick's interval, oldest first
    int busy;
};

TEST(EvidenceCollectorTest, AChildIsBusyOnlyWhenBothHalvesOfItsWindowUsedCPU) {
    const ChildCase cases[] = {
        {"2% over the whole 10 s", {0, .02, .02, .02, .02, .02, .02, .02, .02, .02, .02}, 1},
        {"2% only in the last 3 s", {0, 0, 0, 0, 0, 0, 0, 0, .02, .02, .02}, 0},
        {"0.5% throughout", {0, .005, .005, .005, .005, .005, .005, .005, .005, .005, .005}, 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Harness harness;
        auto agent = process(10, 1, "/usr/bin/aider");
        auto child = process(11, 10, "/bin/bash");
        AgentEvidence evidence;
        for (double cpu : test.childCPU) {
            child.cpuTime += cpu;
            harness.census->rows = {{agent, child}};
            evidence = harness.tick(1).frame.agents.at(0);
        }
        EXPECT_EQ(evidence.childCommands, 1);
        EXPECT_EQ(evidence.busyChildCommands, test.busy);
        EXPECT_DOUBLE_EQ(evidence.sampleInterval, 1);
    }
}

TEST(EvidenceCollectorTest, ASleepEmptiesTheChildWindowsAndMeasuresNoInterval) {
    Harness harness;
    auto agent = process(10, 1, "/usr/bin/aider");
    auto child = process(11, 10, "/bin/bash");
    for (int second = 0; second < 10; ++second) {
        child.cpuTime += 0.5;
        harness.census->rows = {{agent, child}};
        harness.tick(1);
    }
    child.cpuTime += 0.5;
    harness.census->rows = {{agent, child}};
    auto afterSleep = harness.tick(600, 1).frame.agents.at(0);
    EXPECT_EQ(afterSleep.sampleInterval, 0);
    EXPECT_EQ(afterSleep.subtreeCPUSeconds, 0);
    EXPECT_EQ(afterSleep.busyChildCommands, 0);
    child.cpuTime += 0.5;
    harness.census->rows = {{agent, child}};
    EXPECT_EQ(harness.tick(1).frame.agents.at(0).busyChildCommands, 0)
        << "the window before the sleep is gone: only the recent half has samples";
}

TEST(EvidenceCollectorTest, AnUnreadableTableIsBridgedForThirtySeconds) {
    Harness harness;
    harness.census->rows.reset();
    auto first = harness.tick(2);
    EXPECT_TRUE(first.frame.agents.empty());
    EXPECT_FALSE(first.frame.awake) << "nothing to bridge with: a bare frame";
    auto agent = process(10, 1, "/usr/bin/aider", 1);
    agent.energyNanojoules = 100;
    harness.census->rows = {{agent}};
    harness.tick(2);
    harness.census->rows->front().energyNanojoules = 900;
    auto good = harness.tick(2);
    ASSERT_TRUE(good.frame.agents.at(0).energyNanojoules);

    harness.census->rows.reset();
    harness.power->reading.percent = 39;
    auto bridged = harness.tick(10);
    ASSERT_EQ(bridged.frame.agents.size(), 1u);
    EXPECT_EQ(bridged.frame.at, harness.now);
    EXPECT_EQ(bridged.frame.awake, harness.awake);
    EXPECT_EQ(bridged.frame.context.batteryPercent, 39) << "the context is read again";
    EXPECT_FALSE(bridged.frame.agents[0].energyNanojoules);
    EXPECT_FALSE(bridged.frame.agents[0].logicalWriteBytes);

    auto expired = harness.tick(30);
    EXPECT_TRUE(expired.frame.agents.empty()) << "40 s after the last good table";
    EXPECT_EQ(expired.frame.version, 1);
}

TEST(EvidenceCollectorTest, OpencodeIsWorkingWhileItsDatabaseChanges) {
    Harness harness;
    std::string database = harness.home / ".local/share/opencode/opencode.db";
    testing::writeFile(database, "db");
    harness.now = Date::now();
    harness.census->rows = {{process(10, 1, "/usr/bin/opencode")}};
    auto first = harness.tick(2).frame.agents.at(0);
    EXPECT_FALSE(first.reported) << "first sight of the files is not activity";
    EXPECT_TRUE(first.hasLiveSession);

    testing::writeFile(database, "db, longer");
    auto changed = harness.tick(2).frame.agents.at(0);
    ASSERT_TRUE(changed.reported);
    EXPECT_EQ(testing::described(changed.reported), "working: writing session files");
    EXPECT_EQ(changed.reported->source, StateReport::Source::fileActivity);
    EXPECT_EQ(changed.reported->observedAt, harness.now);

    auto old = std::filesystem::file_time_type::clock::now() - std::chrono::seconds(3601);
    std::filesystem::last_write_time(database, old);
    harness.now = Date::now() - 2;
    auto stale = harness.tick(2).frame.agents.at(0);
    EXPECT_FALSE(stale.hasLiveSession) << "last written 3601 s ago";
}

TEST(EvidenceCollectorTest, TicksWithoutAgentsGiveEmptyFrames) {
    Harness harness;
    harness.census->rows = {{process(10, 1, "/usr/bin/less")}};
    for (int tick = 0; tick < 2; ++tick) {
        auto sample = harness.tick(5);
        EXPECT_EQ(sample.frame.version, 1);
        EXPECT_TRUE(sample.frame.agents.empty());
        EXPECT_TRUE(sample.roots.empty());
        EXPECT_TRUE(sample.watchedFiles.empty());
        EXPECT_EQ(sample.frame.context.thermalState, 2);
    }
}

}  // namespace
}  // namespace vigilmoth
