// Show that logind's PrepareForSleep reaches the engine's wake gate through the sleep notices.
// (The loop's early ticks after a watched write or exit are shown through the real executable,
// in LabRecordLiveTest.)
#include <gtest/gtest.h>

#include <chrono>

#include "decision/DetectionEngine.h"
#include "platform/linux/AsioDetectionScheduler.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/LogindSleepNotices.h"
#include "platform/linux/SystemAwakeClock.h"
#include "platform/linux/SystemDetectionWatcher.h"
#include "support/DetectionFakes.h"

namespace vigilmoth {
namespace {

class DetectionLoopTest : public ::testing::Test {
protected:
    // Runs the loop until `done` holds or the generous deadline passes.
    bool eventually(const std::function<bool()>& done, double seconds = 10) {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            loop.run_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    asio::io_context loop;
    testing::FakeCollector collector;
    SystemDetectionWatcher watcher{loop};
    AsioDetectionScheduler scheduler{loop};
};

TEST_F(DetectionLoopTest, LogindsPrepareForSleepReachesTheWakeGate) {
    testing::DBusTestBus bus;
    bus.startTemplate("logind", Logind::kService);
    int code = 0;
    auto connection = AsioBus::open(loop, bus.address(), code);
    ASSERT_TRUE(connection);
    LogindReach logind(connection.get(), code);
    LogindSleepNotices notices(logind);
    DetectionEngine engine({collector, scheduler, watcher, SystemAwakeClock::clock()});
    engine.follow(notices);

    auto prepare = [&](bool start) {
        bus.mock(Logind::kService, Logind::kPath, "EmitSignal", "sssav", Logind::kManager,
                 "PrepareForSleep", "b", 1, "b", start ? 1 : 0);
    };
    prepare(true);
    EXPECT_TRUE(eventually([&] { return engine.wakeGate().announced; }));
    prepare(false);
    EXPECT_TRUE(eventually([&] { return engine.wakeGate().wokeAt.has_value(); }));
    EXPECT_FALSE(engine.wakeGate().announced);
}

}  // namespace
}  // namespace vigilmoth
