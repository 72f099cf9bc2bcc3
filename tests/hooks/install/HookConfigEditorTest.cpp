// Show that the settings editor adds exactly vigilmoth's handlers in the file's own style,
// recognises them again, and takes them out leaving the text byte for byte as it was.
#include "hooks/install/HookConfigEditor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <regex>

#include "hooks/install/HookExpectations.h"
#include "hooks/json/JSONSourceText.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace HookConfigEditor;
using testing::jsonEntries;

const std::string kApp = "/opt/vigilmoth";
const HookCatalogEntry& entry(std::string_view id) {
    return *HookCatalog::entry(id);
}

std::string installed(const std::string& text, const HookCatalogEntry& target,
                      HookInstallRecord& record, const std::string& app = kApp) {
    return installing(text, target, app, record);
}

TEST(HookConfigEditorTest, GroupsAreWrittenLineByLine) {
    OurHandler handler{"Notification", "a|b", "run 'x' \"y\" a/b"};
    EXPECT_EQ(group(handler, "  ", "  ", "\n", false),
              "{\n"
              "    \"matcher\": \"a|b\",\n"
              "    \"hooks\": [\n"
              "      {\n"
              "        \"type\": \"command\",\n"
              "        \"command\": \"run 'x' \\\"y\\\" a/b\",\n"
              "        \"timeout\": 3\n"
              "      }\n"
              "    ]\n"
              "  }");
    handler.matcher.reset();
    EXPECT_EQ(group(handler, "\t", "\t", "\r\n", false),
              "{\r\n\t\t\"hooks\": [\r\n\t\t\t{\r\n\t\t\t\t\"type\": \"command\",\r\n"
              "\t\t\t\t\"command\": \"run 'x' \\\"y\\\" a/b\",\r\n\t\t\t\t\"timeout\": 3\r\n"
              "\t\t\t}\r\n\t\t]\r\n\t}");
    EXPECT_EQ(group(handler, "", "    ", "\n", true),
              "{\n    \"command\": \"run 'x' \\\"y\\\" a/b\",\n    \"timeout\": 3\n}");
}

// Claude: eight groups, only Notification's with a matcher. Cursor: ten flat handlers and a
// version. Codex reads its hooks.json strictly: nothing but "hooks" at the root.
TEST(HookConfigEditorTest, EachLayoutGetsItsHandlers) {
    HookInstallRecord record;
    auto handlers = ourHandlers(installed("{}\n", entry("claude"), record), {"hooks"}, false);
    ASSERT_EQ(handlers.size(), 8u);
    for (const auto& handler : handlers) {
        SCOPED_TRACE(handler.event);
        EXPECT_EQ(handler.matcher.has_value(), handler.event == "Notification");
        EXPECT_NE(handler.command.find(kApp + std::string(HookCatalog::kHookExecutableSuffix) +
                                       "' claude " + handler.event + " v=1"),
                  std::string::npos);
    }
    EXPECT_EQ(handlers[4].matcher,
              "permission_prompt|elicitation_dialog|elicitation_url_dialog|idle_prompt");
    EXPECT_EQ(handlers, expectedHandlers(entry("claude"), kApp));

    auto cursor = installed("{}", entry("cursor"), record);
    EXPECT_EQ(ourHandlers(cursor, {"hooks"}, true).size(), 10u);
    EXPECT_TRUE(cursor.ends_with(",\n  \"version\": 1\n}")) << cursor;
    EXPECT_EQ(record.addedVersion, true);
    EXPECT_EQ(uninstalling(cursor, entry("cursor"), record, true), "{}");

    HookInstallRecord codexRecord;
    EXPECT_EQ(nlohmann::json::parse(installed("{}", entry("codex"), codexRecord)).size(), 1u);
    EXPECT_FALSE(codexRecord.addedVersion.has_value());
}

std::string withoutLastEvent(std::string text) {
    auto root = JSONSourceParser::parse(text);
    const auto& hooks = root.object()->members.back().value;
    JSONSourceText::removeChild(static_cast<std::ptrdiff_t>(hooks.object()->members.size()) - 1,
                                hooks, text);
    return text;
}

