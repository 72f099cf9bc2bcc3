// Show that the notice reducer debounces, groups and suppresses notices as its scenarios
// require, and logs every decision with its reason.
#include <gtest/gtest.h>

#include <sstream>

#include "base/DefaultsKeys.h"
#include "notices/AgentNoticeReducer.h"
#include "support/DecisionBuilders.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

const Date kStart(1767225600);

// Drives one reducer through updates at offsets from kStart; sessions are written as the
// scripts in notices/reducer-scripts.txt write them.
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

// Runs the scripts in notices/reducer-scripts.txt, each step on a fresh line of its own.
TEST(AgentNoticeReducerTest, Scripts) {
    std::istringstream lines(testing::readFile(testing::fixture("notices/reducer-scripts.txt")));
    std::optional<Scenario> scenario;
    std::string script;
    for (std::string line; std::getline(lines, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with("= ")) {
            script = line;
            scenario.emplace();
            continue;
        }
        SCOPED_TRACE(script + ": " + line);
        // "<offset> <sessions> | <told> | <log>", padded so that every part is there.
        std::vector<std::string> parts;
        line += " |  | ";
        for (std::size_t from = 0, bar; parts.size() < 3; from = bar + 3)
            parts.push_back(line.substr(from, (bar = line.find(" | ", from)) - from));
        const auto space = parts[0].find(' ');
        ASSERT_TRUE(scenario);
        EXPECT_EQ(scenario->at(std::stod(parts[0]), parts[0].substr(space + 1)),
                  std::pair(parts[1], parts[2]));
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
