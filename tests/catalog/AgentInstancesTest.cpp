// Show that matched processes group into one instance per agent session, with the processes
// below each root, and that parent cycles cannot hang the grouping.
#include <gtest/gtest.h>

#include <sstream>

#include "base/Golden.h"
#include "catalog/AgentCatalog.h"
#include "catalog/AgentInstances.h"

namespace vigilmoth {
namespace {

// Processes written "pid ppid [agent role] [: argument 0|argument 1|...]"; each instance as
// "agent role root: pids in order".
std::vector<std::string> grouped(const std::vector<std::string>& processes) {
    std::vector<ProcessInfoRow> rows;
    std::unordered_map<int32_t, AgentMatch> matches;
    for (const auto& process : processes) {
        auto colon = process.find(" : ");
        std::istringstream head(process.substr(0, colon));
        ProcessInfoRow row;
        std::string id, role;
        head >> row.pid >> row.ppid >> id >> role;
        row.startTime = 1000.0 + row.pid;
        for (auto from = colon; from != std::string::npos;) {
            from += from == colon ? 3 : 1;
            auto bar = process.find('|', from);
            row.arguments.push_back(process.substr(from, bar - from));
            from = bar;
        }
        rows.push_back(row);
        if (!id.empty())
            matches[row.pid] = {AgentDefinition{.id = id}, *namedCase<AgentRole>(role)};
    }
    std::vector<std::string> result;
    for (const auto& instance : AgentInstances::of(rows, matches)) {
        std::string text = instance.definition.id + " " + std::string(roleWord(instance.role)) +
                           " " + std::to_string(instance.rootPID) + ":";
        for (const auto& row : instance.rows)
            text += " " + std::to_string(row.pid);
        EXPECT_EQ(instance.rootStartTime, 1000 + instance.rootPID);
        result.push_back(text);
    }
    return result;
}

using Texts = std::vector<std::string>;

Texts list(const std::string& text) {
    Texts items;
    for (std::size_t from = 0; from < text.size();) {
        auto end = std::min(text.find("; ", from), text.size());
        items.push_back(text.substr(from, end - from));
        from = end + 2;
    }
    return items;
}

TEST(AgentInstancesTest, GroupsProcessesUnderTheirRoots) {
    for (const auto& row : testing::tableRows("catalog/instances.txt")) {
        SCOPED_TRACE(row.where);
        EXPECT_EQ(grouped(list(row.cells.at(0))), list(row.cells.at(1)));
    }
}

TEST(AgentInstancesTest, InstanceRowsAreTheCensusRows) {
    ProcessInfoRow root{.pid = 5, .ppid = 1, .startTime = 77.25, .arguments = {"claude"}};
    ProcessInfoRow child{.pid = 6, .ppid = 5, .startTime = 77.25, .arguments = {"rg"}};
    AgentDefinition definition = *AgentCatalog::standard().definition("claude");
    auto instances =
        AgentInstances::of({root, child}, {{5, AgentMatch{definition, AgentRole::session}}});
    ASSERT_EQ(instances.size(), 1u);
    EXPECT_EQ(instances[0].definition, definition);
    EXPECT_EQ(instances[0].rootPID, 5);
    EXPECT_EQ(instances[0].rootStartTime, 77.25);
    EXPECT_EQ(instances[0].rows, (std::vector<ProcessInfoRow>{root, child}));
}

}  // namespace
}  // namespace vigilmoth
