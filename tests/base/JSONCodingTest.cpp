// Show that the shared JSON conversions refuse what does not fit instead of wrapping it.
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "base/JSONCoding.h"

namespace vigilmoth {
namespace {

constexpr auto low = std::numeric_limits<std::int64_t>::min();
constexpr auto high = std::numeric_limits<std::int64_t>::max();

TEST(JSONCodingTest, IntegersMustFitTheirRange) {
    // text, low, high, what is read (nothing: refused)
    const std::tuple<const char*, std::int64_t, std::int64_t, std::optional<std::int64_t>> cases[] =
        {{"7", 0, 10, 7},
         {"11", 0, 10, {}},
         {"-1", 0, 10, {}},
         {"7.0", 0, 10, 7},
         {"-0.0", 0, 10, 0},
         {"7.5", 0, 10, {}},
         {"9223372036854775807", low, high, high},
         {"9223372036854775808", low, high, {}},
         {"-9223372036854775808", low, high, low},
         {"9.3e18", low, high, {}},
         {"9.223372036854775808e18", low, high, {}},
         {"-9.223372036854775808e18", low, high, low},
         {"1e999", low, high, {}},
         {"\"7\"", low, high, {}},
         {"null", low, high, {}}};
    for (const auto& [text, from, to, read] : cases) {
        SCOPED_TRACE(text);
        auto value = parseJSON(text);
        if (!value) {
            EXPECT_FALSE(read);
        } else if (read) {
            EXPECT_EQ(json_value::integer(*value, "n", from, to), *read);
        } else {
            EXPECT_THROW(json_value::integer(*value, "n", from, to), CodingError);
        }
    }
    const std::pair<const char*, std::optional<std::uint64_t>> unsignedCases[] = {
        {"18446744073709551615", std::numeric_limits<std::uint64_t>::max()},
        {"0", 0},
        {"1e3", 1000},
        {"-1", {}},
        {"0.5", {}},
        {"1.8446744073709552e19", {}},
        {"true", {}}};
    for (const auto& [text, read] : unsignedCases) {
        SCOPED_TRACE(text);
        auto value = parseJSON(text);
        ASSERT_TRUE(value);
        if (read) {
            EXPECT_EQ(json_value::unsignedInteger(*value, "n"), *read);
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
