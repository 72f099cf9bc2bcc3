// Show that real Claude Code transcripts, cut where a turn was going on or over, read as a
// person reading them would say, long lines included, without reading past the last MiB.
#include "evidence/ClaudeTranscriptReader.h"

#include <gtest/gtest.h>

#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using testing::described;

const Date kNow(1.8e9);

struct Cut {
    const char* file;
    std::size_t lines;
    // Seconds since the transcript was last written.
    double age;
    const char* reading;
    // The line that decides lies before the last 16 KiB.
    bool longLine = false;
};

const char* kRunning = "working: running a tool";
const char* kInTurn = "working: in a turn";

const char* kShort = "spotter-short.jsonl";
const char* kToolHeavy = "spotter-tool_heavy.jsonl";
const char* kCodemie20 = "codemie-4c2ddfdc-b619-4525-8d03-1950fb1b0257.jsonl";
const char* kCodemie = "codemie-session-9eda1058.jsonl";
const char* kCleared = "codemie-session-196820da.jsonl";
const char* kSubagent = "spotter-subagent.jsonl";
const char* kSpotter = "spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl";
const char* kAgent = "spotter-4d5611e5-241a-462a-8d15-5122611a9569/subagents/agent-a2898e3.jsonl";

// Each cut keeps the file's first lines; the comment says what the last kept lines are.
const std::vector<Cut> kCuts{
    {kShort, 4, 1, kInTurn},       // the user's prompt
    {kShort, 5, 1, kInTurn},       // a reply being written
    {kShort, 5, 60, "idle"},       // the same reply, quiet for a minute
    {kShort, 9, 60, kRunning},     // a tool call, then its progress
    {kShort, 12, 1, kInTurn},      // the tool was refused
    {kShort, 13, 1, "idle"},       // "[Request interrupted by user"
    {kShort, 15, 1, "idle"},       // then the /model command
    {kToolHeavy, 21, 1, "idle"},   // /mcp typed after an interrupt: no turn
    {kToolHeavy, 26, 1, kInTurn},  // a new prompt
    {kToolHeavy, 33, 1, kInTurn},  // tool results coming back
    {kCodemie20, 2, 60, kInTurn},  // a prompt stays a turn however quiet
    {kCodemie20, 13, 60, "idle"},  // 2.0: no stop reason
    {kCodemie20, 25, 1, "idle"},   // "end_turn"
    {kCodemie, 19, 1, kInTurn},    // a reply, then summary lines
    {kCodemie, 19, 60, "idle"},
    {kCodemie, 28, 60, kInTurn, true},  // a 39 KB tool result
    {kCodemie, 31, 1, "idle"},          // "turn_duration"
    {kCleared, 4, 1, "nothing"},        // only /clear and its output
    {kCleared, 15, 60, kInTurn, true},  // 62 KB
    {kCleared, 110, 60, "idle", true},  // an 18 KB reply, quiet
    {kCleared, 228, 60, kRunning, true},
    {kSubagent, 4, 1, kInTurn},          // a prompt command: it starts a turn
    {kSubagent, 5, 1, kInTurn},          // its expansion, marked as meta
    {kSubagent, 55, 1, kRunning, true},  // a subagent's progress, 25 KB lines
    {kSubagent, 96, 1, "idle"},          // "stop_hook_summary"
    {kSpotter, 280, 1, kInTurn},         // "continue"
    {kSpotter, 582, 60, kRunning, true},
    {kSpotter, 592, 60, kInTurn, true},  // 74 KB
    {kSpotter, 759, 60, kInTurn, true},  // compacted
    {kSpotter, 1502, 1, kInTurn},        // a task ended
    {kSpotter, 1511, 2, kInTurn},        // stop hooks run
    {kSpotter, 1511, 60, "idle"},
    {kSpotter, 1512, 1, "idle"},  // a finished 2.1 turn: a null stop reason, a summary
    {kAgent, 144, 60, "idle", true},
};

TEST(ClaudeTranscriptReaderTest, RealTranscriptsCutMidwayReadAsAPersonWould) {
    testing::TemporaryFolder folder;
    std::string path = folder / "cut.jsonl";
    for (const auto& cut : kCuts) {
        SCOPED_TRACE(std::string(cut.file) + " after line " + std::to_string(cut.lines) +
                     ", written " + std::to_string(cut.age) + " s ago");
        std::string text = testing::firstLines(
            testing::readFile(testing::fixture(std::string("claude-transcripts/") + cut.file)),
            cut.lines);
        testing::writeFile(path, text);
        testing::CountingFileAccess files;
        auto tail = ClaudeTranscriptReader::parseTail(files, path, text.size());
        EXPECT_EQ(described(ClaudeTranscriptReader::report(tail, kNow - cut.age, kNow)),
                  cut.reading);
        EXPECT_EQ(ClaudeTranscriptReader::parseTail(text), tail);
        EXPECT_LE(files.bytesRead, ClaudeTranscriptReader::kLastWindow);
        EXPECT_EQ(text.size() > 16384 && files.lowestOffset[path] < text.size() - 16384,
                  cut.longLine);
    }
}

TEST(ClaudeTranscriptReaderTest, ProjectFoldersAndTheNewestTranscript) {
    const std::vector<std::pair<std::string, std::string>> names{
        {"/Users/a/b.c", "-Users-a-b-c"},
        {"/home/USER/projects/spotter/worktrees/spotter-dov",
         "-home-USER-projects-spotter-worktrees-spotter-dov"},
        {"/home/me/Über Straße", "-home-me-Über-Straße"},
        {"/tmp/项目 😀", "-tmp-项目--"},
        {"/tmp/a\xff", "-tmp-a-"},
    };
    for (const auto& [directory, name] : names)
        EXPECT_EQ(ClaudeTranscriptReader::projectName(directory), name) << directory;

    testing::TemporaryFolder home;
    std::string folder = home / "-work-app";
    std::filesystem::create_directories(folder + "/sub.jsonl");
    testing::writeFile(folder + "/old.jsonl", "{}\n");
    testing::writeFile(folder + "/new.jsonl", "{}\n");
    testing::writeFile(folder + "/notes.txt", "{}\n");
    std::filesystem::last_write_time(
        folder + "/old.jsonl",
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    testing::CountingFileAccess files;
    auto newest =
        ClaudeTranscriptReader::newestTranscript(files, home.path().string(), "/work/app");
    ASSERT_TRUE(newest);
    EXPECT_EQ(newest->path, folder + "/new.jsonl");
    EXPECT_FALSE(ClaudeTranscriptReader::newestTranscript(files, home.path().string(), "/nowhere"));
}

}  // namespace
}  // namespace vigilmoth
