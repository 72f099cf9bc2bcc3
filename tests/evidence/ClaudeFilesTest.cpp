// Show that Claude Code's session and job files, the real one included, read into what they
// say, that a file of a reused pid is refused, that dates read in every form agents use, and
// that real transcripts cut where a turn was going on or over read as a person would say,
// long lines included, without reading past the last MiB.
#include <gtest/gtest.h>

#include "evidence/ClaudeSessionState.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "evidence/ReportedTime.h"
#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using testing::described;

const Date kNow(1.8e9);

TEST(ClaudeSessionStateTest, TheRealSessionFileBelongsOnlyToItsProcess) {
    testing::CountingFileAccess files;
    ClaudeSessionStateReader reader(files, testing::fixture("claude-session-registry").string());
    auto state = reader.state(409825, 20095994, kNow);
    ASSERT_TRUE(state);
    EXPECT_EQ(state->state, ReportedState::working);
    EXPECT_EQ(state->detail(), "in a turn");
    EXPECT_EQ(state->statusUpdatedAt, Date(1778681861.222));
    EXPECT_EQ(state->name, "通信SDK马");
    EXPECT_EQ(state->kind->value, ClaudeSessionState::Kind::Case::interactive);
    // Where the system gives no kernel start (macOS), the pid has to do.
    EXPECT_TRUE(reader.state(409825, std::nullopt, kNow));
    EXPECT_FALSE(reader.state(409825, 20095995, kNow)) << "a reused pid";
    EXPECT_FALSE(ClaudeSessionStateReader::belonging(*state, 409826, std::nullopt));
}

TEST(ClaudeSessionStateTest, SessionFieldsAreReadStrictlyWhereTheyMatter) {
    using Kind = ClaudeSessionState::Kind::Case;
    const std::string none = "-";  // no record at all
    struct Case {
        std::string json;
        std::optional<std::string> detail;
        std::optional<double> updatedAt;
        std::optional<Kind> kind;
        bool hasPid = false;
    };
    const Case cases[] = {
        {R"({"status":"shell"})", "background work running"},
        {R"({"status":"waiting","updatedAt":1700000000})", "waiting for you", 1700000000},
        {R"({"status":"idle","statusUpdatedAt":1700000000000,"updatedAt":5})", {}, 1700000000},
        {R"({"status":"idle","statusUpdatedAt":"2023-11-14T22:13:20.500Z"})", {}, 1700000000.5},
        {R"({"status":"idle","updatedAt":"2023-11-14T23:13:20+01:00"})", {}, 1700000000},
        {R"({"status":"Busy"})", none},
        {R"({"status":"idle","pid":4294967296})"},
        {R"({"status":"idle","pid":-7})", {}, {}, {}, true},
        {R"({"status":"idle","spare":false,"kind":"bg"})", {}, {}, Kind::background},
        {R"({"status":"idle","spare":1,"kind":"bg"})", {}, {}, Kind::spare},
        {R"({"status":"idle","kind":"daemon"})", {}, {}, Kind::other},
        {R"({"status":1})", none},
        {"[]", none},
    };
    for (const auto& [json, detail, updatedAt, kind, hasPid] : cases) {
        SCOPED_TRACE(json);
        auto state = ClaudeSessionStateReader::parse(json, kNow);
        ASSERT_EQ(state.has_value(), detail != none);
        if (!state) continue;
        EXPECT_EQ(state->detail(), detail);
        EXPECT_EQ(state->statusUpdatedAt,
                  updatedAt ? std::optional<Date>(Date(*updatedAt)) : std::nullopt);
        EXPECT_EQ(state->kind ? std::optional(state->kind->value) : std::nullopt, kind);
        EXPECT_EQ(state->pid.has_value(), hasPid);
        EXPECT_EQ(state->observedAt, kNow);
    }
}

TEST(ClaudeSessionStateTest, JobsCountWhileWorkingOrBlockedWithTasks) {
    const std::pair<std::string, std::optional<bool>> cases[] = {
        {R"({"state":"working"})", true},
        {R"({"state":"blocked","inFlight":{"tasks":2}})", true},
        {R"({"state":"blocked","inFlight":{"tasks":0}})", false},
        {R"({"state":"blocked","inFlight":{"tasks":"2"}})", false},
        {R"({"state":"done","inFlight":{"tasks":2}})", false},
        {R"({"state":"paused"})", std::nullopt},
    };
    for (const auto& [json, busy] : cases) {
        auto job = ClaudeJobStateReader::parse(json, kNow);
        EXPECT_EQ(job ? std::optional(job->busy()) : std::nullopt, busy) << json;
    }
    testing::TemporaryFolder jobs;
    testing::writeFile(jobs / "j-1_a/state.json", R"({"state":"working","sessionId":"s"})");
    testing::CountingFileAccess files;
    ClaudeJobStateReader reader(files, jobs.path().string());
    EXPECT_EQ(reader.state("j-1_a", kNow)->sessionID, "s");
    for (const char* refused : {"../x", "a/b", "a.b", ""})
        EXPECT_FALSE(reader.path(refused)) << refused;
    EXPECT_EQ(files.reads, 1) << "refused identifiers never reach the disk";
}

TEST(ClaudeSessionStateTest, DatesInEveryFormAgentsWrite) {
    const std::pair<nlohmann::json, std::optional<double>> cases[] = {
        {"2026-02-23T11:40:29.275Z", 1771846829.275},
        {"2026-02-23T12:40:29+01:00", 1771846829},
        {"2026-02-23T06:40:29-0500", 1771846829},
        {"2024-02-29T00:00:00Z", 1709164800},
        {"2023-02-29T00:00:00Z", std::nullopt},
        {"2026-02-23T11:40:29", std::nullopt},
        {"2026-02-23T11:40:29.Z", std::nullopt},
        {1778488037, 1778488037},
        {1778488037123LL, 1778488037.123},
        {true, std::nullopt},
    };
    for (const auto& [value, seconds] : cases) {
        auto date = ReportedTime::date(value);
        EXPECT_NEAR(date.value_or(Date(-1)).secondsSince1970(), seconds.value_or(-1), 1e-6)
            << value;
    }
}

struct Cut {
    const char* file;
    std::size_t lines;
    double age;  // seconds since the transcript was last written
    const char* reading;
    bool longLine = false;  // the line that decides lies before the last 16 KiB
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
    const std::pair<std::string, std::string> names[] = {
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
    for (const char* name : {"/old.jsonl", "/new.jsonl", "/notes.txt"})
        testing::writeFile(folder + name, "{}\n");
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
