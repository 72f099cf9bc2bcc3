// Notices reach a real notification server (dbusmock's daemon on a private bus) with their text
// and a click action, a successor in its predecessor's place; a click comes back as the notice's
// user info; no server means "not allowed", said once.
#include "platform/linux/FreedesktopNotificationCenter.h"

#include <gtest/gtest.h>

#include "platform/linux/DBusTestBus.h"

namespace vigilmoth {
namespace {

using Center = FreedesktopNotificationCenter;

class FreedesktopNotificationCenterTest : public ::testing::Test {
protected:
    template <typename Result, typename Call>
    Result answer(Call call) {
        std::optional<Result> got;
        call([&](Result result) { got = result; });
        testing::eventually([&] { return got.has_value(); }, 10, &context);
        return got.value();
    }
    std::optional<NotificationError> add(const NotificationRequest& request) {
        return answer<std::optional<NotificationError>>(
            [&](auto done) { center().add(request, done); });
    }
    bool allowed() {
        return answer<NotificationAllowance>([&](auto done) { center().readSettings(done); })
            .allowsPosting();
    }

    testing::CapturedLog log;
    testing::DBusTestBus bus;
    asio::io_context context;
    std::optional<Center> center_;
    // Made on first use, after the test has started the services it wants.
    Center& center() { return center_ ? *center_ : center_.emplace(context, bus.address()); }
};

TEST_F(FreedesktopNotificationCenterTest, PostsReplacesAndLeadsAClickBack) {
    bus.startTemplate("notification_daemon", Center::kService);
    EXPECT_TRUE(allowed());
    const nlohmann::json target = {{"pid", 812}};
    std::vector<nlohmann::json> clicks;
    center().onResponse([&](const nlohmann::json& info, double) { clicks.push_back(info); });
    EXPECT_FALSE(add({.identifier = "w-1",
                      .title = "Waiting",
                      .subtitle = "repo",
                      .body = "Needs <you>",
                      .userInfo = target}));
    EXPECT_FALSE(
        add({.identifier = "w-2", .title = "Done", .replaces = "w-1", .userInfo = target}));
    EXPECT_FALSE(add({.identifier = "m", .title = "Hooks", .replaces = "unknown"}));
    using Texts = std::vector<std::string>;
    // The daemon numbers notices from 1; a notice that leads nowhere offers no click.
    EXPECT_EQ(bus.notifyCalls(), (std::vector<std::pair<std::uint32_t, Texts>>{
                                     {0, {"Waiting", "repo\nNeeds &lt;you&gt;", "default", "Show"}},
                                     {1, {"Done", "", "default", "Show"}},
                                     {0, {"Hooks", ""}}}));
    // Another action, or a notice this centre never posted, is no click.
    for (auto [id, action] : {std::pair{1, "other"}, {9, "default"}, {1, "default"}})
        bus.mock(Center::kService, Center::kPath, "EmitSignal",
                 {"sssav", Center::kService, "ActionInvoked", "us", "2", "u", std::to_string(id),
                  "s", action});
    testing::eventually([&] { return !clicks.empty(); }, 10, &context);
    EXPECT_EQ(clicks, std::vector{target});
    center().removeDelivered({"w-2"});
    EXPECT_FALSE(add({.identifier = "w-3", .title = "Again", .replaces = "w-2"}));
    EXPECT_EQ(bus.notifyCalls().back().first, 0u) << "a removed notice is not replaced";
}

TEST_F(FreedesktopNotificationCenterTest, NoServerMeansNotAllowedSaidOnce) {
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_FALSE(allowed());
    EXPECT_TRUE(add({.identifier = "a", .title = "t"}).has_value());
    EXPECT_EQ(log.lines.size(), 1u);
}

}  // namespace
}  // namespace vigilmoth
