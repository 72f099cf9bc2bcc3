// Show that text from the outside keeps every valid UTF-8 character and has each invalid
// sequence replaced, so that it can always be shown and written as JSON.
#include "base/Utf8.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <random>

#include "support/Utf8Cases.h"

namespace vigilmoth {
namespace {

TEST(Utf8Test, KeepsValidTextAndReplacesEachInvalidSequence) {
    for (const auto& testCase : testing::utf8Cases()) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(repairedUtf8(testCase.bytes), testCase.repaired);
    }
    EXPECT_EQ(repairedUtf8(std::string("a\0b", 3)), std::string("a\0b", 3)) << "NUL is valid";
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
