// Show that due notices become the notification texts, keys and targets the notifier posts.
#include "support/MachineWording.h"
#include "ui/AgentNoticeText.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using testing::worded;

const Date kNow(1767225600.0125);

AgentNotice::Session session(std::int32_t pid, std::optional<std::int32_t> owner,
                             std::optional<double> workedFor = std::nullopt, bool failed = false) {
    return {{pid, 100.5}, "claude", "Claude Code", "my-project", owner, workedFor, failed};
}

TEST(AgentNoticeTextTest, OneSessionIsNamedAndTargeted) {
    auto outlook = SleepOutlook::letsGoIn(290, SleepOutlook::After::timerUnknown());
    auto content =
        AgentNoticeText::content({AgentNoticeKind::waiting, {session(812, 77)}}, outlook, kNow);
    EXPECT_EQ(content.key, "waiting-812");
    EXPECT_EQ(content.id, "waiting-812-1767225600013");
    EXPECT_EQ(content.thread, "agent-claude");
    EXPECT_EQ(content.title, "Claude Code is waiting for you");
    EXPECT_EQ(content.subtitle, "my-project");
    EXPECT_EQ(content.body, worded("vigilmoth keeps your Mac awake for 4 more minutes"));
    EXPECT_TRUE(content.sound);
    EXPECT_EQ(content.ownerPid, 77);
    EXPECT_EQ(content.agent, (ProcessIdentity{812, 100.5}));
}

TEST(AgentNoticeTextTest, FinishedTitlesAndBodies) {
    struct Case {
        std::string name;
        AgentNotice::Session session;
        std::string title;
        std::optional<std::string> body;
    };
    const std::vector<Case> cases = {
        {"long turn", session(1, 7, 3700), "Claude Code finished", "After 1 hour 1 minute"},
        {"failed turn", session(1, 7, 120, true), "Claude Code stopped with an error",
         "After 2 minutes"},
        {"too short to name", session(1, 7, 40), "Claude Code finished", std::nullopt},
        {"length unknown", session(1, 7), "Claude Code finished", std::nullopt},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        auto content = AgentNoticeText::content({AgentNoticeKind::finished, {testCase.session}},
                                                SleepOutlook::nothingSaid(), kNow);
        EXPECT_EQ(content.title, testCase.title);
        EXPECT_EQ(content.body, testCase.body);
        EXPECT_EQ(content.key, "finished-1");
    }
}

TEST(AgentNoticeTextTest, SeveralSessionsAreCountedAndNotTargeted) {
    auto outlook = SleepOutlook::sleepsIn(30);
    auto waiting = AgentNoticeText::content(
        {AgentNoticeKind::waiting, {session(1, 7), session(2, 7)}}, outlook, kNow);
    EXPECT_EQ(waiting.title, "2 agents are waiting for you");
    EXPECT_EQ(waiting.key, "agents-waiting");
    EXPECT_EQ(waiting.thread, "agents");
    EXPECT_EQ(waiting.subtitle, std::nullopt);
    EXPECT_EQ(waiting.body, worded("Your Mac sleeps in 1 minute"));
    EXPECT_EQ(waiting.ownerPid, 7);
    EXPECT_EQ(waiting.agent, std::nullopt);

    auto finished = AgentNoticeText::content(
        {AgentNoticeKind::finished, {session(1, 7, 600), session(2, 8, 600), session(3, {})}},
        outlook, kNow);
    EXPECT_EQ(finished.title, "3 agents finished");
    EXPECT_EQ(finished.key, "agents-finished");
    EXPECT_EQ(finished.body, std::nullopt);
    EXPECT_EQ(finished.ownerPid, std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
