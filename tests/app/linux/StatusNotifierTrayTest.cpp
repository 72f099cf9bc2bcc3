// Show that the tray registers with the desktop's StatusNotifierWatcher, serves the panel as a
// dbusmenu that a host reads with GetLayout, turns a click into the item's command, gives up
// and takes back its place when hidden and shown, and stays away, saying so once, when the
// desktop has no watcher.
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

constexpr const char* kWatcher = StatusNotifierTray::kWatcher;
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";
const Date now(1'699'992'000);

// The application's loop on a thread of its own, so that the test's blocking calls are
// answered; the tray is touched only on that thread.
class StatusNotifierTrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        bus.startMock(kWatcher, kWatcherPath, kWatcher);
        bus.mock(kWatcher, kWatcherPath, "AddMethod", "sssss", "", "RegisterStatusNotifierItem",
                 "s", "", "");
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
    // The services RegisterStatusNotifierItem was called with, in order.
    std::vector<std::string> registrations() {
        return bus.firstArguments(kWatcher, kWatcherPath, "RegisterStatusNotifierItem");
    }
    testing::DBusTestBus::MenuLines layout(std::uint32_t& revision) {
        return bus.menuLayout(tray->busName(), StatusNotifierTray::kMenuPath, &revision);
    }
    bool owned(const std::string& name) { return bus.owned(name); }

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

TEST_F(StatusNotifierTrayTest, ServesThePanelAsAMenuAndTurnsAClickIntoItsCommand) {
    EXPECT_EQ(registrations(), std::vector<std::string>{tray->busName()});
    onLoop([&] { tray->update(working(ReportedState::working), {}, "vigilmoth: awake"); });
    // The robot comes as ARGB pixels of the size it claims.
    const auto icon = StatusNotifierTray::readIcon(bus.client(), tray->busName());
    ASSERT_TRUE(icon);
    EXPECT_EQ(std::tuple(icon->width, icon->bytes), std::tuple(22, 22u * icon->height * 4));
    std::uint32_t first = 0;
    auto lines = layout(first);
    EXPECT_EQ(lines.count("Claude Code — Working for 5 minutes"), 1u);
    const auto pause = lines["Pause for 1 hour"];
    ASSERT_GE(sd_bus_call_method(bus.client(), tray->busName().c_str(),
                                 StatusNotifierTray::kMenuPath, "com.canonical.dbusmenu", "Event",
                                 nullptr, nullptr, "isvu", pause, "clicked", "s", "", 0u),
              0);
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
}

TEST_F(StatusNotifierTrayTest, HidingGivesUpTheItemAndShowingRegistersItAgain) {
    bool shown = false;
    onLoop([&] { shown = tray->setShown(false); });
    EXPECT_TRUE(shown);
    EXPECT_FALSE(owned(tray->busName()));
    onLoop([&] { shown = tray->setShown(true); });
    EXPECT_TRUE(shown);
    EXPECT_TRUE(owned(tray->busName()));
    EXPECT_EQ(registrations(), (std::vector<std::string>{tray->busName(), tray->busName()}));
}

TEST(StatusNotifierTrayAloneTest, WithoutAWatcherThereIsNoTrayAndOneLogLine) {
    testing::DBusTestBus bus;
    asio::io_context context;
    int code = 0;
    auto appBus = AsioBus::open(context, bus.address(), code);
    ASSERT_TRUE(appBus);
    std::vector<std::string> said;
    setLogSink(
        [&](LogLevel, std::string_view, std::string_view message) { said.emplace_back(message); });
    const auto tray = StatusNotifierTray::start(context, *appBus, [](const ShellCommand&) {});
    setLogSink(nullptr);
    EXPECT_EQ(tray, nullptr);
    EXPECT_EQ(said, std::vector<std::string>{
                        "vigilmoth runs without a tray icon, because no StatusNotifierWatcher is "
                        "on the session bus to show one."});
}

}  // namespace
}  // namespace vigilmoth
