// Show that text from the system keeps every valid UTF-8 character and has each invalid byte
// replaced, so that it can always be shown and written as JSON.
#include "base/Utf8.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <random>

namespace vigilmoth {
namespace {

TEST(Utf8Test, KeepsValidTextAndReplacesEachInvalidByte) {
    const std::string replacement = "\xEF\xBF\xBD";
    const struct {
        const char* name;
        std::string bytes;
        std::string expected;
    } cases[] = {
        {"ascii", "/usr/bin/node", "/usr/bin/node"},
        {"two, three and four bytes", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x90\x9B",
         "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x90\x9B"},
        {"latin-1 byte", "caf\xE9", "caf" + replacement},
        {"lone continuation",
         "a\x80"
         "b",
         "a" + replacement + "b"},
        {"truncated sequence at the end", "a\xE2\x82", "a" + replacement + replacement},
        {"overlong slash", "\xC0\xAF", replacement + replacement},
        {"overlong three bytes", "\xE0\x80\xAF", replacement + replacement + replacement},
        {"surrogate", "\xED\xA0\x80", replacement + replacement + replacement},
        {"above U+10FFFF", "\xF4\x90\x80\x80",
         replacement + replacement + replacement + replacement},
        {"embedded NUL is valid", std::string("a\0b", 3), std::string("a\0b", 3)},
        {"empty", "", ""},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(repairedUtf8(testCase.bytes), testCase.expected);
    }
}

TEST(Utf8Test, RandomBytesAlwaysComeOutAsValidText) {
    std::mt19937 random(7);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes(random() % 40, '\0');
        for (auto& byte : bytes)
            byte = static_cast<char>(random() % 256);
        std::string repaired = repairedUtf8(bytes);
        // The JSON library refuses invalid UTF-8 with an exception.
        EXPECT_NO_THROW((void)nlohmann::json(repaired).dump());
        EXPECT_EQ(repairedUtf8(repaired), repaired);
    }
}

}  // namespace
}  // namespace vigilmoth
