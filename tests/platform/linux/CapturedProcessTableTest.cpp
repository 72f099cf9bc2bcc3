// Show that the Linux census turns /proc files into rows as the kernel writes them, using a
// folder of captured and edited files in place of /proc: start times from the boot time, the
// better of two CPU clocks, terminals, and a reused pid with another start time read anew.
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/SystemProcessCensus.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using testing::writeFile;
using Words = std::vector<std::string>;

constexpr int64_t kBootTime = 1795251202;

struct FakeProcess {
    int pid = 100;
    std::string name = "claude";
    char state = 'S';
    int tty = 0;
    uint64_t userTicks = 0, systemTicks = 0, startTicks = 94970;
    std::optional<std::string> schedstat = "1068031 442757 2\n";
    std::optional<std::string> io = "rchar: 1\nwchar: 8622\nsyscr: 1\n";
    std::optional<std::string> executable = "/opt/agents/claude/bin/claude.exe";
    std::string commandLine = std::string("claude\0--resume\0", 16);
};

class CapturedProcessTableTest : public ::testing::Test {
protected:
    CapturedProcessTableTest() {
        writeFile(root_.path() / "stat",
                  "cpu  1 2 3\nbtime " + std::to_string(kBootTime) + "\nprocesses 5\n");
    }

    void put(const FakeProcess& process) {
        auto folder = root_.path() / std::to_string(process.pid);
        std::filesystem::create_directories(folder);
        writeFile(folder / "stat", std::to_string(process.pid) + " (" + process.name + ") " +
                                       process.state + " 1 " + std::to_string(process.pid) + " 1 " +
                                       std::to_string(process.tty) + " -1 0 0 0 0 0 " +
                                       std::to_string(process.userTicks) + " " +
                                       std::to_string(process.systemTicks) + " 0 0 20 0 1 0 " +
                                       std::to_string(process.startTicks) + " 1000 50\n");
        for (const auto& [file, text] :
             {std::pair{"schedstat", process.schedstat}, std::pair{"io", process.io}}) {
            if (text) {
                writeFile(folder / file, *text);
            } else {
                std::filesystem::remove(folder / file);
            }
        }
        writeFile(folder / "cmdline", process.commandLine);
        std::filesystem::remove(folder / "exe");
        if (process.executable)
            std::filesystem::create_symlink(*process.executable, folder / "exe");
    }

    std::optional<ProcessInfoRow> rowOf(SystemProcessCensus& census, int pid) {
        auto rows = census.snapshot();
        if (!rows) return std::nullopt;
        for (const auto& row : *rows)
            if (row.pid == pid) return row;
        return std::nullopt;
    }

    double ticks() const { return static_cast<double>(::sysconf(_SC_CLK_TCK)); }

    testing::TemporaryFolder root_;
};

TEST_F(CapturedProcessTableTest, ReadsTheRowOfAProcess) {
    put({});
    SystemProcessCensus census(root_.path().string(), ::getuid());
    auto row = rowOf(census, 100);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->ppid, 1);
    EXPECT_EQ(row->pgid, 100);
    EXPECT_EQ(row->tpgid, -1);
    EXPECT_EQ(row->tty, ProcessInfoRow::kNoTerminal);
    EXPECT_DOUBLE_EQ(row->startTime, kBootTime + 94970 / ticks());
    EXPECT_EQ(row->executablePath, "/opt/agents/claude/bin/claude.exe");
    EXPECT_EQ(row->arguments, (Words{"claude", "--resume"}));
    EXPECT_DOUBLE_EQ(row->cpuTime, 0.001068031);
    EXPECT_EQ(row->logicalWriteBytes, 8622u);
    EXPECT_EQ(census.row(100), row);
}

