// Show that settings load, save and migrate from the legacy allowlist in the settings store.
#include <gtest/gtest.h>

#include "base/DefaultsKeys.h"
#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettingsStore.h"

namespace vigilmoth {
namespace {

// Every process name of the catalog's command-line agents, as an older version listed them.
std::vector<std::string> everyCliName(const AgentCatalog& catalog) {
    auto names = catalog.cliNames();
    return {names.begin(), names.end()};
}

class DetectionSettingsStoreTest : public ::testing::Test {
protected:
    MemoryKeyValueStore store;
    const AgentCatalog& catalog = AgentCatalog::standard();

    bool hasLegacyKeys() const {
        return store.value(defaults_keys::legacyAllowlist) ||
               store.value(defaults_keys::legacyKnownDefaults);
    }
};

TEST_F(DetectionSettingsStoreTest, AnEmptyStoreLoadsTheDefaults) {
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), DetectionSettings{});
    EXPECT_FALSE(store.value(defaults_keys::detectionSettings));
}

TEST_F(DetectionSettingsStoreTest, SavedSettingsLoadBack) {
    DetectionSettings settings;
    settings.waitingHold = 42;
    settings.agentRules["goose"] = AgentRule::alwaysWorkingWhileOpen;
    DetectionSettingsStore::save(settings, store);
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), settings);
}

TEST_F(DetectionSettingsStoreTest, UndecodableSettingsGiveTheDefaults) {
    for (const char* stored : {R"({"releaseAfterState":"x"})", "{", "[1,2]"}) {
        SCOPED_TRACE(stored);
        store.set(defaults_keys::detectionSettings, stored);
        EXPECT_EQ(DetectionSettingsStore::load(store, catalog), DetectionSettings{});
    }
    store.set(defaults_keys::detectionSettings, 17);
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), DetectionSettings{});
}

TEST_F(DetectionSettingsStoreTest, TheLegacyAllowlistIsMigratedOnceAndRemoved) {
    ASSERT_TRUE(catalog.cliNames().contains("aider"));
    store.set(defaults_keys::legacyAllowlist,
              nlohmann::json{"Aider", "mytool", "claude", "mytool", "MyTool"});
    store.set(defaults_keys::legacyKnownDefaults, everyCliName(catalog));
    // A broken new value does not stop the migration.
    store.set(defaults_keys::detectionSettings, R"({"waitingHold":"x"})");

    auto settings = DetectionSettingsStore::load(store, catalog);

    EXPECT_EQ(settings.userAgentNames, (std::vector<std::string>{"mytool", "MyTool"}));
    for (const auto& definition : catalog.definitions) {
        SCOPED_TRACE(definition.id);
        bool removed = definition.kind == AgentDefinition::Kind::cli &&
                       !definition.processNames().empty() && definition.id != "claude" &&
                       definition.id != "aider";
        EXPECT_EQ(settings.agentRules.contains(definition.id), removed);
        EXPECT_EQ(settings.rule(definition.id), removed ? AgentRule::ignore : AgentRule::automatic);
    }
    EXPECT_EQ(settings.rule("codex"), AgentRule::ignore);
    EXPECT_EQ(settings.rule("gemini"), AgentRule::ignore);
    EXPECT_EQ(settings.releaseAfterState, 120);
    EXPECT_FALSE(hasLegacyKeys());
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), settings);
}

TEST_F(DetectionSettingsStoreTest, MigrationRules) {
    ASSERT_EQ(catalog.definition("gemini")->processNames(),
              (std::vector<std::string>{"gemini", "gemini-cli"}));
    using Names = std::vector<std::string>;
    struct Case {
        const char* name;
        Names allowlist;
        std::optional<Names> knownDefaults;
        std::map<std::string, AgentRule> rules;
    };
    const auto ignore = AgentRule::ignore;
    const Case cases[] = {
        {"no known defaults ignores nothing", {"aider"}, std::nullopt, {}},
        {"claude is never ignored", {}, Names{"claude"}, {}},
        {"one name of two unknown keeps the agent", {}, Names{"gemini"}, {}},
        {"both names known and absent", {}, Names{"gemini", "GEMINI-CLI"}, {{"gemini", ignore}}},
        {"one name still allowed", {"Gemini-CLI"}, Names{"gemini", "gemini-cli"}, {}},
        {"desktop agents are left alone",
         {},
         Names{"cursor", "codex-desktop", "Codex"},
         {{"codex", ignore}}},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        auto settings =
            DetectionSettingsStore::migrated(item.allowlist, item.knownDefaults, catalog);
        EXPECT_EQ(settings.agentRules, item.rules);
        EXPECT_TRUE(settings.userAgentNames.empty());
    }
}

TEST_F(DetectionSettingsStoreTest, LegacyKeysGoEvenWhenTheSettingsDecode) {
    DetectionSettings saved;
    saved.weakEvidenceCap = 900;
    DetectionSettingsStore::save(saved, store);
    store.set(defaults_keys::legacyAllowlist, nlohmann::json{"mytool"});
    store.set(defaults_keys::legacyKnownDefaults, nlohmann::json{"aider"});
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), saved);
    EXPECT_FALSE(hasLegacyKeys());
}

TEST_F(DetectionSettingsStoreTest, AnAllowlistHoldingNonStringsCountsAsAbsent) {
    store.set(defaults_keys::legacyAllowlist, nlohmann::json{"mytool", 3});
    store.set(defaults_keys::legacyKnownDefaults, nlohmann::json{"aider"});
    EXPECT_EQ(DetectionSettingsStore::load(store, catalog), DetectionSettings{});
    EXPECT_FALSE(store.value(defaults_keys::detectionSettings));
    EXPECT_FALSE(hasLegacyKeys());

    // A broken known-defaults list only loses the "ignore" rules.
    store.set(defaults_keys::legacyAllowlist, nlohmann::json{"mytool"});
    store.set(defaults_keys::legacyKnownDefaults, "aider");
    auto settings = DetectionSettingsStore::load(store, catalog);
    EXPECT_EQ(settings.userAgentNames, std::vector<std::string>{"mytool"});
    EXPECT_TRUE(settings.agentRules.empty());
}

}  // namespace
}  // namespace vigilmoth
