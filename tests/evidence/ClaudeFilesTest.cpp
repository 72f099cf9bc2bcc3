// Show that Claude Code's session and job files, the real one included, read into what they
// say, that a file of a reused pid is refused, that dates read in every form agents use, and
// that real transcripts cut where a turn was going on or over read as a person would say,
// long lines included, without reading past the last MiB.
#include <gtest/gtest.h>

#include <sstream>

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

TEST(ClaudeTranscriptReaderTest, RealTranscriptsCutMidwayReadAsAPersonWould) {
    testing::TemporaryFolder folder;
    std::string path = folder / "cut.jsonl";
    std::istringstream cuts(testing::readFile(testing::fixture("claude-transcripts/cuts.txt")));
    int count = 0;
    for (std::string line; std::getline(cuts, line);) {
        std::istringstream fields(line.substr(0, line.find("  #")));
        std::string file, longLine, reading;
        std::size_t lines = 0;
        double age = 0;
        if (!(fields >> file >> lines >> age >> longLine)) continue;
        std::getline(fields >> std::ws, reading);
        SCOPED_TRACE(line);
        ++count;
        std::string text = testing::firstLines(
            testing::readFile(testing::fixture("claude-transcripts/" + file)), lines);
        testing::writeFile(path, text);
        testing::CountingFileAccess files;
        auto tail = ClaudeTranscriptReader::parseTail(files, path, text.size());
        EXPECT_EQ(described(ClaudeTranscriptReader::report(tail, kNow - age, kNow)), reading);
        EXPECT_EQ(ClaudeTranscriptReader::parseTail(text), tail);
        EXPECT_LE(files.bytesRead, ClaudeTranscriptReader::kLastWindow);
        EXPECT_EQ(text.size() > 16384 && files.lowestOffset[path] < text.size() - 16384,
                  longLine == "long");
    }
    EXPECT_EQ(count, 34);
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
