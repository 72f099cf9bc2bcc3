// Show that the keeper creates its assertions once per hold, renews and renames them while
// they last, recreates them when a renewal fails, logs each repeated failure once, and that a
// release without a hold says nothing.
#include <gtest/gtest.h>

#include "power/PowerKeeper.h"

namespace vigilmoth {
namespace {

// Assertions that record what is done to them; `lapsed` ones fail to renew, `failing` kinds
// fail to create.
struct RecordingAssertions final : PowerAssertionMaking {
    std::vector<std::string> calls;
    std::set<PowerAssertionID> lapsed;
    std::set<std::string> failing;
    bool reachable = true;
    PowerAssertionID next = 1;

    std::vector<std::string> kinds() const override { return {"idle", "system"}; }
    std::string creationCall() const override { return "Create"; }
    bool available() override { return reachable; }
    Created create(const std::string& kind, const std::string& reason) override {
        calls.push_back("create " + kind + " " + reason);
        if (failing.contains(kind)) return {std::nullopt, "-1"};
        return {next++, {}};
    }
    bool renew(PowerAssertionID id) override {
        calls.push_back("renew " + std::to_string(id));
        return !lapsed.contains(id);
    }
    bool rename(PowerAssertionID id, const std::string& reason) override {
        calls.push_back("rename " + std::to_string(id) + " " + reason);
        return true;
    }
    void release(PowerAssertionID id) override { calls.push_back("release " + std::to_string(id)); }
};

struct Step {
    std::function<void(PowerKeeper&, RecordingAssertions&)> act;
    std::vector<std::string> calls;
    std::vector<std::string> logged;
};

TEST(PowerKeeperTest, HoldsRenewsRenamesRecreatesAndReleases) {
    const auto hold = [](std::string reason) {
        return [reason](PowerKeeper& keeper, RecordingAssertions&) { keeper.hold(reason); };
    };
    const auto release = [](PowerKeeper& keeper, RecordingAssertions&) { keeper.release(); };
    const std::vector<Step> steps = {
        {release, {}, {}},
        {hold("a"), {"create idle a", "create system a"}, {"acquired power assertions: a"}},
        {hold("a"), {"renew 1", "renew 2"}, {}},
        {hold("b"), {"renew 1", "renew 2", "rename 1 b", "rename 2 b"}, {}},
        {[](PowerKeeper& keeper, RecordingAssertions& system) {
             system.lapsed = {2};
             system.failing = {"system"};
             keeper.hold("b");
         },
         {"renew 1", "renew 2", "release 1", "release 2", "create idle b", "create system b"},
         {"Create(system) failed: -1", "acquired power assertions: b"}},
        {[](PowerKeeper& keeper, RecordingAssertions& system) {
             system.lapsed = {3};
             keeper.hold("b");
         },
         {"renew 3", "release 3", "create idle b", "create system b"},
         {"acquired power assertions: b"}},
        {release, {"release 4"}, {"released power assertions"}},
        {[](PowerKeeper& keeper, RecordingAssertions& system) {
             system.reachable = false;
             keeper.hold("c");
         },
         {},
         {}},
    };
    RecordingAssertions system;
    PowerKeeper keeper(system);
    std::vector<std::string> logged;
    setLogSink(
        [&](LogLevel, std::string_view, std::string_view line) { logged.emplace_back(line); });
    for (size_t index = 0; index < steps.size(); ++index) {
        SCOPED_TRACE(index);
        system.calls.clear();
        logged.clear();
        steps[index].act(keeper, system);
        EXPECT_EQ(system.calls, steps[index].calls);
        EXPECT_EQ(logged, steps[index].logged);
    }
    setLogSink(nullptr);
    EXPECT_FALSE(keeper.held());
}

}  // namespace
}  // namespace vigilmoth
