// Show that real Codex rollouts, cut where turns were going on or over, read as a person would
// say, whether first seen at the cut or followed while they were written; that the search
// keeps to its budget; and that the listing finds Codex's day folders.
#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "evidence/CodexRolloutReader.h"
#include "evidence/CodexRolloutTracker.h"
#include "evidence/ReportedTime.h"
#include "support/EvidenceFiles.h"
#include "support/ScopedTimeZone.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using testing::described;

const char* kInTurn = "working: in a turn";

struct Rollout {
    const char* id;  // the start of the session's id, which names the file
    const char* cwd;
    // Lines kept, and the reading after them.
    std::vector<std::pair<std::size_t, const char*>> cuts;
};

const std::vector<Rollout> kRollouts{
    {"019c8a4c",
     "/redacted/path/fa3f7eaace",
     {{7, "idle"}, {8, kInTurn}, {186, "idle"}, {187, kInTurn}, {525, "idle"}, {702, "idle"}}},
    {"019c8a4d", "/redacted/path/da0ba47443", {{8, kInTurn}, {416, kInTurn}, {417, "idle"}}},
    // Its last turn is started again without an end; the newest start decides.
    {"019c8a53", "/redacted/path/59b923df4d", {{267, "idle"}, {500, kInTurn}, {837, kInTurn}}},
    // A session of two days; at line 1000 its turn began 550 lines (260 KB) before.
    {"019c8a59", "/redacted/path/59b923df4d", {{130, "idle"}, {1000, kInTurn}, {2722, "idle"}}},
    {"019c8a70", "/redacted/path/da0ba47443", {{7, "idle"}, {19, kInTurn}}},
    {"019c8bfe", "/redacted/path/ea96e59ed9", {{62, kInTurn}, {63, "idle"}}},
    {"019e1625",
     "/Users/Sample_User/repos/codemie-ai/codemie-code",
     {{1, "idle"}, {2, kInTurn}, {19, "idle"}, {200, kInTurn}, {386, "idle"}}},
    // No turn markers at all: nothing says a turn is going on.
    {"019e1695", "/Users/Sample_User/naya", {{50, "idle"}, {99, "idle"}}},
};

std::string fixturePath(const Rollout& rollout) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(
             testing::fixture("codex-rollouts/sessions"))) {
        if (entry.path().filename().string().find(rollout.id) != std::string::npos)
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
    for (const auto& rollout : kRollouts) {
        std::string text = testing::readFile(fixturePath(rollout));
        testing::CountingFileAccess files;
        CodexRolloutReader reader(files, "");
        EXPECT_EQ(reader.sessionCwd(fixturePath(rollout)), rollout.cwd);
        EXPECT_LE(files.bytesRead, 4096u) << "the directory comes early in the first line";
        std::string fresh = folder / "fresh.jsonl", followed = folder / "followed.jsonl";
        std::filesystem::remove(followed);
        CodexRolloutTracker tracker(files);
        std::size_t written = 0;
        for (const auto& [lines, expected] : rollout.cuts) {
            SCOPED_TRACE(std::string(rollout.id) + " after line " + std::to_string(lines));
            std::string cut = testing::firstLines(text, lines);
            testing::writeFile(fresh, cut);
            CodexRolloutTracker first(files);
            EXPECT_EQ(reading(first, fresh), expected);
            // The writer appends in pieces that cut lines anywhere; each piece is one tick.
            while (written < cut.size()) {
                std::size_t piece =
                    std::min<std::size_t>(cut.size() - written, 1 + random() % 40000);
                std::ofstream(followed, std::ios::app) << cut.substr(written, piece);
                written += piece;
                tracker.read(followed);
                tracker.endSample();
            }
            EXPECT_EQ(reading(tracker, followed), expected);
        }
    }
}

TEST(CodexRolloutTest, FirstSightOfALongRolloutKeepsToTheBudgetAndResolvesOverTicks) {
    testing::TemporaryFolder folder;
    std::string path = folder / "rollout.jsonl";
    testing::writeFile(path,
                       testing::firstLines(testing::readFile(fixturePath(kRollouts[3])), 1000));
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
    struct Case {
        const char* name;
        std::string before, after;
        const char* reading;
        // `after` is a new file renamed over the old one, rather than appended.
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
    struct Case {
        const char* zone;
        const char* now;
        std::vector<std::string> folders;
    };
    const std::vector<Case> cases{
        {"UTC", "2026-02-24T00:30:00Z", {"2026/02/24", "2026/02/23"}},
        {"CET-1", "2026-02-23T23:30:00Z", {"2026/02/24", "2026/02/23", "2026/02/22"}},
        {"<-10>10", "2026-05-11T05:00:00Z", {"2026/05/10", "2026/05/09", "2026/05/11"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.zone);
        testing::ScopedTimeZone zone(c.zone);
        Date now = *ReportedTime::iso8601(c.now);
        EXPECT_EQ(CodexRolloutReader::dayFolders(2, now), c.folders);
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

}  // namespace
}  // namespace vigilmoth
