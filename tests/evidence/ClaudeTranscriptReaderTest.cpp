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

// Each cut keeps the file's first lines; the comment says what the last kept lines are.
const std::vector<Cut> kCuts{
    {"spotter-short.jsonl", 4, 1, kInTurn},    // the user's prompt
    {"spotter-short.jsonl", 5, 1, kInTurn},    // a reply being written
    {"spotter-short.jsonl", 5, 60, "idle"},    // the same reply, quiet for a minute
    {"spotter-short.jsonl", 9, 60, kRunning},  // a tool call, then its progress
    {"spotter-short.jsonl", 12, 1, kInTurn},   // the tool was refused
    {"spotter-short.jsonl", 13, 1, "idle"},    // "[Request interrupted by user"
    {"spotter-short.jsonl", 15, 1, "idle"},    // then the /model command
    {"spotter-tool_heavy.jsonl", 5, 1, kRunning},
    {"spotter-tool_heavy.jsonl", 18, 1, "idle"},   // interrupted
    {"spotter-tool_heavy.jsonl", 21, 1, "idle"},   // /mcp typed after it: no turn
    {"spotter-tool_heavy.jsonl", 24, 1, "idle"},   // its output
    {"spotter-tool_heavy.jsonl", 26, 1, kInTurn},  // a new prompt
    {"spotter-tool_heavy.jsonl", 33, 1, kInTurn},  // tool results coming back
    {"spotter-tool_heavy.jsonl", 39, 1, "idle"},
    {"codemie-4c2ddfdc-b619-4525-8d03-1950fb1b0257.jsonl", 2, 60, kInTurn},
    {"codemie-4c2ddfdc-b619-4525-8d03-1950fb1b0257.jsonl", 6, 60, kRunning},
    {"codemie-4c2ddfdc-b619-4525-8d03-1950fb1b0257.jsonl", 13, 60, "idle"},  // 2.0: no reason
    {"codemie-4c2ddfdc-b619-4525-8d03-1950fb1b0257.jsonl", 25, 1, "idle"},   // "end_turn"
    {"codemie-session-9eda1058.jsonl", 19, 1, kInTurn},  // a reply, then summary lines
    {"codemie-session-9eda1058.jsonl", 19, 60, "idle"},
    {"codemie-session-9eda1058.jsonl", 22, 1, "idle"},
    {"codemie-session-9eda1058.jsonl", 28, 60, kInTurn, true},  // a 39 KB tool result
    {"codemie-session-9eda1058.jsonl", 31, 1, "idle"},          // "turn_duration"
    {"codemie-session-9eda1058.jsonl", 37, 60, kInTurn, true},  // 57 KB
    {"codemie-session-9eda1058.jsonl", 40, 1, "idle"},
    {"codemie-session-196820da.jsonl", 4, 1, "nothing"},  // only /clear and its output
    {"codemie-session-196820da.jsonl", 6, 1, kInTurn},
    {"codemie-session-196820da.jsonl", 15, 60, kInTurn, true},  // 62 KB
    {"codemie-session-196820da.jsonl", 110, 1, kInTurn, true},  // an 18 KB reply
    {"codemie-session-196820da.jsonl", 110, 60, "idle", true},
    {"codemie-session-196820da.jsonl", 228, 60, kRunning, true},
    {"codemie-session-196820da.jsonl", 233, 60, "idle"},
    {"spotter-subagent.jsonl", 4, 1, kInTurn},          // a prompt command: it starts a turn
    {"spotter-subagent.jsonl", 5, 1, kInTurn},          // its expansion, marked as meta
    {"spotter-subagent.jsonl", 55, 1, kRunning, true},  // a subagent's progress, 25 KB lines
    {"spotter-subagent.jsonl", 56, 1, kInTurn, true},
    {"spotter-subagent.jsonl", 69, 1, "idle"},
    {"spotter-subagent.jsonl", 92, 1, kInTurn},
    {"spotter-subagent.jsonl", 96, 1, "idle"},  // "stop_hook_summary"
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 277, 1, "idle", true},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 280, 1, kInTurn},  // "continue"
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 582, 60, kRunning, true},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 591, 60, kRunning, true},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 592, 60, kInTurn, true},  // 74 KB
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 759, 60, kInTurn, true},  // compacted
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1501, 1, "idle"},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1502, 1, kInTurn},  // a task ended
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1506, 60, kInTurn, true},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1507, 1, kInTurn},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1511, 2, kInTurn},  // stop hooks run
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1511, 60, "idle"},
    // A finished Claude Code 2.1 turn: a reply with a null stop reason, then the summary.
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl", 1512, 1, "idle"},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569/subagents/agent-a2898e3.jsonl", 6, 1, kInTurn,
     true},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569/subagents/agent-a2898e3.jsonl", 140, 1,
     kRunning},
    {"spotter-4d5611e5-241a-462a-8d15-5122611a9569/subagents/agent-a2898e3.jsonl", 144, 60, "idle",
     true},
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
