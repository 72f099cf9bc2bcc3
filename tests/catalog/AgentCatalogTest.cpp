// Show that the standard catalog holds every known agent in matching order, with the names,
// levels and flags that the rest of the program keys on, and the word lists used for decoding.
#include "catalog/AgentCatalog.h"
#include "catalog/AgentDefinitions.h"

#include <gtest/gtest.h>

#include <sstream>

#include "base/Golden.h"

namespace vigilmoth {
namespace {

// Every definition in matching order (desktop apps first) as "id | name | level kind
// [verified] | process names"; names come only from name matchers.
TEST(AgentCatalogTest, HoldsEveryDefinitionInMatchingOrder) {
    const auto& catalog = AgentCatalog::standard();
    std::ostringstream out;
    std::set<std::string> cliNames;
    for (size_t index = 0; index < catalog.definitions.size(); ++index) {
        const auto& definition = catalog.definitions[index];
        const bool desktop = definition.kind == AgentDefinition::Kind::desktop;
        out << definition.id << " | " << definition.displayName << " | "
            << (definition.level == AgentDefinition::Level::state ? "state" : "activity")
            << (desktop ? " desktop" : " cli") << (definition.verified ? " verified" : "") << " |";
        for (const auto& name : definition.processNames()) {
            out << " " << name;
            if (!desktop) cliNames.insert(name);
        }
        out << "\n";
        EXPECT_EQ(catalog.definition(definition.id), &definition);
        EXPECT_EQ(definition,
                  index < AgentDefinitions::desktop().size()
                      ? AgentDefinitions::desktop()[index]
                      : AgentDefinitions::cli()[index - AgentDefinitions::desktop().size()]);
    }
    testing::expectGolden("catalog/definitions.txt", out.str());
    EXPECT_EQ(catalog.definitions.size(),
              AgentDefinitions::desktop().size() + AgentDefinitions::cli().size());
    // The command-line names are those of every command-line definition, and nothing else.
    EXPECT_EQ(catalog.cliNames(), cliNames);
    EXPECT_EQ(catalog.definition("Codex"), nullptr) << "ids are case-sensitive";
    EXPECT_EQ(catalog.definition(""), nullptr);
}

}  // namespace
}  // namespace vigilmoth
