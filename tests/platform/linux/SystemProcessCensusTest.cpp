// Show that the Linux census reports the user's live processes with the facts macOS gives
// (parent, a stable start time, executable, arguments, terminal, CPU time, bytes written),
// leaves out zombies and other users' processes, and reads a process's image again only when
// its start time or short name changes.
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

using testing::PlannedProcess;
using testing::ProcessTree;
using Words = std::vector<std::string>;

const ProcessInfoRow* find(const std::vector<ProcessInfoRow>& rows, int pid) {
    for (const auto& row : rows)
        if (row.pid == pid) return &row;
    return nullptr;
}

TEST(SystemProcessCensusTest, ReportsTheFactsOfLiveProcesses) {
    ProcessTree tree({{1, -1, "bin/claude", {"claude", "--resume", "", ""}},
                      {2, 1, "lib/node", {"node", "/x/node_modules/.bin/gemini"}}});
    SystemProcessCensus census;
    auto rows = census.snapshot();
    ASSERT_TRUE(rows);
    const auto* root = find(*rows, tree.pid(1));
    const auto* child = find(*rows, tree.pid(2));
    ASSERT_NE(root, nullptr);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(root->ppid, ::getpid());
    EXPECT_EQ(child->ppid, tree.pid(1));
    EXPECT_EQ(root->executablePath, tree.executable("bin/claude"));
    EXPECT_EQ(child->executablePath, tree.executable("lib/node"));
    // Trailing empty arguments are kept as the kernel gives them.
    EXPECT_EQ(root->arguments, (Words{"claude", "--resume", "", ""}));
    EXPECT_EQ(root->uid, ::getuid());
    EXPECT_EQ(root->pgid, ::getpgrp());
    EXPECT_NEAR(root->startTime, Date::now().secondsSince1970(), 60);
    EXPECT_LE(root->startTime, child->startTime);
    EXPECT_GE(root->cpuTime, 0);
    EXPECT_TRUE(root->logicalWriteBytes.has_value());
    EXPECT_FALSE(root->energyNanojoules || root->instructions || root->wakeups);
    for (const auto& row : *rows) {
        EXPECT_GT(row.pid, 0);
        EXPECT_EQ(row.uid, ::getuid());
    }
    // The census finds itself, and its own CPU time grows with the work it does.
    const auto* self = find(*rows, ::getpid());
    ASSERT_NE(self, nullptr);
    EXPECT_GT(self->cpuTime, 0);
}

TEST(SystemProcessCensusTest, StartTimesAreTheSameOnEveryRead) {
    ProcessTree tree({{1, -1, "bin/codex", {"codex"}}});
    SystemProcessCensus first, second;
    auto snapshot = first.snapshot();
    ASSERT_TRUE(snapshot);
    const auto* row = find(*snapshot, tree.pid(1));
    ASSERT_NE(row, nullptr);
    auto again = second.row(tree.pid(1));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->startTime, row->startTime);
    EXPECT_EQ(ProcessIdentity::of(*again), ProcessIdentity::of(*row));
    auto third = first.row(tree.pid(1));
    ASSERT_TRUE(third);
    EXPECT_EQ(third->startTime, row->startTime);
    EXPECT_EQ(third->arguments, Words{"codex"});
}

TEST(SystemProcessCensusTest, RowOfAGoneOrForeignProcessIsAbsent) {
    SystemProcessCensus census;
    EXPECT_FALSE(census.row(0));
    EXPECT_FALSE(census.row(-5));
    EXPECT_FALSE(census.row(std::numeric_limits<int32_t>::max()));
    auto self = census.row(::getpid());
    ASSERT_TRUE(self);
    EXPECT_EQ(self->ppid, ::getppid());
    SystemProcessCensus otherUser("/proc", ::getuid() + 1);
    EXPECT_FALSE(otherUser.row(::getpid()));
    auto rows = otherUser.snapshot();
    ASSERT_TRUE(rows);
    EXPECT_EQ(find(*rows, ::getpid()), nullptr);
}

