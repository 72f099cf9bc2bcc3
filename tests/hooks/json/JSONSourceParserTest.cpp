// Show that the source parser keeps exact byte ranges, refuses everything strict JSON refuses
// at the offending byte, and never crashes on hostile input.
#include "hooks/json/JSONSourceParser.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

JSONSourceOffset errorOffset(std::string_view text) {
    try {
        JSONSourceParser::parse(text);
    } catch (const JSONSourceError& error) {
        return error.offset();
    }
    return -1;
}

std::string slice(std::string_view text, JSONSourceRange range) {
    return std::string(text.substr(static_cast<std::size_t>(range.lowerBound),
                                   static_cast<std::size_t>(range.length())));
}

TEST(JSONSourceParserTest, RangesCoverExactlyEachValue) {
    const std::string text = " {\"a\" : [1, \"x\\\"y\", {}],\n \"b\":null } ";
    auto root = JSONSourceParser::parse(text);
    ASSERT_NE(root.object(), nullptr);
    EXPECT_EQ(slice(text, root.range), "{\"a\" : [1, \"x\\\"y\", {}],\n \"b\":null }");
    const auto& members = root.object()->members;
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0].key, "a");
    EXPECT_EQ(members[0].start, 2);
    const auto* array = members[0].value.array();
    ASSERT_NE(array, nullptr);
    ASSERT_EQ(array->elements.size(), 3u);
    EXPECT_EQ(slice(text, array->elements[0].range), "1");
    EXPECT_EQ(slice(text, array->elements[1].range), "\"x\\\"y\"");
    EXPECT_EQ(array->elements[1].string()->value, "x\"y");
    EXPECT_EQ(slice(text, array->elements[2].range), "{}");
    EXPECT_EQ(members[1].key, "b");
    EXPECT_EQ(slice(text, members[1].value.range), "null");

    auto children = root.childRanges();
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(slice(text, children[0]), "\"a\" : [1, \"x\\\"y\", {}]");
    EXPECT_EQ(slice(text, children[1]), "\"b\":null");
    EXPECT_TRUE(array->elements[0].childRanges().empty());
}

TEST(JSONSourceParserTest, ByteOrderMarkIsSkippedButCounted) {
    const std::string text = "\xEF\xBB\xBF{\"k\": 1}";
    auto root = JSONSourceParser::parse(text);
    EXPECT_EQ(root.range, (JSONSourceRange{3, 11}));
    EXPECT_EQ(root.object()->members[0].start, 4);
    EXPECT_EQ(root.object()->members[0].value.range, (JSONSourceRange{9, 10}));
}

TEST(JSONSourceParserTest, EscapedKeysDecodeAndStartAtTheirQuote) {
    const std::string text = "{\"x\": 1, \"a\\\"b\\u00e9\": 2, \"a\\\"b\\u00e9\": 3}";
    auto root = JSONSourceParser::parse(text);
    const auto& members = root.object()->members;
    ASSERT_EQ(members.size(), 3u);
    EXPECT_EQ(members[1].key, "a\"b\xC3\xA9");
    EXPECT_EQ(members[1].start, 9);
    // Duplicate keys are kept, both of them.
    EXPECT_EQ(members[2].key, members[1].key);
}

TEST(JSONSourceParserTest, RefusesAtTheOffendingByte) {
    struct Case {
        std::string text;
        JSONSourceOffset offset;
    };
    const std::vector<Case> cases = {
        {"", 0},
        {"   \n\t", 5},
        {"\xEF\xBB\xBF", 3},
        {"\xEF\xBB\xBF  ", 5},
        {"[1,]", 3},
        {"{\"a\":1,}", 7},
        {"{\"a\":1 // c\n}", 7},
        {"/* c */ {}", 0},
        {"{'a': 1}", 1},
        {"[True]", 1},
        {"[1 2]", 3},
        {"{\"a\" 1}", 5},
        {"{\"a\":1 \"b\":2}", 7},
        {"[\"abc", 1},
        {"{\"a\":\"x\\q\"}", 5},
        {"[\"tab\there\"]", 1},
        {"{} {}", 3},
        {"{}x", 2},
        {"[01]", 1},
        {"[-]", 1},
        {"[nul]", 1},
        {"[1,\n\n]", 5},
        {"{\"a\":}", 5},
        {"[\f1]", 1},
        {"[\xEF\xBB\xBF"
         "1]",
         1},
        {"\"\xFF\"", 0},
        {"{", 1},
        {"[", 1},
        {"{\"a\"", 4},
        {"{\"a\":", 5},
        {"[\"a\\", 1},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(::testing::PrintToString(testCase.text));
        EXPECT_EQ(errorOffset(testCase.text), testCase.offset);
    }
}

