// Show that a notification's target survives its trip through the user info, and that the
// history records how each posting went.
#include "notices/AgentNoticeTarget.h"

#include <gtest/gtest.h>

#include "notices/AgentNoticeHistory.h"

namespace vigilmoth {
namespace {

const Date kNow(1767225600.0125);

TEST(AgentNoticeTargetTest, TargetsTravelThroughTheUserInfo) {
    AgentNoticeTarget target{{812, 1767225000.25}, 77};
    EXPECT_EQ(AgentNoticeTarget::fromUserInfo(target.userInfo()), target);
    AgentNoticeTarget ownerless{{812, 3}, std::nullopt};
    EXPECT_EQ(ownerless.userInfo(), (nlohmann::json{{"agentPid", 812}, {"agentStart", 3.0}}));
    EXPECT_EQ(AgentNoticeTarget::fromUserInfo(ownerless.userInfo()), ownerless);
    for (const auto& info : std::vector<nlohmann::json>{
             {{"agentPid", 812}},
             {{"agentStart", 3}},
             {{"agentPid", "812"}, {"agentStart", 3}},
             {{"agentPid", 1e12}, {"agentStart", 3}},
             nlohmann::json::array(),
         }) {
        SCOPED_TRACE(info.dump());
        EXPECT_EQ(AgentNoticeTarget::fromUserInfo(info), std::nullopt);
    }
}

TEST(AgentNoticeTargetTest, TheHistoryKeepsTheNewestAndMarksDeliveries) {
    AgentNoticeHistory history;
    history.count = 2;
    using Result = AgentNoticeHistory::Result;
    history.add({"a", kNow, "A", Result::of(Result::Kind::sending)});
    history.add({"b", kNow, "B", Result::of(Result::Kind::sending)});
    history.add({"c", kNow, "C", Result::of(Result::Kind::inFront)});
    ASSERT_EQ(history.entries.size(), 2u);
    EXPECT_EQ(history.entries[0].id, "c");
    history.delivered("b", AgentNoticeDelivery::noBanner);
    history.delivered("a", AgentNoticeDelivery::delivered);
    EXPECT_EQ(history.entries[1].result, Result::sent(AgentNoticeDelivery::noBanner));
    EXPECT_EQ(history.entries[0].result, Result::of(Result::Kind::inFront));
}

}  // namespace
}  // namespace vigilmoth