TEST_F(CapturedProcessTableTest, TakesTheBetterOfTheTwoCpuClocks) {
    const struct {
        const char* name;
        uint64_t userTicks, systemTicks;
        std::optional<std::string> schedstat;
        double expected;  // in ticks when above 1, else seconds
    } cases[] = {
        {"nanoseconds beat ticks for one thread", 10, 5, "150000000 1 1\n", 0.15},
        {"other threads count only in the ticks", 300, 100, "150000000 1 1\n", -400},
        {"no schedstat", 30, 20, std::nullopt, -50},
        {"unreadable schedstat", 30, 20, "garbage\n", -50},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        FakeProcess process;
        process.userTicks = testCase.userTicks;
        process.systemTicks = testCase.systemTicks;
        process.schedstat = testCase.schedstat;
        put(process);
        SystemProcessCensus census(root_.path().string(), ::getuid());
        auto row = census.row(100);
        ASSERT_TRUE(row);
        double expected = testCase.expected < 0 ? -testCase.expected / ticks() : testCase.expected;
        EXPECT_DOUBLE_EQ(row->cpuTime, expected);
    }
}

TEST_F(CapturedProcessTableTest, ReadsTerminalsAndSkipsWhatCannotBeAProcess) {
    FakeProcess withTerminal;
    withTerminal.pid = 101;
    withTerminal.tty = 34816;
    put(withTerminal);
    FakeProcess zombie;
    zombie.pid = 102;
    zombie.state = 'Z';
    put(zombie);
    FakeProcess withoutExecutable;
    withoutExecutable.pid = 103;
    withoutExecutable.executable.reset();
    put(withoutExecutable);
    FakeProcess withoutIo;
    withoutIo.pid = 104;
    withoutIo.io.reset();
    withoutIo.commandLine = "";
    put(withoutIo);
    std::filesystem::create_directories(root_.path() / "105");
    writeFile(root_.path() / "105" / "stat", "105 (broken");
    std::filesystem::create_directories(root_.path() / "self");

    SystemProcessCensus census(root_.path().string(), ::getuid());
    auto rows = census.snapshot();
    ASSERT_TRUE(rows);
    std::vector<int32_t> pids;
    for (const auto& row : *rows)
        pids.push_back(row.pid);
    std::sort(pids.begin(), pids.end());
    EXPECT_EQ(pids, (std::vector<int32_t>{101, 104}));
    EXPECT_EQ(census.row(101)->tty, 34816);
    EXPECT_EQ(census.row(104)->logicalWriteBytes, std::nullopt);
    EXPECT_TRUE(census.row(104)->arguments.empty());

    SystemProcessCensus otherUser(root_.path().string(), ::getuid() + 1);
    EXPECT_FALSE(otherUser.row(101));
}

TEST_F(CapturedProcessTableTest, AReusedPidIsANewProcess) {
    put({});
    SystemProcessCensus census(root_.path().string(), ::getuid());
    auto first = rowOf(census, 100);
    ASSERT_TRUE(first);

    // The same pid, now another program started later.
    FakeProcess successor;
    successor.startTicks = 99000;
    successor.executable = "/usr/bin/node";
    successor.commandLine = std::string("node\0/x/.bin/gemini\0", 20);
    put(successor);
    auto second = rowOf(census, 100);
    ASSERT_TRUE(second);
    EXPECT_EQ(second->arguments, (Words{"node", "/x/.bin/gemini"}));
    EXPECT_EQ(second->executablePath, "/usr/bin/node");
    EXPECT_NE(ProcessIdentity::of(*second), ProcessIdentity::of(*first));
    auto delta = ProcessCensus::delta({*second}, {{ProcessIdentity::of(*first), *first}});
    EXPECT_EQ(delta.newProcesses, 1);

    // The same start time under another short name is read anew as well.
    FakeProcess renamed = successor;
    renamed.name = "MainThread";
    renamed.commandLine = std::string("gemini\0", 7);
    put(renamed);
    auto third = rowOf(census, 100);
    ASSERT_TRUE(third);
    EXPECT_EQ(third->arguments, Words{"gemini"});
    EXPECT_EQ(ProcessIdentity::of(*third), ProcessIdentity::of(*second));

    // With nothing changed, the arguments come from the cache.
    writeFile(root_.path() / "100" / "cmdline", std::string("changed\0", 8));
    auto fourth = rowOf(census, 100);
    ASSERT_TRUE(fourth);
    EXPECT_EQ(fourth->arguments, Words{"gemini"});
}

}  // namespace
}  // namespace vigilmoth
