// Show that the shared JSON conversions refuse what does not fit instead of wrapping it.
#include <cstdint>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

#include "base/Golden.h"
#include "base/JSONCoding.h"

namespace vigilmoth {
namespace {

TEST(JSONCodingTest, IntegersMustFitTheirRange) {
    testing::expectEachLineReads("base/json-integers.txt", [](const std::string& line) {
        std::istringstream words(line);
        std::string text, from, to;
        words >> text >> from >> to;
        auto value = parseJSON(text);
        if (!value) return std::string("not JSON");
        auto bound = [](const std::string& word, std::int64_t end) {
            return word == "low" || word == "high" ? end : std::stoll(word);
        };
        try {
            return from == "unsigned"
                       ? std::to_string(json_value::unsignedInteger(*value, "n"))
                       : std::to_string(json_value::integer(
                             *value, "n", bound(from, std::numeric_limits<std::int64_t>::min()),
                             bound(to, std::numeric_limits<std::int64_t>::max())));
        } catch (const CodingError&) {
            return std::string("-");
        }
    });
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
