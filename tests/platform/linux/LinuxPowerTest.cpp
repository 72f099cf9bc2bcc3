// vigilmoth holds the computer awake through a real logind (dbusmock on a private bus); battery
// and heat are read from sysfs trees.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <random>

#include "base/KeyValueStore.h"
#include "decision/DetectionEngine.h"
#include "evidence/PowerSupplies.h"
#include "platform/linux/AsioDetectionScheduler.h"
#include "platform/linux/AsioTimers.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/LinuxPower.h"
#include "platform/linux/LogindSleepNotices.h"
#include "platform/linux/SystemAwakeClock.h"
#include "platform/linux/SystemDetectionWatcher.h"
#include "platform/linux/SystemPowerContext.h"
#include "power/SleepFlagController.h"
#include "support/DetectionFakes.h"
#include "support/FuzzInput.h"

namespace vigilmoth {
namespace {

using Locks = std::vector<std::tuple<std::string, std::string, std::string, std::string>>;

class LogindPowerTest : public ::testing::Test {
protected:
    void SetUp() override { bus.startTemplate("logind", Logind::kService); }

    // The locks logind holds in `mode`, as (what, who, why, mode).
    Locks locks(const std::string& mode = "block") const {
        Locks found;
        for (const auto& lock : Logind::listInhibitors(bus.client()))
            if (lock.mode == mode) found.emplace_back(lock.what, lock.who, lock.why, lock.mode);
        return found;
    }
    // logind lets a lock go a moment after its descriptor closes.
    bool locksBecome(const Locks& expected, const std::string& mode = "block") {
        return testing::eventually([&] { return locks(mode) == expected; }, 10, &context);
    }
    void prepareForSleep(bool start) {
        bus.mock(Logind::kService, Logind::kPath, "EmitSignal",
                 {"sssav", Logind::kManager, "PrepareForSleep", "b", "1", "b",
                  start ? "true" : "false"});
    }

    testing::DBusTestBus bus;
    asio::io_context context;
};

Locks sleepLock(const std::string& why) {
    return {{"sleep:idle", "vigilmoth", why, "block"}};
}

TEST_F(LogindPowerTest, HoldRenewRenameAndRelease) {
    LinuxPower power(context, bus.address(), "1");
    auto& keeper = power.keeper();
    keeper.hold("vigilmoth: Claude Code is working");
    const auto ids = keeper.assertionIDs();
    keeper.hold("vigilmoth: Claude Code is working");
    EXPECT_EQ(keeper.assertionIDs(), ids) << "a second hold within the lease only renews";
    EXPECT_EQ(locks(), sleepLock("vigilmoth: Claude Code is working"));
    keeper.hold("vigilmoth: Codex is waiting for you");
    // The new lock is there before the old one goes (in no promised order), so the computer is
    // never without a hold.
    const auto both = locks(), codex = sleepLock("vigilmoth: Codex is waiting for you");
    EXPECT_NE(std::find(both.begin(), both.end(), codex.front()), both.end());
    EXPECT_TRUE(locksBecome(codex));
    keeper.release();
    EXPECT_FALSE(keeper.held());
    EXPECT_TRUE(locksBecome({}));
}

TEST_F(LogindPowerTest, AHoldNotRenewedWithinItsLeaseIsLetGo) {
    LinuxPower power(context, bus.address(), "1", {.hold = 0.3});
    for (int lease = 0; lease < 2; ++lease) {
        // The next decision finds the lease lapsed and takes a new lock.
        power.keeper().hold("vigilmoth: always on");
        EXPECT_EQ(locks(), sleepLock("vigilmoth: always on"));
        EXPECT_TRUE(locksBecome({}));
    }
}

TEST_F(LogindPowerTest, KillingTheHolderLetsTheComputerSleep) {
    testing::BackgroundProcess holder(testing::testProgram("hold_awake"),
                                      {bus.address().address, "vigilmoth: Pi is working"},
                                      bus.environment());
    ASSERT_TRUE(holder.waitForOutput("held\n")) << holder.output();
    EXPECT_EQ(locks(), sleepLock("vigilmoth: Pi is working"));
    holder.signal(SIGKILL);
    EXPECT_EQ(holder.wait(), 128 + SIGKILL);
    EXPECT_TRUE(locksBecome({}));
}

TEST_F(LogindPowerTest, TheLidClosedFlagTakesAndDropsTheLidSwitchLock) {
    LinuxPower power(context, bus.address(), "1");
    MemoryKeyValueStore defaults;
    AsioTimers timers(context);
    SleepFlagController flag(
        {power.lidSwitch(), power.lidSwitch(), nullptr, defaults, timers, [] { return 0.0; }, "1"});
    EXPECT_EQ(flag.setup(), HelperSetup::ready);
    const Locks lid = {{"handle-lid-switch", "vigilmoth",
                        "vigilmoth keeps this computer awake with the lid closed", "block"}};
    for (const bool wanted : {true, false, true}) {
        SCOPED_TRACE(wanted);
        wanted ? flag.send(true, "an agent works with the lid closed") : void(flag.stopWanting());
        EXPECT_EQ(flag.sleepDisabled(), wanted);
        EXPECT_TRUE(locksBecome(wanted ? lid : Locks{}));
    }
    flag.clearForQuit(2);
    EXPECT_TRUE(locksBecome({}));
}

TEST_F(LogindPowerTest, SleepNoticesReachTheSubscriberAroundTheDelayLock) {
    LinuxPower power(context, bus.address(), "1");
    std::vector<SleepNotice> heard;
    power.sleepNotices().onNotice([&](SleepNotice notice) { heard.push_back(notice); });
    const Locks delay = {{"sleep", "vigilmoth",
                          "vigilmoth notes the sleep and puts the display back first", "delay"}};
    EXPECT_EQ(locks("delay"), delay);
    for (const bool start : {true, false}) {
        SCOPED_TRACE(start);
        prepareForSleep(start);
        EXPECT_TRUE(
            testing::eventually([&] { return heard.size() == (start ? 1u : 2u); }, 10, &context));
        EXPECT_TRUE(locksBecome(start ? Locks{} : delay, "delay"));
    }
    EXPECT_EQ(heard, (std::vector{SleepNotice::willSleep, SleepNotice::didWake}));
}

TEST_F(LogindPowerTest, PrepareForSleepReachesTheEnginesWakeGate) {
    int code = 0;
    auto connection = AsioBus::open(context, bus.address(), code);
    ASSERT_TRUE(connection);
    LogindReach logind(connection.get(), code);
    LogindSleepNotices notices(logind);
    testing::FakeCollector collector;
    SystemDetectionWatcher watcher(context);
    AsioDetectionScheduler scheduler(context);
    DetectionEngine engine({collector, scheduler, watcher, SystemAwakeClock::clock()});
    engine.follow(notices);
    prepareForSleep(true);
    EXPECT_TRUE(testing::eventually([&] { return engine.wakeGate().announced; }, 10, &context));
    prepareForSleep(false);
    EXPECT_TRUE(
        testing::eventually([&] { return engine.wakeGate().wokeAt.has_value(); }, 10, &context));
    EXPECT_FALSE(engine.wakeGate().announced);
}

TEST_F(LogindPowerTest, ReadersSeeOtherLocksAndTheLid) {
    SystemPowerAssertions assertions(bus.address());
    SystemPowerContext power("/nonexistent", bus.address());
    EXPECT_FALSE(power.lidClosed()) << "logind without the property";
    bus.mock(Logind::kService, Logind::kPath, "AddProperty",
             {"ssv", Logind::kManager, "LidClosed", "b", "true"});
    EXPECT_TRUE(power.lidClosed());
    // The mock gives every lock the pid 123456; a lock that does not keep it awake is not counted.
    for (const auto& [what, counted] :
         {std::pair{"shutdown", false}, {"handle-power-key:idle", true}}) {
        SCOPED_TRACE(what);
        sd_bus_message* reply = nullptr;
        ASSERT_GE(
            sd_bus_call_method(bus.client(), Logind::kService, Logind::kPath, Logind::kManager,
                               "Inhibit", nullptr, &reply, "ssss", what, "test", "test", "block"),
            0);
        EXPECT_EQ(assertions.assertingPIDs(), counted ? std::set<int>{123456} : std::set<int>{});
        sd_bus_message_unref(reply);
    }
}

TEST(LogindReachTest, WithoutLogindItSaysOnceThatItCannotHoldAndGoesOn) {
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, "it cannot reach the system bus (No such file or directory)."},
        {"upower", "logind is not running on the system bus."},
    };
    for (const auto& [service, why] : cases) {
        SCOPED_TRACE(why);
        std::optional<testing::DBusTestBus> bus;  // without a service: no bus at all
        if (service) bus.emplace().startTemplate(service, "org.freedesktop.UPower");
        testing::CapturedLog log;
        asio::io_context context;
        LinuxPower power(context, bus ? bus->address() : BusAddress::at("unix:path=/nonexistent"),
                         "1");
        for (int decision = 0; decision < 3; ++decision) {
            power.keeper().hold("vigilmoth: always on");
            context.run_for(std::chrono::milliseconds(10));
        }
        EXPECT_FALSE(power.keeper().held());
        EXPECT_EQ(log.errors, std::vector<std::string>{
                                  "vigilmoth cannot keep this computer awake, because " + why});
    }
}