TEST(SystemProcessCensusTest, LeavesOutZombies) {
    pid_t zombie = ::fork();
    if (zombie == 0) ::_exit(0);
    ASSERT_GT(zombie, 0);
    // Not reaped yet: the child stays a zombie until waitpid below.
    siginfo_t info{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT), 0);
    SystemProcessCensus census;
    auto rows = census.snapshot();
    ::waitpid(zombie, nullptr, 0);
    ASSERT_TRUE(rows);
    EXPECT_EQ(find(*rows, zombie), nullptr);
    EXPECT_NE(find(*rows, ::getpid()), nullptr);
}

TEST(SystemProcessCensusTest, KeepsArgumentsUntilTheShortNameChanges) {
    ProcessTree tree({{1, -1, "bin/copilot", {"copilot", "--banner"}}});
    SystemProcessCensus census;
    auto first = census.row(tree.pid(1));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->arguments, (Words{"copilot", "--banner"}));

    // The process writes over its argument vector in place: the cache keeps the old one, an
    // accepted staleness while start time and short name stay. A census that never read the
    // process sees the new one.
    tree.signal(1, SIGUSR2);
    auto fresh = SystemProcessCensus().row(tree.pid(1));
    ASSERT_TRUE(fresh);
    EXPECT_EQ(fresh->arguments, (Words{"xxxxxxx", "xxxxxxxx"}));
    auto cached = census.snapshot();
    ASSERT_TRUE(cached);
    ASSERT_NE(find(*cached, tree.pid(1)), nullptr);
    EXPECT_EQ(find(*cached, tree.pid(1))->arguments, (Words{"copilot", "--banner"}));

    // A new short name (node calls its main thread "MainThread") makes the census read again,
    // and the process keeps its identity.
    tree.signal(1, SIGUSR1);
    auto rows = census.snapshot();
    ASSERT_TRUE(rows);
    const auto* renamed = find(*rows, tree.pid(1));
    ASSERT_NE(renamed, nullptr);
    EXPECT_EQ(renamed->arguments, (Words{"xxxxxxx", "xxxxxxxx"}));
    EXPECT_EQ(ProcessIdentity::of(*renamed), ProcessIdentity::of(*first));
}

TEST(SystemProcessCensusTest, ProcessesThatEndDropOut) {
    auto tree =
        std::make_unique<ProcessTree>(std::vector<PlannedProcess>{{1, -1, "bin/amp", {"amp"}}});
    int pid = tree->pid(1);
    SystemProcessCensus census;
    auto before = census.snapshot();
    ASSERT_TRUE(before);
    EXPECT_NE(find(*before, pid), nullptr);
    tree.reset();
    auto after = census.snapshot();
    ASSERT_TRUE(after);
    EXPECT_EQ(find(*after, pid), nullptr);
    EXPECT_FALSE(census.row(pid));
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
    auto first = starved.snapshot();
    auto second = starved.snapshot();
    ::setrlimit(RLIMIT_NOFILE, &saved);
    ASSERT_TRUE(first && second);
    for (const auto* rows : {&*first, &*second}) {
        const auto* child = find(*rows, tree.pid(2));
        ASSERT_NE(child, nullptr);
        EXPECT_EQ(child->ppid, tree.pid(1));
        EXPECT_EQ(child->arguments, Words{"rg"});
    }
}

TEST(SystemProcessCensusTest, NoProcessTableMeansNoSnapshot) {
    testing::TemporaryFolder empty;
    SystemProcessCensus missing(empty / "nowhere");
    EXPECT_FALSE(missing.snapshot());
    EXPECT_FALSE(missing.row(1));
    SystemProcessCensus withoutProcesses(empty.path().string());
    EXPECT_FALSE(withoutProcesses.snapshot());
}

}  // namespace
}  // namespace vigilmoth
