// The tray registers with the desktop's StatusNotifierWatcher, serves the panel as a dbusmenu,
// turns a click into its command, gives up and takes back its place when hidden and shown, and
// stays away, saying so once, without a watcher.
#include "app/linux/StatusNotifierTray.h"

#include <gtest/gtest.h>

#include <future>
#include <map>
#include <thread>

#include "base/Log.h"
#include "platform/linux/DBusTestBus.h"
#include "support/DecisionBuilders.h"
#include "ui/MenuModel.h"

namespace vigilmoth {
namespace {

const Date now(1'699'992'000);

// The application's loop on a thread of its own, so that the test's blocking calls are
// answered; the tray is touched only on that thread.
class StatusNotifierTrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        bus.startTrayWatcher();
        int code = 0;
        appBus = AsioBus::open(context, bus.address(), code);
        ASSERT_TRUE(appBus);
        tray = StatusNotifierTray::start(
            context, *appBus, [this](const ShellCommand& command) { clicked.set_value(command); });
        ASSERT_TRUE(tray);
        loop = std::thread([this] { context.run(); });
    }
    void TearDown() override {
        if (!loop.joinable()) return;
        onLoop([this] {
            tray.reset();
            appBus.reset();
            guard.reset();
        });
        loop.join();
    }
    void onLoop(const std::function<void()>& work) {
        std::promise<void> done;
        asio::post(context, [&] {
            work();
            done.set_value();
        });
        done.get_future().wait();
    }
    testing::DBusTestBus::MenuLines layout(std::uint32_t& revision) {
        return bus.menuLayout(tray->busName(), StatusNotifierTray::kMenuPath, &revision);
    }

    testing::DBusTestBus bus;
    asio::io_context context;
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> guard{
        context.get_executor()};
    std::unique_ptr<AsioBus> appBus;
    std::unique_ptr<StatusNotifierTray> tray;
    std::thread loop;
    std::promise<ShellCommand> clicked;
};

ShellMenuInput working(ReportedState state) {
    PanelInput input;
    const auto reading = testing::readingOf("claude", "Claude Code", {4242, 1000}, state);
    input.decision.perAgent.push_back({reading, std::nullopt});
    input.clock.entries[reading.identity] = {state, now - 300};
    return {MenuModel::state(input, now), AwakeMode::agentWorking, {}};
}

TEST_F(StatusNotifierTrayTest, ServesThePanelTurnsAClickIntoItsCommandAndHides) {
    EXPECT_EQ(bus.trayRegistrations(), std::vector<std::string>{tray->busName()});
    onLoop([&] { tray->update(working(ReportedState::working), {}, "vigilmoth: awake"); });
    // The robot comes as ARGB pixels of the size it claims.
    const auto icon = StatusNotifierTray::readIcon(bus.client(), tray->busName());
    ASSERT_TRUE(icon);
    EXPECT_EQ(std::tuple(icon->width, icon->bytes), std::tuple(22, 22u * icon->height * 4));
    std::uint32_t first = 0;
    auto lines = layout(first);
    EXPECT_EQ(lines.count("Claude Code — Working for 5 minutes"), 1u);
    const auto pause = lines["Pause for 1 hour"];
    bus.click(tray->busName(), StatusNotifierTray::kMenuPath, pause);
    auto command = clicked.get_future();
    ASSERT_EQ(command.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(command.get(), ShellCommand::panel(PanelAction::pause(PauseChoice::oneHour)));
    // A changed state is a new revision, and the line keeps its id.
    onLoop([&] { tray->update(working(ReportedState::waitingForUser), {}, "vigilmoth: awake"); });
    std::uint32_t second = 0;
    lines = layout(second);
    EXPECT_GT(second, first);
    EXPECT_EQ(lines["Pause for 1 hour"], pause);
    EXPECT_EQ(lines.count("Claude Code — Waiting for your answer for 5 minutes"), 1u);
    // Hiding gives up the item and showing registers it again.
    for (const bool show : {false, true}) {
        bool shown = false;
        onLoop([&] { shown = tray->setShown(show); });
        EXPECT_TRUE(shown);
        EXPECT_EQ(bus.owned(tray->busName()), show);
    }
    EXPECT_EQ(bus.trayRegistrations(),
              (std::vector<std::string>{tray->busName(), tray->busName()}));
}

TEST(StatusNotifierTrayAloneTest, WithoutAWatcherThereIsNoTrayAndOneLogLine) {
    testing::DBusTestBus bus;
    asio::io_context context;
    int code = 0;
    auto appBus = AsioBus::open(context, bus.address(), code);
    ASSERT_TRUE(appBus);
    testing::CapturedLog log;
    EXPECT_EQ(StatusNotifierTray::start(context, *appBus, [](const ShellCommand&) {}), nullptr);
    EXPECT_EQ(log.lines,
              std::vector<std::string>{
                  "vigilmoth runs without a tray icon, because no StatusNotifierWatcher is "
                  "on the session bus to show one."});
}

}  // namespace
}  // namespace vigilmoth
