// Show the engine on the Linux loop for real: a watched file written or a watched process that
// exits brings the next tick forward from the idle 5 s, and logind's PrepareForSleep reaches
// the wake gate through the sleep notices.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>

#include "decision/DetectionEngine.h"
#include "platform/linux/AsioDetectionScheduler.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/LogindSleepNotices.h"
#include "platform/linux/SystemAwakeClock.h"
#include "platform/linux/SystemDetectionWatcher.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/DetectionFakes.h"
#include "support/Spawn.h"

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
    // While a collection runs on the worker the loop has nothing of its own to wait for.
    asio::executor_work_guard<asio::io_context::executor_type> busy = asio::make_work_guard(loop);
    testing::FakeCollector collector;
    SystemDetectionWatcher watcher{loop};
    AsioDetectionScheduler scheduler{loop};
};

TEST_F(DetectionLoopTest, AWatchedFileWrittenOrAWatchedProcessEndingTicksAtOnce) {
    testing::TemporaryFolder folder;
    std::string file = folder / "transcript.jsonl";
    testing::writeFile(file, "");
    pid_t child = testing::spawnProcess("/bin/sleep", {"sleep", "600"}, {});
    ASSERT_GT(child, 0);
    auto row = SystemProcessCensus().row(child);
    ASSERT_TRUE(row);
    // No agents in the frame: without an event the next tick is 5 s away.
    EvidenceSample sample;
    sample.watchedFiles = {file};
    sample.roots = {ProcessIdentity::of(*row)};
    collector.samples.push_back(sample);

    DetectionEngine engine({collector, scheduler, watcher, SystemAwakeClock::clock()});
    engine.start();
    ASSERT_TRUE(eventually([&] { return collector.collections == 1; }));
    loop.run_for(std::chrono::milliseconds(100));  // the watches are set after the tick
    struct Case {
        const char* name;
        std::function<void()> event;
    };
    const Case cases[] = {
        {"file written", [&] { testing::writeFile(file, "{}\n"); }},
        {"process ended",
         [&] {
             ::kill(child, SIGKILL);
             ::waitpid(child, nullptr, 0);
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        int before = collector.collections;
        c.event();
        EXPECT_TRUE(eventually([&] { return collector.collections > before; }, 4));
    }
}

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
