// Show that stored settings decode forgivingly, clamped, and fail whole on a wrong type.
#include <random>

#include <gtest/gtest.h>

#include "decision/DetectionSettings.h"
#include "support/FuzzInput.h"

namespace vigilmoth {
namespace {

DetectionSettings decoded(const std::string& text) {
    auto settings = decodeJSONText<DetectionSettings>(text);
    EXPECT_TRUE(settings) << text;
    return settings.value_or(DetectionSettings{});
}

TEST(DetectionSettingsTest, MissingKeysTakeTheDefaults) {
    auto settings = decoded("{}");
    EXPECT_EQ(settings, DetectionSettings{});
    EXPECT_EQ(settings.releaseAfterState, 120);
    EXPECT_EQ(settings.releaseAfterActivity, 300);
    EXPECT_EQ(settings.waitingHold, 300);
    EXPECT_EQ(settings.weakEvidenceCap, 1800);
    EXPECT_EQ(settings.batteryFloorPercent, 20);
    EXPECT_TRUE(settings.batteryFloorEnabled && settings.stayAwakeLidClosedOnBattery &&
                settings.displayOffLidClosed && settings.dimAsLidCloses &&
                settings.stayAwakeForRemoteAccess);
    EXPECT_TRUE(settings.agentRules.empty());
    EXPECT_TRUE(settings.userAgentNames.empty());
    EXPECT_EQ(decoded(R"({"waitingHold":null})"), DetectionSettings{});
}

TEST(DetectionSettingsTest, DurationsAndBatteryFloorAreClamped) {
    struct Case {
        std::string text;
        double releaseAfterState;
        double weakEvidenceCap;
        int batteryFloorPercent;
    };
    const Case cases[] = {
        {R"({"releaseAfterState":0.5})", 120, 1800, 20},
        {R"({"releaseAfterState":1})", 1, 1800, 20},
        {R"({"releaseAfterState":0})", 120, 1800, 20},
        {R"({"releaseAfterState":-50})", 120, 1800, 20},
        {R"({"releaseAfterState":100000})", 86400, 1800, 20},
        {R"({"releaseAfterState":86400})", 86400, 1800, 20},
        {R"({"releaseAfterState":1e308})", 86400, 1800, 20},
        {R"({"weakEvidenceCap":3600.5})", 120, 3600.5, 20},
        {R"({"weakEvidenceCap":0.999})", 120, 1800, 20},
        {R"({"batteryFloorPercent":2})", 120, 1800, 5},
        {R"({"batteryFloorPercent":90})", 120, 1800, 50},
        {R"({"batteryFloorPercent":-9223372036854775808})", 120, 1800, 5},
        {R"({"batteryFloorPercent":35})", 120, 1800, 35},
        {R"({"batteryFloorPercent":30.0})", 120, 1800, 30},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.text);
        auto settings = decoded(item.text);
        EXPECT_EQ(settings.releaseAfterState, item.releaseAfterState);
        EXPECT_EQ(settings.weakEvidenceCap, item.weakEvidenceCap);
        EXPECT_EQ(settings.batteryFloorPercent, item.batteryFloorPercent);
    }
    // Each duration is clamped on its own and falls back to its own default.
    auto settings = decoded(R"({"releaseAfterActivity":0.1,"waitingHold":1e9})");
    EXPECT_EQ(settings.releaseAfterActivity, 300);
    EXPECT_EQ(settings.waitingHold, 86400);
}

TEST(DetectionSettingsTest, AValueOfTheWrongTypeFailsTheWholeDecode) {
    const std::string cases[] = {
        R"({"releaseAfterState":"x"})",
        R"({"waitingHold":true})",
        R"({"batteryFloorPercent":20.5})",
        R"({"batteryFloorPercent":"20"})",
        R"({"batteryFloorPercent":1e300})",
        R"({"batteryFloorEnabled":1})",
        R"({"dimAsLidCloses":"true"})",
        R"({"agentRules":[]})",
        R"({"agentRules":{"codex":"sometimes"}})",
        R"({"agentRules":{"codex":1}})",
        R"({"userAgentNames":"mytool"})",
        R"({"userAgentNames":["mytool",1]})",
        R"([])",
        R"(not json)",
    };
    for (const auto& text : cases) {
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
    EXPECT_EQ(text,
              R"({"releaseAfterState":60.5,"releaseAfterActivity":300.0,"waitingHold":300.0,)"
              R"("weakEvidenceCap":1800.0,"batteryFloorPercent":50,"batteryFloorEnabled":true,)"
              R"("stayAwakeLidClosedOnBattery":true,"displayOffLidClosed":true,)"
              R"("dimAsLidCloses":false,"stayAwakeForRemoteAccess":true,)"
              R"("agentRules":{"codex":"ignore","user:my\/tool":"alwaysWorkingWhileOpen"},)"
              R"("userAgentNames":["my\/tool","Other"]})");
    EXPECT_EQ(decoded(text), settings);
    EXPECT_EQ(settings.rule("codex"), AgentRule::ignore);
    EXPECT_EQ(settings.rule("claude"), AgentRule::automatic);
}

TEST(DetectionSettingsTest, RulesAndModesAreNamedByTheirCases) {
    using Rules = std::array<AgentRule, 3>;
    EXPECT_EQ(allCases<AgentRule>(),
              (Rules{AgentRule::automatic, AgentRule::alwaysWorkingWhileOpen, AgentRule::ignore}));
    using Modes = std::array<AwakeMode, 3>;
    EXPECT_EQ(allCases<AwakeMode>(),
              (Modes{AwakeMode::always, AwakeMode::agentOpen, AwakeMode::agentWorking}));
    EXPECT_EQ(namedCase<AwakeMode>("agentOpen"), AwakeMode::agentOpen);
    EXPECT_EQ(namedCase<AgentRule>("alwaysWorkingWhileOpen"), AgentRule::alwaysWorkingWhileOpen);
    EXPECT_FALSE(namedCase<AwakeMode>("AgentOpen"));
    EXPECT_FALSE(namedCase<AgentRule>(""));
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

}  // namespace
}  // namespace vigilmoth
