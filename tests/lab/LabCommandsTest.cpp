// Show that the real executable's lab commands work in the home folder they are given:
// --lab-hooks lists, installs and removes hooks and prints the installer's sentences,
// --lab-mark appends one whole mark line to the recording another process is writing, and
// --lab-score and --lab-notices print whole reports for recordings built to exercise the rules;
// and that each refuses what it cannot do with status 1 and the exact sentence.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

#include "support/MachineWording.h"
#include "support/TestSupport.h"
#include "ui/Golden.h"

namespace vigilmoth {
namespace {

using namespace testing;
namespace fs = std::filesystem;

// A temporary home, and the real executable run in it with the zone pinned for the marks' times.
struct LabHome {
    TemporaryFolder folder;
    std::string recording() const { return folder / "data/com.vigilmoth.app/lab/run.jsonl"; }
    ProcessResult run(const std::vector<std::string>& arguments, const char* zone = "UTC") const {
        ProcessOptions options;
        options.environment = {
            {"HOME", folder.path().string()}, {"XDG_DATA_HOME", folder / "data"}, {"TZ", zone}};
        return runVigilmoth(arguments, options);
    }
};

TEST(LabCommandsTest, RefusalsPrintTheSentenceAndExitOne) {
    LabHome home;
    fs::create_directories(home.folder.path() / ".claude");
    writeFile(home.folder / ".claude/settings.json", "{\"hooks\": []}\n");
    const std::string unrecognized =
        "~/.claude/settings.json has a layout vigilmoth does not recognize, so it did not change "
        "it.\n";
    const std::string hooksUsage = "Usage: vigilmoth --lab-hooks [install ID | remove ID]\n";
    const std::string markUsage = "Usage: --lab-mark <agent> <working|waiting|idle|gone> [note]\n";
    const std::string noRecording = "No recording is running. Start one with --lab-record.\n";
    const std::string missing = "/nonexistent/recording.jsonl";
    // Line 3 counts the non-empty lines only: a blank line precedes it.
    const std::string malformed = fixture("lab/malformed-middle.jsonl").string();
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--lab-hooks", "install", "droid"},
         worded("This agent is not set up on this Mac. ~/.factory/settings.json does not "
                "exist.\n")},
        {{"--lab-hooks", "install", "claude"}, unrecognized},
        {{"--lab-hooks", "remove", "claude"}, unrecognized},
        {{"--lab-hooks", "install", "aider"},
         "Unknown hook entry aider. The entries are claude, codex, droid, opencode, pi, cursor.\n"},
        {{"--lab-hooks", "install"}, hooksUsage},
        {{"--lab-hooks", "list", "claude"}, hooksUsage},
        {{"--lab-mark"}, markUsage},
        {{"--lab-mark", "codex"}, markUsage},
        {{"--lab-mark", "codex", "busy"}, markUsage},
        {{"--lab-mark", "codex", "Working"}, markUsage},
        {{"--lab-mark", "idle", "codex"}, markUsage},
        {{"--lab-mark", "codex", "idle"}, noRecording},
        {{"--lab-bogus", "x"}, "Unknown lab command --lab-bogus.\n"},
        {{"--lab-score"}, "Usage: --lab-score <file>\n"},
        {{"--lab-notices"}, "Usage: --lab-notices <file>\n"},
        {{"--lab-score", missing}, "Cannot read " + missing + ".\n"},
        // A folder opens but cannot be read.
        {{"--lab-score", fixture("lab").string()},
         "Cannot read " + fixture("lab").string() + ".\n"},
        {{"--lab-score", malformed}, "Line 3 of the recording cannot be read.\n"},
        {{"--lab-notices", malformed}, "Line 3 of the recording cannot be read.\n"},
    };
    for (const auto& [arguments, err] : cases) {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        auto result = home.run(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, err);
    }
    EXPECT_EQ(readFile(home.folder / ".claude/settings.json"), "{\"hooks\": []}\n");
    // A finished recording (nobody holds its lock) is left untouched.
    writeFile(home.recording(), "{\"header\":{}}\n");
    EXPECT_EQ(home.run({"--lab-mark", "codex", "idle"}).err, noRecording);
    EXPECT_EQ(readFile(home.recording()), "{\"header\":{}}\n");
}

