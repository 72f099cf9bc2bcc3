// Show that hook state files keep their key, folder and JSON contract, that no text, however
// broken, decodes into anything but a whole file or nothing, that a file sums up to the state a
// person would see, and that only files of live processes count: others are deleted once old
// enough, never for a step of the clock.
#include <gtest/gtest.h>

#include <random>

#include "evidence/HookStateFile.h"
#include "evidence/HookStateReader.h"
#include "support/EvidenceFiles.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(HookStateFileTest, SessionKeysAreFnv1aInSixteenHexDigits) {
    const std::pair<std::optional<std::string>, std::string> cases[] = {
        {std::nullopt, "none"},
        {"", "none"},
        {"foobar", "85944171f73967e8"},
        // The hash is over bytes (one non-ASCII letter is two), and this one needs padding.
        {"\xc3\xa9", "0ac21707b7181e01"},
    };
    for (const auto& [id, key] : cases)
        EXPECT_EQ(HookStateFile::sessionKey(id), key) << key;
}

TEST(HookStateFileTest, TheFolderComesFromTheVariableAndEncodingRoundTrips) {
    PathEnvironment paths;
    paths.home = "/home/u";
    std::string fallback = HookStateFile::defaultDirectory(paths);
    EXPECT_TRUE(fallback.ends_with("/com.vigilmoth.app/hooks"));
    EXPECT_TRUE(fallback.starts_with("/home/u/"));
    EXPECT_EQ(HookStateFile::directory(paths, std::nullopt), fallback);
    EXPECT_EQ(HookStateFile::directory(paths, ""), fallback);
    EXPECT_EQ(HookStateFile::directory(paths, "/tmp/h"), "/tmp/h");
    EXPECT_EQ(HookStateFile::fileName("claude", 4242), "claude-4242.json");

    HookStateFile file{1, "pi", 77, 1795248121.054266, {}};
    file.sessions["none"] = {"idle",       "session_start", 1795248122.5,
                             std::nullopt, std::nullopt,    std::nullopt};
    file.sessions["00000000000000ab"] = {"working", "agent_start", 1795248123.25, 1795248123250.0,
                                         12,        "k3j2abc"};
    std::string text = file.encode();
    EXPECT_EQ(HookStateFile::decode(text), file);
    EXPECT_TRUE(text.starts_with(R"({"v":1,"agent":"pi","pid":77,"start":)")) << text;
    EXPECT_NE(text.find(R"("none":{"state":"idle","event":"session_start","at":1795248122.5})"),
              std::string::npos)
        << text;
}

TEST(HookStateFileTest, BrokenFilesDecodeToNothingNeverToAPart) {
    const std::string good =
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"none":{"state":"idle","event":"Stop","at":2}}})";
    ASSERT_TRUE(HookStateFile::decode(good));
    const std::vector<std::string> bad{
        "",
        "[]",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5})",
        R"({"v":1,"agent":"claude","pid":5,"sessions":{}})",
        R"({"v":"1","agent":"claude","pid":5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":7,"pid":5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":2147483648,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":5.5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":[]})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","at":2}}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","event":"Stop","at":2,"seq":1.5}}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","event":"Stop","at":2,"inst":3}}})",
        good.substr(0, good.size() - 1),
    };
    for (const auto& text : bad) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HookStateFile::decode(text), std::nullopt);
    }
    // Mutated files decode to nothing or to a whole file.
    HookStateFile file{1, "codex", 123, 1000.25, {}};
    file.sessions["0123456789abcdef"] = {"waiting", "PermissionRequest", 1001, 5.0, 3, "x"};
    const std::string seed = file.encode();
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text = testing::mutatedText(seed, random);
        if (auto decoded = HookStateFile::decode(text)) {
            EXPECT_EQ(HookStateFile::decode(decoded->encode()), decoded);
        }
    }
    EXPECT_EQ(HookStateFile::decode(std::string(100000, '[')), std::nullopt);
}

HookStateFile fileOf(std::vector<std::tuple<std::string, std::string, double>> sessions) {
    HookStateFile file{1, "claude", 10, 5000.25, {}};
    for (const auto& [key, state, at] : sessions)
        file.sessions[key] = {state, "Event", at};
    return file;
}

