// The Linux census reports the user's live processes with the facts macOS gives, both over the
// real /proc and over a folder of captured and edited /proc files.
#include "platform/linux/SystemProcessCensus.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "base/Date.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using testing::ProcessTree;
using testing::writeFile;
using Words = std::vector<std::string>;

const ProcessInfoRow* find(const std::vector<ProcessInfoRow>& rows, int pid) {
    for (const auto& row : rows)
        if (row.pid == pid) return &row;
    return nullptr;
}

std::optional<ProcessInfoRow> snapshotRow(SystemProcessCensus& census, int pid) {
    auto rows = census.snapshot();
    const auto* row = rows ? find(*rows, pid) : nullptr;
    return row ? std::optional(*row) : std::nullopt;
}

TEST(SystemProcessCensusTest, ReportsTheFactsOfLiveProcessesTheSameOnEveryRead) {
    ProcessTree tree({{1, -1, "bin/claude", {"claude", "--resume", "", ""}},
                      {2, 1, "lib/node", {"node", "/x/node_modules/.bin/gemini"}}});
    SystemProcessCensus census, other;
    auto rows = census.snapshot();
    ASSERT_TRUE(rows);
    const auto *root = find(*rows, tree.pid(1)), *child = find(*rows, tree.pid(2));
    ASSERT_TRUE(root && child);
    EXPECT_EQ(std::tuple(root->ppid, child->ppid, root->uid, root->pgid),
              std::tuple(::getpid(), tree.pid(1), ::getuid(), ::getpgrp()));
    EXPECT_EQ(root->executablePath, tree.executable("bin/claude"));
    EXPECT_EQ(child->executablePath, tree.executable("lib/node"));
    // Trailing empty arguments are kept as the kernel gives them.
    EXPECT_EQ(root->arguments, (Words{"claude", "--resume", "", ""}));
    EXPECT_NEAR(root->startTime, Date::now().secondsSince1970(), 60);
    EXPECT_LE(root->startTime, child->startTime);
    EXPECT_GE(root->cpuTime, 0);
    EXPECT_TRUE(root->logicalWriteBytes.has_value());
    EXPECT_FALSE(root->energyNanojoules || root->instructions || root->wakeups);
    for (const auto& row : *rows)
        EXPECT_TRUE(row.pid > 0 && row.uid == ::getuid()) << row.pid;
    // The census finds itself, and its own CPU time grows with the work it does.
    ASSERT_NE(find(*rows, ::getpid()), nullptr);
    EXPECT_GT(find(*rows, ::getpid())->cpuTime, 0);
    for (auto again : {other.row(tree.pid(1)), census.row(tree.pid(1))}) {
        ASSERT_TRUE(again);
        EXPECT_EQ(again->startTime, root->startTime);
        EXPECT_EQ(ProcessIdentity::of(*again), ProcessIdentity::of(*root));
        EXPECT_EQ(again->arguments, root->arguments);
    }
}

TEST(SystemProcessCensusTest, GoneForeignAndZombieProcessesAreAbsent) {
    SystemProcessCensus census;
    for (int pid : {0, -5, std::numeric_limits<int32_t>::max()})
        EXPECT_FALSE(census.row(pid)) << pid;
    auto self = census.row(::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->ppid, ::getppid());
    SystemProcessCensus otherUser("/proc", ::getuid() + 1);
    EXPECT_FALSE(otherUser.row(::getpid()));
    EXPECT_FALSE(snapshotRow(otherUser, ::getpid()));

    pid_t zombie = ::fork();
    if (zombie == 0) ::_exit(0);
    ASSERT_GT(zombie, 0);
    // Not reaped yet: the child stays a zombie until waitpid below.
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(snapshotRow(census, zombie));
    ::waitpid(zombie, nullptr, 0);

    auto tree = std::make_unique<ProcessTree>(
        std::vector<testing::PlannedProcess>{{1, -1, "bin/amp", {"amp"}}});
    int pid = tree->pid(1);
    EXPECT_TRUE(snapshotRow(census, pid));
    tree.reset();
    EXPECT_FALSE(snapshotRow(census, pid)) << "a process that ended drops out";
    EXPECT_FALSE(census.row(pid));
    testing::TemporaryFolder empty;
    EXPECT_FALSE(SystemProcessCensus(empty / "nowhere").snapshot());
    EXPECT_FALSE(SystemProcessCensus(empty.path().string()).snapshot());
}

