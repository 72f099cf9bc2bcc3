// Show that Claude Code's session and job files, the real one included, read into what they
// say; that a file of a reused pid is refused; and that dates read in every form agents use.
#include "evidence/ClaudeSessionState.h"

#include <gtest/gtest.h>

#include "evidence/ReportedTime.h"
#include "support/EvidenceFiles.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

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
    struct Case {
        std::string json;
        std::optional<std::string> detail;  // "-" for no record at all
        std::optional<double> updatedAt;
        std::optional<ClaudeSessionState::Kind::Case> kind;
        bool hasPid = false;
    };
    using Kind = ClaudeSessionState::Kind::Case;
    const std::vector<Case> cases{
        {R"({"status":"shell"})", "background work running"},
        {R"({"status":"waiting","updatedAt":1700000000})", "waiting for you", 1700000000},
        {R"({"status":"idle","statusUpdatedAt":1700000000000,"updatedAt":5})", std::nullopt,
         1700000000},
        {R"({"status":"idle","statusUpdatedAt":"2023-11-14T22:13:20.500Z"})", std::nullopt,
         1700000000.5},
        {R"({"status":"idle","updatedAt":"2023-11-14T23:13:20+01:00"})", std::nullopt, 1700000000},
        {R"({"status":"Busy"})", "-"},
        {R"({"status":"idle","pid":4294967296})", std::nullopt},
        {R"({"status":"idle","pid":-7})", std::nullopt, std::nullopt, std::nullopt, true},
        {R"({"status":"idle","spare":false,"kind":"bg"})", std::nullopt, std::nullopt,
         Kind::background},
        {R"({"status":"idle","spare":1,"kind":"bg"})", std::nullopt, std::nullopt, Kind::spare},
        {R"({"status":"idle","kind":"daemon"})", std::nullopt, std::nullopt, Kind::other},
        {R"({"status":1})", "-"},
        {"[]", "-"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.json);
        auto state = ClaudeSessionStateReader::parse(c.json, kNow);
        ASSERT_EQ(state.has_value(), c.detail != "-");
        if (!state) continue;
        EXPECT_EQ(state->detail(), c.detail);
        EXPECT_EQ(state->statusUpdatedAt,
                  c.updatedAt ? std::optional<Date>(Date(*c.updatedAt)) : std::nullopt);
        EXPECT_EQ(state->kind ? std::optional(state->kind->value) : std::nullopt, c.kind);
        EXPECT_EQ(state->pid.has_value(), c.hasPid);
        EXPECT_EQ(state->observedAt, kNow);
    }
}

TEST(ClaudeSessionStateTest, JobsCountWhileWorkingOrBlockedWithTasks) {
    struct Case {
        std::string json;
        std::optional<bool> busy;
    };
    const std::vector<Case> cases{
        {R"({"state":"working"})", true},
        {R"({"state":"blocked","inFlight":{"tasks":2}})", true},
        {R"({"state":"blocked","inFlight":{"tasks":0}})", false},
        {R"({"state":"blocked","inFlight":{"tasks":"2"}})", false},
        {R"({"state":"done","inFlight":{"tasks":2}})", false},
        {R"({"state":"paused"})", std::nullopt},
    };
    for (const auto& c : cases) {
        auto job = ClaudeJobStateReader::parse(c.json, kNow);
        EXPECT_EQ(job ? std::optional(job->busy()) : std::nullopt, c.busy) << c.json;
    }
    testing::TemporaryFolder jobs;
    testing::writeFile(jobs / "j-1_a/state.json", R"({"state":"working","sessionId":"s"})");
    testing::CountingFileAccess files;
    ClaudeJobStateReader reader(files, jobs.path().string());
    EXPECT_EQ(reader.state("j-1_a", kNow)->sessionID, "s");
    for (const char* refused : {"../x", "a/b", "a.b", ""}) {
        EXPECT_FALSE(reader.path(refused)) << refused;
    }
    EXPECT_EQ(files.reads, 1) << "refused identifiers never reach the disk";
}

TEST(ClaudeSessionStateTest, DatesInEveryFormAgentsWrite) {
    const std::vector<std::pair<nlohmann::json, std::optional<double>>> cases{
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

}  // namespace
}  // namespace vigilmoth
