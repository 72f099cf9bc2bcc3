// Show that real agents' process trees, captured on Linux and replayed as sleeping processes
// with the same executable names and argument vectors, are recognised as the rules say: the
// recorded truth, except for the known misfits listed in docs/known-misfits.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "catalog/AgentCatalog.h"
#include "catalog/AgentInstances.h"
#include "platform/linux/SystemProcessCensus.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using testing::PlannedProcess;
using testing::ProcessTree;

struct Record {
    int pid = 0;
    int ppid = 0;
    std::string comm;
    std::string executable;
    std::vector<std::string> arguments;
    std::string truth;  // the agent it belongs to; empty: none
};

// Where the rules and the truth disagree, the rules win until an issue changes them. Each
// entry: run, pid, short name, and what the rules give ("" for no agent).
const std::map<std::tuple<std::string, int, std::string>, std::string> kMisfits = {
    // Claude Code runs its bundled ripgrep as its own executable under argument 0 "rg".
    {{"claude", 12441, "claude.exe"}, ""},
    {{"claude", 12442, "claude.exe"}, ""},
    {{"claude-p", 6752, "claude.exe"}, ""},
};

// Per run, the instances the rules make: agent, role, root process and number of processes.
// Every process below the agent belongs to it; a process recorded in two states is replayed
// twice, so the renamed Pi shows up twice. Codex's managed app-server daemon is an engine, a
// root of its own.
const std::map<std::string, std::vector<std::string>> kInstances = {
    {"amp", {"amp session 28736/amp 11"}},
    {"claude", {"claude session 12414/claude 20"}},
    {"claude-firstrun2", {"claude session 5885/claude 1"}},
    {"claude-p", {"claude session 6738/claude 3"}},
    {"cn", {"cn session 29107/node 9"}},
    {"codex", {"codex session 18256/node 11", "codex engine 18289/codex 11"}},
    {"codex-exec", {"codex session 6552/node 9"}},
    {"copilot", {"copilot session 21961/node 80"}},
    {"droid", {"droid session 16672/droid 7"}},
    {"gemini", {"gemini session 13959/node 14"}},
    {"grok", {"grok session 951/node 1"}},
    {"opencode", {"opencode session 19613/opencode 11"}},
    {"pi", {"pi session 25779/node 1", "pi session 25779/pi 1"}},
};

std::map<std::string, std::vector<Record>> runs() {
    std::map<std::string, std::vector<Record>> result;
    std::ifstream lines(testing::fixture("processes/processes.jsonl"));
    for (std::string line; std::getline(lines, line);) {
        auto json = nlohmann::json::parse(line);
        // A process whose executable could not be read cannot be replayed (nor is it counted).
        if (json.at("exe").is_null()) continue;
        result[json.at("run").get<std::string>()].push_back(
            {json.at("pid").get<int>(), json.at("ppid").get<int>(),
             json.at("comm").get<std::string>(), json.at("exe").get<std::string>(),
             json.at("argv").get<std::vector<std::string>>(),
             json.at("agent").is_null() ? "" : json.at("agent").get<std::string>()});
    }
    return result;
}

// One planned process per record; a parent is the first record of its pid in the same run.
std::vector<PlannedProcess> plan(const std::vector<Record>& records) {
    std::map<int, int> firstRecordOfPid;
    for (size_t index = 0; index < records.size(); ++index)
        firstRecordOfPid.emplace(records[index].pid, static_cast<int>(index));
    std::vector<PlannedProcess> planned;
    for (size_t index = 0; index < records.size(); ++index) {
        auto parent = firstRecordOfPid.find(records[index].ppid);
        planned.push_back({static_cast<int>(index),
                           parent == firstRecordOfPid.end() ? -1 : parent->second,
                           records[index].executable.substr(1), records[index].arguments});
    }
    return planned;
}

TEST(RealProcessTreesTest, ReplayedTreesAreRecognisedAsTheRulesSay) {
    for (const auto& [run, records] : runs()) {
        SCOPED_TRACE(run);
        ProcessTree tree(plan(records));
        SystemProcessCensus census;
        auto rows = census.snapshot();
        ASSERT_TRUE(rows);
        std::unordered_map<int32_t, AgentMatch> matches;
        std::map<int32_t, const ProcessInfoRow*> byPid;
        for (const auto& row : *rows)
            byPid[row.pid] = &row;
        for (size_t index = 0; index < records.size(); ++index) {
            const Record& record = records[index];
            SCOPED_TRACE(std::to_string(record.pid) + " " + record.comm);
            auto row = byPid.find(tree.pid(static_cast<int>(index)));
            ASSERT_NE(row, byPid.end());
            EXPECT_EQ(row->second->executablePath, tree.executable(record.executable.substr(1)));
            auto match = AgentCatalog::standard().match(*row->second);
            std::string found = match ? match->definition.id : "";
            auto misfit = kMisfits.find({run, record.pid, record.comm});
            std::string expected = misfit == kMisfits.end() ? record.truth : misfit->second;
            EXPECT_EQ(found, expected) << "truth: " << record.truth;
            if (match) matches.emplace(row->second->pid, *match);
        }
        std::vector<std::string> grouped;
        for (const auto& instance : AgentInstances::of(*rows, matches)) {
            auto root = std::find_if(records.begin(), records.end(), [&](const Record& record) {
                return tree.pid(static_cast<int>(&record - records.data())) == instance.rootPID;
            });
            if (root == records.end()) continue;
            grouped.push_back(instance.definition.id + " " + std::string(roleWord(instance.role)) +
                              " " + std::to_string(root->pid) + "/" + root->comm + " " +
                              std::to_string(instance.rows.size()));
        }
        EXPECT_EQ(grouped, kInstances.at(run));
    }
}

}  // namespace
}  // namespace vigilmoth
