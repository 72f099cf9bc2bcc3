// Show that the source parser keeps exact byte ranges and refuses everything strict JSON
// refuses at the offending byte, and that the splicing helpers change only the bytes they must,
// following the file's own indentation, line endings and layout.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <variant>

#include "hooks/json/JSONSourceParser.h"
#include "hooks/json/JSONSourceText.h"
#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace JSONSourceText;

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

    // A byte-order mark is skipped but counted.
    auto marked = JSONSourceParser::parse("\xEF\xBB\xBF{\"k\": 1}");
    EXPECT_EQ(marked.range, (JSONSourceRange{3, 11}));
    EXPECT_EQ(marked.object()->members[0].start, 4);
    EXPECT_EQ(marked.object()->members[0].value.range, (JSONSourceRange{9, 10}));

    // Escaped keys decode and start at their quote; duplicates are kept, both of them.
    auto escaped =
        JSONSourceParser::parse("{\"x\": 1, \"a\\\"b\\u00e9\": 2, \"a\\\"b\\u00e9\": 3}");
    const auto& keys = escaped.object()->members;
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[1].key, "a\"b\xC3\xA9");
    EXPECT_EQ(keys[1].start, 9);
    EXPECT_EQ(keys[2].key, keys[1].key);
}

TEST(JSONSourceParserTest, RefusesAtTheOffendingByteAndAcceptsStrictJSON) {
    // The texts refused at each byte offset.
    const std::map<JSONSourceOffset, std::vector<std::string>> refused = {
        {0, {"", "/* c */ {}", "\"\xFF\""}},
        {1,
         {"{'a': 1}", "[True]", "[\"abc", "[\"tab\there\"]", "[01]", "[-]", "[nul]", "[\f1]",
          "[\xEF\xBB\xBF\x31]", "{", "[", "[\"a\\"}},
        {2, {"{}x"}},
        {3, {"\xEF\xBB\xBF", "[1,]", "[1 2]", "{} {}"}},
        {4, {"{\"a\""}},
        {5,
         {"   \n\t", "\xEF\xBB\xBF  ", "{\"a\" 1}", "{\"a\":\"x\\q\"}", "[1,\n\n]", "{\"a\":}",
          "{\"a\":"}},
        {7, {"{\"a\":1,}", "{\"a\":1 // c\n}", "{\"a\":1 \"b\":2}"}},
    };
    for (const auto& [offset, texts] : refused) {
        for (const auto& text : texts) {
            SCOPED_TRACE(::testing::PrintToString(text));
            EXPECT_EQ(errorOffset(text), offset);
        }
    }
    // The value inside the 256th bracket is at depth 256, which is where parsing gives up.
    EXPECT_EQ(errorOffset(std::string(256, '[') + "0" + std::string(256, ']')), 256);
    EXPECT_EQ(errorOffset(std::string(255, '[') + "0" + std::string(255, ']')), -1);
    EXPECT_EQ(errorOffset(std::string(100000, '[')), 256);
    EXPECT_EQ(errorOffset(std::string(300, '{')), 1);
    for (std::string text : {"0", "-1.5e3", "true", "\"a/b\"", "[[], {}, null]",
                             "\r\n{\"\": \"\\u0041\\/\"}\r\n", "{\"a\":[1,2],\"a\":false}"}) {
        SCOPED_TRACE(text.substr(0, 40));
        EXPECT_NO_THROW(JSONSourceParser::parse(text));
    }
    EXPECT_EQ(JSONSourceParser::parse("\"\\/\"").string()->value, "/");
}

TEST(JSONSourceParserTest, RandomAndMutatedDocumentsNeverCrash) {
    std::mt19937 random(20261121);
    std::vector<std::string> seeds;
    for (const auto& item :
         std::filesystem::recursive_directory_iterator(testing::fixture("settings")))
        if (item.is_regular_file()) seeds.push_back(testing::readFile(item.path()));
    ASSERT_FALSE(seeds.empty());
    for (int round = 0; round < 8000; ++round) {
        std::string text = round % 4 == 0
                               ? testing::randomBytes(random, 64)
                               : testing::mutatedText(seeds[random() % seeds.size()], random);
        auto offset = errorOffset(text);
        // Read, or refused at an offset inside the text.
        ASSERT_TRUE(offset == -1 || (offset >= 0 && offset <= std::ssize(text)))
            << ::testing::PrintToString(text);
    }
}

