// Show that the real executable's --lab-mark appends one whole mark line to the recording that
// another process is writing, and refuses politely when it cannot.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;

const std::string kUsage = "Usage: --lab-mark <agent> <working|waiting|idle|gone> [note]\n";

struct LabHome {
    TemporaryFolder folder;
    std::string recording() const { return folder / "data/com.vigilmoth.app/lab/run.jsonl"; }
    ProcessResult mark(const std::vector<std::string>& words) const {
        std::vector<std::string> arguments = {"--lab-mark"};
        arguments.insert(arguments.end(), words.begin(), words.end());
        ProcessOptions options;
        options.environment = {{"XDG_DATA_HOME", folder / "data"},
                               {"HOME", folder.path().string()}};
        return runVigilmoth(arguments, options);
    }
};

TEST(LabMarkCommandTest, AppendsAWholeMarkLineToTheRunningRecording) {
    LabHome home;
    writeFile(home.recording(), "{\"header\":{}}\n");
    BackgroundProcess recorder(testProgram("hold_flock"), {home.recording()});
    ASSERT_TRUE(recorder.waitForOutput("locked"));

    auto result = home.mark({"codex", "idle", "waiting", "on", "review"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Marked codex as idle\n");
    EXPECT_EQ(result.err, "");
    result = home.mark({"claude:4711", "working"});
    EXPECT_EQ(result.out, "Marked claude:4711 as working\n");

    std::regex expected(
        "\\{\"header\":\\{\\}\\}\n"
        "\\{\"mark\":\\{\"agent\":\"codex\",\"at\":[0-9]+(\\.[0-9]{1,3})?,"
        "\"note\":\"waiting on review\",\"truth\":\"idle\"\\}\\}\n"
        "\\{\"mark\":\\{\"agent\":\"claude:4711\",\"at\":[0-9]+(\\.[0-9]{1,3})?,"
        "\"truth\":\"working\"\\}\\}\n");
    EXPECT_TRUE(std::regex_match(readFile(home.recording()), expected))
        << readFile(home.recording());
}

TEST(LabMarkCommandTest, RefusesWithoutARunningRecording) {
    LabHome home;
    auto result = home.mark({"codex", "idle"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "No recording is running. Start one with --lab-record.\n");

    // A finished recording (nobody holds its lock) is left untouched.
    writeFile(home.recording(), "{\"header\":{}}\n");
    result = home.mark({"codex", "idle"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "No recording is running. Start one with --lab-record.\n");
    EXPECT_EQ(readFile(home.recording()), "{\"header\":{}}\n");
}

TEST(LabMarkCommandTest, PrintsTheUsageForMissingOrWrongWords) {
    LabHome home;
    for (const auto& words : std::vector<std::vector<std::string>>{
             {}, {"codex"}, {"codex", "busy"}, {"codex", "Working"}, {"idle", "codex"}}) {
        SCOPED_TRACE(words.size());
        auto result = home.mark(words);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, kUsage);
    }
}

TEST(LabMarkCommandTest, UnknownLabCommandsAreNamed) {
    auto result = runVigilmoth({"--lab-bogus", "x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "Unknown lab command --lab-bogus.\n");
}

}  // namespace
}  // namespace vigilmoth
