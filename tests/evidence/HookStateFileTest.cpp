// Show that hook state files keep their key, folder and JSON contract, and that no text,
// however broken, decodes into anything but a whole file or nothing.
#include "evidence/HookStateFile.h"

#include <gtest/gtest.h>

#include <random>

#include "support/FuzzInput.h"

namespace vigilmoth {
namespace {

TEST(HookStateFileTest, SessionKeysAreFnv1aInSixteenHexDigits) {
    struct Case {
        std::optional<std::string> id;
        std::string key;
    };
    const std::vector<Case> cases{
        {std::nullopt, "none"},
        {"", "none"},
        {"a", "af63dc4c8601ec8c"},
        {"foobar", "85944171f73967e8"},
        // The hash is over bytes (one non-ASCII letter is two), and this one needs padding.
        {"\xc3\xa9", "0ac21707b7181e01"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id.value_or("(absent)"));
        std::string key = HookStateFile::sessionKey(c.id);
        EXPECT_EQ(key, c.key);
        if (c.key != "none") {
            EXPECT_EQ(key.size(), 16u);
            EXPECT_EQ(key.find_first_not_of("0123456789abcdef"), std::string::npos);
        }
    }
    EXPECT_EQ(HookStateFile::fnv1a(""), 0xcbf29ce484222325ULL);
}

TEST(HookStateFileTest, TheFolderComesFromTheVariableUnlessItIsEmpty) {
    PathEnvironment paths;
    paths.home = "/home/u";
    std::string fallback = HookStateFile::defaultDirectory(paths);
    EXPECT_TRUE(fallback.ends_with("/com.vigilmoth.app/hooks"));
    EXPECT_TRUE(fallback.starts_with("/home/u/"));
    EXPECT_EQ(HookStateFile::directory(paths, std::nullopt), fallback);
    EXPECT_EQ(HookStateFile::directory(paths, ""), fallback);
    EXPECT_EQ(HookStateFile::directory(paths, "/tmp/h"), "/tmp/h");
    EXPECT_EQ(HookStateFile::fileName("claude", 4242), "claude-4242.json");
}

TEST(HookStateFileTest, EncodingRoundTripsAndOmitsAbsentKeys) {
    HookStateFile file{1, "pi", 77, 1795248121.054266, {}};
    file.sessions["none"] = {"idle",       "session_start", 1795248122.5,
                             std::nullopt, std::nullopt,    std::nullopt};
    file.sessions["00000000000000ab"] = {"working", "agent_start", 1795248123.25, 1795248123250.0,
                                         12,        "k3j2abc"};
    std::string text = file.encode();
    EXPECT_EQ(HookStateFile::decode(text), file);
    EXPECT_TRUE(text.starts_with(R"({"v":1,"agent":"pi","pid":77,"start":)")) << text;
    EXPECT_NE(text.find(R"("none":{"state":"idle","event":"session_start","at":1795248122.5})"),
              std::string::npos)
        << text;
}

TEST(HookStateFileTest, IncompleteOrMistypedFilesDecodeToNothing) {
    const std::string good =
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"none":{"state":"idle","event":"Stop","at":2}}})";
    ASSERT_TRUE(HookStateFile::decode(good));
    const std::vector<std::string> bad{
        "",
        "[]",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5})",
        R"({"v":1,"agent":"claude","pid":5,"sessions":{}})",
        R"({"v":"1","agent":"claude","pid":5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":7,"pid":5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":2147483648,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":5.5,"start":1.5,"sessions":{}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":[]})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","at":2}}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","event":"Stop","at":2,"seq":1.5}}})",
        R"({"v":1,"agent":"claude","pid":5,"start":1.5,"sessions":{"a":{"state":"idle","event":"Stop","at":2,"inst":3}}})",
        good.substr(0, good.size() - 1),
    };
    for (const auto& text : bad) {
        SCOPED_TRACE(text);
        EXPECT_EQ(HookStateFile::decode(text), std::nullopt);
    }
}

TEST(HookStateFileTest, MutatedFilesNeverCrashTheDecoder) {
    HookStateFile file{1, "codex", 123, 1000.25, {}};
    file.sessions["0123456789abcdef"] = {"waiting", "PermissionRequest", 1001, 5.0, 3, "x"};
    const std::string seed = file.encode();
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string text = testing::mutatedText(seed, random);
        auto decoded = HookStateFile::decode(text);
        if (decoded) {
            EXPECT_EQ(HookStateFile::decode(decoded->encode()), decoded);
        }
    }
    EXPECT_EQ(HookStateFile::decode(std::string(100000, '[')), std::nullopt);
}

}  // namespace
}  // namespace vigilmoth
