// Show the Linux application for real: the vigilmoth binary on a private system bus (logind) and
// session bus (a notification server and a StatusNotifierWatcher) holds the computer while a
// stand-in Claude Code works, tells of its waits and its finished turn, lets go after the
// finished grace, shows the agent in its tray menu, pauses from a click there, sends a second
// copy away, and leaves no lock and no tray item behind when it is told to stop.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "base/JSONCoding.h"
#include "evidence/HookStateFile.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/Logind.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using namespace testing;

constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";
constexpr const char* kItem = "org.kde.StatusNotifierItem-";

bool eventually(const std::function<bool()>& done, double seconds = 60) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

// vigilmoth's own locks on the private logind, as "what why mode".
std::vector<std::string> locks(sd_bus* system) {
    std::vector<std::string> found;
    for (const auto& lock : Logind::listInhibitors(system))
        if (lock.who == Logind::kWho) found.push_back(lock.what + " " + lock.why + " " + lock.mode);
    return found;
}

// The reason of the hold ("" without one).
std::string hold(sd_bus* system) {
    for (const auto& lock : Logind::listInhibitors(system))
        if (lock.who == Logind::kWho && lock.what == "sleep:idle") return lock.why;
    return "";
}

// The notices posted so far, as replaces_id and summary.
std::vector<std::string> notices(DBusTestBus& session) {
    std::vector<std::string> posted;
    for (const auto& [replaces, texts] : session.notifyCalls())
        posted.push_back(std::to_string(replaces) + " " + texts.front());
    return posted;
}

