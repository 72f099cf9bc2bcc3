// Show that the notifier posts only what the system allows, reports each posting, replaces a
// session's older notice, logs the allowance once per change, and leads a click back to its
// session; and that a target survives its trip through the user info.
#include <gtest/gtest.h>

#include "notices/AgentNoticeTarget.h"
#include "notices/Notifier.h"
#include "support/FakeNotificationCenter.h"

namespace vigilmoth {
namespace {

using Status = NotificationAllowance::Status;
using Delivery = AgentNoticeDelivery;

AgentNoticeContent content(const std::string& key, const std::string& id) {
    return {.id = id,
            .key = key,
            .title = "Claude Code finished",
            .ownerPid = 77,
            .agent = ProcessIdentity{812, 1767225000.25}};
}

class NotifierTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink([this](LogLevel, std::string_view category, std::string_view line) {
            if (category == "Notices") log.emplace_back(line);
        });
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    testing::FakeNotificationCenter center;
    Notifier notifier{center};
    std::vector<std::string> log;
};

TEST_F(NotifierTest, ReportsEachPostingAsTheSystemAllowsIt) {
    using enum Delivery;
    using enum NotificationPermission;
    const std::string domain = "UNErrorDomain 1401";
    const NotificationError refused{"UNErrorDomain", 1401, "invalid"};
    const std::string skipped = "post skipped a-1: notifications are not allowed";
    struct Case {
        NotificationAllowance allowance;
        std::optional<NotificationError> addError;
        Delivery delivery;
        NotificationPermission permission;
        std::string lastLine;
    };
    const std::vector<Case> cases = {
        {{Status::authorized, true}, {}, delivered, allowed, "posted a-1"},
        {{Status::provisional, true}, {}, delivered, allowed, "posted a-1"},
        {{Status::authorized, false}, {}, noBanner, allowed, "posted a-1, banners are off"},
        {{Status::denied}, {}, notAllowed, denied, skipped},
        {{Status::notDetermined}, {}, notAllowed, notAsked, skipped},
        {{Status::authorized, true}, refused, failed, allowed, "post failed a-1: " + domain},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.lastLine);
        testing::FakeNotificationCenter center;
        center.allowance = c.allowance;
        center.addError = c.addError;
        Notifier notifier(center);
        std::vector<Delivery> reported;
        std::optional<NotificationPermission> permission;
        notifier.onDelivery = [&](const std::string&, Delivery delivery) {
            reported.push_back(delivery);
        };
        notifier.onPermission = [&](NotificationPermission p) { permission = p; };
        notifier.post(content("a", "a-1"));
        EXPECT_EQ(reported, std::vector{c.delivery});
        EXPECT_EQ(permission, c.permission);
        EXPECT_EQ(center.added.size(), c.allowance.allowsPosting() ? 1u : 0u);
        EXPECT_EQ(log.back(), c.lastLine);
    }
}

TEST_F(NotifierTest, ANewerNoticeOfTheSameSessionReplacesTheOlder) {
    notifier.post(content("waiting-812", "waiting-812-1"));
    notifier.post(content("waiting-900", "waiting-900-2"));
    notifier.post(content("waiting-812", "waiting-812-3"));
    // Posting the same id again has nothing older to replace.
    notifier.post(content("waiting-812", "waiting-812-3"));
    std::vector<std::optional<std::string>> replaced;
    for (const auto& request : center.added)
        replaced.push_back(request.replaces);
    EXPECT_EQ(replaced, (std::vector<std::optional<std::string>>{std::nullopt, std::nullopt,
                                                                 "waiting-812-1", std::nullopt}));
}

TEST_F(NotifierTest, LogsTheAllowanceOncePerChange) {
    notifier.post(content("a", "a-1"));
    notifier.post(content("a", "a-2"));
    center.allowance.sound = false;
    notifier.post(content("a", "a-3"));
    std::erase_if(log, [](const std::string& line) { return !line.starts_with("authorization"); });
    EXPECT_EQ(log, (std::vector<std::string>{
                       "authorization authorized, banners on, sound on, notification center on",
                       "authorization authorized, banners on, sound off, notification center on"}));
}

TEST_F(NotifierTest, AClickLeadsBackToItsSession) {
    std::vector<AgentNoticeTarget> opened;
    std::vector<double> uptimes;
    notifier.onOpen = [&](const AgentNoticeTarget& target) { opened.push_back(target); };
    notifier.onResponse = [&](double uptime) { uptimes.push_back(uptime); };
    notifier.post(content("a", "a-1"));
    // A message names no agent, and a click on it leads nowhere.
    notifier.postMessage("safety-stop", "The battery is low.");
    EXPECT_EQ(center.added.back().body, "The battery is low.");
    for (const auto& request : center.added)
        center.click(request.userInfo, 12.5);
    center.click(nlohmann::json{{"agentPid", 812}}, 13.0);
    EXPECT_EQ(opened, std::vector{*content("a", "a-1").target()});
    EXPECT_EQ(uptimes, (std::vector{12.5, 12.5, 13.0}));
}

TEST(AgentNoticeTargetTest, TargetsTravelThroughTheUserInfo) {
    AgentNoticeTarget target{{812, 1767225000.25}, 77};
    EXPECT_EQ(AgentNoticeTarget::fromUserInfo(target.userInfo()), target);
    AgentNoticeTarget ownerless{{812, 3}, std::nullopt};
    EXPECT_EQ(ownerless.userInfo(), (nlohmann::json{{"agentPid", 812}, {"agentStart", 3.0}}));
    EXPECT_EQ(AgentNoticeTarget::fromUserInfo(ownerless.userInfo()), ownerless);
    for (const auto& info : std::vector<nlohmann::json>{{{"agentPid", 812}},
                                                        {{"agentStart", 3}},
                                                        {{"agentPid", "812"}, {"agentStart", 3}},
                                                        {{"agentPid", 1e12}, {"agentStart", 3}},
                                                        nlohmann::json::array()}) {
        SCOPED_TRACE(info.dump());
        EXPECT_EQ(AgentNoticeTarget::fromUserInfo(info), std::nullopt);
    }
}

}  // namespace
}  // namespace vigilmoth
