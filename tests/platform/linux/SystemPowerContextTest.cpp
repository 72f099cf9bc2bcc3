// Show that the power context is read from sysfs trees as a user would expect: a laptop on
// battery (its mouse's battery aside), one charging, a desktop on mains, hot and near-critical
// zones, a throttling laptop that is only fair, and unreadable files that read as nothing; and
// that malformed sysfs text never crashes the parsers.
#include <gtest/gtest.h>

#include <random>

#include "evidence/PowerSupplies.h"
#include "platform/linux/SystemPowerContext.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(SystemPowerContextTest, ReadsFixtureTrees) {
    struct Case {
        const char* tree;
        BatteryReading battery;
        int thermal;
    };
    const std::vector<Case> cases = {
        {"laptop-on-battery", {true, 9, false}, 1},
        {"laptop-charging", {false, 57, true}, 0},
        {"desktop", {false, std::nullopt, false}, 0},
        {"hot", {false, std::nullopt, false}, 2},
        {"near-critical", {false, std::nullopt, false}, 3},
        {"unreadable", {true, std::nullopt, false}, 0},
        {"missing", {false, std::nullopt, false}, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.tree);
        SystemPowerContext context(testing::fixture(std::string("sysfs/") + c.tree).string(),
                                   BusAddress::at("unix:path=/nonexistent"));
        EXPECT_EQ(context.battery(), c.battery);
        EXPECT_EQ(context.thermalState(), c.thermal);
        EXPECT_FALSE(context.lidClosed()) << "no logind, so the lid counts as open";
    }
}

TEST(SystemPowerContextTest, MalformedTextReadsAsNothingNeverACrash) {
    std::mt19937 random(16);
    const auto text = [&](std::string sample) { return testing::mutatedText(sample, random); };
    for (int round = 0; round < 3000; ++round) {
        const auto reading = PowerSupplies::battery(
            {{"BAT0", text("Battery\n"), text("System\n"), text("0\n"), text("Discharging\n"),
              text("42\n")},
             {"AC", text("Mains\n"), "", text("1\n"), "", testing::randomBytes(random, 8)}});
        EXPECT_TRUE(reading.percent.value_or(0) >= 0 && reading.percent.value_or(0) <= 100);
        const int state = PowerSupplies::thermalState(
            {{text("96000\n"), {{text("passive\n"), text("95000\n")}, {"critical", text("1")}}}});
        EXPECT_TRUE(state >= 0 && state <= 3);
    }
    EXPECT_EQ(PowerSupplies::integer(" 42\n"), 42);
    EXPECT_EQ(PowerSupplies::integer("42x"), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
