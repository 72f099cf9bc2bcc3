// Show the user's actions that every platform has: the hook switches over real files in a
// temporary home, the login item's switch, and going to an agent's window.
#include <gtest/gtest.h>

#include <map>

#include "base/Log.h"
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
    HookInstaller installer(
        {home.path().string(), "/opt/vigilmoth", (home.path() / ".local/share/vigilmoth").string()},
        [] { return Date(1767225600); }, files);
    HookActions actions(installer);
    const auto& claude = *HookCatalog::entry("claude");
    auto settings = home.path() / ".claude/settings.json";
    using enum HookStatus::Kind;
    // Each step: what the settings file holds (none: left as it is), the switch, the status.
    const std::vector<std::tuple<std::optional<std::string>, bool, HookStatus::Kind>> steps = {
        {std::nullopt, true, configMissing},
        {"{\"hooks\": ", true, unreadable},
        {"{}\n", true, installed},
        {std::nullopt, false, notInstalled}};
    for (const auto& [contents, on, status] : steps) {
        if (contents) {
            fs::create_directories(settings.parent_path());
            testing::writeFile(settings, *contents);
        }
        actions.setHooks(claude, on);
        EXPECT_EQ(actions.hookStatuses().at("claude").kind, status);
        EXPECT_EQ(actions.hookStatuses().size(), HookCatalog::entries().size());
        // A failure's sentence stays until the next change succeeds.
        EXPECT_EQ(actions.hookErrors().contains("claude"), status != installed && on);
    }
    setLogSink(writeLogLineToStandardError);
}

// A registration leads to `registered`, or reports `failure` instead.
struct FakeLoginItem final : LoginItemManaging {
    Status current = Status::notRegistered, registered = Status::enabled;
    std::optional<std::string> failure;
    std::string calls;

    Status status() override { return current; }
    std::optional<std::string> registerItem() override { return change("register", registered); }
    std::optional<std::string> unregisterItem() override {
        return change("unregister", Status::notRegistered);
    }
    std::optional<std::string> change(const std::string& call, Status after) {
        calls += call;
        if (!failure) current = after;
        return failure;
    }
};

TEST(LoginItemSwitchTest, ChangesTheRegistrationOnlyWhenItMustAndShowsTheTruth) {
    using enum LoginItemManaging::Status;
    // Each case: the status before, the switch, what a registration leads to, the calls made
    // and the state shown.
    const std::tuple<LoginItemManaging::Status, bool, LoginItemManaging::Status, std::string,
                     LoginItemState>
        cases[] = {
            {notRegistered, true, enabled, "register", LoginItemState::on},
            {enabled, true, enabled, "", LoginItemState::on},
            {notFound, false, enabled, "", LoginItemState::off},
            {enabled, false, enabled, "unregister", LoginItemState::off},
            {notRegistered, true, requiresApproval, "register", LoginItemState::needsApproval},
            {requiresApproval, true, requiresApproval, "register", LoginItemState::needsApproval},
        };
    for (const auto& [before, on, registered, calls, state] : cases) {
        SCOPED_TRACE(calls + (on ? " on" : " off"));
        FakeLoginItem service;
        service.current = before;
        service.registered = registered;
        LoginItemSwitch item(service, true);
        item.setOpenAtLogin(on);
        EXPECT_EQ(service.calls, calls);
        EXPECT_EQ(item.state(), state);
        EXPECT_EQ(item.error(), std::nullopt);
    }
    FakeLoginItem refusing;
    refusing.failure = "Operation not permitted";
    LoginItemSwitch refused(refusing, true);
    refused.setOpenAtLogin(true);
    EXPECT_EQ(refused.state(), LoginItemState::off);
    EXPECT_EQ(refused.error(), "Operation not permitted");
    LoginItemSwitch elsewhere(refusing, false);
    elsewhere.setOpenAtLogin(true);
    EXPECT_EQ(elsewhere.state(), LoginItemState::unavailable);
    EXPECT_EQ(refusing.calls, "register");
}

// Finds application 40, "Terminal", for pid 812 only; brings anything forward.
class FakeHostFinder final : public AgentHostFinding, public ProcessCensusing {
public:
    std::vector<std::int32_t> asked, broughtForward;
    std::optional<ProcessInfoRow> running;

    std::vector<std::optional<AgentHost>> hosts(
        const std::vector<AgentHostRequest>& requests) override {
        std::vector<std::optional<AgentHost>> found;
        for (const auto& request : requests) {
            asked.push_back(request.pid);
            found.push_back(request.pid == 812
                                ? std::optional(AgentHost{.appPid = 40, .name = "Terminal"})
                                : std::nullopt);
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
    std::optional<std::vector<ProcessInfoRow>> snapshot() override { return std::nullopt; }
    std::optional<ProcessInfoRow> row(int32_t) override { return running; }
};

TEST(AgentHostActionsTest, GoesToTheSessionsApplicationElseTheOneItRanIn) {
    FakeHostFinder finder;
    AgentHostActions actions(&finder, finder);
    std::vector<AgentReading> readings = {
        testing::readingOf("claude", "Claude Code", {812, 100.5}, ReportedState::working),
        testing::readingOf("codex", "Codex", {900, 200}, ReportedState::working)};
    actions.refreshAgentHosts(readings, false);
    actions.refreshAgentHosts(readings, false);
    EXPECT_EQ(finder.asked, (std::vector{812, 900}));
    EXPECT_EQ(actions.agentHosts(),
              (std::unordered_map<ProcessIdentity, std::optional<std::string>>{
                  {{812, 100.5}, "Terminal"}, {{900, 200}, std::nullopt}}));

    // What the census finds under pid 812 when its notice is clicked.
    struct Case {
        std::optional<ProcessInfoRow> running;
        std::optional<std::int32_t> owner;
        std::vector<std::int32_t> broughtForward;
    };
    for (const auto& c : {Case{ProcessInfoRow{.pid = 812, .startTime = 100.5004}, 77, {40}},
                          Case{ProcessInfoRow{.pid = 812, .startTime = 300}, 77, {77}},
                          Case{std::nullopt, std::nullopt, {}}}) {
        finder.broughtForward.clear();
        finder.running = c.running;
        EXPECT_EQ(actions.open({{812, 100.5}, c.owner}, readings), !c.broughtForward.empty());
        EXPECT_EQ(finder.broughtForward, c.broughtForward);
    }
}

}  // namespace
}  // namespace vigilmoth
