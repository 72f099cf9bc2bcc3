// Show the user's actions that every platform has: the hook switches over real files in a
// temporary home, the login item's switch, per-agent rules, and going to an agent's window.
#include <gtest/gtest.h>

#include <map>

#include "hooks/install/SystemHookFileAccess.h"
#include "state/AgentHostActions.h"
#include "state/HookActions.h"
#include "state/LoginItem.h"
#include "support/DecisionBuilders.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;

TEST(HookActionsTest, KeepsEachEntrysStatusAndLastFailure) {
    setLogSink([](LogLevel, std::string_view, std::string_view) {});
    testing::TemporaryFolder home;
    SystemHookFileAccess files;
    HookInstaller installer({home.path().string(), "/opt/vigilmoth",
                             (home.path() / ".local/share/vigilmoth").string()},
                            [] { return Date(1767225600); }, files);
    HookActions actions(installer);
    int changes = 0;
    actions.onChange = [&] { ++changes; };
    const auto& claude = *HookCatalog::entry("claude");
    auto settings = home.path() / ".claude/settings.json";
    struct Step {
        const char* name;
        std::optional<std::string> contents;  // none: no Claude Code folder
        bool on;
        HookStatus::Kind status;
        std::optional<std::string> error;
    };
    const std::vector<Step> steps = {
        {"not set up", std::nullopt, true, HookStatus::Kind::configMissing,
         "This agent is not set up on this Mac. ~/.claude/settings.json does not exist."},
        {"invalid JSON", "{\"hooks\": ", true, HookStatus::Kind::unreadable,
         "vigilmoth could not read ~/.claude/settings.json, so it did not change it. Check that "
         "the file is valid JSON."},
        {"installed", "{}\n", true, HookStatus::Kind::installed, std::nullopt},
        {"removed", std::nullopt, false, HookStatus::Kind::notInstalled, std::nullopt},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        if (step.contents) {
            fs::create_directories(settings.parent_path());
            testing::writeFile(settings, *step.contents);
        }
        actions.setHooks(claude, step.on);
        EXPECT_EQ(actions.hookStatuses().at("claude").kind, step.status);
        EXPECT_EQ(actions.hookStatuses().size(), HookCatalog::entries().size());
        auto error = actions.hookErrors().find("claude");
        EXPECT_EQ(error == actions.hookErrors().end() ? std::nullopt
                                                      : std::optional(error->second),
                  step.error);
    }
    EXPECT_EQ(changes, 4);
    setLogSink(writeLogLineToStandardError);
}

class FakeLoginItem final : public LoginItemManaging {
public:
    Status current = Status::notRegistered;
    Status afterRegister = Status::enabled;
    std::optional<std::string> failure;
    std::vector<std::string> calls;

    Status status() override { return current; }
    std::optional<std::string> registerItem() override {
        calls.push_back("register");
        if (!failure) current = afterRegister;
        return failure;
    }
    std::optional<std::string> unregisterItem() override {
        calls.push_back("unregister");
        if (!failure) current = Status::notRegistered;
        return failure;
    }
};