class LinuxApplicationTest : public ::testing::Test {
protected:
    void SetUp() override {
        system.startTemplate("logind", Logind::kService);
        session.startTemplate("notification_daemon", "org.freedesktop.Notifications");
        session.startMock(kWatcher, kWatcherPath, kWatcher);
        session.mock(kWatcher, kWatcherPath, "AddMethod", "sssss", "", "RegisterStatusNotifierItem",
                     "s", "", "");
        // Short holds after a turn, so that the release comes within the test's patience; every
        // notice kind on, whoever is in front.
        writeFile(home / ".config/com.vigilmoth.app/defaults.json",
                  R"({"DetectionSettings": "{\"releaseAfterState\":2,\"releaseAfterActivity\":2}",
                      "AgentNotices.finished": true, "AgentNotices.onlyWhenAway": false})");
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

    void startWatcher() {
        session.startMock(kWatcher, kWatcherPath, kWatcher);
        session.mock(kWatcher, kWatcherPath, "AddMethod", "sssss", "", "RegisterStatusNotifierItem",
                     "s", "", "");
    }

    // Writes the stand-in's hook state file as the hook would after an event of the agent.
    void report(int pid, const std::string& state) {
        const auto row = SystemProcessCensus().row(pid);
        ASSERT_TRUE(row);
        const HookStateFile file{HookStateFile::kVersion,
                                 "claude",
                                 pid,
                                 row->startTime,
                                 {{"none", {state, "Event", Date::now().secondsSince1970()}}}};
        writeFile(home / ("hooks/" + HookStateFile::fileName("claude", pid)), file.encode());
    }

    DBusTestBus system;
    DBusTestBus session;
    TemporaryFolder home;
    ProcessOptions options;
};

// One step of the run: what the user or the stand-in does, then what the buses show.
struct Step {
    std::string doing;
    // The stand-in's hook state, or a menu line clicked.
    std::string hook;
    std::string click;
    // The hold's reason ("" none) and every notice posted so far.
    std::string hold;
    std::vector<std::string> notices;
};

TEST_F(LinuxApplicationTest, HoldsTellsShowsPausesAndLeavesNothingBehind) {
    startWatcher();
    ProcessTree agent({{1, -1, "bin/claude", {"claude"}, home / "work"}});
    BackgroundProcess app(VIGILMOTH_EXECUTABLE, {}, options);
    ASSERT_TRUE(app.waitForOutput("vigilmoth is running", 30)) << app.output();
    std::string item;
    ASSERT_TRUE(eventually([&] {
        const auto registered =
            session.firstArguments(kWatcher, kWatcherPath, "RegisterStatusNotifierItem");
        if (!registered.empty()) item = registered.front();
        return !item.empty();
    }));
    EXPECT_EQ(item.rfind(kItem, 0), 0u) << item;

    const std::string working = "vigilmoth: Claude Code is working";
    const std::string waiting = "vigilmoth: Claude Code is waiting for you";
    const std::string waits = "Claude Code is waiting for you";
    const std::vector<Step> steps = {
        {"works", "working", "", working, {}},
        {"asks", "waiting", "", waiting, {"0 " + waits}},
        {"works on", "working", "", working, {"0 " + waits}},
        // The session's newer wait takes the place of the older one (the server's id 1).
        {"asks again", "waiting", "", waiting, {"0 " + waits, "1 " + waits}},
        {"works on", "working", "", working, {"0 " + waits, "1 " + waits}},
        {"finishes", "idle", "", "", {"0 " + waits, "1 " + waits, "0 Claude Code finished"}},
        {"starts again",
         "working",
         "",
         working,
         {"0 " + waits, "1 " + waits, "0 Claude Code finished"}},
        {"pauses",
         "",
         "Pause for 1 hour",
         "",
         {"0 " + waits, "1 " + waits, "0 Claude Code finished"}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.doing);
        if (!step.hook.empty()) report(agent.pid(1), step.hook);
        if (!step.click.empty()) {
            DBusTestBus::MenuLines lines;
            // The menu follows the state within a second.
            ASSERT_TRUE(eventually([&] {
                lines = session.menuLayout(item, "/MenuBar");
                return std::any_of(lines.begin(), lines.end(), [](const auto& line) {
                    return line.first.rfind("Claude Code", 0) == 0 &&
                           line.first.find(" — Working") != std::string::npos;
                });
            })) << "the agent's row";
            ASSERT_TRUE(lines.contains(step.click));
            ASSERT_GE(sd_bus_call_method(session.client(), item.c_str(), "/MenuBar",
                                         "com.canonical.dbusmenu", "Event", nullptr, nullptr,
                                         "isvu", lines[step.click], "clicked", "s", "", 0u),
                      0);
        }
        EXPECT_TRUE(eventually([&] {
            return hold(system.client()) == step.hold && notices(session) == step.notices;
        })) << hold(system.client())
            << " | " << notices(session).size() << " notices";
    }

    // A second copy leaves the running one be and says so.
    const auto second = runVigilmoth({}, options);
    EXPECT_EQ(second.status, 0);
    EXPECT_EQ(second.err, "vigilmoth is already running.\n");

    EXPECT_TRUE(app.waitForOutput("vigilmoth was asked to come forward.")) << app.output();

    app.signal(SIGTERM);
    EXPECT_EQ(app.wait(30), 0);
    EXPECT_EQ(locks(system.client()), std::vector<std::string>{});
    EXPECT_FALSE(session.owned(item));
}

// The smoke test measures the real application on the private buses: healthy with a tray to
// show, unhealthy without a StatusNotifierWatcher, for the Part's reasons.
TEST_F(LinuxApplicationTest, SmokeTestReportsOnTheTraySteps) {
    struct Case {
        bool watcher;
        int status;
        std::vector<std::string> failures;
    };
    for (const auto& [watcher, status, failures] :
         {Case{true, 0, {}}, Case{false,
                                  1,
                                  {"showing the menu: notRun", "no status item",
                                   "hiding and showing the icon: notRun"}}}) {
        SCOPED_TRACE(watcher);
        if (watcher) startWatcher();
        ProcessTree agent({{1, -1, "bin/claude", {"claude"}, home / "work"}});
        const auto result = runVigilmoth({"--smoke-test", "10"}, options);
        EXPECT_EQ(result.status, status) << result.out;
        const auto report = parseJSON(result.out);
        ASSERT_TRUE(report) << result.out;
        EXPECT_EQ((*report)["failures"], nlohmann::json(failures)) << result.out;
        const auto& measured = (*report)["measurements"];
        EXPECT_GE(measured["samples"].get<int>(), 2);
        EXPECT_GE(measured["ticks"].get<int>(), 80);
        EXPECT_EQ(measured["statusItemImage"], watcher);
        EXPECT_EQ(measured["panelSeconds"].size(), watcher ? 3u : 0u);
        EXPECT_EQ(measured["cpuBySecond"].size(), 10u);
    }
}

}  // namespace
}  // namespace vigilmoth
