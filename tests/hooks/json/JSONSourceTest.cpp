// Show that the source parser refuses everything strict JSON refuses at the offending byte, and
// that the splicing helpers change only the bytes they must, following the file's own
// indentation, line endings and layout.
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <random>

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

// Texts and edits from tests/fixtures/hooks/json-source-cases.json.
const nlohmann::json& cases() {
    static const auto document =
        nlohmann::json::parse(testing::readFile(testing::fixture("hooks/json-source-cases.json")));
    return document;
}

TEST(JSONSourceParserTest, RefusesAtTheOffendingByteAndAcceptsStrictJSON) {
    for (const auto& [offset, texts] : cases()["refusedAt"].items()) {
        for (const auto& text : texts) {
            SCOPED_TRACE(::testing::PrintToString(text.get<std::string>()));
            EXPECT_EQ(errorOffset(text.get<std::string>()), std::stoi(offset));
        }
    }
    EXPECT_EQ(errorOffset("\"\xFF\""), 0);
    // The value inside the 256th bracket is at depth 256, which is where parsing gives up.
    EXPECT_EQ(errorOffset(std::string(256, '[') + "0" + std::string(256, ']')), 256);
    EXPECT_EQ(errorOffset(std::string(255, '[') + "0" + std::string(255, ']')), -1);
    EXPECT_EQ(errorOffset(std::string(100000, '[')), 256);
    EXPECT_EQ(errorOffset(std::string(300, '{')), 1);
    for (const auto& text : cases()["accepted"]) {
        SCOPED_TRACE(text.dump());
        EXPECT_NO_THROW(JSONSourceParser::parse(text.get<std::string>()));
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
    for (const auto& unit : cases()["indentUnits"]) {
        SCOPED_TRACE(unit[0].dump());
        EXPECT_EQ(indentUnit(unit[0].get<std::string>()), unit[1]);
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
    for (const auto& edit : cases()["edits"]) {
        SCOPED_TRACE(edit[0].get<std::string>());
        std::string bytes = edit[1];
        JSONSourceNode node = JSONSourceParser::parse(bytes);
        if (edit[2].is_number()) {
            removeChild(edit[2].get<std::ptrdiff_t>(), node, bytes);
        } else {
            for (const auto& key : edit[2]) {
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
        EXPECT_EQ(bytes, edit[3]);
        EXPECT_NO_THROW(JSONSourceParser::parse(bytes));
    }
}

}  // namespace
}  // namespace vigilmoth
