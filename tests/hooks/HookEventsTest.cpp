// Show that the catalog lists its agents in order with their files, texts and the meaning of
// each event, notification types included, and that the hook
// executable is found by each platform's rule and run by commands any shell reads alike.
#include "hooks/HookEvents.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "base/Golden.h"
#include "base/NameCoded.h"
#include "hooks/HookLocation.h"
#include "hooks/install/HookCatalog.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

std::string word(const HookAction& action) {
    if (action.kind == HookAction::Kind::end) return "end";
    return action.state ? std::string(*codedName(*action.state)) : "ignore";
}

// The whole table in one listing: each entry in installation order with its file, layout and
// texts, then what each of its events means (through meaning(), notification types included).
TEST(HookCatalogTest, EntriesAndTheirRulesMatchTheListing) {
    using Kind = HookCatalogEntry::Format::Kind;
    std::ostringstream out;
    for (const auto& entry : HookCatalog::entries()) {
        const auto kind = entry.format.kind;
        out << entry.id << " " << entry.configPath << " "
            << (kind == Kind::pluginFile      ? "plugin"
                : kind == Kind::jsonFlatHooks ? "flat"
                                              : "groups");
        for (const auto& key : entry.format.keyPath)
            out << " ." << key;
        out << "\n  benefit: " << entry.benefit
            << "\n  after install: " << entry.afterInstall.value_or("-") << "\n  adds:";
        for (auto state : entry.adds)
            out << " " << *codedName(state);
        out << "\n  serves:";
        for (const auto& id : HookEvents::definitionIDs().at(entry.id))
            out << " " << id << (HookEvents::hookAgent(id) == entry.id ? "" : "(not found back)");
        EXPECT_EQ(HookCatalog::entry(entry.id), &entry);
        for (const auto& rule : HookEvents::rules(entry.id)) {
            out << "\n  " << rule.event << " " << word(HookEvents::meaning(entry.id, rule.event));
            if (rule.matcher) out << " [matcher " << *rule.matcher << "]";
            for (const auto& [type, action] : rule.byNotificationType)
                out << "; " << type << " " << word(HookEvents::meaning(entry.id, rule.event, type));
        }
        out << "\n";
    }
    EXPECT_EQ(HookEvents::definitionIDs().size(), HookCatalog::entries().size());
    testing::expectGolden("hooks/catalog.txt", out.str());
}

// Lookups outside the table: a type only counts for an event whose rule looks at types, event
// names are case-sensitive, and unknown agents have no rules.
TEST(HookEventsTest, WhatTheTableDoesNotNameIsIgnored) {
    const std::pair<std::string, std::string> cases[] = {
        {"claude Stop permission_prompt", "idle"}, {"claude Notification auth_success", "ignore"},
        {"claude Notification", "ignore"},         {"cursor Stop", "ignore"},
        {"claude SessionStart", "ignore"},         {"aider Stop", "ignore"}};
    for (const auto& [words, expected] : cases) {
        SCOPED_TRACE(words);
        std::istringstream stream(words);
        std::string agent, event, type;
        stream >> agent >> event >> type;
        EXPECT_EQ(word(HookEvents::meaning(agent, event,
                                           type.empty() ? std::nullopt : std::optional(type))),
                  expected);
    }
    EXPECT_TRUE(HookEvents::rules("aider").empty());
    EXPECT_EQ(HookEvents::hookAgent("aider"), std::nullopt);
    EXPECT_EQ(HookEvents::hookAgent(""), std::nullopt);
    EXPECT_EQ(HookCatalog::entry("aider"), nullptr);
}

TEST(HookLocationTest, TheHookIsFoundByEachPlatformsRule) {
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::macos), "/Contents/MacOS/VigilmothHook");
    EXPECT_EQ(HookLocation::executableSuffix(HostPlatform::linux),
              "/libexec/vigilmoth/VigilmothHook");
    EXPECT_EQ(HookCatalog::hookExecutable("/usr/local"),
              "/usr/local" + std::string(HookLocation::executableSuffix()));
    testing::expectEachLineReads("hooks/app-paths.txt", [](const std::string& line) {
        const auto space = line.rfind(' ');
        return HookLocation::appPath(line.substr(0, space), line.substr(space + 1) == "macos"
                                                                ? HostPlatform::macos
                                                                : HostPlatform::linux);
    });
}

// The shell itself is the judge of the quoting: whatever the path, the hook receives exactly
// the three words, and a missing hook leaves the status 0. (The listings of installed
// settings show the commands as written.)
TEST(HookCatalogTest, CommandsQuoteTheApplicationAsOneShellWord) {
    testing::TemporaryFolder folder;
    for (std::string name : {"plain", "My App's", "a'b''c", "$(false) `x` \"q\"", "back\\slash",
                             "star * and ; semi"}) {
        SCOPED_TRACE(name);
        std::string app = folder / name;
        std::string hook = HookCatalog::hookExecutable(app);
        std::filesystem::create_directories(std::filesystem::path(hook).parent_path());
        testing::writeFile(hook, "#!/bin/sh\nprintf '%s|' \"$@\"\nexit 3\n");
        std::filesystem::permissions(hook, std::filesystem::perms::owner_all);
        auto ran = testing::runProcess("/bin/sh", {"-c", HookCatalog::command("pi", "a b", app)});
        EXPECT_EQ(ran.status, 0);
        EXPECT_EQ(ran.out, "pi|a|b|v=1|");
        std::filesystem::remove(hook);
        auto missing = testing::runProcess("/bin/sh", {"-c", HookCatalog::command("pi", "x", app)});
        EXPECT_EQ(missing.status, 0);
        EXPECT_EQ(missing.out, "");
    }
}

}  // namespace
}  // namespace vigilmoth