TEST(LabCommandsTest, HooksAreListedInstalledAndRemovedWithTheBuildsHookExecutable) {
    LabHome home;
    const auto& root = home.folder.path();
    fs::create_directories(root / ".claude");
    fs::create_directories(root / ".config/opencode");
    writeFile(root / ".cursor/hooks.json", "{\"hooks\": {,}}");
    auto listed = home.run({"--lab-hooks"});
    EXPECT_EQ(listed.status, 0) << listed.err;
    EXPECT_EQ(listed.out,
              "claude    not installed           ~/.claude/settings.json\n"
              "codex     not set up              ~/.codex/hooks.json\n"
              "droid     not set up              ~/.factory/settings.json\n"
              "opencode  not installed           ~/.config/opencode/plugins/vigilmoth.js\n"
              "pi        not set up              ~/.pi/agent/extensions/vigilmoth.js\n"
              "cursor    unreadable              ~/.cursor/hooks.json\n");
    EXPECT_EQ(listed.err, "");

    const std::string original = "{\r\n    \"hooks\": {}\r\n}\r\n";
    writeFile(root / ".codex/hooks.json", original);
    auto installed = home.run({"--lab-hooks", "install", "codex"});
    EXPECT_EQ(installed.status, 0) << installed.err;
    EXPECT_EQ(installed.out,
              "Installed the Codex hooks in ~/.codex/hooks.json.\n"
              "One more step for Codex: type /hooks in Codex and approve vigilmoth.\n");
    auto text = readFile(root / ".codex/hooks.json");
    const std::string hook = std::string(VIGILMOTH_BUILD_DIR) + "/libexec/vigilmoth/VigilmothHook";
    EXPECT_NE(text.find("'" + hook + "' codex PermissionRequest v=1"), std::string::npos) << text;
    EXPECT_NE(home.run({"--lab-hooks"}).out.find("codex     installed (version 1)"),
              std::string::npos);
    EXPECT_TRUE(fs::exists(root / "data/com.vigilmoth.app/hook-installs/codex.json"));

    auto removed = home.run({"--lab-hooks", "remove", "codex"});
    EXPECT_EQ(removed.status, 0) << removed.err;
    EXPECT_EQ(removed.out, "Removed the Codex hooks from ~/.codex/hooks.json.\n");
    EXPECT_EQ(readFile(root / ".codex/hooks.json"), original);
}

TEST(LabCommandsTest, AMarkIsAppendedAsAWholeLineToTheRunningRecording) {
    LabHome home;
    writeFile(home.recording(), "{\"header\":{}}\n");
    BackgroundProcess recorder(testProgram("hold_flock"), {home.recording()});
    ASSERT_TRUE(recorder.waitForOutput("locked"));
    auto result = home.run({"--lab-mark", "codex", "idle", "waiting", "on", "review"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "Marked codex as idle\n");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(home.run({"--lab-mark", "claude:4711", "working"}).out,
              "Marked claude:4711 as working\n");
    std::regex expected(
        "\\{\"header\":\\{\\}\\}\n"
        "\\{\"mark\":\\{\"agent\":\"codex\",\"at\":[0-9]+(\\.[0-9]{1,3})?,"
        "\"note\":\"waiting on review\",\"truth\":\"idle\"\\}\\}\n"
        "\\{\"mark\":\\{\"agent\":\"claude:4711\",\"at\":[0-9]+(\\.[0-9]{1,3})?,"
        "\"truth\":\"working\"\\}\\}\n");
    EXPECT_TRUE(std::regex_match(readFile(home.recording()), expected))
        << readFile(home.recording());
}

// Each report is kept in tests/fixtures/lab/expected, in the macOS wording. held-and-released:
// finished at 70 s, released 120 s after the last work, 55 s past the idle mark's allowance; a
// target suffix that is not a number names a whole agent id, which never appears. half-written:
// a torn last line is what a running recording ends in; it is dropped. unknown-mode: a misspelt
// mode replays as agentWorking, where an idle agent holds nothing. sleep-gap: 990 s asleep do
// not use up the 120 s of grace after the last work. notices: 701's fresh finish held both back,
// so 700's wait was told first.
TEST(LabCommandsTest, ScoresAndNoticesOfRecordingsLineForLine) {
    LabHome home;
    int compared = 0;
    for (const char* name : {"held-and-released", "no-header", "half-written", "unknown-mode",
                             "sleep-gap", "header-only", "notices"}) {
        for (const char* command : {"score", "notices"}) {
            const auto golden = "lab/expected/" + std::string(name) + "." + command + ".txt";
            if (!fs::exists(fixture(golden))) continue;
            SCOPED_TRACE(golden);
            ++compared;
            auto result = home.run({"--lab-" + std::string(command),
                                    fixture("lab/" + std::string(name) + ".jsonl").string()});
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err, "");
            const std::string held = std::string(kMachineWord.capitalised) + " held awake";
            for (auto at = result.out.find(held); at != std::string::npos;
                 at = result.out.find(held, at))
                result.out.replace(at, held.size() - 11, "Mac");
            expectGolden(golden, result.out);
        }
    }
    EXPECT_EQ(compared, 10);
    auto kolkata =
        home.run({"--lab-score", fixture("lab/held-and-released.jsonl").string()}, "Asia/Kolkata");
    EXPECT_NE(kolkata.out.find("  05:30:05 idle: seen after 65.0 s\n"), std::string::npos)
        << kolkata.out;
    for (const auto& entry : fs::directory_iterator(fs::path(VIGILMOTH_SOURCE_DIR) / "examples")) {
        if (entry.path().extension() != ".jsonl") continue;
        for (const auto& command : {"--lab-score", "--lab-notices"}) {
            SCOPED_TRACE(entry.path().filename().string() + " " + command);
            auto result = home.run({command, entry.path().string()});
            EXPECT_EQ(result.status, 0);
            EXPECT_EQ(result.err, "");
            EXPECT_FALSE(result.out.empty());
        }
    }
}

}  // namespace
}  // namespace vigilmoth
