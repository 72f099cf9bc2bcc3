// A watched file's changes reach the handler once each, within half a second, on the event loop:
// written, appended, replaced by a rename, deleted, created again, its folder removed and back;
// a folder watch sees entries come; the engine's watcher wakes on a watched write and exit.
#include "platform/linux/FileWatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

#include "platform/linux/SystemDetectionWatcher.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using Event = FileWatchEvent;
using Clock = std::chrono::steady_clock;

// Runs the loop until an event arrives or `limit` passes, then a little longer so that a
// second event for the same change would show; returns the events and the wait for the first.
std::pair<std::vector<Event>, double> eventsAfter(asio::io_context& loop,
                                                  std::vector<Event>& events, double limit) {
    auto start = Clock::now();
    while (events.empty() && Clock::now() - start < std::chrono::duration<double>(limit))
        loop.run_for(std::chrono::milliseconds(10));
    double waited = std::chrono::duration<double>(Clock::now() - start).count();
    loop.run_for(std::chrono::milliseconds(150));
    return {std::exchange(events, {}), waited};
}

TEST(FileWatchTest, EachChangeReachesTheHandlerOnceWithinHalfASecond) {
    testing::TemporaryFolder root;
    std::string folder = root / "project", path = folder + "/session.jsonl";
    testing::writeFile(path, "{}\n");
    asio::io_context loop;
    std::vector<Event> events, entries;
    FileWatch watch(loop, path, [&](Event event) { events.push_back(event); });
    DirectoryWatch folderWatch(loop, folder, [&](Event event) { entries.push_back(event); });
    watch.start();
    folderWatch.start();
    struct Step {
        const char* name;
        std::function<void()> change;
        Event event;
        double limit = 0.5;
    };
    const std::vector<Step> steps{
        {"written", [&] { testing::writeFile(path, "{\"a\":1}\n"); }, Event::written},
        {"appended", [&] { std::ofstream(path, std::ios::app) << "{}\n"; }, Event::written},
        {"replaced by a rename",
         [&] {
             testing::writeFile(folder + "/.tmp", "{}\n");
             std::filesystem::rename(folder + "/.tmp", path);
         },
         Event::replaced},
        {"written after the replace", [&] { std::ofstream(path, std::ios::app) << "{}\n"; },
         Event::written},
        {"deleted", [&] { std::filesystem::remove(path); }, Event::removed},
        {"created again", [&] { testing::writeFile(path, "{}\n"); }, Event::replaced},
        {"its folder removed", [&] { std::filesystem::remove_all(folder); }, Event::removed},
        // Noticed by the next attempt to watch the folder, every half second.
        {"its folder back", [&] { testing::writeFile(path, "{}\n"); }, Event::replaced, 0.6},
        {"written in the new folder", [&] { testing::writeFile(path, "{}\n"); }, Event::written},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        entries.clear();
        step.change();
        auto [seen, waited] = eventsAfter(loop, events, 1);
        EXPECT_EQ(seen, std::vector<Event>{step.event});
        EXPECT_LT(waited, step.limit);
    }
    testing::writeFile(folder + "/other.jsonl", "{}\n");
    auto [seen, waited] = eventsAfter(loop, entries, 1);
    EXPECT_EQ(seen, std::vector<Event>{Event::written}) << "an entry created";
    EXPECT_TRUE(eventsAfter(loop, events, 0.2).first.empty()) << "another file is not this one";
    watch.cancel();
    testing::writeFile(path, "{}\n");
    EXPECT_TRUE(eventsAfter(loop, events, 0.2).first.empty()) << "nothing after cancel";
}

TEST(FileWatchTest, TheDetectionWatcherWakesOnAWatchedWriteAndAnExit) {
    testing::TemporaryFolder root;
    const std::string path = root / "rollout.jsonl";
    testing::writeFile(path, "{}\n");
    auto tree = std::make_unique<testing::ProcessTree>(
        std::vector<testing::PlannedProcess>{{1, -1, "bin/codex", {"codex"}}});
    const auto row = SystemProcessCensus().row(tree->pid(1));
    ASSERT_TRUE(row);
    asio::io_context loop;
    SystemDetectionWatcher watcher(loop);
    int events = 0;
    watcher.watch({path}, {ProcessIdentity::of(*row)}, [&] { ++events; });
    loop.run_for(std::chrono::milliseconds(100));
    for (const auto& [name, change] : std::vector<std::pair<const char*, std::function<void()>>>{
             {"a write", [&] { std::ofstream(path, std::ios::app) << "{}\n"; }},
             {"an exit", [&] { tree.reset(); }}}) {
        SCOPED_TRACE(name);
        events = 0;
        change();
        const auto deadline = Clock::now() + std::chrono::seconds(10);
        while (events == 0 && Clock::now() < deadline)
            loop.run_for(std::chrono::milliseconds(10));
        EXPECT_GT(events, 0);
    }
}

}  // namespace
}  // namespace vigilmoth
