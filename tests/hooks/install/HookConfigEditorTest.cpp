// Show that the settings editor adds exactly vigilmoth's handlers in the file's own style,
// recognises them again, and takes them out leaving the text byte for byte as it was.
#include "hooks/install/HookConfigEditor.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "base/Golden.h"
#include "hooks/HookEvents.h"
#include "hooks/install/HookExpectations.h"
#include "hooks/json/JSONSourceText.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace HookConfigEditor;
using nlohmann::json;
using Kind = HookInstallError::Kind;

const std::string kApp = "/opt/vigilmoth";
const HookCatalogEntry& entry(std::string_view id) {
    return *HookCatalog::entry(id);
}

std::string installed(const std::string& text, const HookCatalogEntry& target,
                      HookInstallRecord& record, const std::string& app = kApp) {
    return installing(text, target, app, record);
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

// One document in many spellings of the same content, each with a name.
std::vector<std::pair<std::string, std::string>> spellings(const json& document) {
    const std::string two = document.dump(2);
    return {
        {"two spaces", two + "\n"},
        {"four spaces", document.dump(4) + "\n"},
        {"tabs", document.dump(1, '\t') + "\n"},
        {"carriage returns", replaced(two, "\n", "\r\n") + "\r\n"},
        {"byte-order mark", "\xEF\xBB\xBF" + two + "\n"},
        {"no final line feed", two},
        {"one line", document.dump()},
        {"spaced one line", replaced(replaced(document.dump(), ",", ", "), ":", ": ")},
    };
}

// Documents that mix the user's own hooks into the events vigilmoth uses.
std::vector<json> documentsWithUserHooks(const HookCatalogEntry& target) {
    const auto& rules = HookEvents::rules(target.id);
    const std::string first = rules.front().event, last = rules.back().event;
    auto user = [&](const std::string& text) {
        json handler = {{"command", "echo " + text}};
        if (testing::isFlat(target)) return handler;
        handler["type"] = "command";
        return json{{"matcher", "Bash"}, {"hooks", json::array({handler})}};
    };
    return {
        json::object(),
        {{"model", "opus"}, {"env", {{"A", "1"}}}, {"list", json::array()}},
        {{"hooks", json::object()}},
        {{"hooks", {{first, json::array()}}}, {"after", json::object()}},
        {{"hooks",
          {{first, json::array({user("one")})},
           {"SomethingElse", json::array({user("two")})},
           {last, json::array({user("three"), user("four")})}}}},
        // A group of the user's without handlers is theirs to keep.
        testing::isFlat(target)
            ? json{{"version", 1}, {"hooks", {{last, json::array({user("x")})}}}}
            : json{{"hooks", {{first, json::array({{{"hooks", json::array()}}})}}}},
    };
}

// What a fresh install writes for each agent, with an application path that needs escaping,
// and how the groups follow a file written with tabs and carriage returns. The hook's place in
// the application differs by platform; the listings show it as <hook>.
TEST(HookConfigEditorTest, EachLayoutGetsItsHandlers) {
    const std::string app = "/opt/My App's \"vigilmoth\"";
    auto expectGolden = [](const std::string& name, const std::string& text) {
        testing::expectGolden("hooks/installed/" + name,
                              replaced(text, HookCatalog::kHookExecutableSuffix, "<hook>"));
    };
    for (const auto& target : HookCatalog::entries()) {
        SCOPED_TRACE(target.id);
        const bool plugin = target.format.kind == HookCatalogEntry::Format::Kind::pluginFile;
        expectGolden(target.id + (plugin ? ".js" : ".json"), preview(target, app));
    }
    HookInstallRecord record;
    expectGolden("claude-tabs-crlf.json",
                 installed("{\r\n\t\"model\": \"opus\",\r\n\t\"hooks\": {}\r\n}\r\n",
                           entry("claude"), record, app));
    installed("{}", entry("cursor"), record);
    EXPECT_EQ(record.addedVersion, true);
}

TEST(HookConfigEditorTest, StatusTellsOursFromOthers) {
    HookInstallRecord record;
    const auto claude = installed("{}", entry("claude"), record);
    auto withoutLastEvent = [](std::string text) {
        auto root = JSONSourceParser::parse(text);
        const auto& hooks = root.object()->members.back().value;
        JSONSourceText::removeChild(std::ssize(hooks.object()->members) - 1, hooks, text);
        return text;
    };
    const struct {
        std::string name, text;
        HookStatus status;
    } cases[] = {
        {"nothing", "{}", HookStatus::notInstalled()},
        {"current", claude, HookStatus::installed(1)},
        {"moved application", installed("{}", entry("claude"), record, "/elsewhere"),
         HookStatus::outdated()},
        {"one handler missing", withoutLastEvent(claude), HookStatus::outdated()},
        // Written with Codex's warning, before its 3-second limit was known.
        {"another timeout", replaced(claude, "\"timeout\": 3", "\"timeout\": 5"),
         HookStatus::outdated()},
        {"not JSON", "{\"hooks\": {,}}", HookStatus::unreadable()},
        {"hooks as an array", "{\"hooks\": []}", HookStatus::notInstalled()},
        {"foreign handler",
         R"({"hooks": {"Stop": [{"hooks": [{"command": "/usr/bin/VigilmothHook x"}]}]}})",
         HookStatus::notInstalled()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(status(c.text, entry("claude"), kApp), c.status);
    }
}

TEST(HookConfigEditorTest, LayoutsItDoesNotKnowAreRefused) {
    testing::expectEachLineReads("hooks/refused-layouts.txt", [](const std::string& text) {
        HookInstallRecord record;
        try {
            installed(replaced(text, "\\n", "\n"), entry("claude"), record);
        } catch (const HookInstallError& error) {
            return error.kind() == Kind::unreadable ? "unreadable" : "unexpected shape";
        }
        return "installed";
    });
}

// Every entry, every spelling: the install holds exactly the old content plus our handlers,
// and removal gives back the very bytes. Empty containers get their inside back.
TEST(HookConfigEditorTest, InstallThenUninstallGivesBackEverySpelling) {
    std::vector<std::tuple<const HookCatalogEntry*, std::string, std::string>> cases;
    for (const auto& target : HookCatalog::entries()) {
        if (target.format.kind == HookCatalogEntry::Format::Kind::pluginFile) continue;
        for (const auto& document : documentsWithUserHooks(target)) {
            for (const auto& [name, text] : spellings(document))
                cases.emplace_back(&target, name + ": " + document.dump(), text);
        }
    }
    for (std::string text :
         {"{ }", "{\n}\n", "{\"hooks\": {\n\n}, \"x\": [ ]}", "{\"hooks\": {\"Stop\": [\t]}}"})
        cases.emplace_back(&entry("claude"), "empty containers", text);
    for (const auto& [target, name, text] : cases) {
        SCOPED_TRACE(target->id + ", " + name + ": " + text);
        HookInstallRecord record;
        auto after = installed(text, *target, record);
        testing::expectInstalledOver(text, after, *target, kApp);
        EXPECT_EQ(installed(after, *target, record), after) << "a second install";
        EXPECT_EQ(uninstalling(after, *target, record, true), text);
    }
}

TEST(HookConfigEditorTest, RemovalLeavesWhatIsNotProvablyOurs) {
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
    // The version goes only when it is ours and unchanged.
    HookInstallRecord record;
    auto cursor = installed("{}", entry("cursor"), record);
    auto edited = replaced(cursor, "\"version\": 1", "\"version\": 2");
    EXPECT_NE(uninstalling(edited, entry("cursor"), record, true).find("\"version\": 2"),
              std::string::npos);
    EXPECT_NE(uninstalling(cursor, entry("cursor"), record, false).find("\"version\": 1"),
              std::string::npos);
    EXPECT_FALSE(lacksVersion("{\"version\": 1}", entry("cursor")));
    EXPECT_FALSE(lacksVersion("{}", entry("claude")));
}

// Damaged settings files are installed into and given back exactly, or refused; nothing else.
TEST(HookConfigEditorTest, MutatedSettingsAreEditedCleanlyOrRefused) {
    std::vector<std::string> seeds;
    for (const auto& item :
         std::filesystem::directory_iterator(testing::fixture("settings/claude")))
        seeds.push_back(testing::readFile(item.path()));
    const std::string alphabet = "{}[]\",: \n\r\t\\0a";
    std::mt19937 random(99);
    int edited = 0;
    for (int round = 0; round < 100; ++round) {
        auto text = seeds[random() % seeds.size()];
        for (int edits = 0; edits < 2 && !text.empty(); ++edits)
            text[random() % text.size()] = alphabet[random() % alphabet.size()];
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

}  // namespace
}  // namespace vigilmoth
