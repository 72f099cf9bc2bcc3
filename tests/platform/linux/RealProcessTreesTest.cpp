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

// Per run, the instances ("agent role root processes") and the roles of processes that are not
// sessions, by pid.
struct Expected {
    std::vector<std::string> instances;
    std::map<int, std::string> roles;
};

std::map<std::string, Expected> expected() {
    std::map<std::string, Expected> result;
    std::ifstream lines(testing::fixture("processes/expected.txt"));
    for (std::string run, kind, rest; lines >> run >> kind && std::getline(lines, rest);) {
        if (kind == "instance") result[run].instances.push_back(rest.substr(1));
        if (kind == "role") result[run].roles[std::stoi(rest)] = rest.substr(rest.rfind(' ') + 1);
    }
    return result;
}

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
    const auto truth = expected();
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
                const auto& roles = truth.at(run).roles;
                EXPECT_EQ(roleWord(match->role),
                          roles.contains(record.pid) ? roles.at(record.pid) : "session");
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
            EXPECT_EQ(grouped, truth.at(run).instances);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
