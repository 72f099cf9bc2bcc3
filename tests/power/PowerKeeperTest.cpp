// Show that the keeper creates its assertions once per hold, renews and renames them while
// they last, recreates them when a renewal fails, logs each repeated failure once, and that a
// release without a hold says nothing.
#include <gtest/gtest.h>

#include <sstream>

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

TEST(PowerKeeperTest, HoldsRenewsRenamesRecreatesAndReleases) {
    // Each step: what happens ("lapse <id>" and "fail <kind>" before a "hold <reason>", "gone"
    // for an unreachable service), the calls made, the lines logged.
    using Lines = std::vector<std::string>;
    const std::tuple<std::string, Lines, Lines> steps[] = {
        {"release", {}, {}},
        {"hold a", {"create idle a", "create system a"}, {"acquired power assertions: a"}},
        {"hold a", {"renew 1", "renew 2"}, {}},
        {"hold b", {"renew 1", "renew 2", "rename 1 b", "rename 2 b"}, {}},
        {"lapse 2 fail system hold b",
         {"renew 1", "renew 2", "release 1", "release 2", "create idle b", "create system b"},
         {"Create(system) failed: -1", "acquired power assertions: b"}},
        {"lapse 3 hold b",
         {"renew 3", "release 3", "create idle b", "create system b"},
         {"acquired power assertions: b"}},
        {"release", {"release 4"}, {"released power assertions"}},
        {"gone hold c", {}, {}},
    };
    RecordingAssertions system;
    PowerKeeper keeper(system);
    Lines logged;
    setLogSink(
        [&](LogLevel, std::string_view, std::string_view line) { logged.emplace_back(line); });
    for (const auto& [act, calls, logs] : steps) {
        SCOPED_TRACE(act);
        system.calls.clear();
        logged.clear();
        std::istringstream words(act);
        for (std::string word, what; words >> word;) {
            if (word == "release") keeper.release();
            if (word == "gone") system.reachable = false;
            if (word == "hold" && words >> what) keeper.hold(what);
            if (word == "lapse" && words >> what)
                system.lapsed = {static_cast<PowerAssertionID>(std::stoul(what))};
            if (word == "fail" && words >> what) system.failing = {what};
        }
        EXPECT_EQ(system.calls, calls);
        EXPECT_EQ(logged, logs);
    }
    setLogSink(nullptr);
    EXPECT_FALSE(keeper.held());
}

}  // namespace
}  // namespace vigilmoth