TEST(JSONSourceParserTest, AcceptsWhatStrictJSONAccepts) {
    for (std::string text : {"0", "-1.5e3", "true", "\"a/b\"", "[]", "{}", "[[], {}, null]",
                             "\r\n{\"\": \"\\u0041\\/\"}\r\n", "{\"a\":[1,2],\"a\":false}"}) {
        SCOPED_TRACE(text);
        EXPECT_NO_THROW(JSONSourceParser::parse(text));
    }
    EXPECT_EQ(JSONSourceParser::parse("\"\\/\"").string()->value, "/");
}

TEST(JSONSourceParserTest, NestingStopsAtTheLimit) {
    auto nested = [](int levels) {
        return std::string(static_cast<std::size_t>(levels), '[') + "0" +
               std::string(static_cast<std::size_t>(levels), ']');
    };
    EXPECT_NO_THROW(JSONSourceParser::parse(nested(255)));
    // The value inside the 256th bracket is at depth 256, which is where parsing gives up.
    EXPECT_EQ(errorOffset(nested(256)), 256);
    EXPECT_EQ(errorOffset(std::string(100000, '[')), 256);
    EXPECT_EQ(errorOffset(std::string(300, '{')), 1);
}

// Runs the parser over text that it must either read or refuse at an offset inside the text.
void expectReadOrRefused(const std::string& text) {
    try {
        JSONSourceParser::parse(text);
    } catch (const JSONSourceError& error) {
        ASSERT_GE(error.offset(), 0) << ::testing::PrintToString(text);
        ASSERT_LE(error.offset(), static_cast<JSONSourceOffset>(text.size()))
            << ::testing::PrintToString(text);
    }
}

TEST(JSONSourceParserTest, RandomAndMutatedDocumentsNeverCrash) {
    std::mt19937 random(20261121);
    std::vector<std::string> seeds;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(testing::fixture("settings"))) {
        if (entry.is_regular_file()) seeds.push_back(testing::readFile(entry.path()));
    }
    ASSERT_FALSE(seeds.empty());
    const std::string alphabet =
        "{}[]\":,\\ \t\r\n0123456789.eE+-truefalsnl/*\xEF\xBB\xBF\xC3\xA9u";
    auto pick = [&](std::size_t size) {
        return std::uniform_int_distribution<std::size_t>(0, size - 1)(random);
    };
    for (int round = 0; round < 8000; ++round) {
        std::string text;
        if (round % 4 == 0) {
            std::size_t length = pick(64);
            for (std::size_t i = 0; i < length; ++i)
                text += alphabet[pick(alphabet.size())];
        } else {
            text = seeds[pick(seeds.size())];
            for (int edits = 1 + static_cast<int>(pick(4)); edits > 0 && !text.empty(); --edits) {
                auto at = pick(text.size());
                switch (pick(4)) {
                    case 0:
                        text[at] = alphabet[pick(alphabet.size())];
                        break;
                    case 1:
                        text.erase(at, 1 + pick(8));
                        break;
                    case 2:
                        text.insert(at, 1, alphabet[pick(alphabet.size())]);
                        break;
                    default:
                        text.resize(at);
                        break;
                }
            }
        }
        expectReadOrRefused(text);
    }
}

}  // namespace
}  // namespace vigilmoth
