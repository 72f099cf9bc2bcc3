// Show that stored settings decode forgivingly, clamped, and fail whole on a wrong type, and
// that the settings store loads, saves and migrates them from the legacy allowlist.
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "base/DefaultsKeys.h"
#include "base/Golden.h"
#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettings.h"
#include "decision/DetectionSettingsStore.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(DetectionSettingsTest, MissingKeysTakeTheDefaultsAndOutOfRangeValuesAreClamped) {
    std::istringstream lines(testing::readFile(testing::fixture("decision/settings-clamped.txt")));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('#')) continue;
        SCOPED_TRACE(line);
        std::istringstream read(line);
        std::string text;
        auto expected = DetectionSettings{};
        read >> text >> expected.releaseAfterState >> expected.weakEvidenceCap >>
            expected.batteryFloorPercent;
        EXPECT_EQ(decodeJSONText<DetectionSettings>(text), expected);
    }
    // Each duration is clamped on its own and falls back to its own default.
    auto settings =
        decodeJSONText<DetectionSettings>(R"({"releaseAfterActivity":0.1,"waitingHold":1e9})");
    ASSERT_TRUE(settings);
    EXPECT_EQ(settings->releaseAfterActivity, 300);
    EXPECT_EQ(settings->waitingHold, 86400);
}

TEST(DetectionSettingsTest, AValueOfTheWrongTypeFailsTheWholeDecode) {
    std::istringstream texts(
        testing::readFile(testing::fixture("decision/settings-wrong-type.txt")));
    for (std::string text; std::getline(texts, text);) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(decodeJSONText<DetectionSettings>(text));
    }
}

TEST(DetectionSettingsTest, EncodingKeepsTheFieldOrderAndReadsBack) {
    DetectionSettings settings;
    settings.releaseAfterState = 60.5;
    settings.batteryFloorPercent = 50;
    settings.dimAsLidCloses = false;
    settings.agentRules = {{"codex", AgentRule::ignore},
                           {"user:my/tool", AgentRule::alwaysWorkingWhileOpen}};
    settings.userAgentNames = {"my/tool", "Other"};
    auto text = encodeJSONText(settings);
    testing::expectGolden("decision/settings-encoded.json", text);
    EXPECT_EQ(decodeJSONText<DetectionSettings>(text), settings);
    EXPECT_EQ(settings.rule("codex"), AgentRule::ignore);
    EXPECT_EQ(settings.rule("claude"), AgentRule::automatic);
    // Stored names are matched exactly; an unknown mode falls back to agentWorking.
    EXPECT_EQ(namedCase<AgentRule>("alwaysWorkingWhileOpen"), AgentRule::alwaysWorkingWhileOpen);
    EXPECT_FALSE(namedCase<AwakeMode>("AgentOpen"));
    EXPECT_EQ(storedAwakeMode("always"), AwakeMode::always);
    EXPECT_EQ(storedAwakeMode("sometimes"), AwakeMode::agentWorking);
    EXPECT_EQ(storedAwakeMode(std::nullopt), AwakeMode::agentWorking);
}

TEST(DetectionSettingsTest, MutatedSettingsNeverCrashTheDecoder) {
    DetectionSettings settings;
    settings.agentRules = {{"aider", AgentRule::ignore}};
    settings.userAgentNames = {"mytool"};
    const auto text = encodeJSONText(settings);
    std::mt19937 random(5);
    for (int index = 0; index < 5000; ++index) {
        if (auto decoded = decodeJSONText<DetectionSettings>(testing::mutatedText(text, random))) {
            EXPECT_GE(decoded->batteryFloorPercent, 5);
            EXPECT_LE(decoded->batteryFloorPercent, 50);
            EXPECT_LE(decoded->releaseAfterState, 86400);
            EXPECT_GE(decoded->releaseAfterState, 1);
        }
        EXPECT_FALSE(decodeJSONText<DetectionSettings>(testing::randomBytes(random, 100)));
    }
}

class DetectionSettingsStoreTest : public ::testing::Test {
protected:
    MemoryKeyValueStore store;
    const AgentCatalog& catalog = AgentCatalog::standard();

    DetectionSettings load() { return DetectionSettingsStore::load(store, catalog); }
    void storeLegacy(nlohmann::json allowlist, nlohmann::json knownDefaults) {
        store.set(defaults_keys::legacyAllowlist, allowlist);
        store.set(defaults_keys::legacyKnownDefaults, knownDefaults);
    }
    bool hasLegacyKeys() const {
        return store.value(defaults_keys::legacyAllowlist) ||
               store.value(defaults_keys::legacyKnownDefaults);
    }
};

