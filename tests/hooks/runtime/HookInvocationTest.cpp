// Show that the hook executable reads its command line strictly and the agents' real input
// leniently: the session, the notification type and the plugin fields, and nothing from
// broken input.
#include "hooks/runtime/HookInvocation.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include <filesystem>
#include <set>

#include "base/Golden.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(HookInvocationTest, ArgumentsNameAKnownAgentAnEventAndAVersion) {
    testing::expectEachLineReads("hooks/invocation-arguments.txt", [](const std::string& line) {
        std::vector<std::string> arguments;
        std::istringstream words(line);
        for (std::string word; words >> word;)
            arguments.push_back(word == "''" ? "" : word);
        auto read = HookInvocation::parse(arguments);
        return read ? read->agent + " " + read->event + " " + std::to_string(read->version) : "-";
    });
}

// Every real input as "file: session notification-type" ("-" for none).
TEST(HookInvocationTest, RealAgentInputGivesSessionAndNotificationType) {
    std::set<std::string> files;
    for (std::string agent : {"claude", "codex"})
        for (const auto& item :
             std::filesystem::directory_iterator(testing::fixture("hook-inputs/" + agent)))
            files.insert(agent + "/" + item.path().filename().string());
    std::string listing;
    for (const auto& file : files) {
        auto input = HookInput::parse(testing::readFile(testing::fixture("hook-inputs/" + file)));
        listing += file + ": " + input.sessionID.value_or("-") + " " +
                   input.notificationType.value_or("-") + "\n";
        EXPECT_FALSE(input.ts || input.seq || input.inst) << file;
    }
    testing::expectGolden("hooks/real-inputs.txt", listing);
}

TEST(HookInvocationTest, OnlyTopLevelMembersOfTheRightKindCount) {
    testing::expectEachLineReads("hooks/hook-inputs.txt", [](const std::string& text) {
        auto input = HookInput::parse(text);
        auto shown = [](const auto& value) { return value ? nlohmann::json(*value).dump() : "-"; };
        return input.sessionID.value_or("-") + " " + input.notificationType.value_or("-") + " " +
               shown(input.ts) + " " + shown(input.seq) + " " + input.inst.value_or("-");
    });
    for (std::string text : {"\xff\xfe{", "{\"session_id\":\"\xc3\x28\"}"})
        EXPECT_EQ(HookInput::parse(text), HookInput{});
}

TEST(HookInvocationTest, RandomAndMutatedInputReadsWholeOrNothing) {
    const std::string seed =
        testing::readFile(testing::fixture("hook-inputs/claude/009-Notification.stdin.json"));
    std::mt19937 random(11);
    for (int round = 0; round < 5000; ++round) {
        std::string text =
            round % 5 == 0 ? testing::randomBytes(random, 200) : testing::mutatedText(seed, random);
        // The whole-document reader is the judge: the same fields, or nothing at all.
        auto input = HookInput::parse(text);
        std::istringstream stream(text);
        EXPECT_EQ(HookInput::parse(stream), input) << text;
        auto document = nlohmann::json::parse(text, nullptr, false);
        if (!document.is_object()) {
            EXPECT_EQ(input, HookInput{}) << text;
            continue;
        }
        auto type = document.find("notification_type");
        EXPECT_EQ(input.notificationType.has_value(), type != document.end() && type->is_string())
            << text;
        auto id = document.find("session_id");
        if (id != document.end() && id->is_string()) {
            EXPECT_EQ(input.sessionID, id->get<std::string>()) << text;
        }
    }
    EXPECT_EQ(HookInput::parse(std::string(200000, '[') + "{"), HookInput{});
    EXPECT_EQ(HookInput::parse("{\"a\":" + std::string(200000, '[')), HookInput{});
}

}  // namespace
}  // namespace vigilmoth
