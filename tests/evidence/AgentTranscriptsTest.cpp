// Show that real Codex rollouts, cut where turns were going on or over, read as a person would
// say, whether first seen at the cut or followed while they were written, that the search
// keeps to its budget and the listing finds Codex's day folders; and that Cursor's transcripts
// are listed in both layouts, each line reads as the turn it tells of, and the summary over a
// Cursor instance's conversations weighs hook stops and the engine's start.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "evidence/CodexRolloutReader.h"
#include "evidence/CodexRolloutTracker.h"
#include "evidence/CursorTranscript.h"
#include "evidence/HookStateFile.h"
#include "evidence/ReportedTime.h"
#include "support/EvidenceFiles.h"
#include "support/ScopedTimeZone.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using testing::described;

const char* kInTurn = "working: in a turn";

std::string fixturePath(const std::string& id) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             testing::fixture("codex-rollouts/sessions"))) {
        if (entry.path().filename().string().find(id) != std::string::npos)
            return entry.path().string();
    }
    return "";
}

std::string reading(CodexRolloutTracker& tracker, const std::string& path) {
    auto result = tracker.read(path);
    tracker.endSample();
    return described(result ? CodexRolloutTracker::report(*result, Date(0)) : std::nullopt);
}

TEST(CodexRolloutTest, RealRolloutsReadAsAPersonWouldAtFirstSightAndWhileWritten) {
    testing::TemporaryFolder folder;
    std::mt19937 random(5);
    std::istringstream rollouts(testing::readFile(testing::fixture("codex-rollouts/cuts.txt")));
    int count = 0;
    for (std::string line; std::getline(rollouts, line);) {
        std::istringstream fields(line);
        std::string id, cwd, cut;
        if (line.starts_with("#") || !(fields >> id >> cwd)) continue;
        ++count;
        std::string text = testing::readFile(fixturePath(id));
        testing::CountingFileAccess files;
        CodexRolloutReader reader(files, "");
        EXPECT_EQ(reader.sessionCwd(fixturePath(id)), cwd);
        EXPECT_LE(files.bytesRead, 4096u) << "the directory comes early in the first line";
        std::string fresh = folder / "fresh.jsonl", followed = folder / "followed.jsonl";
        std::filesystem::remove(followed);
        CodexRolloutTracker tracker(files);
        std::size_t written = 0;
        while (fields >> cut) {
            SCOPED_TRACE(id + " after line " + cut);
            const std::size_t lines = std::stoul(cut);
            const std::string expected = cut.ends_with(":turn") ? kInTurn : "idle";
            std::string kept = testing::firstLines(text, lines);
            testing::writeFile(fresh, kept);
            CodexRolloutTracker first(files);
            EXPECT_EQ(reading(first, fresh), expected);
            // The writer appends in pieces that cut lines anywhere; each piece is one tick.
            while (written < kept.size()) {
                std::size_t piece =
                    std::min<std::size_t>(kept.size() - written, 1 + random() % 40000);
                std::ofstream(followed, std::ios::app) << kept.substr(written, piece);
                written += piece;
                tracker.read(followed);
                tracker.endSample();
            }
            EXPECT_EQ(reading(tracker, followed), expected);
        }
    }
    EXPECT_EQ(count, 8);
}

TEST(CodexRolloutTest, FirstSightOfALongRolloutKeepsToTheBudgetAndResolvesOverTicks) {
    testing::TemporaryFolder folder;
    std::string path = folder / "rollout.jsonl";
    testing::writeFile(path, testing::firstLines(testing::readFile(fixturePath("019c8a59")), 1000));
    testing::CountingFileAccess files;
    const std::uint64_t budget = 100000;
    CodexRolloutTracker tracker(files, budget);
    int ticks = 0;
    std::optional<CodexRolloutTracker::Reading> result;
    do {
        files.bytesRead = 0;
        result = tracker.read(path);
        tracker.endSample();
        EXPECT_LE(files.bytesRead, budget + CodexRolloutTracker::kAnchorLength);
        ++ticks;
    } while (result && !result->resolved && ticks < 20);
    EXPECT_EQ(ticks, 3);
    EXPECT_EQ(described(CodexRolloutTracker::report(*result, Date(0))), kInTurn);
    files.bytesRead = 0;
    tracker.read(path);
    EXPECT_EQ(files.bytesRead, 0u) << "an unchanged rollout is not read again";
}

std::string marker(const char* type, const char* turn) {
    std::string id = turn ? std::string(R"(,"turn_id":")") + turn + "\"" : "";
    return std::string(
               R"({"timestamp":"2026-01-01T00:00:00Z","type":"event_msg","payload":{"type":")") +
           type + "\"" + id + "}}\n";
}

