// Show that each /proc file reader takes what it needs from captured text, including names
// with spaces and parentheses and padded argument vectors, and reads nothing from mangled text.
#include "platform/linux/ProcFiles.h"

#include <gtest/gtest.h>

#include <random>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

std::string captured(const std::string& name) {
    return testing::readFile(testing::fixture("proc/" + name));
}

TEST(ProcFilesTest, ReadsStatFiles) {
    auto stat = ProcFiles::parseStat(captured("sleep-stat"));
    ASSERT_TRUE(stat);
    EXPECT_EQ(stat->pid, 19299);
    EXPECT_EQ(stat->name, "sleep");
    EXPECT_EQ(stat->state, 'S');
    EXPECT_EQ(stat->ppid, 19296);
    EXPECT_EQ(stat->pgid, 19296);
    EXPECT_EQ(stat->ttyNumber, 0);
    EXPECT_EQ(stat->tpgid, -1);
    EXPECT_EQ(stat->startTicks, 94970u);

    // A process may name itself anything, parentheses and spaces included.
    auto renamed = ProcFiles::parseStat(captured("renamed-stat"));
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->name, "a) b (c");
    EXPECT_EQ(renamed->userTicks, 2u);
    EXPECT_EQ(renamed->systemTicks, 0u);
    EXPECT_EQ(renamed->startTicks, 94415u);

    const std::string withTerminal =
        "42 (zsh) Z 1 42 42 34816 -1 0 0 0 0 0 7 3 0 0 20 0 1 0 555 0 0";
    auto zombie = ProcFiles::parseStat(withTerminal);
    ASSERT_TRUE(zombie);
    EXPECT_EQ(zombie->state, 'Z');
    EXPECT_EQ(zombie->ttyNumber, 34816);
    EXPECT_EQ(zombie->userTicks + zombie->systemTicks, 10u);
}

TEST(ProcFilesTest, ReadsTheSmallFiles) {
    EXPECT_EQ(ProcFiles::parseSchedstat(captured("sleep-schedstat")), 1068031u);
    EXPECT_EQ(ProcFiles::parseIoWrittenBytes(captured("sleep-io")), 0u);
    EXPECT_EQ(ProcFiles::parseIoWrittenBytes("rchar: 5\nwchar: 8622\nsyscr: 3\n"), 8622u);
    EXPECT_EQ(ProcFiles::parseBootTime(captured("boot-stat")), 1795251202);
    EXPECT_EQ(ProcFiles::parseCommandLine(captured("sleep-cmdline")),
              (std::vector<std::string>{"sleep", "300"}));
    // Trailing empty strings are kept as the kernel gives them.
    auto padded = ProcFiles::parseCommandLine(captured("padded-cmdline"));
    ASSERT_EQ(padded.size(), 6u);
    EXPECT_EQ(padded[3], "--title");
    EXPECT_EQ(padded[4], "");
    EXPECT_EQ(padded[5], "");
    EXPECT_EQ(ProcFiles::parseCommandLine(std::string("a\0last", 6)),
              (std::vector<std::string>{"a", "last"}));
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
    for (const char* text : stats) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(ProcFiles::parseStat(text));
    }
    EXPECT_FALSE(ProcFiles::parseSchedstat(""));
    EXPECT_FALSE(ProcFiles::parseSchedstat("-1 2 3"));
    EXPECT_FALSE(ProcFiles::parseSchedstat("12x 2 3"));
    EXPECT_FALSE(ProcFiles::parseIoWrittenBytes("rchar: 5\n"));
    EXPECT_FALSE(ProcFiles::parseIoWrittenBytes("wchar: lots\n"));
    EXPECT_FALSE(ProcFiles::parseBootTime("cpu 1 2 3\nbtime\n"));
}

// Stat text cut off before its start time holds too little to use.
TEST(ProcFilesTest, TruncatedStatTextReadsAsNothing) {
    std::string text = captured("renamed-stat");
    size_t needed = 0;
    for (int spaces = 0, index = static_cast<int>(text.rfind(')')) + 1;
         index < static_cast<int>(text.size()); ++index) {
        if (text[index] == ' ' && ++spaces == 20) {
            needed = static_cast<size_t>(index);
            break;
        }
    }
    ASSERT_GT(needed, 0u);
    for (size_t length = 0; length <= needed + 1; ++length) {
        SCOPED_TRACE(length);
        EXPECT_FALSE(ProcFiles::parseStat(text.substr(0, length)));
    }
}

TEST(ProcFilesTest, RandomAndMutatedTextNeverCrashes) {
    std::mt19937 random(11);
    const std::string sources[] = {captured("sleep-stat"), captured("renamed-stat"),
                                   captured("sleep-io"), captured("boot-stat"),
                                   captured("sleep-schedstat")};
    for (int round = 0; round < 4000; ++round) {
        std::string text = sources[round % 5];
        int edits = 1 + static_cast<int>(random() % 6);
        for (int edit = 0; edit < edits && !text.empty(); ++edit) {
            size_t at = random() % text.size();
            switch (random() % 3) {
                case 0:
                    text[at] = static_cast<char>(random() % 256);
                    break;
                case 1:
                    text.erase(at, 1 + random() % 8);
                    break;
                default:
                    text.insert(at, 1, "() \n\0:-"[random() % 7]);
            }
        }
        // Mutations may leave valid text; what matters is that nothing breaks.
        (void)ProcFiles::parseStat(text);
        (void)ProcFiles::parseSchedstat(text);
        (void)ProcFiles::parseIoWrittenBytes(text);
        (void)ProcFiles::parseBootTime(text);
        (void)ProcFiles::parseCommandLine(text);
    }
    for (int round = 0; round < 2000; ++round) {
        std::string noise(random() % 200, '\0');
        for (auto& byte : noise)
            byte = static_cast<char>(random() % 256);
        EXPECT_FALSE(ProcFiles::parseStat(noise));
        EXPECT_FALSE(ProcFiles::parseBootTime(noise));
        EXPECT_FALSE(ProcFiles::parseIoWrittenBytes(noise));
    }
}

}  // namespace
}  // namespace vigilmoth
