// Show that the real hook executable, run by a fake agent process through shells or directly,
// finds that agent, writes its state file and keeps it up to date, and that garbage, planted
// links and wrong agents never make it fail or write where it must not.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "evidence/HookStateFile.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

const std::string kClaudeSession = "f2fbb6b7-5f57-42e0-9900-8f46d12555f1";

std::string claudeInput(const std::string& file) {
    return testing::readFile(testing::fixture("hook-inputs/claude/" + file + ".stdin.json"));
}

json hookRun(std::vector<std::string> args, std::string input, std::string via = "shell") {
    return json{{"args", std::move(args)}, {"input", std::move(input)}, {"via", std::move(via)}};
}

struct AgentRun {
    int pid = 0;
    double start = 0;
    std::vector<json> steps;  // each with "status" and "files" (name to text)

    std::optional<HookStateFile> file(size_t step, const std::string& agent) const {
        const json& files = steps.at(step)["files"];
        auto found = files.find(HookStateFile::fileName(agent, pid));
        if (found == files.end()) return std::nullopt;
        return HookStateFile::decode(found->get<std::string>());
    }
};

class VigilmothHookTest : public ::testing::Test {
protected:
    AgentRun runAgent(const std::string& name, const json& runs, json extra = json::object(),
                      std::optional<std::string> hooksDir = std::nullopt) {
        json plan = std::move(extra);
        plan["name"] = name;
        plan["hook"] = VIGILMOTH_HOOK_EXECUTABLE;
        plan["folder"] = hooksDir ? *hooksDir : folder_;
        plan["runs"] = runs;
        std::string planPath = temporary_ / "plan.json";
        testing::writeFile(planPath, plan.dump());
        testing::ProcessOptions options;
        options.environment["HOME"] = temporary_ / "home";
        options.environment["XDG_DATA_HOME"] = std::nullopt;
        options.environment["VIGILMOTH_HOOKS_DIR"] =
            hooksDir ? std::nullopt : std::optional(folder_);
        auto result = testing::runProcess(testing::testProgram("FakeAgent"), {planPath}, options);
        EXPECT_EQ(result.status, 0) << result.err;
        AgentRun run;
        std::istringstream lines(result.out);
        std::string line;
        std::getline(lines, line);
        json head = json::parse(line);
        run.pid = head["pid"];
        run.start = head["start"];
        while (std::getline(lines, line))
            run.steps.push_back(json::parse(line));
        return run;
    }

    testing::TemporaryFolder temporary_;
    std::string folder_ = temporary_ / "hooks";
};

TEST_F(VigilmothHookTest, AClaudeSessionMovesThroughItsStatesAndEnds) {
    const std::string key = HookStateFile::sessionKey(kClaudeSession);
    for (std::string via : {"shell", "direct", "helper"}) {
        SCOPED_TRACE(via);
        fs::remove_all(folder_);
        json runs = json::array();
        for (std::string input : {"003-UserPromptSubmit", "009-Notification", "034-Stop",
                                  "035-Notification", "040-SessionEnd"}) {
            auto event = input.substr(4);
            runs.push_back(hookRun({"claude", event, "v=1"}, claudeInput(input), via));
        }
        AgentRun run = runAgent("claude", runs);
        ASSERT_EQ(run.steps.size(), 5u);
        const std::vector<std::pair<std::string, std::string>> expected{
            {"working", "UserPromptSubmit"},
            {"waiting", "Notification"},
            {"idle", "Stop"},
            {"idle", "Notification"}};
        for (size_t step = 0; step < run.steps.size(); ++step) {
            SCOPED_TRACE(step);
            EXPECT_EQ(run.steps[step]["status"], 0);
            auto file = run.file(step, "claude");
            ASSERT_TRUE(file);
            EXPECT_EQ(std::tie(file->agent, file->pid, file->start),
                      std::tie("claude", run.pid, run.start));
            // The end leaves the file without sessions.
            ASSERT_EQ(file->sessions.size(), step < 4 ? 1u : 0u);
            if (step == 4) continue;
            const auto& session = file->sessions.at(key);
            EXPECT_EQ(std::pair(session.state, session.event), expected[step]);
            EXPECT_NEAR(session.at, run.start, 60);
        }
        // Nothing else is left in the folder: no temporary files, no other names.
        EXPECT_EQ(run.steps[4]["files"].size(), 1u);
    }
}