TEST(CodexRolloutTest, EndsOfOtherTurnsAndRewrittenFiles) {
    // `after` is appended, or with `replaces` renamed over the old file.
    struct Case {
        const char* name;
        std::string before, after;
        const char* reading;
        bool replaces = false;
        std::uint64_t mostBytes = 16 << 20;
    };
    const std::string startA = marker("task_started", "A");
    std::string nineMiB;
    while (nineMiB.size() < 9 * 1024 * 1024)
        nineMiB += marker("token_count", nullptr);
    const std::vector<Case> cases{
        {"an end of another turn", startA, marker("turn_aborted", "B"), kInTurn},
        {"an end without a turn", startA, marker("turn_aborted", nullptr), "idle"},
        {"seen backwards: t2 started after t1 completed",
         marker("task_complete", "t1") + marker("task_started", "t2"), "", kInTurn},
        {"seen backwards: t2 started and completed",
         marker("task_started", "t2") + marker("task_complete", "t2"), "", "idle"},
        {"a line longer than the carry allows, then a start", marker("task_complete", "A"),
         std::string(CodexRolloutTracker::kLongestCarry + 10, 'x') + "\n" + startA, kInTurn},
        // Not read forward: the file is searched again from its end.
        {"9 MiB at once", startA, nineMiB + marker("task_started", "B"), kInTurn, false,
         CodexRolloutTracker::kFirstWindow + 100},
        {"rewritten under the same path", startA, marker("task_complete", "A") + "\n", "idle",
         true},
    };
    testing::TemporaryFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = folder / "r.jsonl";
        testing::writeFile(path, c.before);
        testing::CountingFileAccess files;
        CodexRolloutTracker tracker(files);
        tracker.read(path);
        files.bytesRead = 0;
        if (c.replaces) {
            testing::writeFile(folder / "new", c.after);
            std::filesystem::rename(folder / "new", path);
        } else {
            std::ofstream(path, std::ios::app) << c.after;
        }
        EXPECT_EQ(reading(tracker, path), c.reading);
        EXPECT_LE(files.bytesRead, c.mostBytes);
    }
}

TEST(CodexRolloutTest, TheListingTakesLocalAndUtcDatesOnce) {
    const std::tuple<const char*, const char*, std::vector<std::string>> cases[] = {
        {"UTC", "2026-02-24T00:30:00Z", {"2026/02/24", "2026/02/23"}},
        {"CET-1", "2026-02-23T23:30:00Z", {"2026/02/24", "2026/02/23", "2026/02/22"}},
        {"<-10>10", "2026-05-11T05:00:00Z", {"2026/05/10", "2026/05/09", "2026/05/11"}},
    };
    for (const auto& [zone, now, folders] : cases) {
        testing::ScopedTimeZone scoped(zone);
        EXPECT_EQ(CodexRolloutReader::dayFolders(2, *ReportedTime::iso8601(now)), folders) << zone;
    }
    testing::ScopedTimeZone zone("CET-1");
    testing::CountingFileAccess files;
    CodexRolloutReader reader(files, testing::fixture("codex-rollouts/sessions").string());
    auto listed = reader.filesOfLastDays(2, *ReportedTime::iso8601("2026-02-23T23:30:00Z"));
    ASSERT_EQ(listed.size(), 6u);
    EXPECT_EQ(listed.back().sessionID.value_or("").size(), 36u);
    EXPECT_EQ(
        CodexRolloutReader::sessionID("rollout-2026-x-019c8a4c-ed82-79a1-aa28-7738fc5ab61a.jsonl"),
        "019c8a4c-ed82-79a1-aa28-7738fc5ab61a");
    EXPECT_FALSE(
        CodexRolloutReader::sessionID("rollout-2026-x-019c8a4c-ed82-79a1-aa28-7738fc5ab61z.jsonl"));
}

using Line = CursorTurnState::Line;
using Status = CursorTurnState::Status;

const std::string kUser = R"({"role":"user","message":{"content":[{"type":"text","text":"go"}]}})";
const std::string kAssistant = R"({"role":"assistant","message":{"content":[]}})";
const std::string kEnded = R"({"type":"turn_ended","status":"success"})";

