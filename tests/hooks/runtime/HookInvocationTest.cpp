// Show that the hook executable reads its command line strictly and the agents' real input
// leniently: the session, the notification type and the plugin fields, and nothing from
// broken input.
#include "hooks/runtime/HookInvocation.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <sstream>

#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

TEST(HookInvocationTest, ArgumentsNameAKnownAgentAnEventAndAVersion) {
    using Arguments = std::vector<std::string>;
    struct Case {
        Arguments arguments;
        std::optional<HookInvocation> expected;
    };
    const std::vector<Case> cases{
        {{"claude", "Stop", "v=1"}, HookInvocation{"claude", "Stop", 1}},
        {{"opencode", "session.busy", "v=3"}, HookInvocation{"opencode", "session.busy", 3}},
        {{"pi", "agent_start"}, HookInvocation{"pi", "agent_start", 1}},
        {{"pi", "agent_start", "v=2", "extra"}, HookInvocation{"pi", "agent_start", 2}},
        {{}, std::nullopt},
        {{"claude"}, std::nullopt},
        {{"claude", ""}, std::nullopt},
        // An id outside the catalog could name any file; it is refused.
        {{"../../etc/x", "Stop", "v=1"}, std::nullopt},
        {{"aider", "Stop", "v=1"}, std::nullopt},
        {{"claude", "Stop", "v="}, std::nullopt},
        {{"claude", "Stop", "v=0"}, std::nullopt},
        {{"claude", "Stop", "v=1x"}, std::nullopt},
        {{"claude", "Stop", "1"}, std::nullopt},
    };
    for (const auto& c : cases) {
        std::string joined;
        for (const auto& word : c.arguments)
            joined += "[" + word + "]";
        SCOPED_TRACE(joined);
        EXPECT_EQ(HookInvocation::parse(c.arguments), c.expected);
    }
}

TEST(HookInvocationTest, RealAgentInputGivesSessionAndNotificationType) {
    const std::string claude = "f2fbb6b7-5f57-42e0-9900-8f46d12555f1";
    const std::string codex = "01a1fd22-02d0-7c33-8c55-0c575da3900f";
    struct Case {
        std::string file;
        std::string session;
        std::optional<std::string> type;
    };
    const std::vector<Case> cases{
        {"claude/003-UserPromptSubmit.stdin.json", claude, std::nullopt},
        {"claude/009-Notification.stdin.json", claude, "permission_prompt"},
        {"claude/031-PostToolUse.stdin.json", claude, std::nullopt},
        {"claude/034-Stop.stdin.json", claude, std::nullopt},
        {"claude/035-Notification.stdin.json", claude, "idle_prompt"},
        {"claude/040-SessionEnd.stdin.json", claude, std::nullopt},
        {"codex/003-PreToolUse.stdin.json", codex, std::nullopt},
        {"codex/010-PermissionRequest.stdin.json", codex, std::nullopt},
        {"codex/029-Interrupt.stdin.json", codex, std::nullopt},
        {"codex/043-SessionEnd.stdin.json", "01a1fd23-c2d1-7961-b6cf-01669b726a72", std::nullopt},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file);
        auto input = HookInput::parse(testing::readFile(testing::fixture("hook-inputs/" + c.file)));
        EXPECT_EQ(input.sessionID, c.session);
        EXPECT_EQ(input.notificationType, c.type);
        EXPECT_EQ(input.seq, std::nullopt);
    }
}

TEST(HookInvocationTest, OnlyTopLevelMembersOfTheRightKindCount) {
    struct Case {
        std::string text;
        HookInput expected;
    };
    const std::vector<Case> cases{
        {R"({"session_id":"s1","seq":4,"ts":1795248121054,"inst":"ab12"})",
         {"s1", std::nullopt, 1795248121054.0, 4, "ab12"}},
        // A session id inside a tool's input is the tool's business.
        {R"({"tool_input":{"session_id":"inner","seq":9},"session_id":"outer"})",
         {"outer", std::nullopt, std::nullopt, std::nullopt, std::nullopt}},
        {R"({"tool_input":[{"session_id":"inner"}]})", {}},
        {R"({"session_id":12,"notification_type":["idle_prompt"],"seq":"3","inst":1})", {}},
        {R"({"seq":1.5,"ts":"now"})", {}},
        {R"({"seq":18446744073709551615})", {}},
        // Cursor names its conversation; other agents spell the session in camel case.
        {R"({"conversation_id":"c"})",
         {"c", std::nullopt, std::nullopt, std::nullopt, std::nullopt}},
        {R"({"sessionId":"x","conversation_id":"c","session_id":"s"})",
         {"s", std::nullopt, std::nullopt, std::nullopt, std::nullopt}},
        {R"({"session_id":"s"} trailing)", {}},
        {R"({"session_id":"s")", {}},
        {R"(["session_id","s"])", {}},
        {R"("session_id")", {}},
        {"", {}},
        {"\xff\xfe{", {}},
        {"{\"session_id\":\"\xc3\x28\"}", {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(HookInput::parse(c.text), c.expected);
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