TEST(HookConfigEditorTest, StatusTellsOursFromOthers) {
    HookInstallRecord record;
    const auto claude = installed("{}", entry("claude"), record);
    struct Case {
        std::string name;
        std::string text;
        HookStatus status;
    };
    const std::vector<Case> cases = {
        {"nothing", "{}", HookStatus::notInstalled()},
        {"current", claude, HookStatus::installed(1)},
        {"moved application", installed("{}", entry("claude"), record, "/elsewhere"),
         HookStatus::outdated()},
        {"one handler missing", withoutLastEvent(claude), HookStatus::outdated()},
        // Written with Codex's warning, before its 3-second limit was known.
        {"another timeout",
         std::regex_replace(claude, std::regex("\"timeout\": 3"), "\"timeout\": 5"),
         HookStatus::outdated()},
        {"not JSON", "{\"hooks\": {,}}", HookStatus::unreadable()},
        {"hooks as an array", "{\"hooks\": []}", HookStatus::notInstalled()},
        {"foreign handler",
         R"({"hooks": {"Stop": [{"hooks": [{"command": "/usr/bin/VigilmothHook x"}]}]}})",
         HookStatus::notInstalled()},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.name);
        EXPECT_EQ(status(testCase.text, entry("claude"), kApp), testCase.status);
    }
}

TEST(HookConfigEditorTest, LayoutsItDoesNotKnowAreRefused) {
    struct Case {
        std::string text;
        HookInstallError::Kind kind;
    };
    const std::vector<Case> cases = {
        {"{\"hooks\": []}", HookInstallError::Kind::unexpectedShape},
        {"[]", HookInstallError::Kind::unexpectedShape},
        {"{\"hooks\": {\"Stop\": {}}}", HookInstallError::Kind::unexpectedShape},
        {"{\"hooks\": {\"Other\": 3}}", HookInstallError::Kind::unexpectedShape},
        {"{\"hooks\": {\"Stop\": [\"echo\"]}}", HookInstallError::Kind::unexpectedShape},
        {"{\"hooks\": \"none\"}", HookInstallError::Kind::unexpectedShape},
        {"{\"a\": 1,}", HookInstallError::Kind::unreadable},
        {"// settings\n{}", HookInstallError::Kind::unreadable},
        {"", HookInstallError::Kind::unreadable},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.text);
        HookInstallRecord record;
        try {
            installed(testCase.text, entry("claude"), record);
            ADD_FAILURE() << "installed";
        } catch (const HookInstallError& error) {
            EXPECT_EQ(error.kind(), testCase.kind);
        }
    }
}

// Every entry, every spelling: the install holds exactly the old content plus our handlers,
// and removal gives back the very bytes.
TEST(HookConfigEditorTest, InstallThenUninstallGivesBackEverySpelling) {
    for (const auto& target : jsonEntries()) {
        for (const auto& document : testing::documentsWithUserHooks(target)) {
            for (const auto& spelled : testing::spellings(document)) {
                SCOPED_TRACE(target.id + ", " + spelled.name + ": " + document.dump());
                HookInstallRecord record;
                auto after = installed(spelled.text, target, record);
                testing::expectInstalledOver(spelled.text, after, target, kApp);
                EXPECT_EQ(installed(after, target, record), after) << "a second install";
                EXPECT_EQ(uninstalling(after, target, record, true), spelled.text);
            }
        }
    }
}

TEST(HookConfigEditorTest, EmptyContainersGetTheirInsideBack) {
    for (std::string text :
         {"{ }", "{\n}\n", "{\"hooks\": {\n\n}, \"x\": [ ]}", "{\"hooks\": {\"Stop\": [\t]}}"}) {
        SCOPED_TRACE(text);
        HookInstallRecord record;
        auto after = installed(text, entry("claude"), record);
        testing::expectInstalledOver(text, after, entry("claude"), kApp);
        EXPECT_EQ(uninstalling(after, entry("claude"), record, true), text);
    }
}

