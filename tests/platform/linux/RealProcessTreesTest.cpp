// Real agents' process trees, captured on Linux and replayed as sleeping processes with the same
// executable names and argument vectors, are recognised as they are: each process's recorded
// agent and role, one instance per session.
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
    int pid = 0, ppid = 0;
    std::string executable;
    std::vector<std::string> arguments;
    std::string truth;  // the agent it belongs to; empty: none
};

// Agent processes that are not sessions: Claude Code's ripgrep (its own executable as "rg"),
// Codex's managed app-server daemon and its pid-update loops.
const std::map<std::pair<std::string, int>, AgentRole> kRoles = {
    {{"claude", 12441}, AgentRole::helper},       {{"claude", 12442}, AgentRole::helper},
    {{"claude-p", 6752}, AgentRole::helper},      {{"codex", 18289}, AgentRole::engine},
    {{"codex", 18366}, AgentRole::helper},        {{"codex", 18370}, AgentRole::helper},
    {{"codex-daemon", 19631}, AgentRole::engine}, {{"codex-daemon", 19722}, AgentRole::helper},
    {{"codex-daemon", 20086}, AgentRole::helper}, {{"codex-daemon", 20092}, AgentRole::helper},
};

// Per run, the instances: agent, role, root process and number of processes.
const std::map<std::string, std::vector<std::string>> kInstances = {
    {"amp", {"amp session 28736 11"}},
    {"claude", {"claude session 12414 16"}},
    {"claude-firstrun2", {"claude session 5885 1"}},
    {"claude-p", {"claude session 6738 3"}},
    {"cn", {"cn session 29107 9"}},
    {"codex", {"codex session 18256 22"}},
    {"codex-daemon", {"codex session 19504 8"}},
    {"codex-exec", {"codex session 6552 9"}},
    {"copilot", {"copilot session 21961 79"}},
    {"droid", {"droid session 16672 7"}},
    {"gemini", {"gemini session 13959 14"}},
    {"grok", {"grok session 951 1"}},
    {"opencode", {"opencode session 19613 9"}},
    {"pi", {"pi session 25779 1"}},
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
             json.at("exe").get<std::string>(), json.at("argv").get<std::vector<std::string>>(),
             json.at("agent").is_null() ? "" : json.at("agent").get<std::string>()});
    }
    return result;
}

// A process recorded in several states (a renamed title) was in one at a time: replay n shows
// each process in its n-th state, or its last; nothing once no process has an n-th.
std::vector<Record> inState(const std::vector<Record>& records, int n) {
    std::map<int, int> count, seen;
    for (const auto& record : records)
        ++count[record.pid];
    std::vector<Record> result;
    bool more = n == 0;
    for (const auto& record : records) {
        more = more || count[record.pid] > n;
        if (seen[record.pid]++ == std::min(n, count[record.pid] - 1)) result.push_back(record);
    }
    return more ? result : std::vector<Record>{};
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

TEST(RealProcessTreesTest, ReplayedTreesShowEveryProcessAsItIsAndOneInstancePerSession) {
    for (const auto& [run, all] : runs()) {
        for (int n = 0; !inState(all, n).empty(); ++n) {
            const auto records = inState(all, n);
            SCOPED_TRACE(run + " state " + std::to_string(n));
            ProcessTree tree(plan(records));
            auto rows = SystemProcessCensus().snapshot();
            ASSERT_TRUE(rows);
            std::unordered_map<int32_t, AgentMatch> matches;
            std::map<int32_t, const ProcessInfoRow*> byPid;
            for (const auto& row : *rows)
                byPid[row.pid] = &row;
            for (size_t index = 0; index < records.size(); ++index) {
                const Record& record = records[index];
                SCOPED_TRACE(std::to_string(record.pid) + " " + record.executable);
                auto row = byPid.find(tree.pid(static_cast<int>(index)));
                ASSERT_NE(row, byPid.end());
                EXPECT_EQ(row->second->executablePath,
                          tree.executable(record.executable.substr(1)));
                auto match = AgentCatalog::standard().match(*row->second);
                EXPECT_EQ(match ? match->definition.id : "", record.truth);
                if (!match) continue;
                auto role = kRoles.find({run, record.pid});
                EXPECT_EQ(match->role, role == kRoles.end() ? AgentRole::session : role->second);
                matches.emplace(row->second->pid, *match);
            }
            std::vector<std::string> grouped;
            for (const auto& instance : AgentInstances::of(*rows, matches)) {
                auto root = std::find_if(records.begin(), records.end(), [&](const Record& record) {
                    return tree.pid(static_cast<int>(&record - records.data())) == instance.rootPID;
                });
                if (root == records.end()) continue;
                grouped.push_back(
                    instance.definition.id + " " + std::string(roleWord(instance.role)) + " " +
                    std::to_string(root->pid) + " " + std::to_string(instance.rows.size()));
            }
            EXPECT_EQ(grouped, kInstances.at(run));
        }
    }
}

}  // namespace
}  // namespace vigilmoth
