// Show that the real executable's --lab-score and --lab-notices print whole reports for
// recordings built to exercise the rules, and refuse unreadable recordings with the exact error.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/MachineWording.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;

ProcessResult lab(const std::string& command, const std::string& path) {
    ProcessOptions options;
    // The marks' times are printed in the machine's zone; pin it.
    options.environment = {{"TZ", "UTC"}};
    return runVigilmoth({command, path}, options);
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

const std::string kHeldAndReleased = joined({
    "Lab score: held and released (0.1.0, macOS Version 15.3 (Build 24D60), Mac15,3)",
    worded("31 samples over 300.0 s, 5 marks, Mac held awake for 300.0 s"),
    "  Claude Code [claude:100]: working 70.0 s, waiting 0.0 s, idle 230.0 s, held 180.0 s",
    "  Aider [aider:200]: working 300.0 s, waiting 0.0 s, idle 0.0 s, held 300.0 s",
    // Finished at 70 s, released 120 s after the last work: 55 s past the idle mark's allowance.
    "claude: wrongly held 55.0 s, wrongly released 100.0 s",
    "  00:00:05 idle: seen after 65.0 s",
    "  00:03:20 working: never seen",
    // A suffix that is not a number names a whole agent id, which never appears.
    "aider:abc: wrongly held 0.0 s, wrongly released 0.0 s",
    "  00:00:10 gone: seen after 0.0 s",
    "aider:200: wrongly held 0.0 s, wrongly released 0.0 s",
    "  00:01:40 waiting: never seen",
    "*: wrongly held 0.0 s, wrongly released 0.0 s",
    "  00:04:10 working: seen after 0.0 s",
    "Total: wrongly held 55.0 s, wrongly released 100.0 s",
    "The replay differs from the live decision in 1 of 31 samples",
});

const std::string kNoHeader = joined({
    "Lab score: recording without a header",
    worded("5 samples over 40.0 s, 0 marks, Mac held awake for 0.0 s"),
    "  Claude Code [claude:300]: working 0.0 s, waiting 0.0 s, idle 40.0 s, held 0.0 s",
    "No marks, so nothing to score.",
    "The replay differs from the live decision in 0 of 5 samples",
});

TEST(LabScoreCommandTest, ScoresRecordingsLineForLine) {
    struct Case {
        std::string fixture;
        std::string report;
    };
    const std::vector<Case> cases = {
        {"held-and-released.jsonl", kHeldAndReleased},
        {"no-header.jsonl", kNoHeader},
        // A torn last line is what a running recording ends in; it is dropped.
        {"half-written.jsonl", kNoHeader},
        // A misspelt mode replays as agentWorking, where an idle agent holds nothing.
        {"unknown-mode.jsonl",
         joined({
             "Lab score: misspelt mode (0.1.0, macOS Version 15.3 (Build 24D60), Mac15,3)",
             worded("4 samples over 30.0 s, 0 marks, Mac held awake for 0.0 s"),
             "  Claude Code [claude:400]: working 0.0 s, waiting 0.0 s, idle 30.0 s, held 0.0 s",
             "No marks, so nothing to score.",
             "The replay differs from the live decision in 0 of 4 samples",
         })},
        // 990 s asleep do not use up the 120 s of grace after the last work.
        {"sleep-gap.jsonl",
         joined({
             "Lab score: sleep gap (0.1.0, macOS Version 15.3 (Build 24D60), Mac15,3)",
             worded("28 samples over 1260.0 s, 1 marks, Mac held awake for 1170.0 s"),
             "  Claude Code [claude:500]: working 70.0 s, waiting 0.0 s, idle 1190.0 s, held "
             "1170.0 s",
             "claude: wrongly held 985.0 s, wrongly released 0.0 s",
             "  00:01:05 idle: seen after 5.0 s",
             "Total: wrongly held 985.0 s, wrongly released 0.0 s",
             "The replay differs from the live decision in 0 of 28 samples",
         })},
        {"header-only.jsonl",
         joined({
             "Lab score: held and released (0.1.0, macOS Version 15.3 (Build 24D60), Mac15,3)",
             worded("0 samples over 0.0 s, 1 marks, Mac held awake for 0.0 s"),
             "codex: wrongly held 0.0 s, wrongly released 0.0 s",
             "  00:00:00 working: never seen",
             "Total: wrongly held 0.0 s, wrongly released 0.0 s",
             "The replay differs from the live decision in 0 of 0 samples",
         })},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.fixture);
        auto result = lab("--lab-score", fixture("lab/" + testCase.fixture).string());
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out, testCase.report);
    }
}

TEST(LabScoreCommandTest, ReportTimesFollowTheMachinesTimeZone) {
    ProcessOptions options;
    options.environment = {{"TZ", "Asia/Kolkata"}};
    auto result =
        runVigilmoth({"--lab-score", fixture("lab/held-and-released.jsonl").string()}, options);
    EXPECT_NE(result.out.find("  05:30:05 idle: seen after 65.0 s\n"), std::string::npos)
        << result.out;
}