TEST(JSONSourceTextTest, IndentationIsReadFromTheText) {
    const std::pair<std::string, std::string> units[] = {
        {"", "  "},
        {"{}", "  "},
        {"{\n\"a\": 1\n}", "  "},
        {"{\n    \"a\": {\n        \"b\": 1\n    }\n}", "    "},
        {"{\n\t\"a\": 1\n}", "\t"},
        {"{\r\n   \"a\": 1\r\n}", "   "},
        // Blank and whitespace-only lines say nothing about the indentation.
        {"{\n  \n\t\t\r\n \"a\": 1\n}", " "},
        {"{\n   ", "  "}};
    for (const auto& [text, unit] : units) {
        SCOPED_TRACE(::testing::PrintToString(text));
        EXPECT_EQ(indentUnit(text), unit);
    }
    // The line indent of a member and whether it starts its line.
    const std::string text = "{\n \t \"a\": [1,\n    2]\n}";
    EXPECT_EQ(std::tuple(lineIndent(5, text), isFirstOnLine(5, text), isFirstOnLine(8, text)),
              std::tuple(" \t ", true, false));
    EXPECT_EQ(std::tuple(lineIndent(21, text), isFirstOnLine(21, text), isFirstOnLine(1, text)),
              std::tuple("", true, false));
}

TEST(JSONSourceTextTest, LiteralLeavesSlashesAlone) {
    EXPECT_EQ(literal("a/b"), "\"a/b\"");
    EXPECT_EQ(literal("say \"hi\"\\\n"), "\"say \\\"hi\\\"\\\\\\n\"");
    EXPECT_EQ(literal("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
    EXPECT_EQ(literal(""), "\"\"");
    EXPECT_EQ(literal("\xFF"), "\"\"");
}

// Removing a child (by index) or appending one (at a key path; the new value records how deep
// it was told to stand) keeps the separators well formed and follows each layout.
TEST(JSONSourceTextTest, EditsFollowEachLayout) {
    using Path = std::vector<std::string>;
    const std::string three = "{\n  \"a\": 1,\n  \"b\": 2,\n  \"c\": 3\n}";
    const struct {
        std::string name, text;
        std::variant<std::ptrdiff_t, Path> where;
        std::string expected;
    } cases[] = {
        {"remove the middle", three, 1, "{\n  \"a\": 1,\n  \"c\": 3\n}"},
        {"remove the last", three, 2, "{\n  \"a\": 1,\n  \"b\": 2\n}"},
        {"remove the first", three, 0, "{\n  \"b\": 2,\n  \"c\": 3\n}"},
        {"remove the only member", "{\n  \"a\": 1\n}", 0, "{}"},
        {"remove the only element", "[ 1 ]", 0, "[]"},
        {"remove inside a line", "[1, 2, 3]", 1, "[1, 3]"},
        {"remove before a spaced comma", "[1 , 2]", 0, "[2]"},
        {"remove past the end", "[1, 2]", 2, "[1, 2]"},
        {"remove before the start", "[1, 2]", -1, "[1, 2]"},
        {"remove from a scalar", "\"s\"", 0, "\"s\""},
        {"empty root", "{}", Path{}, "{\n  \"new\": 2\n}"},
        // The closing line's single space is the file's first indented line.
        {"empty with spaces inside", "{ \n }\n", Path{}, "{\n \"new\": 1\n}\n"},
        {"empty nested, tabs", "{\n\t\"h\": {}\n}", Path{"h"},
         "{\n\t\"h\": {\n\t\t\"new\": 2\n\t}\n}"},
        {"multi-line", "{\n    \"a\": 1\n}", Path{}, "{\n    \"a\": 1,\n    \"new\": 4\n}"},
        {"multi-line keeps what follows", "{\n  \"a\": 1 \n}", Path{},
         "{\n  \"a\": 1,\n  \"new\": 2 \n}"},
        {"single line", "{\"a\": 1}", Path{}, "{\"a\": 1, \"new\": 0}"},
        {"single line nested", "{\n  \"h\": {\"a\": 1}\n}", Path{"h"},
         "{\n  \"h\": {\"a\": 1, \"new\": 2}\n}"},
        {"carriage returns anywhere", "{\"a\": 1,\r\n\"b\": {}}", Path{"b"},
         "{\"a\": 1,\r\n\"b\": {\r\n  \"new\": 2\r\n}}"},
        {"byte-order mark", "\xEF\xBB\xBF{}", Path{}, "\xEF\xBB\xBF{\n  \"new\": 2\n}"},
        {"array on lines", "[\n  1,\n  2\n]", Path{}, "[\n  1,\n  2,\n  2\n]"},
        {"array on a line", "[1, 2]", Path{}, "[1, 2, 0]"},
        {"scalar", "1", Path{}, "1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string bytes = c.text;
        JSONSourceNode node = JSONSourceParser::parse(bytes);
        if (const auto* index = std::get_if<std::ptrdiff_t>(&c.where)) {
            removeChild(*index, node, bytes);
        } else {
            for (const auto& key : std::get<Path>(c.where)) {
                for (const auto& member : node.object()->members) {
                    if (member.key != key) continue;
                    JSONSourceNode next = member.value;
                    node = std::move(next);
                    break;
                }
            }
            const std::string name = node.array() ? "" : "\"new\": ";
            append(node, bytes,
                   [&](const std::string& indent) { return name + std::to_string(indent.size()); });
        }
        EXPECT_EQ(bytes, c.expected);
        EXPECT_NO_THROW(JSONSourceParser::parse(bytes));
    }
}

}  // namespace
}  // namespace vigilmoth