TEST(HookConfigEditorTest, RemovalLeavesOtherHandlersInSharedGroups) {
    auto ours = HookCatalog::command("claude", "Stop", kApp);
    auto text = "{\"hooks\": {\"Stop\": [{\"hooks\": [{\"command\": \"say hi\"}, {\"command\": " +
                JSONSourceText::literal(ours) + "}]}]}}";
    HookInstallRecord none;
    EXPECT_EQ(uninstalling(text, entry("claude"), none, true),
              "{\"hooks\": {\"Stop\": [{\"hooks\": [{\"command\": \"say hi\"}]}]}}");
    // Without a record the containers stay: only the record knows they were added.
    auto installedText = installed("{}", entry("claude"), none);
    HookInstallRecord forgotten;
    auto removed = uninstalling(installedText, entry("claude"), forgotten, true);
    EXPECT_TRUE(ourHandlers(removed, {"hooks"}, false).empty());
    EXPECT_NE(removed.find("\"Stop\": []"), std::string::npos) << removed;
}

TEST(HookConfigEditorTest, TheVersionIsRemovedOnlyWhenOursAndUnchanged) {
    HookInstallRecord record;
    auto text = installed("{}", entry("cursor"), record);
    auto edited = text;
    edited.replace(edited.find("\"version\": 1"), 12, "\"version\": 2");
    EXPECT_NE(uninstalling(edited, entry("cursor"), record, true).find("\"version\": 2"),
              std::string::npos);
    EXPECT_NE(uninstalling(text, entry("cursor"), record, false).find("\"version\": 1"),
              std::string::npos);
    EXPECT_FALSE(lacksVersion("{\"version\": 1}", entry("cursor")));
    EXPECT_FALSE(lacksVersion("{}", entry("claude")));
}

TEST(HookConfigEditorTest, RecordsKnowWhatWasEmpty) {
    auto containers =
        emptyContainers("{\"hooks\": {\"Stop\": [1], \"SessionEnd\": []}}", entry("claude"));
    EXPECT_TRUE(containers.count({"hooks", "SessionEnd"}));
    EXPECT_TRUE(containers.count({"hooks", "PreToolUse"}));
    EXPECT_FALSE(containers.count({"hooks", "Stop"}));
    EXPECT_FALSE(containers.count({"hooks"}));
    EXPECT_FALSE(containers.count({}));
    auto interiors = emptyInteriors("{\"hooks\": { \n }}", entry("claude"));
    ASSERT_EQ(interiors.size(), 1u);
    EXPECT_EQ(interiors[0], (HookInstallRecord::Interior{{"hooks"}, " \n "}));
    EXPECT_EQ(restoring(interiors, "{\"hooks\": {}}"), "{\"hooks\": { \n }}");
    EXPECT_EQ(restoring(interiors, "{\"hooks\": {\"a\": 1}}"), "{\"hooks\": {\"a\": 1}}");
}

// Damaged settings files are installed into and given back exactly, or refused; nothing else.
TEST(HookConfigEditorTest, MutatedSettingsAreEditedCleanlyOrRefused) {
    std::vector<std::string> seeds;
    for (const auto& item :
         std::filesystem::directory_iterator(testing::fixture("settings/claude"))) {
        seeds.push_back(testing::readFile(item.path()));
    }
    const std::string alphabet = "{}[]\",: \n\r\t\\0a";
    std::mt19937 random(99);
    auto pick = [&](std::size_t size) {
        return std::uniform_int_distribution<std::size_t>(0, size - 1)(random);
    };
    int edited = 0;
    for (int round = 0; round < 100; ++round) {
        auto text = seeds[pick(seeds.size())];
        for (int edits = 0; edits < 2 && !text.empty(); ++edits) {
            text[pick(text.size())] = alphabet[pick(alphabet.size())];
        }
        SCOPED_TRACE(text);
        HookInstallRecord record;
        std::string after;
        try {
            after = installed(text, entry("claude"), record);
        } catch (const HookInstallError&) {
            continue;
        }
        ++edited;
        EXPECT_EQ(status(after, entry("claude"), kApp), HookStatus::installed(1));
        EXPECT_EQ(uninstalling(after, entry("claude"), record, true), text);
    }
    EXPECT_GT(edited, 10);
}

TEST(HookConfigEditorTest, PreviewShowsWhatAnInstallWrites) {
    HookInstallRecord record;
    EXPECT_EQ(preview(entry("droid"), kApp), installed("{}\n", entry("droid"), record));
    EXPECT_EQ(preview(entry("pi"), kApp), HookCatalog::piExtensionSource(kApp));
}

}  // namespace
}  // namespace vigilmoth
