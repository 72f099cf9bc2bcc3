// Show that the generated plugin scripts load in node and, driven by a fake agent, run the
// hook executable once per meaningful event: named as the rule table names it, de-duplicated
// within a second, with Pi's running and asked flags, and never held up by a hanging hook.
#include <signal.h>

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <thread>

#include "base/Golden.h"
#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookPluginHistory.h"
#include "hooks/install/HookScripts.h"
#include "hooks/json/JSONSourceText.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

const std::string kNode = "/usr/bin/node";
const std::string kSentinel = "vigilmoth-sentinel";

struct HookRun {
    std::string event;
    std::string session;
};

struct Outcome {
    std::vector<json> runs;  // each with "args", "body" and "pid"; the sentinel left out
    json harness;
};

// The application folder's name is awkward on purpose: the script must carry it as one string.
// Node runs the harness as the agent's command (".bin/pi"), where the real hook finds it.
class ScriptHarness {
public:
    explicit ScriptHarness(std::string kind, bool realHook = false) : kind_(std::move(kind)) {
        app_ = folder_ / "My App's \"test\" \\ é";
        std::string hook = HookCatalog::hookExecutable(app_);
        fs::create_directories(fs::path(hook).parent_path());
        fs::create_symlink(
            realHook ? VIGILMOTH_HOOK_EXECUTABLE : testing::testProgram("HookRecorder"), hook);
        testing::writeFile(folder_ / "package.json", "{\"type\": \"module\"}\n");
        fs::create_directories(folder_ / "node_modules/.bin");
        fs::create_symlink(testing::fixture("hook-scripts/harness.mjs"), harness_);
        script_ = folder_ / "vigilmoth.js";
        testing::writeFile(script_, kind_ == "pi" ? HookCatalog::piExtensionSource(app_)
                                                  : HookCatalog::pluginSource(app_));
    }

    Outcome run(const json& steps, const std::string& hangEvent = "") {
        std::string scenario = folder_ / "scenario.json";
        std::string record = folder_ / "record.jsonl";
        fs::remove(record);
        testing::writeFile(scenario, json{{"steps", steps}}.dump());
        testing::ProcessOptions options;
        options.environment["HOOK_RECORD"] = record;
        if (!hangEvent.empty()) options.environment["HOOK_HANG_EVENT"] = hangEvent;
        auto result =
            testing::runProcess(kNode, {harness_, kind_, script_, scenario, record}, options);
        EXPECT_EQ(result.status, 0) << result.out << result.err;
        Outcome outcome;
        outcome.harness = json::parse(result.out, nullptr, false);
        std::istringstream lines(fs::exists(record) ? testing::readFile(record) : "");
        for (std::string line; std::getline(lines, line);) {
            json run = json::parse(line);
            run["body"] = json::parse(run["stdin"].get<std::string>());
            if (run["body"]["session_id"] != kSentinel) outcome.runs.push_back(run);
        }
        return outcome;
    }

    const std::string& script() const { return script_; }

    // The states a real run's events take the session through in the real hook's files.
    std::string replay(const std::string& events) {
        testing::ProcessOptions options;
        options.environment["HOOK_STATES"] = options.environment["VIGILMOTH_HOOKS_DIR"] =
            folder_.path().string();
        auto result = testing::runProcess(
            kNode, {harness_, kind_, script_, testing::fixture("hook-inputs/" + events)}, options);
        EXPECT_EQ(result.status, 0) << result.err;
        return json::parse(result.out, nullptr, false).value("states", "");
    }

private:
    std::string kind_;
    testing::TemporaryFolder folder_;
    std::string app_;
    std::string script_;
    std::string harness_ = folder_ / ("node_modules/.bin/" + kind_);
};

json opencodeEvent(int t, std::string type, json properties) {
    return json{{"t", t}, {"event", {{"type", std::move(type)}, {"properties", properties}}}};
}

json piEvent(int t, std::string name, json session = "S") {
    return json{{"t", t}, {"name", std::move(name)}, {"session", std::move(session)}};
}