TEST_F(DetectionSettingsStoreTest, SavedSettingsLoadBackAndUndecodableOnesGiveTheDefaults) {
    EXPECT_EQ(load(), DetectionSettings{});
    EXPECT_FALSE(store.value(defaults_keys::detectionSettings));
    DetectionSettings settings;
    settings.waitingHold = 42;
    settings.agentRules["goose"] = AgentRule::alwaysWorkingWhileOpen;
    DetectionSettingsStore::save(settings, store);
    EXPECT_EQ(load(), settings);
    for (const nlohmann::json& stored : {nlohmann::json(R"({"releaseAfterState":"x"})"),
                                         nlohmann::json("{"), nlohmann::json(17)}) {
        SCOPED_TRACE(stored.dump());
        store.set(defaults_keys::detectionSettings, stored);
        EXPECT_EQ(load(), DetectionSettings{});
    }
}

TEST_F(DetectionSettingsStoreTest, TheLegacyAllowlistIsMigratedOnceAndRemoved) {
    ASSERT_TRUE(catalog.cliNames().contains("aider"));
    const auto cliNames = catalog.cliNames();
    storeLegacy({"Aider", "mytool", "claude", "mytool", "MyTool"},
                std::vector<std::string>(cliNames.begin(), cliNames.end()));
    // A broken new value does not stop the migration.
    store.set(defaults_keys::detectionSettings, R"({"waitingHold":"x"})");
    auto settings = load();
    EXPECT_EQ(settings.userAgentNames, (std::vector<std::string>{"mytool", "MyTool"}));
    for (const auto& definition : catalog.definitions) {
        SCOPED_TRACE(definition.id);
        bool removed = definition.kind == AgentDefinition::Kind::cli &&
                       !definition.processNames().empty() && definition.id != "claude" &&
                       definition.id != "aider";
        EXPECT_EQ(settings.agentRules.contains(definition.id), removed);
    }
    EXPECT_EQ(settings.rule("codex"), AgentRule::ignore);
    EXPECT_EQ(settings.rule("gemini"), AgentRule::ignore);
    EXPECT_EQ(settings.releaseAfterState, 120);
    EXPECT_FALSE(hasLegacyKeys());
    EXPECT_EQ(load(), settings);
}

TEST_F(DetectionSettingsStoreTest, MigrationRules) {
    ASSERT_EQ(catalog.definition("gemini")->processNames(),
              (std::vector<std::string>{"gemini", "gemini-cli"}));
    using Names = std::vector<std::string>;
    using Rules = std::map<std::string, AgentRule>;
    const auto ignore = AgentRule::ignore;
    const std::tuple<const char*, Names, std::optional<Names>, Rules> cases[] = {
        {"no known defaults ignores nothing", {"aider"}, std::nullopt, {}},
        {"claude is never ignored", {}, Names{"claude"}, {}},
        {"one name of two unknown keeps the agent", {}, Names{"gemini"}, {}},
        {"both names known and absent", {}, Names{"gemini", "GEMINI-CLI"}, {{"gemini", ignore}}},
        {"one name still allowed", {"Gemini-CLI"}, Names{"gemini", "gemini-cli"}, {}},
        {"desktop agents are left alone",
         {},
         Names{"cursor", "codex-desktop", "Codex"},
         Rules{{"codex", ignore}}},
    };
    for (const auto& [name, allowlist, knownDefaults, rules] : cases) {
        SCOPED_TRACE(name);
        auto settings = DetectionSettingsStore::migrated(allowlist, knownDefaults, catalog);
        EXPECT_EQ(settings.agentRules, rules);
        EXPECT_TRUE(settings.userAgentNames.empty());
    }
}

TEST_F(DetectionSettingsStoreTest, LegacyKeysGoWhateverTheyHold) {
    // Settings that decode win, and the legacy keys still go.
    DetectionSettings saved;
    saved.weakEvidenceCap = 900;
    DetectionSettingsStore::save(saved, store);
    storeLegacy({"mytool"}, {"aider"});
    EXPECT_EQ(load(), saved);
    EXPECT_FALSE(hasLegacyKeys());
    // An allowlist holding non-strings counts as absent.
    store.remove(defaults_keys::detectionSettings);
    storeLegacy({"mytool", 3}, {"aider"});
    EXPECT_EQ(load(), DetectionSettings{});
    EXPECT_FALSE(store.value(defaults_keys::detectionSettings));
    EXPECT_FALSE(hasLegacyKeys());
    // A broken known-defaults list only loses the "ignore" rules.
    storeLegacy({"mytool"}, "aider");
    auto settings = load();
    EXPECT_EQ(settings.userAgentNames, std::vector<std::string>{"mytool"});
    EXPECT_TRUE(settings.agentRules.empty());
}

}  // namespace
}  // namespace vigilmoth
