// Show that Cursor's transcripts are listed in both layouts, that each line kind reads as the
// turn it tells of (a cancelled turn as aborted), and that the summary over a Cursor
// instance's conversations takes hook stops and the engine's start into account.
#include "evidence/CursorTranscript.h"

#include <gtest/gtest.h>

#include <fstream>

#include "evidence/HookStateFile.h"
#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using Line = CursorTurnState::Line;
using Status = CursorTurnState::Status;

const std::string kUser = R"({"role":"user","message":{"content":[{"type":"text","text":"go"}]}})";
const std::string kAssistant = R"({"role":"assistant","message":{"content":[]}})";
const std::string kEnded = R"({"type":"turn_ended","status":"success"})";

TEST(CursorTranscriptTest, LinesTellTheirTurn) {
    const std::vector<std::pair<std::string, std::optional<Line>>> cases{
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
    testing::writeFile(folder + "/a1.jsonl", kUser + "\n");
    testing::writeFile(folder + "/c3/c3.jsonl", kAssistant + "\n");
    testing::writeFile(folder + "/.hidden.jsonl", kUser + "\n");
    testing::writeFile(folder + "/old.jsonl", kUser + "\n");
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
