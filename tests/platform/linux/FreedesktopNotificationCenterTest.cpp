// Show that notices reach a real notification server (python3-dbusmock's daemon on a private bus)
// with their text and a click action, a successor in its predecessor's place, that a click comes
// back as the notice's user info, and that no server means "not allowed", said once.
#include <gtest/gtest.h>

#include <chrono>

#include "platform/linux/DBusTestBus.h"
#include "platform/linux/FreedesktopNotificationCenter.h"

namespace vigilmoth {
namespace {

using Center = FreedesktopNotificationCenter;

class FreedesktopNotificationCenterTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink(
            [this](LogLevel, std::string_view, std::string_view line) { log.emplace_back(line); });
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    std::vector<std::pair<std::uint32_t, std::vector<std::string>>> posted() {
        return bus.notifyCalls();
    }
    void until(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done() && std::chrono::steady_clock::now() < deadline) {
            context.run_for(std::chrono::milliseconds(20));
        }
    }
    template <typename Result, typename Call>
    Result answer(Call call) {
        std::optional<Result> got;
        call([&](Result result) { got = result; });
        until([&] { return got.has_value(); });
        return got.value();
    }
    std::optional<NotificationError> add(Center& center, const NotificationRequest& request) {
        return answer<std::optional<NotificationError>>(
            [&](auto done) { center.add(request, done); });
    }
    bool allowed(Center& center) {
        return answer<NotificationAllowance>([&](auto done) { center.readSettings(done); })
            .allowsPosting();
    }

    testing::DBusTestBus bus;
    asio::io_context context;
    std::vector<std::string> log;
};

TEST_F(FreedesktopNotificationCenterTest, PostsReplacesAndLeadsAClickBack) {
    bus.startTemplate("notification_daemon", Center::kService);
    Center center(context, bus.address());
    EXPECT_TRUE(allowed(center));
    const nlohmann::json target = {{"pid", 812}};
    std::vector<nlohmann::json> clicks;
    center.onResponse([&](const nlohmann::json& info, double) { clicks.push_back(info); });

    EXPECT_FALSE(add(center, {.identifier = "w-1",
                              .title = "Waiting",
                              .subtitle = "repo",
                              .body = "Needs <you>",
                              .userInfo = target}));
    EXPECT_FALSE(
        add(center, {.identifier = "w-2", .title = "Done", .replaces = "w-1", .userInfo = target}));
    EXPECT_FALSE(add(center, {.identifier = "m", .title = "Hooks", .replaces = "unknown"}));
    using Texts = std::vector<std::string>;
    // The daemon numbers notices from 1; a notice that leads nowhere offers no click.
    EXPECT_EQ(posted(), (std::vector<std::pair<std::uint32_t, Texts>>{
                            {0, {"Waiting", "repo\nNeeds &lt;you&gt;", "default", "Show"}},
                            {1, {"Done", "", "default", "Show"}},
                            {0, {"Hooks", ""}}}));

    // Another action, or a notice this centre never posted, is no click.
    for (auto [id, action] : {std::pair{1u, "other"}, {9u, "default"}, {1u, "default"}}) {
        bus.mock(Center::kService, Center::kPath, "EmitSignal", "sssav", Center::kService,
                 "ActionInvoked", "us", 2, "u", id, "s", action);
    }
    until([&] { return !clicks.empty(); });
    EXPECT_EQ(clicks, std::vector{target});

    center.removeDelivered({"w-2"});
    EXPECT_FALSE(add(center, {.identifier = "w-3", .title = "Again", .replaces = "w-2"}));
    EXPECT_EQ(posted().back().first, 0u) << "a removed notice is not replaced";
}

TEST_F(FreedesktopNotificationCenterTest, NoServerMeansNotAllowedSaidOnce) {
    Center center(context, bus.address());
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_FALSE(allowed(center));
    EXPECT_TRUE(add(center, {.identifier = "a", .title = "t"}).has_value());
    EXPECT_EQ(log.size(), 1u);
}

}  // namespace
}  // namespace vigilmoth
