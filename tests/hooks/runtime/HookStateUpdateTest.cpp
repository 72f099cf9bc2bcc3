// Show that each hook run turns the process's state file into the next one: events set their
// session's state, ends drop it, other processes' files are replaced and stale plugin events
// are left out.
#include "hooks/runtime/HookStateUpdate.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/Golden.h"

namespace vigilmoth {
namespace {

using HookStateUpdate::AgentProcess;
using Session = HookStateFile::Session;

const AgentProcess kProcess{4242, 1795248000.25};
const std::string kKey = HookStateFile::sessionKey("s1");
const std::string kOtherKey = HookStateFile::sessionKey("s2");

HookStateFile fileWith(std::map<std::string, Session> sessions, AgentProcess process = kProcess,
                       std::string agent = "claude") {
    return HookStateFile{1, std::move(agent), process.pid, process.startTime, std::move(sessions)};
}

std::optional<HookStateFile> run(const std::optional<HookStateFile>& current, std::string agent,
                                 std::string event, HookInput input, double now = 100) {
    std::optional<std::string> text;
    if (current) text = current->encode();
    return HookStateUpdate::applying(text, HookInvocation{agent, event, 1}, input, kProcess, now);
}

HookInput session(std::string id, std::optional<std::string> type = std::nullopt) {
    return HookInput{std::move(id), std::move(type), std::nullopt, std::nullopt, std::nullopt};
}

TEST(HookStateUpdateTest, EventsSetEndOrLeaveTheirSession) {
    const Session working{"working", "UserPromptSubmit", 50}, other{"idle", "Stop", 40},
        stopped{"idle", "Stop", 100};
    const auto both = fileWith({{kKey, working}, {kOtherKey, other}});
    const auto onlyOther = fileWith({{kOtherKey, other}}),
               onlyStopped = fileWith({{kKey, stopped}});
    const auto earlier = AgentProcess{kProcess.pid, kProcess.startTime - 0.002};
    const auto within = AgentProcess{kProcess.pid, kProcess.startTime + 0.0005};
    using File = std::optional<HookStateFile>;
    // name, current file, "agent event [session [notification type]]", expected file
    const std::tuple<std::string, File, std::string, File> cases[] = {
        {"first event creates the file",
         {},
         "claude UserPromptSubmit s1",
         fileWith({{kKey, {"working", "UserPromptSubmit", 100}}})},
        {"next event replaces its session only", both, "claude Stop s1",
         fileWith({{kKey, stopped}, {kOtherKey, other}})},
        {"permission prompt waits", both, "claude Notification s1 permission_prompt",
         fileWith({{kKey, {"waiting", "Notification", 100}}, {kOtherKey, other}})},
        {"unknown notification changes nothing", both, "claude Notification s1 auth_success", {}},
        {"event without rule changes nothing", both, "claude SessionStart s1", {}},
        {"end drops the session", both, "claude SessionEnd s1", onlyOther},
        {"end of the last session leaves an empty file", fileWith({{kKey, working}}),
         "claude SessionEnd s1", fileWith({})},
        {"end of an unknown session writes nothing", onlyOther, "claude SessionEnd s1", {}},
        {"no session id keys as none",
         {},
         "codex PermissionRequest",
         fileWith({{"none", {"waiting", "PermissionRequest", 100}}}, kProcess, "codex")},
        {"a file of an earlier process with the same id is replaced",
         fileWith({{kOtherKey, other}}, earlier), "claude Stop s1", onlyStopped},
        {"a start time within a millisecond is the same process",
         fileWith({{kOtherKey, other}}, within), "claude Stop s1",
         fileWith({{kKey, stopped}, {kOtherKey, other}})},
        {"another agent's file is replaced", fileWith({{kOtherKey, other}}, kProcess, "codex"),
         "claude Stop s1", onlyStopped},
    };
    for (const auto& [name, current, words, expected] : cases) {
        SCOPED_TRACE(name);
        std::istringstream stream(words);
        std::string agent, event, id, type;
        stream >> agent >> event >> id >> type;
        HookInput input;
        if (!id.empty()) input = session(id, type.empty() ? std::nullopt : std::optional(type));
        EXPECT_EQ(run(current, agent, event, input), expected);
    }
    // Unreadable files are started afresh.
    for (std::string text : {"", "{", "null", "{\"v\":1}", "\xff\xff"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HookStateUpdate::applying(text, HookInvocation{"pi", "agent_start", 2},
                                            session("s1"), kProcess, 100),
                  fileWith({{kKey, {"working", "agent_start", 100}}}, kProcess, "pi"));
    }
}

TEST(HookStateUpdateTest, PluginFieldsAreKeptAndStaleEventsDropped) {
    auto file = run(std::nullopt, "opencode", "session.busy", {"s1", {}, 99000.0, 7, "inst1"});
    ASSERT_TRUE(file);
    EXPECT_EQ(file->sessions.at(kKey),
              (Session{"working", "session.busy", 100, 99000.0, 7, "inst1"}));
    testing::expectEachLineReads("hooks/plugin-events.txt", [&](const std::string& line) {
        std::istringstream words(line);
        std::string id, ts, seq, inst;
        words >> id >> ts >> seq >> inst;
        HookInput input{id, {}, {}, {}, inst};
        if (ts != "-") input.ts = std::stod(ts);
        if (seq != "-") input.seq = std::stoll(seq);
        return run(file, "opencode", "session.idle", input) ? "written" : "stale";
    });
}

TEST(HookStateUpdateTest, SessionsThatNeverEndedMakeRoomOldestFirst) {
    std::optional<HookStateFile> file;
    for (int index = 0; index < 70; ++index) {
        file = run(file, "claude", "Stop", session("s" + std::to_string(index)), 1000 + index);
        ASSERT_TRUE(file);
    }
    EXPECT_EQ(file->sessions.size(), HookStateUpdate::kMaximumSessions);
    EXPECT_FALSE(file->sessions.contains(HookStateFile::sessionKey("s5")));
    EXPECT_TRUE(file->sessions.contains(HookStateFile::sessionKey("s6")));
    EXPECT_TRUE(file->sessions.contains(HookStateFile::sessionKey("s69")));
}

}  // namespace
}  // namespace vigilmoth
