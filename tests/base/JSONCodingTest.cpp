// Show that the shared JSON conversions refuse what does not fit instead of wrapping it.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "base/JSONCoding.h"

namespace vigilmoth {
namespace {

constexpr auto int64Low = std::numeric_limits<std::int64_t>::min();
constexpr auto int64High = std::numeric_limits<std::int64_t>::max();

TEST(JSONCodingTest, IntegersMustFitTheirRange) {
    struct Case {
        const char* text;
        std::int64_t low;
        std::int64_t high;
        std::optional<std::int64_t> read;
    };
    const Case cases[] = {
        {"7", 0, 10, 7},
        {"11", 0, 10, std::nullopt},
        {"-1", 0, 10, std::nullopt},
        {"7.0", 0, 10, 7},
        {"-0.0", 0, 10, 0},
        {"7.5", 0, 10, std::nullopt},
        {"9223372036854775807", int64Low, int64High, int64High},
        {"9223372036854775808", int64Low, int64High, std::nullopt},
        {"-9223372036854775808", int64Low, int64High, int64Low},
        {"9.3e18", int64Low, int64High, std::nullopt},
        {"9.223372036854775808e18", int64Low, int64High, std::nullopt},
        {"-9.223372036854775808e18", int64Low, int64High, int64Low},
        {"1e999", int64Low, int64High, std::nullopt},
        {"\"7\"", int64Low, int64High, std::nullopt},
        {"null", int64Low, int64High, std::nullopt},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.text);
        auto value = parseJSON(item.text);
        if (!value) {
            EXPECT_FALSE(item.read);
            continue;
        }
        if (item.read) {
            EXPECT_EQ(json_value::integer(*value, "n", item.low, item.high), *item.read);
        } else {
            EXPECT_THROW(json_value::integer(*value, "n", item.low, item.high), CodingError);
        }
    }
}

TEST(JSONCodingTest, UnsignedIntegersRefuseSignsFractionsAndOverflow) {
    struct Case {
        const char* text;
        std::optional<std::uint64_t> read;
    };
    const Case cases[] = {
        {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
        {"0", 0},
        {"1e3", 1000},
        {"-1", std::nullopt},
        {"0.5", std::nullopt},
        {"1.8446744073709552e19", std::nullopt},
        {"true", std::nullopt},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.text);
        auto value = parseJSON(item.text);
        ASSERT_TRUE(value);
        if (item.read) {
            EXPECT_EQ(json_value::unsignedInteger(*value, "n"), *item.read);
        } else {
            EXPECT_THROW(json_value::unsignedInteger(*value, "n"), CodingError);
        }
    }
}

TEST(JSONCodingTest, EncodersDifferInKeyOrderAndSlashes) {
    OrderedJSON value = {{"z", "a/b"}, {"a", {{"y", 1}, {"b", 2.5}}}};
    EXPECT_EQ(JSONEncoder{}.text(value), R"({"z":"a\/b","a":{"y":1,"b":2.5}})");
    EXPECT_EQ((JSONEncoder{.sortedKeys = true, .escapeSlashes = false}.text(value)),
              R"({"a":{"b":2.5,"y":1},"z":"a/b"})");
    // Broken UTF-8 from an agent's file is written with a replacement character.
    EXPECT_EQ(JSONEncoder{}.text(OrderedJSON("a\xff")), "\"a\xef\xbf\xbd\"");
}

TEST(JSONCodingTest, ObjectReaderTreatsNullAsMissing) {
    auto value = *parseJSON(R"({"a":null,"b":false,"c":true,"d":1})");
    JSONObjectReader reader(value);
    EXPECT_EQ(reader.find("a"), nullptr);
    EXPECT_NE(reader.member("a"), nullptr);
    EXPECT_FALSE(reader.flag("a"));
    EXPECT_FALSE(reader.flag("b"));
    EXPECT_TRUE(reader.flag("c"));
    EXPECT_THROW(reader.flag("d"), CodingError);
    EXPECT_THROW(reader.require("a"), CodingError);
    EXPECT_THROW(JSONObjectReader(*parseJSON("[]")), CodingError);
}

}  // namespace
}  // namespace vigilmoth