TEST(SystemProcessCensusTest, KeepsArgumentsUntilTheShortNameChanges) {
    ProcessTree tree({{1, -1, "bin/copilot", {"copilot", "--banner"}}});
    SystemProcessCensus census;
    auto first = census.row(tree.pid(1));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->arguments, (Words{"copilot", "--banner"}));
    // The process writes over its argument vector in place: the cache keeps the old one, an
    // accepted staleness while start time and short name stay. A fresh census sees the new one.
    tree.signal(1, SIGUSR2);
    const Words overwritten{"xxxxxxx", "xxxxxxxx"};
    EXPECT_EQ(SystemProcessCensus().row(tree.pid(1)).value().arguments, overwritten);
    EXPECT_EQ(snapshotRow(census, tree.pid(1)).value().arguments, first->arguments);
    // A new short name (node calls its main thread "MainThread") makes the census read again,
    // and the process keeps its identity.
    tree.signal(1, SIGUSR1);
    auto renamed = snapshotRow(census, tree.pid(1));
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->arguments, overwritten);
    EXPECT_EQ(ProcessIdentity::of(*renamed), ProcessIdentity::of(*first));
}

// Kept files are a saving, not a need: with few descriptors to spare, every file is opened
// for each read instead, and the rows are the same.
TEST(SystemProcessCensusTest, WorksWithoutDescriptorsToKeep) {
    ProcessTree tree({{1, -1, "bin/claude", {"claude"}}, {2, 1, "bin/rg", {"rg"}}});
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &saved), 0);
    struct rlimit tight = saved;
    tight.rlim_cur = std::min<rlim_t>(saved.rlim_max, 520);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &tight), 0);
    SystemProcessCensus starved;
    auto first = snapshotRow(starved, tree.pid(2)), second = snapshotRow(starved, tree.pid(2));
    ::setrlimit(RLIMIT_NOFILE, &saved);
    for (const auto& child : {first, second}) {
        ASSERT_TRUE(child);
        EXPECT_EQ(child->ppid, tree.pid(1));
        EXPECT_EQ(child->arguments, Words{"rg"});
    }
}

constexpr int64_t kBootTime = 1795251202;

// A process as captured from /proc, edited field by field.
struct FakeProcess {
    int pid = 100;
    std::string name = "claude";
    char state = 'S';
    int tty = 0;
    uint64_t userTicks = 0, systemTicks = 0, startTicks = 94970;
    int threads = 1;
    std::optional<std::string> schedstat = "1068031 442757 2\n";
    std::optional<std::string> io = "rchar: 1\nwchar: 8622\nsyscr: 1\n";
    std::optional<std::string> executable = "/opt/agents/claude/bin/claude.exe";
    std::string commandLine = std::string("claude\0--resume\0", 16);
};

class CapturedProcessTableTest : public ::testing::Test {
protected:
    CapturedProcessTableTest() {
        writeFile(root.path() / "stat", "cpu  1 2 3\nbtime " + std::to_string(kBootTime) + "\n");
    }
    void put(const FakeProcess& p) {
        auto folder = root.path() / std::to_string(p.pid);
        std::filesystem::create_directories(folder);
        const auto n = [](auto value) { return std::to_string(value); };
        writeFile(folder / "stat", n(p.pid) + " (" + p.name + ") " + p.state + " 1 " + n(p.pid) +
                                       " 1 " + n(p.tty) + " -1 0 0 0 0 0 " + n(p.userTicks) + " " +
                                       n(p.systemTicks) + " 0 0 20 0 " + n(p.threads) + " 0 " +
                                       n(p.startTicks) + " 1000 50\n");
        for (const auto& [file, text] : {std::pair{"schedstat", p.schedstat}, {"io", p.io}}) {
            std::filesystem::remove(folder / file);
            if (text) writeFile(folder / file, *text);
        }
        writeFile(folder / "cmdline", p.commandLine);
        writeFile(folder / "comm", p.name + "\n");
        std::filesystem::remove(folder / "exe");
        if (p.executable) std::filesystem::create_symlink(*p.executable, folder / "exe");
    }
    double ticks() const { return static_cast<double>(::sysconf(_SC_CLK_TCK)); }

    testing::TemporaryFolder root;
    SystemProcessCensus census{root.path().string(), ::getuid()};
};

