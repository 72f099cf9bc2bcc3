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
    using Arguments = std::vector<std::string>;
    const std::pair<Arguments, HookInvocation> read[] = {
        {{"claude", "Stop", "v=1"}, {"claude", "Stop", 1}},
        {{"opencode", "session.busy", "v=3"}, {"opencode", "session.busy", 3}},
        {{"pi", "agent_start"}, {"pi", "agent_start", 1}},
        {{"pi", "agent_start", "v=2", "extra"}, {"pi", "agent_start", 2}}};
    for (const auto& [arguments, expected] : read)
        EXPECT_EQ(HookInvocation::parse(arguments), expected)
            << ::testing::PrintToString(arguments);
    // An id outside the catalog could name any file; it is refused.
    const Arguments refused[] = {{},
                                 {"claude"},
                                 {"claude", ""},
                                 {"../../etc/x", "Stop", "v=1"},
                                 {"aider", "Stop", "v=1"},
                                 {"claude", "Stop", "v="},
                                 {"claude", "Stop", "v=0"},
                                 {"claude", "Stop", "v=1x"},
                                 {"claude", "Stop", "1"}};
    for (const auto& arguments : refused)
        EXPECT_EQ(HookInvocation::parse(arguments), std::nullopt)
            << ::testing::PrintToString(arguments);
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
    const std::pair<std::string, HookInput> cases[] = {
        {R"({"session_id":"s1","seq":4,"ts":1795248121054,"inst":"ab12"})",
         {"s1", std::nullopt, 1795248121054.0, 4, "ab12"}},
        // A session id inside a tool's input is the tool's business.
        {R"({"tool_input":{"session_id":"inner","seq":9},"session_id":"outer"})",
         {"outer", {}, {}, {}, {}}},
        {R"({"tool_input":[{"session_id":"inner"}]})", {}},
        {R"({"session_id":12,"notification_type":["idle_prompt"],"seq":"3","inst":1})", {}},
        {R"({"seq":1.5,"ts":"now"})", {}},
        {R"({"seq":18446744073709551615})", {}},
        // Cursor names its conversation; other agents spell the session in camel case.
        {R"({"conversation_id":"c"})", {"c", {}, {}, {}, {}}},
        {R"({"sessionId":"x","conversation_id":"c","session_id":"s"})", {"s", {}, {}, {}, {}}},
        {R"({"session_id":"s"} trailing)", {}},
        {R"({"session_id":"s")", {}},
        {R"(["session_id","s"])", {}},
        {R"("session_id")", {}},
        {"", {}},
        {"\xff\xfe{", {}},
        {"{\"session_id\":\"\xc3\x28\"}", {}}};
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HookInput::parse(text), expected);
    }
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
