// Show that a process is matched to the right agent and role: desktop definitions first, the
// bundle guard, every matcher and argument pattern, the unless lists, exclusions in order, and
// the user's own agent names.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "base/Golden.h"
#include "catalog/AgentCatalog.h"

namespace vigilmoth {
namespace {

using Words = std::vector<std::string>;

Words split(const std::string& text, char separator) {
    Words parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    if (text.ends_with(separator)) parts.emplace_back();
    return parts;
}

TEST(AgentMatchingTest, ProcessesMatchTheirAgentAndRole) {
    for (const auto& row : testing::tableRows("catalog/matches.txt")) {
        SCOPED_TRACE(row.where);
        auto parts = split(row.cells.at(1), '|');
        if (parts.empty()) parts.emplace_back();
        auto match = AgentCatalog::standard().match(
            {.executablePath = parts[0], .arguments = Words(parts.begin() + 1, parts.end())},
            row.cells.size() > 2 ? split(row.cells[2], ' ') : Words{});
        EXPECT_EQ(match ? match->definition.id + " " + std::string(roleWord(match->role)) : "-",
                  row.cells[0]);
    }
}

TEST(AgentMatchingTest, AUserNamedAgentIsAGenericCommandLineAgent) {
    auto match = AgentCatalog::standard().match(
        {.executablePath = "/usr/local/bin/mybot", .arguments = {"mybot"}}, {"MyBot"});
    ASSERT_TRUE(match);
    EXPECT_EQ(match->definition.displayName, "MyBot");
    EXPECT_EQ(match->definition.level, AgentDefinition::Level::generic);
    EXPECT_EQ(match->definition.kind, AgentDefinition::Kind::cli);
    EXPECT_FALSE(match->definition.verified);
    EXPECT_EQ(match->definition.processNames(), Words{"mybot"});
}

TEST(AgentMatchingTest, EveryCommandLineDefinitionMatchesItsOwnNames) {
    const auto& catalog = AgentCatalog::standard();
    for (const auto& definition : catalog.definitions) {
        for (const auto& name : definition.processNames()) {
            SCOPED_TRACE(name);
            auto match =
                catalog.match({.executablePath = "/usr/local/bin/" + name, .arguments = {name}});
            ASSERT_TRUE(match);
            EXPECT_EQ(match->definition.id, definition.id);
        }
    }
}

}  // namespace
}  // namespace vigilmoth