TEST_F(VigilmothHookTest, GarbageInputNeverFailsTheHook) {
    std::mt19937 random(3);
    std::vector<std::string> inputs{"",
                                    "{",
                                    "null",
                                    "[1,2]",
                                    std::string(3000000, '['),
                                    "{\"session_id\":" + std::string(100000, '{')};
    for (int index = 0; index < 6; ++index)
        inputs.push_back(testing::randomBytes(random, 4000));
    inputs.push_back(claudeInput("009-Notification"));
    inputs.back()[inputs.back().size() / 2] = '\xff';
    json runs = json::array();
    for (size_t index = 0; index < inputs.size(); ++index) {
        std::string path = temporary_ / ("input" + std::to_string(index));
        testing::writeFile(path, inputs[index]);
        json run = hookRun({"claude", "Stop", "v=1"}, "");
        run["inputFile"] = path;
        runs.push_back(run);
    }
    AgentRun run = runAgent("claude", runs);
    ASSERT_EQ(run.steps.size(), inputs.size());
    for (size_t step = 0; step < inputs.size(); ++step) {
        SCOPED_TRACE(step);
        EXPECT_EQ(run.steps[step]["status"], 0);
        // The event still counts; without a readable session it is kept under "none".
        auto file = run.file(step, "claude");
        ASSERT_TRUE(file);
        EXPECT_EQ(file->sessions.size(), 1u);
        EXPECT_EQ(file->sessions.begin()->first, "none");
    }
}

TEST_F(VigilmothHookTest, BadArgumentsAndForeignAgentsWriteNothing) {
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"claude", {"claude", "Stop", "version=1"}},
        // An event that means nothing is not worth a file.
        {"claude", {"claude", "SessionStart", "v=1"}},
        // No claude above the hook: the codex process is not taken for it.
        {"codex", {"claude", "Stop", "v=1"}},
        {"worker", {"claude", "Stop", "v=1"}},
    };
    for (const auto& [agent, args] : cases) {
        SCOPED_TRACE(agent + " " + json(args).dump());
        fs::remove_all(folder_);
        AgentRun run = runAgent(agent, json::array({hookRun(args, claudeInput("034-Stop"))}));
        ASSERT_EQ(run.steps.size(), 1u);
        EXPECT_EQ(run.steps[0]["status"], 0);
        // A real agent above the tests may take the foreign cases' reports; this one must not.
        for (const auto& [name, text] : run.steps[0]["files"].items()) {
            EXPECT_NE(HookStateFile::decode(text.get<std::string>())->pid, run.pid) << name;
            EXPECT_NE(agent, "claude") << name;
        }
    }
}

TEST_F(VigilmothHookTest, APlantedLinkIsReplacedNotFollowed) {
    std::string target = temporary_ / "precious.json";
    testing::writeFile(target, "precious");
    AgentRun run = runAgent(
        "claude", json::array({hookRun({"claude", "Stop", "v=1"}, claudeInput("034-Stop"))}),
        json{{"plantLink", target}});
    ASSERT_EQ(run.steps.size(), 1u);
    EXPECT_EQ(run.steps[0]["status"], 0);
    EXPECT_EQ(testing::readFile(target), "precious");
    auto file = run.file(0, "claude");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->sessions.at(HookStateFile::sessionKey(kClaudeSession)).state, "idle");
    EXPECT_FALSE(fs::is_symlink(fs::path(folder_) / HookStateFile::fileName("claude", run.pid)));
}

TEST_F(VigilmothHookTest, HooksRunningAtOnceLoseNoSession) {
    json runs = json::array();
    for (int index = 0; index < 12; ++index) {
        json input{{"session_id", "s" + std::to_string(index)}};
        runs.push_back(hookRun({"pi", "agent_start", "v=2"}, input.dump()));
    }
    AgentRun run = runAgent("pi", runs, json{{"parallel", true}});
    ASSERT_EQ(run.steps.size(), 1u);
    auto file = run.file(0, "pi");
    ASSERT_TRUE(file);
    EXPECT_EQ(file->sessions.size(), 12u);
}

TEST_F(VigilmothHookTest, WithoutTheVariableTheDefaultFolderIsUsedAndCreated) {
    PathEnvironment paths;
    paths.home = temporary_ / "home";
    std::string folder = HookStateFile::defaultDirectory(paths);
    AgentRun run = runAgent(
        "opencode",
        json::array(
            {hookRun({"opencode", "session.busy", "v=3"},
                     R"({"session_id":"ses_1","seq":1,"ts":1795248000000,"inst":"k"})", "direct")}),
        json::object(), folder);
    auto file = run.file(0, "opencode");
    ASSERT_TRUE(file);
    const auto& session = file->sessions.at(HookStateFile::sessionKey("ses_1"));
    EXPECT_EQ(session, (HookStateFile::Session{"working", "session.busy", session.at,
                                               1795248000000.0, 1, "k"}));
}

}  // namespace
}  // namespace vigilmoth
