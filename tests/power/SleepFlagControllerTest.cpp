// Show that flag requests are asked once and retried only after a pause, that the controller
// shows the helper's setup from its status and health, repairs a failing helper once per
// trouble, retries a lost one five times a minute apart, beats every 15 seconds only while
// samples come, and clears the flag when quitting.
#include <gtest/gtest.h>

#include "base/DefaultsKeys.h"
#include "power/SleepFlagController.h"
#include "support/FakeSleepFlagHelper.h"
#include "support/ManualTimers.h"

namespace vigilmoth {
namespace {

using FakeHelper = testing::FakeSleepFlagHelper;

struct Controller {
    FakeHelper helper;
    MemoryKeyValueStore defaults;
    testing::ManualTimers timers;
    std::unique_ptr<SleepFlagController> flag;

    explicit Controller(HelperStatus state = HelperStatus::enabled, bool wasSetUp = false) {
        helper.state = state;
        if (wasSetUp) defaults.set(defaults_keys::helperWasSetUp, true);
        flag = std::make_unique<SleepFlagController>(SleepFlagParts{
            helper, helper, nullptr, defaults, timers, [this] { return timers.now; }, "1"});
    }
    std::vector<std::string> take() { return std::exchange(helper.calls, {}); }
};

TEST(SleepFlagControllerTest, RequestsAreAskedOnceAndRetriedAfterAPause) {
    SleepFlagRequest request;
    // Each step: wanted, helper enabled, the time, what is sent.
    const std::tuple<bool, bool, double, std::optional<bool>> steps[] = {
        {true, false, 0, std::nullopt}, {true, true, 0, true}, {true, true, 1, std::nullopt},
        {false, true, 2, false},        {true, true, 3, true},
    };
    for (const auto& [wanted, enabled, now, sent] : steps) {
        SCOPED_TRACE(now);
        EXPECT_EQ(request.next(wanted, enabled, now), sent);
    }
    request.noteFailure(true, 10);
    EXPECT_EQ(request.next(true, true, 39), std::nullopt) << "before retryAt";
    EXPECT_EQ(request.next(true, true, 40), true);
    EXPECT_EQ(request.next(true, false, 41), std::nullopt);
    EXPECT_EQ(request.next(true, true, 42), true) << "a disabled helper forgets what was sent";
}

TEST(SleepFlagControllerTest, SetupFollowsTheStatus) {
    const std::tuple<HelperStatus, bool, HelperSetup> cases[] = {
        {HelperStatus::notRegistered, false, HelperSetup::notSetUp},
        {HelperStatus::notFound, true, HelperSetup::lost},
        {HelperStatus::requiresApproval, false, HelperSetup::requiresApproval},
        {HelperStatus::enabled, false, HelperSetup::ready},
    };
    for (const auto& [status, wasSetUp, setup] : cases) {
        SCOPED_TRACE(static_cast<int>(status));
        EXPECT_EQ(Controller(status, wasSetUp).flag->setup(), setup);
    }
}

TEST(SleepFlagControllerTest, FailuresLeadToOneRepairAndTroubleShowsAfterTwentySeconds) {
    using enum HelperCallError::Kind;
    for (const auto& [kind, failuresBeforeRepair] :
         {std::pair{failed, 2}, std::pair{codeSigningRequirement, 1}}) {
        SCOPED_TRACE(failuresBeforeRepair);
        Controller controller;
        controller.helper.error = HelperCallError{kind, "no"};
        for (int failure = 1; failure < failuresBeforeRepair; ++failure) {
            controller.flag->send(true, "lid");
            EXPECT_EQ(controller.take(), std::vector<std::string>{"set on"});
        }
        EXPECT_FALSE(controller.flag->notResponding());
        controller.flag->send(true, "lid");
        EXPECT_EQ(controller.take(), (std::vector<std::string>{"set on", "unregister", "register",
                                                               "status", "set on"}));
        EXPECT_TRUE(controller.flag->repairTried());
        controller.flag->send(true, "lid");
        controller.timers.advance(19);
        controller.flag->refreshHealth();
        EXPECT_FALSE(controller.flag->notResponding());
        controller.timers.advance(1);
        controller.flag->refreshHealth();
        EXPECT_TRUE(controller.flag->notResponding());
        EXPECT_EQ(controller.flag->setup(), HelperSetup::notResponding);
        EXPECT_EQ(std::count(controller.helper.calls.begin(), controller.helper.calls.end(),
                             "unregister"),
                  0)
            << "one repair per trouble";
    }
}

TEST(SleepFlagControllerTest, ALostHelperIsRetriedFiveTimesAMinuteApart) {
    Controller controller;
    controller.helper.afterRegister = HelperStatus::notFound;
    controller.flag->repairHelper();
    controller.take();
    EXPECT_EQ(controller.flag->setup(), HelperSetup::notResponding);
    int repairs = 0;
    for (int minute = 0; minute < 8; ++minute) {
        controller.timers.advance(30);
        controller.flag->retryRepairIfDue();
        controller.timers.advance(30);
        controller.flag->retryRepairIfDue();
        repairs += static_cast<int>(
            std::count(controller.helper.calls.begin(), controller.helper.calls.end(), "register"));
        controller.take();
    }
    EXPECT_EQ(repairs, 5);
    EXPECT_EQ(controller.flag->setup(), HelperSetup::lost);
}

TEST(SleepFlagControllerTest, HeartbeatsComeWhileSamplesDoAndTheFlagIsClearedOnQuit) {
    Controller controller;
    controller.flag->send(true, "lid");
    controller.take();
    controller.timers.advance(30);
    EXPECT_EQ(controller.take(), (std::vector<std::string>{"beat", "beat"}));
    controller.timers.advance(30);
    EXPECT_EQ(controller.take(), std::vector<std::string>{})
        << "the next beat finds no sample for more than 30 seconds";
    EXPECT_TRUE(controller.flag->heartbeatsHeldBack());
    controller.flag->sampled();
    controller.timers.advance(15);
    EXPECT_EQ(controller.take(), std::vector<std::string>{"beat"});

    controller.flag->clearForQuit(2);
    controller.timers.advance(60);
    EXPECT_EQ(controller.take(), std::vector<std::string>{"set off waiting 2"});
}

}  // namespace
}  // namespace vigilmoth