TEST(SystemPowerContextTest, ReadsFixtureTrees) {
    const std::tuple<const char*, BatteryReading, int> cases[] = {
        {"laptop-on-battery", {true, 9, false}, 1},
        {"laptop-charging", {false, 57, true}, 0},
        {"desktop", {false, std::nullopt, false}, 0},
        {"hot", {false, std::nullopt, false}, 2},
        {"near-critical", {false, std::nullopt, false}, 3},
        {"unreadable", {true, std::nullopt, false}, 0},
        {"missing", {false, std::nullopt, false}, 0},
    };
    for (const auto& [tree, battery, thermal] : cases) {
        SCOPED_TRACE(tree);
        SystemPowerContext context(testing::fixture(std::string("sysfs/") + tree).string(),
                                   BusAddress::at("unix:path=/nonexistent"));
        EXPECT_EQ(context.battery(), battery);
        EXPECT_EQ(context.thermalState(), thermal);
        EXPECT_FALSE(context.lidClosed()) << "no logind, so the lid counts as open";
    }
}

TEST(SystemPowerContextTest, MalformedTextReadsAsNothingNeverACrash) {
    std::mt19937 random(16);
    const auto text = [&](std::string sample) { return testing::mutatedText(sample, random); };
    for (int round = 0; round < 3000; ++round) {
        const auto reading = PowerSupplies::battery(
            {{"BAT0", text("Battery\n"), text("System\n"), text("0\n"), text("Discharging\n"),
              text("42\n")},
             {"AC", text("Mains\n"), "", text("1\n"), "", testing::randomBytes(random, 8)}});
        EXPECT_TRUE(reading.percent.value_or(0) >= 0 && reading.percent.value_or(0) <= 100);
        const int state = PowerSupplies::thermalState(
            {{text("96000\n"), {{text("passive\n"), text("95000\n")}, {"critical", text("1")}}}});
        EXPECT_TRUE(state >= 0 && state <= 3);
    }
    EXPECT_EQ(PowerSupplies::integer(" 42\n"), 42);
    EXPECT_EQ(PowerSupplies::integer("42x"), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
