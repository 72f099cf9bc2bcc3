// Show that the splicing helpers change only the bytes they must and follow the file's own
// indentation, line endings and layout.
#include "hooks/json/JSONSourceText.h"

#include <gtest/gtest.h>

namespace vigilmoth {
namespace {

using namespace JSONSourceText;

// The node at a key path of objects, from a fresh parse.
JSONSourceNode nodeAt(const std::string& text, const std::vector<std::string>& path) {
    JSONSourceNode node = JSONSourceParser::parse(text);
    for (const auto& key : path) {
        for (const auto& member : node.object()->members) {
            if (member.key == key) {
                JSONSourceNode next = member.value;
                node = std::move(next);
                break;
            }
        }
    }
    return node;
}

TEST(JSONSourceTextTest, IndentUnitIsTheFirstIndentedLine) {
    struct Case {
        std::string text;
        std::string unit;
    };
    const std::vector<Case> cases = {
        {"", "  "},
        {"{}", "  "},
        {"{\n\"a\": 1\n}", "  "},
        {"{\n    \"a\": {\n        \"b\": 1\n    }\n}", "    "},
        {"{\n\t\"a\": 1\n}", "\t"},
        {"{\r\n   \"a\": 1\r\n}", "   "},
        // Blank and whitespace-only lines say nothing about the indentation.
        {"{\n  \n\t\t\r\n \"a\": 1\n}", " "},
        {"{\n   ", "  "},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(::testing::PrintToString(testCase.text));
        EXPECT_EQ(indentUnit(testCase.text), testCase.unit);
    }
}

TEST(JSONSourceTextTest, LineIndentAndFirstOnLine) {
    const std::string text = "{\n \t \"a\": [1,\n    2]\n}";
    struct Case {
        JSONSourceOffset offset;
        std::string indent;
        bool first;
    };
    const std::vector<Case> cases = {
        {0, "", true},     {1, "", false},     {2, " \t ", true},  {4, " \t ", true},
        {5, " \t ", true}, {8, " \t ", false}, {18, "    ", true}, {19, "    ", false},
        {21, "", true},    {22, "", false},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.offset);
        EXPECT_EQ(lineIndent(testCase.offset, text), testCase.indent);
        EXPECT_EQ(isFirstOnLine(testCase.offset, text), testCase.first);
    }
}

TEST(JSONSourceTextTest, LiteralLeavesSlashesAlone) {
    EXPECT_EQ(literal("a/b"), "\"a/b\"");
    EXPECT_EQ(literal("say \"hi\"\\\n"), "\"say \\\"hi\\\"\\\\\\n\"");
    EXPECT_EQ(literal("caf\xC3\xA9"), "\"caf\xC3\xA9\"");
    EXPECT_EQ(literal(""), "\"\"");
    EXPECT_EQ(literal("\xFF"), "\"\"");
}

TEST(JSONSourceTextTest, RemovingAChildKeepsTheSeparatorsWellFormed) {
    struct Case {
        std::string text;
        std::ptrdiff_t index;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"{\n  \"a\": 1,\n  \"b\": 2,\n  \"c\": 3\n}", 1, "{\n  \"a\": 1,\n  \"c\": 3\n}"},
        {"{\n  \"a\": 1,\n  \"b\": 2,\n  \"c\": 3\n}", 2, "{\n  \"a\": 1,\n  \"b\": 2\n}"},
        {"{\n  \"a\": 1,\n  \"b\": 2,\n  \"c\": 3\n}", 0, "{\n  \"b\": 2,\n  \"c\": 3\n}"},
        {"{\n  \"a\": 1\n}", 0, "{}"},
        {"[ 1 ]", 0, "[]"},
        {"[1, 2, 3]", 1, "[1, 3]"},
        {"[1 , 2]", 0, "[2]"},
        {"[1, 2]", 2, "[1, 2]"},
        {"[1, 2]", -1, "[1, 2]"},
        {"\"s\"", 0, "\"s\""},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.text + " @" + std::to_string(testCase.index));
        std::string bytes = testCase.text;
        removeChild(testCase.index, JSONSourceParser::parse(bytes), bytes);
        EXPECT_EQ(bytes, testCase.expected);
        EXPECT_NO_THROW(JSONSourceParser::parse(bytes));
    }
}

// The new member records how deep it was told to stand.
std::string member(const std::string& indent) {
    return "\"new\": " + std::to_string(indent.size());
}

TEST(JSONSourceTextTest, AppendingFollowsEachLayout) {
    struct Case {
        std::string name;
        std::string text;
        std::vector<std::string> path;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"empty root", "{}", {}, "{\n  \"new\": 2\n}"},
        // The closing line's single space is the file's first indented line.
        {"empty with spaces inside", "{ \n }\n", {}, "{\n \"new\": 1\n}\n"},
        {"empty nested, tabs", "{\n\t\"h\": {}\n}", {"h"}, "{\n\t\"h\": {\n\t\t\"new\": 2\n\t}\n}"},
        {"multi-line", "{\n    \"a\": 1\n}", {}, "{\n    \"a\": 1,\n    \"new\": 4\n}"},
        {"multi-line keeps what follows",
         "{\n  \"a\": 1 \n}",
         {},
         "{\n  \"a\": 1,\n  \"new\": 2 \n}"},
        {"single line", "{\"a\": 1}", {}, "{\"a\": 1, \"new\": 0}"},
        {"single line nested",
         "{\n  \"h\": {\"a\": 1}\n}",
         {"h"},
         "{\n  \"h\": {\"a\": 1, \"new\": 2}\n}"},
        {"carriage returns anywhere",
         "{\"a\": 1,\r\n\"b\": {}}",
         {"b"},
         "{\"a\": 1,\r\n\"b\": {\r\n  \"new\": 2\r\n}}"},
        {"byte-order mark", "\xEF\xBB\xBF{}", {}, "\xEF\xBB\xBF{\n  \"new\": 2\n}"},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        std::string bytes = testCase.text;
        append(nodeAt(bytes, testCase.path), bytes, member);
        EXPECT_EQ(bytes, testCase.expected);
        EXPECT_NO_THROW(JSONSourceParser::parse(bytes));
    }
}

TEST(JSONSourceTextTest, AppendingToArraysAndScalars) {
    std::string bytes = "[\n  1,\n  2\n]";
    append(JSONSourceParser::parse(bytes), bytes, [](const std::string&) { return "3"; });
    EXPECT_EQ(bytes, "[\n  1,\n  2,\n  3\n]");

    bytes = "[1, 2]";
    append(JSONSourceParser::parse(bytes), bytes, [](const std::string&) { return "3"; });
    EXPECT_EQ(bytes, "[1, 2, 3]");

    bytes = "1";
    append(JSONSourceParser::parse(bytes), bytes, [](const std::string&) { return "3"; });
    EXPECT_EQ(bytes, "1");
}

}  // namespace
}  // namespace vigilmoth
