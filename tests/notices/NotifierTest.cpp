// Show that the notifier posts only what the system allows, reports each posting, replaces a
// session's older notice, logs the allowance once per change, and leads a click back to its
// session.
#include <gtest/gtest.h>

#include "notices/Notifier.h"
#include "support/FakeNotificationCenter.h"

namespace vigilmoth {
namespace {

using Status = NotificationAllowance::Status;

class NotifierTest : public ::testing::Test {
protected:
    void SetUp() override {
        setLogSink([this](LogLevel, std::string_view category, std::string_view line) {
            if (category == "Notices") log.emplace_back(line);
        });
        notifier.onDelivery = [this](const std::string& id, AgentNoticeDelivery delivery) {
            deliveries.emplace_back(id, delivery);
        };
        notifier.onPermission = [this](NotificationPermission permission) {
            permissions.push_back(permission);
        };
    }
    void TearDown() override { setLogSink(writeLogLineToStandardError); }

    static AgentNoticeContent content(const std::string& key, const std::string& id) {
        return {.id = id, .key = key, .thread = "agent-claude", .title = "Claude Code finished",
                .agent = ProcessIdentity{812, 1767225000.25}, .ownerPid = 77};
    }

    testing::FakeNotificationCenter center;
    Notifier notifier{center};
    std::vector<std::string> log;
    std::vector<std::pair<std::string, AgentNoticeDelivery>> deliveries;
    std::vector<NotificationPermission> permissions;
};

TEST_F(NotifierTest, ReportsEachPostingAsTheSystemAllowsIt) {
    struct Case {
        const char* name;
        NotificationAllowance allowance;
        std::optional<NotificationError> addError;
        AgentNoticeDelivery delivery;
        NotificationPermission permission;
        std::string lastLine;
    };
    const std::vector<Case> cases = {
        {"allowed", {Status::authorized, true, true, true}, {}, AgentNoticeDelivery::delivered,
         NotificationPermission::allowed, "posted finished-812-1"},
        {"provisional", {Status::provisional, true, false, true}, {},
         AgentNoticeDelivery::delivered, NotificationPermission::allowed, "posted finished-812-1"},
        {"banners off", {Status::authorized, false, true, true}, {},
         AgentNoticeDelivery::noBanner, NotificationPermission::allowed,
         "posted finished-812-1, banners are off"},
        {"denied", {Status::denied, false, false, false}, {}, AgentNoticeDelivery::notAllowed,
         NotificationPermission::denied,
         "post skipped finished-812-1: notifications are not allowed"},
        {"never asked", {Status::notDetermined, false, false, false}, {},
         AgentNoticeDelivery::notAllowed, NotificationPermission::notAsked,
         "post skipped finished-812-1: notifications are not allowed"},
        {"refused by the system", {Status::authorized, true, true, true},
         NotificationError{"UNErrorDomain", 1401, "invalid"}, AgentNoticeDelivery::failed,
         NotificationPermission::allowed, "post failed finished-812-1: UNErrorDomain 1401"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        testing::FakeNotificationCenter center;
        center.allowance = c.allowance;
        center.addError = c.addError;
        Notifier notifier(center);
        std::vector<AgentNoticeDelivery> delivered;
        std::optional<NotificationPermission> permission;
        notifier.onDelivery = [&](const std::string& id, AgentNoticeDelivery delivery) {
            EXPECT_EQ(id, "finished-812-1");
            delivered.push_back(delivery);
        };
        notifier.onPermission = [&](NotificationPermission p) { permission = p; };
        log.clear();
        notifier.post(content("finished-812", "finished-812-1"));
        EXPECT_EQ(delivered, std::vector{c.delivery});
        EXPECT_EQ(permission, c.permission);
        EXPECT_EQ(center.added.size(), c.allowance.allowsPosting() ? 1u : 0u);
        ASSERT_FALSE(log.empty());
        EXPECT_EQ(log.back(), c.lastLine);
    }
}

TEST_F(NotifierTest, BuildsTheRequestWithWhereAClickLeads) {
    auto posted = content("finished-812", "finished-812-1");
    posted.subtitle = "vigilmoth";
    notifier.post(posted);
    ASSERT_EQ(center.added.size(), 1u);
    const auto& request = center.added.front();
    EXPECT_EQ(request.identifier, "finished-812-1");
    EXPECT_EQ(request.subtitle, "vigilmoth");
    EXPECT_EQ(request.thread, "agent-claude");
    EXPECT_TRUE(request.sound);
    EXPECT_EQ(AgentNoticeTarget::fromUserInfo(request.userInfo), posted.target());

    // A message names no agent: a click on it leads nowhere.
    notifier.postMessage("safety-stop", "The battery is low.");
    EXPECT_EQ(center.added.back().identifier, "safety-stop");
    EXPECT_EQ(center.added.back().body, "The battery is low.");
    EXPECT_TRUE(center.added.back().userInfo.is_null());
}

TEST_F(NotifierTest, ANewerNoticeOfTheSameSessionReplacesTheOlder) {
    notifier.post(content("waiting-812", "waiting-812-1"));
    notifier.post(content("waiting-900", "waiting-900-2"));
    notifier.post(content("waiting-812", "waiting-812-3"));
    // Posting the same id again has nothing older to remove.
    notifier.post(content("waiting-812", "waiting-812-3"));
    EXPECT_EQ(center.removed, std::vector<std::string>{"waiting-812-1"});
    EXPECT_EQ(center.added.size(), 4u);
}

TEST_F(NotifierTest, LogsTheAllowanceOncePerChange) {
    notifier.post(content("a", "a-1"));
    notifier.post(content("a", "a-2"));
    center.allowance.sound = false;
    notifier.post(content("a", "a-3"));
    std::vector<std::string> allowances;
    for (const auto& line : log) {
        if (line.starts_with("authorization ")) allowances.push_back(line);
    }
    EXPECT_EQ(allowances,
              (std::vector<std::string>{
                  "authorization authorized, banners on, sound on, notification center on",
                  "authorization authorized, banners on, sound off, notification center on"}));
}

TEST_F(NotifierTest, AFailedAuthorizationIsLoggedAndThePostGoesOnAsAllowed) {
    center.authorizationError = NotificationError{"UNErrorDomain", 1, "not allowed here"};
    notifier.post(content("a", "a-1"));
    EXPECT_NE(std::find(log.begin(), log.end(), "authorization failed: not allowed here"),
              log.end());
    EXPECT_EQ(deliveries, (std::vector<std::pair<std::string, AgentNoticeDelivery>>{
                              {"a-1", AgentNoticeDelivery::delivered}}));
}

TEST_F(NotifierTest, AClickLeadsBackToItsSession) {
    std::vector<AgentNoticeTarget> opened;
    std::vector<double> uptimes;
    notifier.onOpen = [&](const AgentNoticeTarget& target) { opened.push_back(target); };
    notifier.onResponse = [&](double uptime) { uptimes.push_back(uptime); };
    auto target = content("a", "a-1").target();
    center.click(target->userInfo(), 12.5);
    center.click(nlohmann::json{{"agentPid", 812}}, 13.0);
    center.click(nlohmann::json(), 14.0);
    EXPECT_EQ(opened, std::vector{*target});
    EXPECT_EQ(uptimes, (std::vector{12.5, 13.0, 14.0}));
}

TEST_F(NotifierTest, AnswersArrivingAfterTheNotifierWentDoNothing) {
    testing::FakeNotificationCenter center;
    center.holdAnswers = true;
    bool reported = false;
    {
        Notifier notifier(center);
        notifier.onDelivery = [&](const std::string&, AgentNoticeDelivery) { reported = true; };
        notifier.post(content("a", "a-1"));
    }
    center.answer();
    EXPECT_FALSE(reported);
    EXPECT_TRUE(center.added.empty());
    EXPECT_FALSE(center.click);
}

TEST_F(NotifierTest, AskingForPermissionReportsWhatTheUserChose) {
    center.allowance.status = Status::denied;
    notifier.requestPermission();
    center.allowance.status = Status::authorized;
    notifier.readPermission();
    EXPECT_EQ(center.authorizations, 1);
    EXPECT_EQ(permissions,
              (std::vector{NotificationPermission::denied, NotificationPermission::allowed}));
}

}  // namespace
}  // namespace vigilmoth
