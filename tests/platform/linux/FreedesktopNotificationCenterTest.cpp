// Show that notices reach a real notification server (python3-dbusmock's notification daemon on a
// private user's bus) with their text and a default action, that a successor is swapped in place
// of its predecessor, that a click comes back as the notice's user info, and that a missing server
// means "not allowed", said once.
#include <gtest/gtest.h>

#include <chrono>

#include "platform/linux/DBusTestBus.h"
#include "platform/linux/FreedesktopNotificationCenter.h"

namespace vigilmoth {
namespace {

using Center = FreedesktopNotificationCenter;

// The arguments of one Notify call the server took.
struct Posted {
    std::uint32_t replaces = 0;
    std::string summary;
    std::string body;
    std::vector<std::string> actions;
};

class FreedesktopNotificationCenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink([this](LogLevel, std::string_view category, std::string_view line) {
            if (category == "Notifications") log.emplace_back(line);
        });
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    std::vector<Posted> posted() {
        sd_bus_message* reply = nullptr;
        EXPECT_GE(sd_bus_call_method(bus.client(), Center::kService, Center::kPath,
                                     "org.freedesktop.DBus.Mock", "GetMethodCalls", nullptr, &reply,
                                     "s", "Notify"),
                  0);
        const SdBusMessage kept(reply);
        std::vector<Posted> calls;
        sd_bus_message_enter_container(reply, 'a', "(tav)");
        while (sd_bus_message_enter_container(reply, 'r', "tav") > 0) {
            Posted call;
            const char *summary = nullptr, *body = nullptr;
            char** actions = nullptr;
            sd_bus_message_skip(reply, "t");
            sd_bus_message_enter_container(reply, 'a', "v");
            sd_bus_message_skip(reply, "v");
            sd_bus_message_read(reply, "v", "u", &call.replaces);
            sd_bus_message_skip(reply, "v");
            sd_bus_message_read(reply, "vv", "s", &summary, "s", &body);
            sd_bus_message_enter_container(reply, 'v', "as");
            sd_bus_message_read_strv(reply, &actions);
            for (char** action = actions; action && *action; ++action) {
                call.actions.emplace_back(*action);
                free(*action);
            }
            free(actions);
            sd_bus_message_exit_container(reply);
            sd_bus_message_skip(reply, "vv");
            sd_bus_message_exit_container(reply);
            sd_bus_message_exit_container(reply);
            call.summary = summary ? summary : "";
            call.body = body ? body : "";
            calls.push_back(call);
        }
        return calls;
    }
    std::optional<NotificationAllowance> allowance(Center& center) {
        std::optional<NotificationAllowance> read;
        center.readSettings([&](NotificationAllowance a) { read = a; });
        eventually([&] { return read.has_value(); });
        return read;
    }
    std::optional<NotificationError> add(Center& center, const NotificationRequest& request) {
        bool done = false;
        std::optional<NotificationError> failure;
        center.add(request, [&](std::optional<NotificationError> error) {
            failure = error;
            done = true;
        });
        eventually([&] { return done; });
        return failure;
    }
    bool eventually(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            context.run_for(std::chrono::milliseconds(20));
        }
        return true;
    }

    testing::DBusTestBus bus;
    asio::io_context context;
    std::vector<std::string> log;
};

TEST_F(FreedesktopNotificationCenterTest, PostsReplacesAndLeadsAClickBack) {
    bus.startTemplate("notification_daemon", Center::kService);
    Center center(context, bus.address());
    EXPECT_TRUE(allowance(center)->allowsPosting());
    const nlohmann::json target = {{"pid", 812}};
    std::vector<std::pair<nlohmann::json, double>> clicks;
    center.onResponse(
        [&](const nlohmann::json& info, double uptime) { clicks.emplace_back(info, uptime); });

    EXPECT_FALSE(add(center, {.identifier = "waiting-812-1",
                              .title = "Claude Code is waiting",
                              .subtitle = "vigilmoth",
                              .body = "Needs <your> permission",
                              .userInfo = target}));
    EXPECT_FALSE(add(center, {.identifier = "waiting-812-2",
                              .title = "Claude Code is waiting again",
                              .replaces = "waiting-812-1",
                              .userInfo = target}));
    EXPECT_FALSE(add(center, {.identifier = "message", .body = "Hooks installed"}));
    const auto calls = posted();
    ASSERT_EQ(calls.size(), 3u);
    const std::vector<std::string> clickable = {"default", "Show"};
    EXPECT_EQ(calls[0].summary, "Claude Code is waiting");
    EXPECT_EQ(calls[0].body, "vigilmoth\nNeeds &lt;your&gt; permission");
    EXPECT_EQ(calls[0].actions, clickable);
    EXPECT_EQ(calls[0].replaces, 0u);
    // The daemon numbers notices from 1 and keeps the id of a replaced one.
    EXPECT_EQ(calls[1].replaces, 1u);
    EXPECT_TRUE(calls[2].actions.empty()) << "a notice that leads nowhere offers no click";

    // Another action, or a notice this centre never posted, is not a click on a notice.
    for (auto [id, action] : {std::pair{1u, "other"}, {9u, "default"}, {1u, "default"}}) {
        bus.mock(Center::kService, Center::kPath, "EmitSignal", "sssav", Center::kService,
                 "ActionInvoked", "us", 2, "u", id, "s", action);
    }
    ASSERT_TRUE(eventually([&] { return !clicks.empty(); }));
    EXPECT_EQ(clicks.size(), 1u);
    EXPECT_EQ(clicks.front().first, target);
    EXPECT_GT(clicks.front().second, 0);

    // Once removed, its id is not reused for a successor.
    center.removeDelivered({"waiting-812-2"});
    EXPECT_FALSE(add(center, {.identifier = "w3", .title = "t", .replaces = "waiting-812-2"}));
    EXPECT_EQ(posted().back().replaces, 0u);
}

TEST_F(FreedesktopNotificationCenterTest, NoServerMeansNotAllowedSaidOnce) {
    Center center(context, bus.address());
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto read = allowance(center);
        ASSERT_TRUE(read);
        EXPECT_FALSE(read->allowsPosting());
    }
    EXPECT_TRUE(add(center, {.identifier = "a", .title = "t"}).has_value());
    EXPECT_EQ(log.size(), 1u);
}

}  // namespace
}  // namespace vigilmoth