TEST(HookStateReaderTest, AFileSumsUpToItsMostTellingFreshSession) {
    const double now = 10000;
    using S = ReportedState;
    struct Case {
        const char* name;
        HookStateFile file;
        std::optional<double> endedAt;  // a later stop of session "k"
        std::optional<S> state;         // none for no summary
        double at = 0;
    };
    const std::vector<Case> cases{
        {"working, stopped later", fileOf({{"k", "working", 100}}), 130, {}},
        {"working, stopped later, fresh", fileOf({{"k", "working", now - 40}}), now - 30, S::idle,
         now - 30},
        {"working for 900 s", fileOf({{"k", "working", now - 900}}), {}, S::working, now - 900},
        {"idle for 90 s", fileOf({{"k", "idle", now - 90}}), {}, {}},
        {"waiting 1 h", fileOf({{"k", "waiting", now - 3600}}), {}, S::waitingForUser, now - 3600},
        {"6 s ahead", fileOf({{"k", "working", now + 6}}), {}, {}},
        {"4 s ahead", fileOf({{"k", "working", now + 4}}), {}, S::working, now + 4},
        {"a wait",
         fileOf({{"a", "working", now - 9}, {"b", "waiting", now}}),
         {},
         S::working,
         now - 9},
        {"an unknown word", fileOf({{"k", "busy", now}}), {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::map<std::string, Date> ended;
        if (c.endedAt) ended["k"] = Date(*c.endedAt);
        auto summary = c.file.summary(Date(now), 60, 1800, ended);
        EXPECT_EQ(summary, c.state ? std::optional(std::pair{*c.state, Date(c.at)}) : std::nullopt);
    }
    auto stops = fileOf({{"a", "idle", now}, {"b", "idle", now + 6}, {"c", "working", now}})
                     .stops(Date(now));
    EXPECT_EQ(stops, (std::map<std::string, Date>{{"a", Date(now)}}));
}

TEST(HookStateReaderTest, OnlyLiveProcessesFilesCountAndOthersGoOnceOld) {
    testing::TemporaryFolder folder;
    const double start = 1795248121.25;
    const Date now = Date::now();
    auto write = [&](const std::string& name, int pid, double fileStart, const char* state,
                     double age) {
        HookStateFile file{
            1, "claude", pid, fileStart, {{"none", {state, "Stop", now.secondsSince1970() - 1}}}};
        testing::writeFile(folder / name, name.starts_with("junk") ? "{\"v\":" : file.encode());
        std::filesystem::last_write_time(
            folder / name, std::filesystem::file_time_type::clock::now() -
                               std::chrono::milliseconds(static_cast<int>(age * 1000)));
    };
    write("claude-1.json", 1, start, "working", 1);
    // A step of the wall clock moved the boot time from which the hook computed the start.
    write("claude-2.json", 2, start + 37, "waiting", 60);
    write("claude-3.json", 3, start + 0.002, "working", 60);  // a reused pid: old, deleted
    write("claude-4.json", 4, start + 0.002, "working", 1);   // young: kept for now
    write("claude-5.json", 5, start, "working", 60);          // no such process
    write("junk-6.json", 6, start, "idle", 60);
    write("junk-7.json", 7, start, "idle", 1);
    std::vector<ProcessInfoRow> rows;
    for (int pid : {1, 2, 3, 4})
        rows.push_back({.pid = pid, .startTime = start});
    testing::CountingFileAccess files;
    HookStateReader reader(files, folder.path().string());
    auto states = reader.states(rows, now, 60, 1800);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states.at(1).state, ReportedState::working);
    EXPECT_EQ(states.at(2).state, ReportedState::waitingForUser);
    EXPECT_EQ(states.at(2).path, folder / "claude-2.json");
    std::sort(files.removed.begin(), files.removed.end());
    EXPECT_EQ(files.removed,
              (std::vector<std::string>{folder / "claude-3.json", folder / "claude-5.json",
                                        folder / "junk-6.json"}));
    int reads = files.reads;
    reader.states(rows, now, 60, 1800);
    EXPECT_EQ(files.reads, reads) << "unchanged files are not read again";
}

}  // namespace
}  // namespace vigilmoth
