#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <string_view>

#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookConfigEditor.h"

namespace vigilmoth::testing {

inline bool isFlat(const HookCatalogEntry& entry) {
    return entry.format.kind == HookCatalogEntry::Format::Kind::jsonFlatHooks;
}

// What a file must hold after an install: everything it held plus exactly our handlers.
inline nlohmann::json withOurHandlers(nlohmann::json document, const HookCatalogEntry& entry,
                                      std::string_view appPath) {
    nlohmann::json* events = &document;
    for (const auto& key : entry.format.keyPath)
        events = &(*events)[key];
    for (const auto& handler : HookConfigEditor::expectedHandlers(entry, appPath)) {
        nlohmann::json element = {{"command", handler.command}, {"timeout", 3}};
        if (!isFlat(entry)) {
            element["type"] = "command";
            element = {{"hooks", nlohmann::json::array({element})}};
            if (handler.matcher) element["matcher"] = *handler.matcher;
        }
        (*events)[handler.event].push_back(element);
    }
    if (entry.id == "cursor" && !document.contains("version")) document["version"] = 1;
    return document;
}

// Checks an install's result against the text before it; reports through GoogleTest.
inline void expectInstalledOver(const std::string& before, const std::string& after,
                                const HookCatalogEntry& entry, std::string_view appPath) {
    bool blank = before.find_first_not_of(" \t\r\n") == std::string::npos;
    auto original = nlohmann::json::parse(blank ? std::string("{}") : before, nullptr, false);
    auto installed = nlohmann::json::parse(after, nullptr, false);
    ASSERT_FALSE(installed.is_discarded()) << after;
    EXPECT_EQ(installed, withOurHandlers(original, entry, appPath));
    // Filling an empty container replaces the whitespace between its brackets; anything else
    // must come through untouched: the original can be read out of the edit by skipping bytes.
    static const std::regex spacedEmpty(R"([\{\[][ \t\r\n]+[\}\]])");
    if (!blank && !std::regex_search(before, spacedEmpty)) {
        std::size_t at = 0;
        for (char byte : after)
            at += at < before.size() && before[at] == byte;
        EXPECT_EQ(at, before.size()) << "the edit only inserts text: " << after;
    }
    // A blank file is replaced by a fresh document, which has line feeds of its own.
    auto bareLineFeeds = [](std::string_view text) {
        return std::count(text.begin(), text.end(), '\n') -
               std::count(text.begin(), text.end(), '\r');
    };
    if (!blank && before.find('\r') != std::string::npos) {
        EXPECT_EQ(bareLineFeeds(after), bareLineFeeds(before)) << "new lines follow the file's";
    }
    EXPECT_EQ(HookConfigEditor::status(after, entry, appPath), HookStatus::installed(1));
}

}  // namespace vigilmoth::testing
