// Show the vigilmoth binary on a private system bus (logind) and session bus (notifications, a
// tray watcher) hold the computer for a stand-in Droid, tell of its waits and finished turn, let
// go after the grace, serve its menu's clicks, and leave no lock and no tray item at the end.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <thread>

#include "base/JSONCoding.h"
#include "catalog/AgentCatalog.h"
#include "evidence/HookStateFile.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/Logind.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using namespace testing;

// vigilmoth's blocking locks (or all), as "what why", sorted: logind promises no order.
std::vector<std::string> locks(sd_bus* system, bool all = false) {
    std::vector<std::string> found;
    for (const auto& lock : Logind::listInhibitors(system))
        if (lock.who == Logind::kWho && (all || lock.mode == "block"))
            found.push_back(lock.what + " " + lock.why);
    std::sort(found.begin(), found.end());
    return found;
}

// Droid's notices posted so far, each with the earlier one it took the place of ("new", or
// its number in this list). The server numbers notices from 1 and a replacing notice keeps
// the replaced one's number.
std::vector<std::string> notices(DBusTestBus& session) {
    std::vector<std::string> posted;
    std::map<std::uint32_t, std::size_t> ours;
    std::uint32_t next = 1;
    for (const auto& [replaces, texts] : session.notifyCalls()) {
        const auto id = replaces ? replaces : next++;
        if (texts.front().rfind("Droid ", 0) != 0) continue;
        const auto earlier = ours.find(replaces);
        posted.push_back(
            (earlier == ours.end() ? std::string("new") : std::to_string(earlier->second)) + " " +
            texts.front());
        ours[id] = posted.size() - 1;
    }
    return posted;
}

// The stored settings: short holds after a turn, so that the release comes within the test's
// patience; every agent but Droid ignored, so that stand-ins of other tests running beside this
// one change nothing; both notice kinds, whoever is in front.
std::string settings() {
    nlohmann::json rules;
    for (const auto& definition : AgentCatalog::standard().definitions)
        if (definition.id != "droid") rules[definition.id] = "ignore";
    const nlohmann::json detection = {
        {"releaseAfterState", 2}, {"releaseAfterActivity", 2}, {"agentRules", rules}};
    return nlohmann::json{{"DetectionSettings", detection.dump()},
                          {"AgentNotices.finished", true},
                          {"AgentNotices.onlyWhenAway", false}}
        .dump();
}

class LinuxApplicationTest : public ::testing::Test {
protected:
    void SetUp() override {
        system.startTemplate("logind", Logind::kService);
        session.startTemplate("notification_daemon", "org.freedesktop.Notifications");
        writeFile(home / ".config/com.vigilmoth.app/defaults.json", settings());
        std::filesystem::create_directories(home / "work");
        std::filesystem::create_directories(home / "run");
        options.environment = {{"HOME", home.path().string()},
                               {"XDG_CONFIG_HOME", home / ".config"},
                               {"XDG_DATA_HOME", std::nullopt},
                               {"XDG_RUNTIME_DIR", home / "run"},
                               {"VIGILMOTH_HOOKS_DIR", home / "hooks"},
                               {"DBUS_SYSTEM_BUS_ADDRESS", system.address().address},
                               {"DBUS_SESSION_BUS_ADDRESS", session.address().address}};
    }

    // Writes the stand-in's hook state file as the hook would after an event of the agent.
    void report(int pid, const std::string& state) {
        const auto row = SystemProcessCensus().row(pid);
        ASSERT_TRUE(row);
        const HookStateFile file{HookStateFile::kVersion,
                                 "droid",
                                 pid,
                                 row->startTime,
                                 {{"none", {state, "Event", Date::now().secondsSince1970()}}}};
        writeFile(home / ("hooks/" + HookStateFile::fileName("droid", pid)), file.encode());
    }

    DBusTestBus system;
    DBusTestBus session;
    TemporaryFolder home;
    ProcessOptions options;
};

// What the stand-in reports or the user clicks, then the locks, all notices so far and whether
// vigilmoth opens at login.
struct Step {
    std::string doing, hook, click;
    std::vector<std::string> locks;
    std::vector<std::string> notices;
    bool atLogin = false;
};

