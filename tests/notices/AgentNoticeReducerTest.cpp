// Show that the notice reducer debounces, groups and suppresses notices as its scenarios
// require, and logs every decision with its reason.
#include <gtest/gtest.h>

#include <sstream>

#include "base/DefaultsKeys.h"
#include "notices/AgentNoticeReducer.h"
#include "support/DecisionBuilders.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

// Drives one reducer through updates at offsets from kStart. Sessions are written as words
// "<pid><state>[@since][!][~]": state b (working), w (waiting) or i (idle); @ the turn's start
// in seconds after kStart; ! an error ended the turn; ~ no turn, so the verdict is followed.
struct Scenario {
    Scenario() { input.settings = {.waiting = true, .finished = true, .onlyWhenAway = true}; }

    // What fell due at `offset`, as "<kind> <pid>[ after <s>][ failed]...", and the update's
    // log lines joined by "; ".
    std::pair<std::string, std::string> at(double offset, const std::string& sessions) {
        input.readings.clear();
        std::istringstream words(sessions);
        for (std::string word; words >> word;) {
            std::size_t end = 0;
            const int pid = std::stoi(word, &end);
            const char code = word[end];
            const auto state = code == 'b'   ? ReportedState::working
                               : code == 'w' ? ReportedState::waitingForUser
                                             : ReportedState::idle;
            std::optional<Date> since;
            if (auto mark = word.find('@'); mark != std::string::npos)
                since = kStart + std::stod(word.substr(mark + 1));
            // The verdict disagrees on purpose: the reported turn is what is followed.
            auto reading =
                testing::readingOf("claude", "Claude Code", {pid, 100}, ReportedState::idle);
            if (word.ends_with('~'))
                reading.verdict.state = state;
            else
                reading.turn = AgentTurn{state, since, word.find('!') != std::string::npos};
            input.readings.push_back(reading);
        }
        std::ostringstream told;
        for (const auto& notice : reducer.update(kStart + offset, input)) {
            told << (told.tellp() > 0 ? "; " : "") << agentNoticeKindWord(notice.kind);
            for (const auto& session : notice.sessions) {
                told << ' ' << session.identity.pid;
                if (session.workedFor) told << " after " << *session.workedFor;
                if (session.failed) told << " failed";
            }
        }
        std::string log;
        for (const auto& decision : reducer.decisions)
            log += (log.empty() ? "" : "; ") + decision.logLine();
        return {told.str(), log};
    }

    AgentNoticeReducer reducer;
    AgentNoticeInput input;
};

struct Step {
    double offset;
    const char* sessions;
    const char* told;
    const char* log;
};

