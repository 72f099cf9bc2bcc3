#include "hooks/install/HookExpectations.h"

#include <gtest/gtest.h>

#include <regex>

#include "hooks/HookEvents.h"
#include "hooks/install/HookConfigEditor.h"

namespace vigilmoth::testing {
namespace {

using nlohmann::json;

bool isFlat(const HookCatalogEntry& entry) {
    return entry.format.kind == HookCatalogEntry::Format::Kind::jsonFlatHooks;
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::size_t bareLineFeeds(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) ++count;
    }
    return count;
}

json userHandler(const HookCatalogEntry& entry, const std::string& text) {
    json handler = {{"command", "echo " + text}};
    if (isFlat(entry)) return handler;
    handler["type"] = "command";
    return {{"matcher", "Bash"}, {"hooks", json::array({handler})}};
}

}  // namespace

std::vector<HookCatalogEntry> jsonEntries() {
    std::vector<HookCatalogEntry> entries;
    for (const auto& entry : HookCatalog::entries()) {
        if (entry.format.kind != HookCatalogEntry::Format::Kind::pluginFile) {
            entries.push_back(entry);
        }
    }
    return entries;
}

std::vector<SpelledDocument> spellings(const json& document) {
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

std::vector<json> documentsWithUserHooks(const HookCatalogEntry& entry) {
    const auto& rules = HookEvents::rules(entry.id);
    const std::string first = rules.front().event;
    const std::string last = rules.back().event;
    std::vector<json> documents = {
        json::object(),
        {{"model", "opus"}, {"env", {{"A", "1"}}}, {"list", json::array()}},
        {{"hooks", json::object()}},
        {{"hooks", {{first, json::array()}}}, {"after", json::object()}},
        {{"hooks",
          {{first, json::array({userHandler(entry, "one")})},
           {"SomethingElse", json::array({userHandler(entry, "two")})},
           {last, json::array({userHandler(entry, "three"), userHandler(entry, "four")})}}}},
    };
    if (isFlat(entry)) {
        documents.push_back(
            {{"version", 1}, {"hooks", {{last, json::array({userHandler(entry, "x")})}}}});
    } else {
        // A group of the user's without handlers is theirs to keep.
        documents.push_back({{"hooks", {{first, json::array({{{"hooks", json::array()}}})}}}});
    }
    return documents;
}

json withOurHandlers(json document, const HookCatalogEntry& entry, std::string_view appPath) {
    json* events = &document;
    for (const auto& key : entry.format.keyPath)
        events = &(*events)[key];
    for (const auto& handler : HookConfigEditor::expectedHandlers(entry, appPath)) {
        json element = {{"command", handler.command}, {"timeout", 3}};
        if (!isFlat(entry)) {
            element["type"] = "command";
            element = {{"hooks", json::array({element})}};
            if (handler.matcher) element["matcher"] = *handler.matcher;
        }
        (*events)[handler.event].push_back(element);
    }
    if (entry.id == "cursor" && !document.contains("version")) document["version"] = 1;
    return document;
}

bool onlyInserted(std::string_view original, std::string_view edited) {
    std::size_t at = 0;
    for (char byte : edited) {
        if (at < original.size() && original[at] == byte) ++at;
    }
    return at == original.size();
}

void expectInstalledOver(const std::string& before, const std::string& after,
                         const HookCatalogEntry& entry, std::string_view appPath) {
    bool blank = before.find_first_not_of(" \t\r\n") == std::string::npos;
    json original = json::parse(blank ? std::string("{}") : before, nullptr, false);
    json installed = json::parse(after, nullptr, false);
    ASSERT_FALSE(installed.is_discarded()) << after;
    EXPECT_EQ(installed, withOurHandlers(original, entry, appPath));
    // Filling an empty container replaces the whitespace between its brackets; anything else
    // must come through untouched.
    static const std::regex spacedEmpty(R"([\{\[][ \t\r\n]+[\}\]])");
    if (!blank && !std::regex_search(before, spacedEmpty)) {
        EXPECT_TRUE(onlyInserted(before, after)) << after;
    }
    // A blank file is replaced by a fresh document, which has line feeds of its own.
    if (!blank && before.find('\r') != std::string::npos) {
        EXPECT_EQ(bareLineFeeds(after), bareLineFeeds(before)) << "new lines follow the file's";
    }
    EXPECT_EQ(HookConfigEditor::status(after, entry, appPath), HookStatus::installed(1));
}

}  // namespace vigilmoth::testing