TEST_F(LinuxApplicationTest, HoldsTellsShowsPausesAndLeavesNothingBehind) {
    session.startTrayWatcher();
    ProcessTree agent({{1, -1, "bin/droid", {"droid"}, home / "work"}});
    BackgroundProcess app(VIGILMOTH_EXECUTABLE, {}, options);
    ASSERT_TRUE(app.waitForOutput("vigilmoth is running", 30)) << app.output();
    std::vector<std::string> items;
    ASSERT_TRUE(eventually([&] { return !(items = session.trayRegistrations()).empty(); }, 60));
    const auto item = items.front();
    const auto autostart = home / ".config/autostart/vigilmoth.desktop";

    // The lid lock comes with every hold: the lid may close while the computer is held.
    const std::vector<std::string> working = {
        "handle-lid-switch vigilmoth keeps this computer awake with the lid closed",
        "sleep:idle vigilmoth: Droid is working"};
    auto waiting = working;
    waiting[1] = "sleep:idle vigilmoth: Droid is waiting for you";
    const std::string asked = "new Droid is waiting for you";
    // The session's newer wait takes the place of the older one; its finished turn is a notice
    // of another kind.
    const std::string askedAgain = "0 Droid is waiting for you";
    const std::vector<std::string> all = {asked, askedAgain, "new Droid finished"};
    const std::vector<Step> steps = {
        {"works", "working", "", working, {}},
        {"asks", "waiting", "", waiting, {asked}},
        {"works on", "working", "", working, {asked}},
        {"asks again", "waiting", "", waiting, {asked, askedAgain}},
        {"works on", "working", "", working, {asked, askedAgain}},
        {"finishes", "idle", "", {}, all},
        {"starts again", "working", "", working, all},
        {"opens at login", "", "Open at login", working, all, true},
        {"pauses", "", "Pause for 1 hour", {}, all, true},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.doing);
        if (!step.hook.empty()) report(agent.pid(1), step.hook);
        if (!step.click.empty()) {
            DBusTestBus::MenuLines lines;
            // The menu follows the state within a second.
            ASSERT_TRUE(eventually(
                [&] {
                    lines = session.menuLayout(item, "/MenuBar");
                    const auto row = lines.lower_bound("Droid · work — ");
                    return row != lines.end() && row->first.starts_with("Droid · work — ");
                },
                60));
            ASSERT_TRUE(lines.contains(step.click));
            session.click(item, "/MenuBar", lines[step.click]);
        }
        EXPECT_TRUE(eventually(
            [&] {
                return locks(system.client()) == step.locks && notices(session) == step.notices &&
                       std::filesystem::exists(autostart) == step.atLogin;
            },
            60))
            << locks(system.client()).size() << " locks, " << notices(session).size() << " notices";
    }

    app.signal(SIGTERM);
    EXPECT_EQ(app.wait(30), 0);
    EXPECT_EQ(locks(system.client(), true), std::vector<std::string>{});
    EXPECT_FALSE(session.owned(item));
}

// The smoke test measures the real application on the private buses: healthy with a tray to
// show (so every step ran and every limit held), unhealthy without a StatusNotifierWatcher.
TEST_F(LinuxApplicationTest, SmokeTestReportsOnTheTraySteps) {
    struct Case {
        bool watcher;
        int status;
        std::vector<std::string> failures;
    };
    for (const auto& [watcher, status, failures] :
         {Case{false,
               1,
               {"showing the menu: notRun", "no status item",
                "hiding and showing the icon: notRun"}},
          Case{true, 0, {}}}) {
        SCOPED_TRACE(watcher);
        // The watcher comes in the second run and stays.
        if (watcher) session.startTrayWatcher();
        ProcessTree agent({{1, -1, "bin/droid", {"droid"}, home / "work"}});
        const auto result = runVigilmoth({"--smoke-test", "10"}, options);
        EXPECT_EQ(result.status, status) << result.out;
        const auto report = parseJSON(result.out);
        ASSERT_TRUE(report) << result.out;
        EXPECT_EQ((*report)["failures"], nlohmann::json(failures)) << result.out;
    }
}

}  // namespace
}  // namespace vigilmoth
