// Show that logind's PrepareForSleep reaches the engine's wake gate through the sleep notices,
// on the Linux loop. (The loop's early ticks after a watched write or exit are shown through the
// real executable, in LabRecordLiveTest.)
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

TEST(DetectionLoopTest, LogindsPrepareForSleepReachesTheWakeGate) {
    testing::DBusTestBus bus;
    bus.startTemplate("logind", Logind::kService);
    asio::io_context loop;
    int code = 0;
    auto connection = AsioBus::open(loop, bus.address(), code);
    ASSERT_TRUE(connection);
    LogindReach logind(connection.get(), code);
    LogindSleepNotices notices(logind);
    testing::FakeCollector collector;
    SystemDetectionWatcher watcher(loop);
    AsioDetectionScheduler scheduler(loop);
    DetectionEngine engine({collector, scheduler, watcher, SystemAwakeClock::clock()});
    engine.follow(notices);

    auto gateAfter = [&](bool start, const std::function<bool()>& done) {
        bus.mock(Logind::kService, Logind::kPath, "EmitSignal", "sssav", Logind::kManager,
                 "PrepareForSleep", "b", 1, "b", start ? 1 : 0);
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done() && std::chrono::steady_clock::now() < deadline)
            loop.run_for(std::chrono::milliseconds(10));
        return done();
    };
    EXPECT_TRUE(gateAfter(true, [&] { return engine.wakeGate().announced; }));
    EXPECT_TRUE(gateAfter(false, [&] { return engine.wakeGate().wokeAt.has_value(); }));
    EXPECT_FALSE(engine.wakeGate().announced);
}

}  // namespace
}  // namespace vigilmoth