// Each run's event, then its session when it has one.
std::vector<std::string> named(const Outcome& outcome) {
    std::vector<std::string> runs;
    for (const auto& run : outcome.runs) {
        runs.push_back(run["args"][1]);
        if (run["body"]["session_id"] != "") runs.push_back(run["body"]["session_id"]);
    }
    return runs;
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

TEST(HookScriptsTest, NodeAcceptsEveryTemplateVersion) {
    testing::TemporaryFolder folder;
    testing::writeFile(folder / "package.json", "{\"type\": \"module\"}\n");
    const std::string app = "/Applications/It's \"quoted\" \\ /vigilmoth.app";
    for (std::string id : {"opencode", "pi", "claude"}) {
        for (int version = 0; version <= 3; ++version) {
            SCOPED_TRACE(id + " " + std::to_string(version));
            // History knows only the earlier versions of the two plugins.
            auto source = HookPluginHistory::source(id, version, app);
            ASSERT_EQ(source.has_value(), id != "claude" && version > 0 && version < 3);
            if (version == 3 && id != "claude") {
                source = id == "pi" ? HookCatalog::piExtensionSource(app)
                                    : HookCatalog::pluginSource(app);
            }
            if (!source) continue;
            testing::writeFile(folder / "vigilmoth.js", *source);
            auto check = testing::runProcess(kNode, {"--check", folder / "vigilmoth.js"});
            EXPECT_EQ(check.status, 0) << check.err;
            EXPECT_EQ(HookPluginHistory::version(*source), version);
            EXPECT_NE(source->find("const hook = " +
                                   JSONSourceText::literal(HookCatalog::hookExecutable(app))),
                      std::string::npos);
        }
    }
    const std::pair<std::string, std::optional<int>> versions[] = {
        {"// vigilmoth-hook v=12", 12},   {"// vigilmoth-hook v=\n", {}},
        {"// vigilmoth-hook v=2x\n", {}}, {" // vigilmoth-hook v=2\n", {}},
        {"export default 1;\n", {}},      {"// vigilmoth-hook v=99999999999\n", {}}};
    for (const auto& [text, version] : versions) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HookPluginHistory::version(text), version);
    }
}

TEST(HookScriptsTest, OpencodeEventsRunTheHookByTheRuleTable) {
    ScriptHarness harness("opencode");
    auto status = [](int t, json status) {
        return opencodeEvent(t, "session.status", {{"sessionID", "a"}, {"status", status}});
    };
    json steps = json::array({
        status(0, {{"type", "busy"}}),
        status(2000, "retry"),
        opencodeEvent(4000, "message.updated", {{"sessionID", "a"}}),
        status(6000, {{"type", "x"}}),
        opencodeEvent(8000, "permission.asked", {{"sessionID", "a"}, {"id", "p1"}}),
        opencodeEvent(10000, "permission.replied", {{"sessionID", "a"}, {"reply", "once"}}),
        status(12000, {{"type", "idle"}}),
        opencodeEvent(14000, "session.idle", {{"sessionID", "a"}}),
        opencodeEvent(16000, "session.deleted", {{"info", {{"id", "b"}}}}),
        opencodeEvent(18000, "session.idle", json::object()),
    });
    Outcome outcome = harness.run(steps);
    // Each run as "arguments | session seq milliseconds-since-start".
    std::string listing;
    for (const auto& run : outcome.runs) {
        listing += run["args"].dump() + " | " + run["body"]["session_id"].dump() + " " +
                   run["body"]["seq"].dump() + " " +
                   std::to_string(run["body"]["ts"].get<int64_t>() -
                                  outcome.harness["start"].get<int64_t>()) +
                   "\n";
        EXPECT_EQ(run["body"]["inst"], outcome.runs[0]["body"]["inst"]);
    }
    testing::expectGolden("hooks/opencode-runs.txt", listing);
    std::string inst = outcome.runs[0]["body"]["inst"];
    EXPECT_EQ(inst.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"), std::string::npos);
    EXPECT_GT(inst.size(), 8u);
    EXPECT_GT(outcome.harness["shellUse"]["quiet"], 0);
    EXPECT_EQ(outcome.harness["shellUse"]["quiet"], outcome.harness["shellUse"]["nothrow"]);
}

TEST(HookScriptsTest, RepeatsWithinASecondAreDropped) {
    testing::expectEachLineReads("hooks/repeats.txt", [](const std::string& line) {
        std::set<std::size_t> runs;
        for (std::string kind : {"opencode", "pi"}) {
            json steps = json::array();
            for (const auto& event : words(line)) {
                auto t = std::stoi(event), colon = static_cast<int>(event.find(':'));
                auto session = event.substr(colon + 1);
                steps.push_back(kind == "pi"
                                    ? piEvent(t, "session_start", session)
                                    : opencodeEvent(t, "session.idle", {{"sessionID", session}}));
            }
            runs.insert(ScriptHarness(kind).run(steps).runs.size());
        }
        return runs.size() == 1 ? std::to_string(*runs.begin()) : "opencode and pi differ";
    });
}

TEST(HookScriptsTest, PiFlagsHoldAQuestionAndKeepCompactionInsideARun) {
    // Each line: events Pi emits two seconds apart | the ones the hook is run for.
    std::istringstream lines(testing::readFile(testing::fixture("hooks/pi-flags.txt")));
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line[0] == '#') continue;
        SCOPED_TRACE(line);
        auto bar = line.find('|');
        ScriptHarness harness("pi");
        json steps = json::array();
        int t = 0;
        for (const auto& event : words(line.substr(0, bar)))
            steps.push_back(piEvent(t += 2000, event));
        std::vector<std::string> sent;
        for (const auto& run : harness.run(steps).runs) {
            EXPECT_EQ(run["args"], json::array({"pi", run["args"][1], "v=3"}));
            sent.push_back(run["args"][1]);
        }
        EXPECT_EQ(sent, words(line.substr(bar + 1)));
    }
}