TEST_F(CapturedProcessTableTest, ReadsRowsAndSkipsWhatCannotBeAProcess) {
    put({});
    put({.pid = 101, .tty = 34816});
    put({.pid = 102, .state = 'Z'});
    put({.pid = 103, .executable = std::nullopt});
    put({.pid = 104, .io = std::nullopt, .commandLine = ""});
    writeFile(root.path() / "105" / "stat", "105 (broken");
    std::filesystem::create_directories(root.path() / "self");
    auto rows = census.snapshot();
    ASSERT_TRUE(rows);
    std::vector<int32_t> pids;
    for (const auto& row : *rows)
        pids.push_back(row.pid);
    std::sort(pids.begin(), pids.end());
    EXPECT_EQ(pids, (std::vector<int32_t>{100, 101, 104}));
    const auto row = *find(*rows, 100);
    EXPECT_EQ(std::tuple(row.ppid, row.pgid, row.tpgid, row.tty),
              std::tuple(1, 100, -1, ProcessInfoRow::kNoTerminal));
    EXPECT_DOUBLE_EQ(row.startTime, kBootTime + 94970 / ticks());
    EXPECT_EQ(row.executablePath, "/opt/agents/claude/bin/claude.exe");
    EXPECT_EQ(row.arguments, (Words{"claude", "--resume"}));
    EXPECT_DOUBLE_EQ(row.cpuTime, 0.001068031);
    EXPECT_EQ(row.logicalWriteBytes, 8622u);
    EXPECT_EQ(census.row(100), row);
    EXPECT_EQ(census.row(101)->tty, 34816);
    EXPECT_EQ(census.row(104)->logicalWriteBytes, std::nullopt);
    EXPECT_TRUE(census.row(104)->arguments.empty());
    EXPECT_FALSE(SystemProcessCensus(root.path().string(), ::getuid() + 1).row(101));
}

TEST_F(CapturedProcessTableTest, TakesTheBetterOfTheTwoCpuClocks) {
    const struct {
        const char* name;
        uint64_t userTicks, systemTicks;
        int threads;
        std::optional<std::string> schedstat;
        double expected;  // seconds; negative: in ticks
    } cases[] = {
        {"nanoseconds beat ticks for one thread", 10, 5, 1, "150000000 1 1\n", 0.15},
        {"ticks are never undercut", 300, 100, 1, "150000000 1 1\n", -400},
        // The nanoseconds would be the main thread's alone.
        {"several threads count in the ticks only", 10, 5, 4, "150000000 1 1\n", -15},
        {"no schedstat", 30, 20, 1, std::nullopt, -50},
        {"unreadable schedstat", 30, 20, 1, "garbage\n", -50},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        put({.userTicks = c.userTicks,
             .systemTicks = c.systemTicks,
             .threads = c.threads,
             .schedstat = c.schedstat});
        auto row = SystemProcessCensus(root.path().string(), ::getuid()).row(100);
        ASSERT_TRUE(row);
        EXPECT_DOUBLE_EQ(row->cpuTime, c.expected < 0 ? -c.expected / ticks() : c.expected);
    }
}

TEST_F(CapturedProcessTableTest, AReusedOrRevivedPidIsReadAnew) {
    // A zombie is skipped, and looked at again once the pid is a live agent.
    put({.name = "bash", .state = 'Z'});
    EXPECT_FALSE(snapshotRow(census, 100));
    put({});
    auto first = snapshotRow(census, 100);
    ASSERT_TRUE(first);
    // The same pid, now another program started later.
    FakeProcess successor{.startTicks = 99000,
                          .executable = "/usr/bin/node",
                          .commandLine = std::string("node\0/x/.bin/gemini\0", 20)};
    put(successor);
    auto second = snapshotRow(census, 100);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->arguments, (Words{"node", "/x/.bin/gemini"}));
    EXPECT_EQ(second->executablePath, "/usr/bin/node");
    EXPECT_NE(ProcessIdentity::of(*second), ProcessIdentity::of(*first));
    EXPECT_EQ(ProcessCensus::delta({*second}, {{ProcessIdentity::of(*first), *first}}).newProcesses,
              1);
    // The same start time under another short name is read anew as well.
    successor.name = "MainThread";
    successor.commandLine = std::string("gemini\0", 7);
    put(successor);
    auto third = snapshotRow(census, 100);
    ASSERT_TRUE(third);
    EXPECT_EQ(third->arguments, Words{"gemini"});
    EXPECT_EQ(ProcessIdentity::of(*third), ProcessIdentity::of(*second));
    // With nothing changed, the arguments come from the cache.
    writeFile(root.path() / "100" / "cmdline", std::string("changed\0", 8));
    EXPECT_EQ(snapshotRow(census, 100).value().arguments, Words{"gemini"});
}

}  // namespace
}  // namespace vigilmoth