TEST(AgentNoticeReducerTest, Scripts) {
    const std::pair<const char*, std::vector<Step>> scripts[] = {
        {"a wait falls due after its debounce; a short one is withdrawn",
         {{0, "1b", "", ""},
          {1, "1w", "", ""},
          {2.5, "1b", "", "waiting skipped pid 1: the wait ended after 1.5 s"},
          {10, "1w", "", ""},
          {12, "1w", "", ""},
          {12.1, "1w", "waiting 1", "waiting fired pid 1"}}},
        {"what held at launch is never told",
         {{0, "1w 2b", "", "waiting skipped pid 1: it waited already at launch"},
          {10, "1w 2b", "", ""}}},
        // pid 1 is old enough at 4, but pid 2 is still fresh: the group keeps forming.
        {"agents waiting within moments are told together",
         {{0, "1b 2b 3b", "", ""},
          {1, "1w 2b 3b", "", ""},
          {2.5, "1w 2w 3b", "", ""},
          {4, "1w 2w 3b", "", ""},
          {4.6, "1w 2w 3b", "waiting 1 2", "waiting fired pid 1; waiting fired pid 2"}}},
        {"a finished turn waits three seconds and carries its length",
         {{0, "1i", "", ""},
          {10, "1b@8", "", ""},
          {100, "1i!", "", ""},
          {102.5, "1i", "", ""},
          {103, "1i", "finished 1 after 92 failed", "finished fired pid 1 after 92.0 s"}}},
        {"working again withdraws the finished notice",
         {{0, "1b", "", ""},
          {10, "1i", "", ""},
          {12.5, "1b", "", "finished skipped pid 1: working again after 2.5 s"},
          {30, "1b", "", ""}}},
        // Both fall due at once; the wait is told first, so the finish is not.
        {"a told wait turns the finished notice into asks instead",
         {{0, "1b", "", ""},
          {10, "1i", "", ""},
          {11, "1w", "", ""},
          {20, "1w", "waiting 1",
           "waiting fired pid 1; finished skipped pid 1: it asks a question, and that was told"}}},
        // pid 3's pending wait is withdrawn; 1 finished (never "with an error"); 2 just went.
        {"sessions that vanish while working have finished",
         {{0, "3b 1b 2w", "", "waiting skipped pid 2: it waited already at launch"},
          {5, "3w 1b 2w", "", ""},
          {6, "", "", "waiting skipped pid 3: the wait ended after 1.0 s"},
          {9, "", "finished 1 after 6", "finished fired pid 1 after 6.0 s"}}},
        {"without a turn the verdict is followed",
         {{0, "1b~", "", ""}, {1, "1w~", "", ""}, {4, "1w~", "waiting 1", "waiting fired pid 1"}}},
        // A turn's start is never placed before the previous update, nor in the future.
        {"reported start between updates",
         {{0, "1i", "", ""},
          {5, "1i", "", ""},
          {10, "1b@7", "", ""},
          {20, "1i", "", ""},
          {30, "1i", "finished 1 after 13", "finished fired pid 1 after 13.0 s"}}},
        {"reported start before the last update",
         {{0, "1i", "", ""},
          {5, "1i", "", ""},
          {10, "1b@2", "", ""},
          {20, "1i", "", ""},
          {30, "1i", "finished 1 after 15", "finished fired pid 1 after 15.0 s"}}},
        {"reported start in the future",
         {{0, "1i", "", ""},
          {5, "1i", "", ""},
          {10, "1b@30", "", ""},
          {20, "1i", "", ""},
          {30, "1i", "finished 1 after 10", "finished fired pid 1 after 10.0 s"}}},
        {"no reported start",
         {{0, "1i", "", ""},
          {5, "1i", "", ""},
          {10, "1b", "", ""},
          {20, "1i", "", ""},
          {30, "1i", "finished 1 after 10", "finished fired pid 1 after 10.0 s"}}},
    };
    for (const auto& [name, steps] : scripts) {
        SCOPED_TRACE(name);
        Scenario scenario;
        for (const auto& step : steps) {
            SCOPED_TRACE(step.offset);
            EXPECT_EQ(scenario.at(step.offset, step.sessions),
                      (std::pair<std::string, std::string>{step.told, step.log}));
        }
    }
}

TEST(AgentNoticeReducerTest, TheAppInFrontAndASwitchedOffProductSuppress) {
    struct Case {
        const char* name;
        bool onlyWhenAway, userActive;
        std::optional<std::int32_t> front;
        bool active;
        std::string log;
    };
    const Case cases[] = {
        {"in front", true, true, 77, true, "waiting skipped pid 1: front app is its app"},
        {"in front but away", true, false, 77, true, ""},
        {"another app in front", true, true, 78, true, ""},
        {"in front, told anyway", false, true, 77, true, ""},
        {"paused", true, false, std::nullopt, false,
         "waiting skipped pid 1: vigilmoth is off or paused"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Scenario scenario;
        scenario.input.owners = {{{1, 100}, 77}};
        scenario.at(0, "1b");
        scenario.input.settings.onlyWhenAway = c.onlyWhenAway;
        scenario.input.userActive = c.userActive;
        scenario.input.frontmostPid = c.front;
        scenario.input.active = c.active;
        EXPECT_EQ(scenario.at(1, "1w").second, c.log);
        EXPECT_EQ(scenario.at(5, "1w").first, c.log.empty() ? "waiting 1" : "");
    }
}

TEST(AgentNoticeReducerTest, PendingNoticesAreScreenedAgainstEachNewInput) {
    Scenario scenario;
    scenario.at(0, "1b 2b");
    scenario.at(1, "1w 2i");
    scenario.input.settings.finished = false;
    scenario.input.active = false;
    // The finished one goes without a word; the waiting one is logged as not active.
    EXPECT_EQ(scenario.at(2, "1w 2i"),
              (std::pair<std::string, std::string>{
                  "", "waiting skipped pid 1: vigilmoth is off or paused"}));
    EXPECT_TRUE(scenario.reducer.candidates.empty());
}

TEST(AgentNoticeReducerTest, SettingsLoadOnlyBooleans) {
    MemoryKeyValueStore store;
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{true, false, true}));
    store.set(defaults_keys::noticesWaiting, "no");
    store.set(defaults_keys::noticesFinished, true);
    store.set(defaults_keys::noticesOnlyWhenAway, 0);
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{true, true, true}));
    AgentNoticeSettings{false, true, false}.save(store);
    EXPECT_EQ(AgentNoticeSettings::load(store), (AgentNoticeSettings{false, true, false}));
}

}  // namespace
}  // namespace vigilmoth