// A reload keeps the count and the instance; the session falls back to the process until
// Pi names one, then the last named one stands.
TEST(HookScriptsTest, PiKeepsItsLastSessionAndItsCountAcrossAReload) {
    ScriptHarness harness("pi");
    Outcome outcome = harness.run(json::array({
        piEvent(0, "session_start", nullptr),
        json{{"reload", true}},
        piEvent(2000, "agent_start", "S1"),
        piEvent(4000, "turn_start", ""),
        piEvent(6000, "tool_execution_start", nullptr),
    }));
    std::string fallback = "pid-" + std::to_string(outcome.harness["pid"].get<int>());
    EXPECT_EQ(named(outcome), words("session_start " + fallback +
                                    " agent_start S1 turn_start S1 tool_execution_start S1"));
    for (size_t index = 0; index < outcome.runs.size(); ++index) {
        EXPECT_EQ(outcome.runs[index]["body"]["seq"], index + 1);
        EXPECT_EQ(outcome.runs[index]["body"]["inst"], outcome.runs[0]["body"]["inst"]);
    }
}

// The killed child is reaped by node or by init, which a loaded machine can delay for a while.
bool gone(int pid) {
    for (int attempt = 0; attempt < 1500; ++attempt) {
        if (::kill(pid, 0) != 0 && errno == ESRCH) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST(HookScriptsTest, AHangingHookIsAbandonedAfterFiveSeconds) {
    for (std::string kind : {"opencode", "pi"}) {
        SCOPED_TRACE(kind);
        ScriptHarness harness(kind);
        json steps =
            kind == "pi"
                ? json::array({piEvent(0, "agent_start"), piEvent(2000, "agent_settled")})
                : json::array({opencodeEvent(0, "session.idle", {{"sessionID", "a"}}),
                               opencodeEvent(2000, "session.deleted", {{"sessionID", "a"}})});
        Outcome outcome = harness.run(steps, kind == "pi" ? "agent_start" : "session.idle");
        // The queue moved on past the hanging run.
        ASSERT_EQ(outcome.runs.size(), 2u);
        bool guarded = false;
        for (const auto& timer : outcome.harness["timers"])
            guarded |= timer["ms"] == 5000 && timer["unref"] == true;
        EXPECT_TRUE(guarded) << outcome.harness.dump();
        // Pi kills what it abandons; the harness only cleans up after opencode.
        if (kind == "pi") {
            EXPECT_TRUE(gone(outcome.runs[0]["pid"].get<int>()));
        }
    }
}

// Real runs of Pi 0.73.1 and opencode 1.18.33 through the scripts into the real hook.
TEST(HookScriptsTest, RealPiAndOpencodeRunsGiveTheStatesAUserExpects) {
    const std::array<std::string, 3> cases[] = {
        // Four failed attempts (Pi's own retries) are one run, idle after the last; /new.
        {"pi", "pi/run1-offline/events.jsonl", "iwi-i-"},
        // Two runs with a tool each, /compact, quit.
        {"pi", "pi/run2-mock/events.jsonl", "iwiwiwi-"},
        // A permission allowed; a task subagent whose own session goes idle inside the run;
        // a permission rejected; /compact.
        {"opencode", "opencode/run3-mock-permission-ask/events.jsonl", "-wpwiwiwpwiwi"},
    };
    for (const auto& [kind, events, states] : cases) {
        SCOPED_TRACE(events);
        EXPECT_EQ(ScriptHarness(kind, true).replay(events), states);
    }
}

}  // namespace
}  // namespace vigilmoth
