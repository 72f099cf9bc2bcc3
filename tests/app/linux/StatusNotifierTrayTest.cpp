// Show that the tray registers with the desktop's StatusNotifierWatcher, serves the panel as a
// dbusmenu that a host reads with GetLayout, turns a click into the item's command, gives up
// and takes back its place when hidden and shown, and stays away, saying so once, when the
// desktop has no watcher.
#include "app/linux/StatusNotifierTray.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
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

// A menu line as a host reads it.
struct Line {
    std::int32_t id = 0;
    std::string label;
};

void readLayout(sd_bus_message* message, std::vector<Line>& lines) {
    Line line;
    sd_bus_message_enter_container(message, 'r', "ia{sv}av");
    sd_bus_message_read(message, "i", &line.id);
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* label = nullptr;
        sd_bus_message_read(message, "s", &key);
        if (std::string_view(key) == "label" && sd_bus_message_read(message, "v", "s", &label) > 0)
            line.label = label;
        else
            sd_bus_message_skip(message, "v");
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    lines.push_back(line);
    sd_bus_message_enter_container(message, 'a', "v");
    while (sd_bus_message_enter_container(message, 'v', "(ia{sv}av)") > 0) {
        readLayout(message, lines);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
}

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
        tray = StatusNotifierTray::start(context, *appBus, [this](const ShellCommand& command) {
            std::lock_guard lock(mutex);
            commands.push_back(command);
        });
        ASSERT_TRUE(tray);
        loop = std::thread([this] { context.run(); });
    }
    void TearDown() override {
        onLoop([this] {
            tray.reset();
            appBus.reset();
            guard.reset();
        });
        if (loop.joinable()) loop.join();
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
        SdBusError error;
        sd_bus_message* reply = nullptr;
        EXPECT_GE(sd_bus_call_method(bus.client(), kWatcher, kWatcherPath,
                                     "org.freedesktop.DBus.Mock", "GetMethodCalls", error.get(),
                                     &reply, "s", "RegisterStatusNotifierItem"),
                  0);
        const SdBusMessage owned(reply);
        std::vector<std::string> services;
        sd_bus_message_enter_container(reply, 'a', "(tav)");
        while (sd_bus_message_enter_container(reply, 'r', "tav") > 0) {
            const char* service = nullptr;
            sd_bus_message_skip(reply, "t");
            sd_bus_message_enter_container(reply, 'a', "v");
            if (sd_bus_message_read(reply, "v", "s", &service) > 0) services.emplace_back(service);
            sd_bus_message_exit_container(reply);
            sd_bus_message_exit_container(reply);
        }
        return services;
    }
    std::vector<Line> layout(std::uint32_t* revision = nullptr) {
        SdBusError error;
        sd_bus_message* reply = nullptr;
        EXPECT_GE(sd_bus_call_method(bus.client(), tray->busName().c_str(),
                                     StatusNotifierTray::kMenuPath, "com.canonical.dbusmenu",
                                     "GetLayout", error.get(), &reply, "iias", 0, -1, 0),
                  0)
            << error.describe(0);
        const SdBusMessage owned(reply);
        std::uint32_t read = 0;
        sd_bus_message_read(reply, "u", &read);
        if (revision) *revision = read;
        std::vector<Line> lines;
        readLayout(reply, lines);
        return lines;
    }
    bool hasOwner(const std::string& name) {
        sd_bus_message* reply = nullptr;
        int owned = 0;
        sd_bus_call_method(bus.client(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                           name.c_str());
        sd_bus_message_read(reply, "b", &owned);
        sd_bus_message_unref(reply);
        return owned;
    }

    testing::DBusTestBus bus;
    asio::io_context context;
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> guard{
        context.get_executor()};
    std::unique_ptr<AsioBus> appBus;
    std::unique_ptr<StatusNotifierTray> tray;
    std::thread loop;
    std::mutex mutex;
    std::vector<ShellCommand> commands;
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
    std::uint32_t first = 0;
    const auto lines = layout(&first);
    const auto line = [&](const std::string& label) {
        for (const auto& each : lines) {
            if (each.label == label) return each;
        }
        ADD_FAILURE() << "no line " << label;
        return Line{};
    };
    line("Claude Code — Working for 5 minutes");
    const auto pause = line("Pause for 1 hour");
    SdBusError error;
    ASSERT_GE(sd_bus_call_method(bus.client(), tray->busName().c_str(),
                                 StatusNotifierTray::kMenuPath, "com.canonical.dbusmenu", "Event",
                                 error.get(), nullptr, "isvu", pause.id, "clicked", "s", "", 0u),
              0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        {
            std::lock_guard lock(mutex);
            if (!commands.empty()) break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::lock_guard lock(mutex);
    EXPECT_EQ(commands, std::vector{ShellCommand::panel(PanelAction::pause(PauseChoice::oneHour))});
    // A changed state is a new revision, and the line keeps its id.
    onLoop([&] { tray->update(working(ReportedState::waitingForUser), {}, "vigilmoth: awake"); });
    std::uint32_t second = 0;
    const auto changed = layout(&second);
    EXPECT_GT(second, first);
    EXPECT_NE(
        std::find_if(changed.begin(), changed.end(),
                     [&](const Line& l) { return l.id == pause.id && l.label == pause.label; }),
        changed.end());
}

TEST_F(StatusNotifierTrayTest, HidingGivesUpTheItemAndShowingRegistersItAgain) {
    bool shown = false;
    onLoop([&] { shown = tray->setShown(false); });
    EXPECT_TRUE(shown);
    EXPECT_FALSE(hasOwner(tray->busName()));
    onLoop([&] { shown = tray->setShown(true); });
    EXPECT_TRUE(shown);
    EXPECT_TRUE(hasOwner(tray->busName()));
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