TEST(CursorTranscriptTest, LinesTellTheirTurn) {
    const std::pair<std::string, std::optional<Line>> cases[] = {
        {kUser, Line{Line::Kind::user}},
        {kAssistant, Line{Line::Kind::assistant}},
        {kEnded, Line{Line::Kind::turnEnded, Status::success}},
        {R"({"type":"turn_ended","status":"error","error":"Rate limited"})",
         Line{Line::Kind::turnEnded, Status::error}},
        {R"({"type":"turn_ended","status":"error","error":"User aborted request"})",
         Line{Line::Kind::turnEnded, Status::aborted}},
        {R"({"type":"turn_ended","status":"cancelled"})", std::nullopt},
        {R"({"type":"turn_ended"})", std::nullopt},
        {R"({"role":"system"})", std::nullopt},
        {R"({"role":"user")", std::nullopt},
    };
    for (const auto& [line, kind] : cases)
        EXPECT_EQ(CursorTranscriptReader::kind(line), kind) << line;
    EXPECT_FALSE(CursorTranscriptReader::parseTail(kUser + "\n" + kEnded + "\n{}\n").inTurn());
    EXPECT_TRUE(CursorTranscriptReader::parseTail(kEnded + "\n" + kAssistant + "\n").inTurn());
    EXPECT_EQ(CursorTranscriptReader::label("Users-me-shop"), "shop");
    EXPECT_FALSE(CursorTranscriptReader::label("empty-window"));
}

TEST(CursorTranscriptTest, ListingTrackingAndTheSinceOfATurn) {
    testing::TemporaryFolder home;
    std::string folder = home / "Users-me-shop/agent-transcripts";
    for (const char* name : {"/a1.jsonl", "/.hidden.jsonl", "/old.jsonl"})
        testing::writeFile(folder + name, kUser + "\n");
    testing::writeFile(folder + "/c3/c3.jsonl", kAssistant + "\n");
    std::filesystem::last_write_time(
        folder + "/old.jsonl",
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(25));
    testing::CountingFileAccess files;
    CursorTranscriptReader reader(files, home.path().string());
    auto listed = reader.recentFiles(86400, Date::now());
    ASSERT_EQ(listed.size(), 2u);
    std::set<std::string> ids;
    for (const auto& file : listed)
        ids.insert(file.sessionID.value_or(""));
    EXPECT_EQ(ids, (std::set<std::string>{"a1", "c3"}));
    EXPECT_EQ(listed[0].projectSlug, "Users-me-shop");

    CursorTranscriptTracker tracker(files);
    auto first = tracker.read(folder + "/a1.jsonl");
    ASSERT_TRUE(first && first->turnSince);
    EXPECT_EQ(*first->turnSince, first->signature.modifiedAt);
    std::ofstream(folder + "/a1.jsonl", std::ios::app) << kAssistant << "\n";
    EXPECT_EQ(tracker.read(folder + "/a1.jsonl")->turnSince, first->turnSince);
    EXPECT_FALSE(tracker.read(folder + "/c3/c3.jsonl")->turnSince) << "first seen mid-turn";
    std::ofstream(folder + "/a1.jsonl", std::ios::app) << kEnded << "\n";
    EXPECT_FALSE(tracker.read(folder + "/a1.jsonl")->turnSince);
}

TEST(CursorTranscriptTest, TheSummaryWeighsHookStopsAndTheEngineStart) {
    const Date now(1000000), start(now - 3600);
    auto reading = [](std::optional<Line> last, std::optional<double> since) {
        return CursorTranscriptTracker::Reading{
            {last}, since ? std::optional<Date>(Date(*since)) : std::nullopt, {}};
    };
    struct Case {
        const char* name;
        double lastWrite;
        CursorTranscriptTracker::Reading reading;
        std::optional<double> stop;
        const char* report;
        int inTurn;
    };
    const Line user{Line::Kind::user}, ended{Line::Kind::turnEnded, Status::error};
    const std::vector<Case> cases{
        {"in a turn", 999990, reading(user, 999980), std::nullopt, "working: ", 1},
        {"stopped 10 s before the last write", 999990, reading(user, 999970), 999980, "idle", 0},
        {"stopped 20 s before the last write", 999990, reading(user, 999960), 999970,
         "working: ", 1},
        {"a turn begun after the stop", 999990, reading(user, 999985), 999980, "working: ", 1},
        {"ended with an error", 999990, reading(ended, std::nullopt), std::nullopt, "idle", 0},
        {"nothing that tells", 999990, reading(std::nullopt, std::nullopt), std::nullopt, "nothing",
         0},
        {"from an earlier run of the editor", 990000, reading(user, 990000), std::nullopt,
         "nothing", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<CursorTranscriptFile> files{
            {"/p/s1.jsonl", "s1", "slug", Date(c.lastWrite), 1}};
        std::map<std::string, Date> stops;
        if (c.stop) stops[HookStateFile::sessionKey("s1")] = Date(*c.stop);
        auto summary = CursorSummary::make(files, {{"/p/s1.jsonl", c.reading}}, start, stops);
        EXPECT_EQ(testing::described(summary.report(now)), c.report);
        EXPECT_EQ(summary.inTurn, c.inTurn);
        if (c.reading.turn.last == ended) {
            EXPECT_EQ(summary.newestEndStatus, Status::error);
            EXPECT_EQ(summary.ends.at(HookStateFile::sessionKey("s1")), Date(c.lastWrite));
        }
    }
}

}  // namespace
}  // namespace vigilmoth