TEST(LabScoreCommandTest, ReplaysTheNoticesASessionWouldHaveProduced) {
    auto result = lab("--lab-notices", fixture("lab/notices.jsonl").string());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(
        result.out,
        joined({
            "Agent notifications in the replay: 5 fired",
            "    0.0 s    waiting skipped pid 600: it waited already at launch",
            "   10.0 s  pid 900  new, working",
            "   20.0 s  pid 900  working -> waiting (asksPermission) after 10.0 s",
            "   22.0 s  pid 900  waiting -> working (reportsBusy) after 2.0 s",
            "   22.0 s    waiting skipped pid 900: the wait ended after 2.0 s",
            "   30.0 s  pid 900  working -> idle (atPrompt) after 8.0 s",
            "   32.0 s  pid 900  idle -> working (reportsBusy) after 2.0 s",
            "   32.0 s    finished skipped pid 900: working again after 2.0 s",
            "   40.0 s  pid 812  working -> waiting (asksPermission) after 40.0 s",
            "   44.0 s    waiting fired pid 812",
            "   50.0 s  pid 812  waiting -> turn waiting, verdict working (runningCommand:1) after "
            "10.0 s: no change for the notifications",
            "   50.0 s  pid 900  working -> gone",
            "   52.0 s  pid 812  turn waiting, verdict working -> waiting (asksPermission) after "
            "2.0 s: no change for the notifications",
            "   54.0 s    finished fired pid 900 after 18.0 s",
            "   60.0 s  pid 812  waiting -> working (reportsBusy) after 8.0 s",
            "   72.0 s  pid 812  working -> idle (atPrompt) after 12.0 s",
            "   76.0 s    finished fired pid 812 after 12.0 s",
            "   80.0 s  pid 700  working -> idle (atPrompt) after 80.0 s",
            "   82.0 s  pid 700  idle -> waiting (asksPermission) after 2.0 s",
            "   84.0 s  pid 701  working -> idle (atPrompt) after 84.0 s",
            "   86.0 s    waiting fired pid 700",
            // 701's fresh finish held both back, so 700's wait was told first.
            "   88.0 s    finished skipped pid 700: it asks a question, and that was told",
            "   88.0 s    finished fired pid 701 after 84.0 s",
        }));
}

TEST(LabScoreCommandTest, RecordingsWithoutChangesSayNoSessionChanged) {
    for (const auto& name : {"no-header.jsonl", "header-only.jsonl", "half-written.jsonl"}) {
        SCOPED_TRACE(name);
        auto result = lab("--lab-notices", fixture(std::string("lab/") + name).string());
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out, "Agent notifications in the replay: 0 fired\nNo session changed.\n");
    }
}

TEST(LabScoreCommandTest, AMalformedMiddleLineFailsWithItsNumber) {
    // Line 3 counts the non-empty lines only: a blank line precedes it.
    for (const auto& command : {"--lab-score", "--lab-notices"}) {
        SCOPED_TRACE(command);
        auto result = lab(command, fixture("lab/malformed-middle.jsonl").string());
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "Line 3 of the recording cannot be read.\n");
    }
}

TEST(LabScoreCommandTest, MissingFilesAndMissingPathsAreRefused) {
    // A folder opens but cannot be read.
    for (const auto& path :
         {std::string("/nonexistent/recording.jsonl"), fixture("lab").string()}) {
        SCOPED_TRACE(path);
        auto result = lab("--lab-score", path);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "Cannot read " + path + ".\n");
    }
    struct Case {
        std::string command;
        std::string usage;
    };
    for (const auto& testCase : std::vector<Case>{
             {"--lab-score", "Usage: --lab-score <file>\n"},
             {"--lab-notices", "Usage: --lab-notices <file>\n"},
         }) {
        SCOPED_TRACE(testCase.command);
        auto usage = runVigilmoth({testCase.command});
        EXPECT_EQ(usage.status, 1);
        EXPECT_EQ(usage.out, "");
        EXPECT_EQ(usage.err, testCase.usage);
    }
}

TEST(LabScoreCommandTest, TheExampleRecordingsScoreAndReplay) {
    for (const auto& entry : std::filesystem::directory_iterator(
             std::filesystem::path(VIGILMOTH_SOURCE_DIR) / "examples")) {
        if (entry.path().extension() != ".jsonl") continue;
        SCOPED_TRACE(entry.path().filename().string());
        for (const auto& command : {"--lab-score", "--lab-notices"}) {
            auto result = lab(command, entry.path().string());
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err, "");
            EXPECT_FALSE(result.out.empty());
        }
    }
}

}  // namespace
}  // namespace vigilmoth
