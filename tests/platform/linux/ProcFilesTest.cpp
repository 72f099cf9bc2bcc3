// Each /proc file reader takes what it needs from captured text, including names with spaces and
// parentheses and padded argument vectors, and reads nothing from mangled text.
#include "platform/linux/ProcFiles.h"

#include <gtest/gtest.h>

#include <random>

#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using Words = std::vector<std::string>;

std::string captured(const std::string& name) {
    return testing::readFile(testing::fixture("proc/" + name));
}

TEST(ProcFilesTest, ReadsStatFiles) {
    struct Case {
        std::string text, name;
        char state;
        int pid, ppid, pgid, tty, tpgid;
        uint64_t userTicks, systemTicks, startTicks, threads;
        bool kernelThread;
    };
    // A process may name itself anything, parentheses and spaces included.
    const Case cases[] = {
        {captured("sleep-stat"), "sleep", 'S', 19299, 19296, 19296, 0, -1, 0, 0, 94970, 1, false},
        {captured("renamed-stat"), "a) b (c", 'S', 19181, 19165, 19165, 0, -1, 2, 0, 94415, 1,
         false},
        {"42 (zsh) Z 1 42 42 34816 -1 0 0 0 0 0 7 3 0 0 20 0 3 0 555 0 0", "zsh", 'Z', 42, 1, 42,
         34816, -1, 7, 3, 555, 3, false},
        {"10 (kworker/0:0H-kblockd) I 2 0 0 0 -1 69238880 0 0 0 0 0 13 0 0 0 -20 1 0 22 0 0",
         "kworker/0:0H-kblockd", 'I', 10, 2, 0, 0, -1, 0, 13, 22, 1, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto stat = ProcFiles::parseStat(c.text);
        ASSERT_TRUE(stat);
        EXPECT_EQ(std::tuple(stat->name, stat->state, stat->ttyNumber, stat->tpgid),
                  std::tuple(c.name, c.state, c.tty, c.tpgid));
        EXPECT_EQ(std::tuple(stat->userTicks, stat->systemTicks, stat->startTicks, stat->threads),
                  std::tuple(c.userTicks, c.systemTicks, c.startTicks, c.threads));
        EXPECT_EQ(std::tuple(stat->pid, stat->ppid, stat->pgid), std::tuple(c.pid, c.ppid, c.pgid));
        EXPECT_EQ(ProcFiles::isKernelThread(*stat), c.kernelThread);
    }
    EXPECT_EQ(ProcFiles::parseStat(captured("sleep-stat"))->flags, 4194304u);
}

TEST(ProcFilesTest, ReadsTheSmallFiles) {
    EXPECT_EQ(ProcFiles::parseSchedstat(captured("sleep-schedstat")), 1068031u);
    EXPECT_EQ(ProcFiles::parseIoWrittenBytes(captured("sleep-io")), 0u);
    EXPECT_EQ(ProcFiles::parseIoWrittenBytes("rchar: 5\nwchar: 8622\nsyscr: 3\n"), 8622u);
    EXPECT_EQ(ProcFiles::parseBootTime(captured("boot-stat")), 1795251202);
    EXPECT_EQ(ProcFiles::parseCommandLine(captured("sleep-cmdline")), (Words{"sleep", "300"}));
    // Trailing empty strings are kept as the kernel gives them.
    auto padded = ProcFiles::parseCommandLine(captured("padded-cmdline"));
    ASSERT_EQ(padded.size(), 6u);
    EXPECT_EQ(Words(padded.begin() + 3, padded.end()), (Words{"--title", "", ""}));
    EXPECT_EQ(ProcFiles::parseCommandLine(std::string("a\0last", 6)), (Words{"a", "last"}));
    EXPECT_TRUE(ProcFiles::parseCommandLine("").empty());
}

TEST(ProcFilesTest, MalformedTextReadsAsNothing) {
    const char* stats[] = {
        "",
        "42",
        "42 (name",
        "42 name) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5",
        "x42 (n) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5",
        "42 (n) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0",
        "42 (n) SS 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5",
        "42 (n) S 1 1 1 0 -1 0 0 0 0 0 x 0 0 0 20 0 1 0 5",
        "42 (n) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 -5",
        "42 (n) S 99999999999 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5",
        "42 (n)S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 5",
    };
    for (const char* text : stats)
        EXPECT_FALSE(ProcFiles::parseStat(text)) << text;
    // Stat text cut off before its start time holds too little to use.
    const std::string text = captured("renamed-stat");
    size_t needed = text.rfind(')');
    for (int spaces = 0; spaces < 20 && needed < text.size(); ++needed)
        spaces += text[needed + 1] == ' ';
    for (size_t length = 0; length <= needed + 1; ++length)
        EXPECT_FALSE(ProcFiles::parseStat(text.substr(0, length))) << length;
    for (const char* schedstat : {"", "-1 2 3", "12x 2 3"})
        EXPECT_FALSE(ProcFiles::parseSchedstat(schedstat)) << schedstat;
    EXPECT_FALSE(ProcFiles::parseIoWrittenBytes("rchar: 5\n"));
    EXPECT_FALSE(ProcFiles::parseIoWrittenBytes("wchar: lots\n"));
    EXPECT_FALSE(ProcFiles::parseBootTime("cpu 1 2 3\nbtime\n"));
}

TEST(ProcFilesTest, RandomAndMutatedTextNeverCrashes) {
    std::mt19937 random(11);
    const std::string sources[] = {captured("sleep-stat"), captured("renamed-stat"),
                                   captured("sleep-io"), captured("boot-stat"),
                                   captured("sleep-schedstat")};
    for (int round = 0; round < 4000; ++round) {
        // Mutations may leave valid text; what matters is that nothing breaks.
        const std::string text = testing::mutatedText(sources[round % 5], random);
        (void)ProcFiles::parseStat(text);
        (void)ProcFiles::parseSchedstat(text);
        (void)ProcFiles::parseIoWrittenBytes(text);
        (void)ProcFiles::parseBootTime(text);
        (void)ProcFiles::parseCommandLine(text);
        const std::string noise = testing::randomBytes(random, 200);
        EXPECT_FALSE(ProcFiles::parseStat(noise) || ProcFiles::parseBootTime(noise) ||
                     ProcFiles::parseIoWrittenBytes(noise));
    }
}

}  // namespace
}  // namespace vigilmoth
