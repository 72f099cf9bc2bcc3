// Show the collector's memory between ticks over fake sources and a temporary home: matches
// reused until a process changes, child commands busy only over both halves of their window, a
// sleep emptying the windows, the unreadable table bridged for 30 s; that file activity is told
// from one poll to the next, parsing again only when a file's signature changes; and when
// remote control or an SSH login counts as remote access.
#include "evidence/EvidenceCollector.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "catalog/AgentDefinitions.h"
#include "evidence/FileActivityReader.h"
#include "evidence/FileCache.h"
#include "evidence/RemoteAccessDetector.h"
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

TEST(EvidenceCollectorTest, AChildIsBusyOnlyWhenBothHalvesOfItsWindowUsedCPU) {
    // An agent ticking every second with one child, and the child's CPU seconds in each tick.
    const std::tuple<const char*, std::vector<double>, int> cases[] = {
        {"2% over the whole 10 s", {0, .02, .02, .02, .02, .02, .02, .02, .02, .02, .02}, 1},
        {"2% only in the last 3 s", {0, 0, 0, 0, 0, 0, 0, 0, .02, .02, .02}, 0},
        {"0.5% throughout", {0, .005, .005, .005, .005, .005, .005, .005, .005, .005, .005}, 0},
    };
    for (const auto& [name, childCPU, busy] : cases) {
        SCOPED_TRACE(name);
        Harness harness;
        auto agent = process(10, 1, "/usr/bin/aider");
        auto child = process(11, 10, "/bin/bash");
        AgentEvidence evidence;
        for (double cpu : childCPU) {
            child.cpuTime += cpu;
            harness.census->rows = {{agent, child}};
            evidence = harness.tick(1).frame.agents.at(0);
        }
        EXPECT_EQ(evidence.childCommands, 1);
        EXPECT_EQ(evidence.busyChildCommands, busy);
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
    EXPECT_EQ(good.frame.context.thermalState, 2);

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

TEST(FileActivityTest, TheCacheParsesAgainOnlyWhenTheSignatureChanges) {
    testing::TemporaryFolder folder;
    std::string path = folder / "state.json";
    testing::writeFile(path, "not json");
    testing::CountingFileAccess files;
    FileCache<int> cache;
    int parses = 0;
    auto parse = [&](const std::string&, const FileSignature&) -> std::optional<int> {
        ++parses;
        auto text = testing::readFile(path);
        return text.starts_with("{") ? std::optional(static_cast<int>(text.size())) : std::nullopt;
    };
    EXPECT_FALSE(cache.value(files, path, parse));
    EXPECT_FALSE(cache.value(files, path, parse));
    EXPECT_EQ(parses, 1) << "a file that does not parse is read once until it changes";
    // An atomic replace with the same size and time brings a new inode.
    auto time = std::filesystem::last_write_time(path);
    testing::writeFile(folder / "new", "{json!!!");
    std::filesystem::last_write_time(folder / "new", time);
    std::filesystem::rename(folder / "new", path);
    EXPECT_EQ(cache.value(files, path, parse), 8);
    EXPECT_EQ(parses, 2);
    cache.endSample();
    EXPECT_EQ(cache.size(), 1u);
    cache.endSample();
    EXPECT_EQ(cache.size(), 0u) << "a path nobody asked for during a tick is forgotten";
    EXPECT_FALSE(cache.value(files, folder / "missing", parse));
}

TEST(FileActivityTest, PollsTellWhatChangedSinceTheLastOne) {
    testing::TemporaryFolder home;
    std::string opencode = home / ".local/share/opencode/opencode.db";
    testing::writeFile(opencode, "db");
    testing::writeFile(opencode + "-wal", "wal");
    testing::CountingFileAccess files;
    FileActivityReader reader(FileActivityReader::opencode(home.path().string()));
    auto first = reader.poll(files);
    EXPECT_TRUE(first.changedPaths.empty()) << "first sight is not activity";
    EXPECT_TRUE(first.newestModification);
    std::ofstream(opencode + "-wal", std::ios::app) << "more";
    auto second = reader.poll(files);
    EXPECT_EQ(second.changedPaths, std::vector<std::string>{opencode + "-wal"});
    EXPECT_EQ(second.sizeDelta, 4);

    FileActivityReader antigravity(FileActivityReader::antigravity(home.path().string()));
    testing::writeFile(home / ".gemini/antigravity/conversations/a.db", "a");
    antigravity.poll(files);
    testing::writeFile(home / ".gemini/antigravity-ide/conversations/b.db", "b");
    testing::writeFile(home / ".gemini/antigravity-cli/conversations/c.db-wal", "c");
    testing::writeFile(home / ".gemini/antigravity-cli/conversations/c.db-shm", "c");
    auto later = antigravity.poll(files);
    EXPECT_EQ(later.changedPaths,
              (std::vector<std::string>{home / ".gemini/antigravity-cli/conversations/c.db-wal",
                                        home / ".gemini/antigravity-ide/conversations/b.db"}));

    const std::vector<std::tuple<const char*, const char*, bool>> globs{
        {"*.db", "a.db", true}, {"*.db", "a.db-wal", false}, {"*.db-wal", "x.db-wal", true},
        {"a?c", "abc", true},   {"a?c", "ac", false},        {"*", "", true},
        {"*a*b", "xaab", true}, {"*.db", ".db", true},       {"*.db", "adb", false},
    };
    for (const auto& [pattern, name, matches] : globs)
        EXPECT_EQ(FileActivityReader::matches(pattern, name), matches) << pattern << " " << name;
}

using RemoteAccessDetector::ClaudeSession;
using RemoteAccessDetector::ClaudeSettings;

TEST(RemoteAccessDetectorTest, RemoteControlOfClaudeCode) {
    const ClaudeSettings none, atStartup{true, false}, disabled{true, true};
    const std::tuple<std::vector<std::string>, bool, ClaudeSettings, bool> cases[] = {
        {{"--rc"}, true, none, true},
        {{"--remote-control"}, true, none, true},
        {{"-p", "--rc"}, true, none, false},
        {{"--rc", "--input-format=stream-json"}, true, none, false},
        {{"--rc"}, false, none, false},
        {{"remote-control"}, false, none, true},
        {{}, true, atStartup, true},
        {{"mcp", "serve"}, true, atStartup, false},
        {{"--print", "hi"}, true, atStartup, false},
        {{"remote-control"}, true, disabled, false},
    };
    for (const auto& [arguments, terminal, settings, remote] : cases) {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        EXPECT_EQ(RemoteAccessDetector::claudeRemoteControl({{arguments, terminal}}, settings),
                  remote);
    }
    EXPECT_FALSE(RemoteAccessDetector::claudeRemoteControl({}, atStartup));
}

TEST(RemoteAccessDetectorTest, RealSettingsFilesGiveTheirKeys) {
    int read = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(testing::fixture("settings/claude"))) {
        std::string text = testing::readFile(entry.path());
        auto settings = ClaudeSettings::fromJSON(text);
        SCOPED_TRACE(entry.path().filename().string());
        EXPECT_EQ(settings.has_value(), nlohmann::json::accept(text));
        read += settings.has_value();
        bool atStartup = entry.path().filename().string().starts_with("43-");
        EXPECT_EQ(settings && settings->atStartup, atStartup);
    }
    EXPECT_EQ(read, 46);
    // Claude Code also keeps the setting in the user's ~/.claude.json, among much else.
    auto userState = ClaudeSettings::fromJSON(
        R"({"projects":{"/a":{"remoteControlAtStartup":false}},"remoteControlAtStartup":true})");
    EXPECT_EQ(userState, (ClaudeSettings{true, false}));
    EXPECT_EQ(ClaudeSettings::merged(ClaudeSettings{false, false}, userState), userState);
    EXPECT_EQ(ClaudeSettings::merged(std::nullopt, std::nullopt), ClaudeSettings{});
    EXPECT_FALSE(ClaudeSettings::fromJSON("[true]"));
}

TEST(RemoteAccessDetectorTest, ATerminalUnderSshdIsARemoteLogin) {
    auto row = [](int pid, int ppid, int tty, std::string path = "/bin/bash") {
        return ProcessInfoRow{.pid = pid, .ppid = ppid, .executablePath = path, .tty = tty};
    };
    auto names = [](std::int32_t pid) -> std::optional<std::string> {
        if (pid == 50) return "sshd";
        if (pid == 60) return "sshd-session";
        if (pid == 70) return "tmux: server";
        return std::nullopt;
    };
    const std::pair<std::vector<ProcessInfoRow>, bool> cases[] = {
        {{row(100, 50, 34816)}, true},
        {{row(100, 60, 34816)}, true},
        {{row(100, 50, ProcessInfoRow::kNoTerminal)}, false},
        {{row(100, 70, 34816)}, false},
        {{row(100, 99, 34816), row(99, 1, -1, "/usr/sbin/sshd")}, true},
        {{row(100, 80, 34816)}, false},
    };
    for (const auto& [rows, remote] : cases)
        EXPECT_EQ(RemoteAccessDetector::sshTerminal(rows, names), remote);
}

TEST(RemoteAccessDetectorTest, SessionNamesAreCleaned) {
    EXPECT_EQ(SessionHint::cleaned("fix   the\tbuild\n"), "fix the build");
    EXPECT_EQ(SessionHint::cleaned("a\xc2\xa0\xe2\x80\x83"
                                   "b\xe3\x80\x80"),
              "a b");
    EXPECT_FALSE(SessionHint::cleaned("  \n "));
    EXPECT_FALSE(SessionHint::cleaned(std::nullopt));
}

}  // namespace
}  // namespace vigilmoth
