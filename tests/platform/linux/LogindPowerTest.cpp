// Show that vigilmoth holds the computer awake through logind for real: one lock with the exact
// what, who, why and mode, renewed rather than taken again, replaced without a gap, let go on
// release, when its lease runs out and when its process dies; the lid-switch lock follows the
// closed-lid flag; sleep notices reach a subscriber with the delay lock let go and taken again.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>

#include "base/KeyValueStore.h"
#include "platform/linux/AsioTimers.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/LinuxPower.h"
#include "platform/linux/SystemPowerContext.h"
#include "power/SleepFlagController.h"

namespace vigilmoth {
namespace {

using Locks = std::vector<std::tuple<std::string, std::string, std::string, std::string>>;

class LogindPowerTest : public ::testing::Test {
protected:
    void SetUp() override { bus.startTemplate("logind", Logind::kService); }

    // The locks logind holds in `mode`, as (what, who, why, mode).
    Locks locks(const std::string& mode = "block") const {
        Locks found;
        for (const auto& lock : Logind::listInhibitors(bus.client())) {
            if (lock.mode == mode) found.emplace_back(lock.what, lock.who, lock.why, lock.mode);
        }
        return found;
    }
    // Runs the loop until `done` holds; logind lets a lock go a moment after its descriptor
    // closes.
    bool eventually(const std::function<bool()>& done, double seconds = 10) {
        const auto deadline = std::chrono::steady_clock::now() +
                              std::chrono::milliseconds(static_cast<int>(seconds * 1000));
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            context.run_for(std::chrono::milliseconds(20));
        }
        return true;
    }
    bool locksBecome(const Locks& expected, const std::string& mode = "block") {
        return eventually([&] { return locks(mode) == expected; });
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
    EXPECT_EQ(locks(), sleepLock("vigilmoth: Claude Code is working"));
    const auto ids = keeper.assertionIDs();

    keeper.hold("vigilmoth: Claude Code is working");
    EXPECT_EQ(keeper.assertionIDs(), ids) << "a second hold within the lease only renews";
    EXPECT_EQ(locks(), sleepLock("vigilmoth: Claude Code is working"));

    keeper.hold("vigilmoth: Codex is waiting for you");
    // The new lock is there before the old one goes, so the computer is never without a hold.
    // The bus lists the locks in no fixed order: the old one may come first while both hold.
    auto held = locks();
    EXPECT_NE(std::find(held.begin(), held.end(),
                        sleepLock("vigilmoth: Codex is waiting for you").front()),
              held.end());
    EXPECT_TRUE(locksBecome(sleepLock("vigilmoth: Codex is waiting for you")));

    keeper.release();
    EXPECT_FALSE(keeper.held());
    EXPECT_TRUE(locksBecome({}));
}

TEST_F(LogindPowerTest, AHoldNotRenewedWithinItsLeaseIsLetGo) {
    LinuxPower power(context, bus.address(), "1", {.hold = 0.3});
    power.keeper().hold("vigilmoth: always on");
    EXPECT_EQ(locks(), sleepLock("vigilmoth: always on"));
    EXPECT_TRUE(locksBecome({}));
    // The next decision finds the lease lapsed and takes a new lock.
    power.keeper().hold("vigilmoth: always on");
    EXPECT_EQ(locks(), sleepLock("vigilmoth: always on"));
}

TEST_F(LogindPowerTest, KillingTheHolderLetsTheComputerSleep) {
    auto options = bus.environment();
    testing::BackgroundProcess holder(testing::testProgram("hold_awake"),
                                      {bus.address().address, "vigilmoth: Pi is working"}, options);
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
        if (wanted) {
            flag.send(true, "an agent works with the lid closed");
        } else {
            flag.stopWanting();
        }
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
        bus.mock(Logind::kService, Logind::kPath, "EmitSignal", "sssav", Logind::kManager,
                 "PrepareForSleep", "b", 1, "b", start ? 1 : 0);
        EXPECT_TRUE(eventually([&] { return heard.size() == (start ? 1u : 2u); }));
        EXPECT_TRUE(locksBecome(start ? Locks{} : delay, "delay"));
    }
    EXPECT_EQ(heard, (std::vector{SleepNotice::willSleep, SleepNotice::didWake}));
}

TEST_F(LogindPowerTest, ReadersSeeOtherLocksAndTheLid) {
    SystemPowerAssertions assertions(bus.address());
    SystemPowerContext power("/nonexistent", bus.address());
    EXPECT_FALSE(power.lidClosed()) << "logind without the property";
    bus.mock(Logind::kService, Logind::kPath, "AddProperty", "ssv", Logind::kManager, "LidClosed",
             "b", 1);
    EXPECT_TRUE(power.lidClosed());

    struct Case {
        const char* what;
        bool counted;
    };
    // The mock gives every lock the pid 123456.
    for (const auto& c : std::vector<Case>{{"shutdown", false}, {"handle-power-key:idle", true}}) {
        SCOPED_TRACE(c.what);
        sd_bus_message* reply = nullptr;
        ASSERT_GE(
            sd_bus_call_method(bus.client(), Logind::kService, Logind::kPath, Logind::kManager,
                               "Inhibit", nullptr, &reply, "ssss", c.what, "test", "test", "block"),
            0);
        EXPECT_EQ(assertions.assertingPIDs(), c.counted ? std::set<int>{123456} : std::set<int>{});
        sd_bus_message_unref(reply);
    }
}

TEST(LogindReachTest, WithoutLogindItSaysOnceThatItCannotHoldAndGoesOn) {
    struct Case {
        const char* template_;  // the service on the test bus; none: no bus at all
        std::string said;
    };
    const std::vector<Case> cases = {
        {nullptr,
         "vigilmoth cannot keep this computer awake, because it cannot reach the system bus "
         "(No such file or directory)."},
        {"upower",
         "vigilmoth cannot keep this computer awake, because logind is not running on the "
         "system bus."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.said);
        std::optional<testing::DBusTestBus> bus;
        if (c.template_) bus.emplace().startTemplate(c.template_, "org.freedesktop.UPower");
        std::vector<std::string> errors;
        setLogSink([&](LogLevel level, std::string_view, std::string_view message) {
            if (level == LogLevel::error) errors.emplace_back(message);
        });
        asio::io_context context;
        LinuxPower power(context, bus ? bus->address() : BusAddress::at("unix:path=/nonexistent"),
                         "1");
        for (int decision = 0; decision < 3; ++decision) {
            power.keeper().hold("vigilmoth: always on");
            context.run_for(std::chrono::milliseconds(10));
        }
        setLogSink(nullptr);
        EXPECT_FALSE(power.keeper().held());
        EXPECT_EQ(errors, std::vector<std::string>{c.said});
    }
}

}  // namespace
}  // namespace vigilmoth