TEST(LoginItemSwitchTest, ChangesTheRegistrationOnlyWhenItMustAndShowsTheTruth) {
    using Status = LoginItemManaging::Status;
    struct Case {
        const char* name;
        bool canRegister;
        Status before;
        bool on;
        std::optional<std::string> failure;
        Status afterRegister;
        std::vector<std::string> calls;
        LoginItemState state;
        std::optional<std::string> error;
    };
    const std::vector<Case> cases = {
        {"on", true, Status::notRegistered, true, {}, Status::enabled, {"register"},
         LoginItemState::on, {}},
        {"already on", true, Status::enabled, true, {}, Status::enabled, {}, LoginItemState::on,
         {}},
        {"already off", true, Status::notFound, false, {}, Status::enabled, {},
         LoginItemState::off, {}},
        {"off", true, Status::enabled, false, {}, Status::enabled, {"unregister"},
         LoginItemState::off, {}},
        {"awaiting the user's approval", true, Status::notRegistered, true, {},
         Status::requiresApproval, {"register"}, LoginItemState::needsApproval, {}},
        {"asked again while awaiting approval", true, Status::requiresApproval, true, {},
         Status::requiresApproval, {"register"}, LoginItemState::needsApproval, {}},
        {"refused", true, Status::notRegistered, true, "Operation not permitted",
         Status::enabled, {"register"}, LoginItemState::off, "Operation not permitted"},
        {"from a place that cannot register", false, Status::enabled, false, {},
         Status::enabled, {}, LoginItemState::unavailable, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeLoginItem service;
        service.current = c.before;
        service.failure = c.failure;
        service.afterRegister = c.afterRegister;
        LoginItemSwitch item(service, c.canRegister);
        item.setOpenAtLogin(c.on);
        EXPECT_EQ(service.calls, c.calls);
        EXPECT_EQ(item.state(), c.state);
        EXPECT_EQ(item.error(), c.error);
    }
}

TEST(AgentRuleTest, AutomaticLeavesNoEntryBehind) {
    DetectionSettings settings;
    settings = settings.withRule("claude", AgentRule::ignore);
    settings = settings.withRule("codex", AgentRule::alwaysWorkingWhileOpen);
    EXPECT_EQ(settings.rule("claude"), AgentRule::ignore);
    settings = settings.withRule("claude", AgentRule::automatic);
    EXPECT_EQ(settings.agentRules,
              (std::map<std::string, AgentRule>{{"codex", AgentRule::alwaysWorkingWhileOpen}}));
}

class FakeHostFinder final : public AgentHostFinding {
public:
    std::map<std::int32_t, AgentHost> hostOf;
    std::vector<std::vector<std::int32_t>> asked;
    std::vector<std::int32_t> broughtForward;

    std::vector<std::optional<AgentHost>> hosts(
        const std::vector<AgentHostRequest>& requests) override {
        std::vector<std::optional<AgentHost>> found;
        asked.emplace_back();
        for (const auto& request : requests) {
            asked.back().push_back(request.pid);
            auto host = hostOf.find(request.pid);
            found.push_back(host == hostOf.end() ? std::nullopt : std::optional(host->second));
        }
        return found;
    }
    bool bringForward(std::int32_t pid) override {
        broughtForward.push_back(pid);
        return true;
    }
    std::vector<std::optional<std::int32_t>> owners(const std::vector<std::int32_t>&) override {
        return {};
    }
};

class OneRowCensus final : public ProcessCensusing {
public:
    std::optional<ProcessInfoRow> running;
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t pid) override {
        if (running && running->pid == pid) return running;
        return std::nullopt;
    }
};

TEST(AgentHostActionsTest, GoesToTheSessionsApplicationElseTheOneItRanIn) {
    FakeHostFinder finder;
    finder.hostOf = {{812, {.appPid = 40, .name = "Terminal"}}};
    OneRowCensus census;
    AgentHostActions actions(&finder, census);
    std::vector<AgentReading> readings = {
        testing::readingOf("claude", "Claude Code", {812, 100.5}, ReportedState::working),
        testing::readingOf("codex", "Codex", {900, 200}, ReportedState::working)};

    actions.refreshAgentHosts(readings, false);
    actions.refreshAgentHosts(readings, false);
    EXPECT_EQ(finder.asked, (std::vector<std::vector<std::int32_t>>{{812, 900}}));
    EXPECT_EQ(actions.agentHosts(),
              (std::unordered_map<ProcessIdentity, std::optional<std::string>>{
                  {{812, 100.5}, "Terminal"}, {{900, 200}, std::nullopt}}));

    struct Case {
        const char* name;
        std::optional<ProcessInfoRow> running;  // what the census finds under pid 812
        std::optional<std::int32_t> owner;
        std::vector<std::int32_t> broughtForward;
    };
    const std::vector<Case> cases = {
        {"the same process", ProcessInfoRow{.pid = 812, .startTime = 100.5004}, 77, {40}},
        {"its pid reused", ProcessInfoRow{.pid = 812, .startTime = 300}, 77, {77}},
        {"gone, with no application known", std::nullopt, std::nullopt, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        finder.broughtForward.clear();
        census.running = c.running;
        bool went = actions.open({{812, 100.5}, c.owner}, readings);
        EXPECT_EQ(went, !c.broughtForward.empty());
        EXPECT_EQ(finder.broughtForward, c.broughtForward);
    }
}

}  // namespace
}  // namespace vigilmoth
