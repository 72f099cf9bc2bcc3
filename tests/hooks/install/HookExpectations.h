#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "hooks/install/HookCatalog.h"

namespace vigilmoth::testing {

// The JSON entries of the catalog (the ones edited in place).
std::vector<HookCatalogEntry> jsonEntries();

// A settings document in many spellings of the same content, each with a name.
struct SpelledDocument {
    std::string name;
    std::string text;
};
std::vector<SpelledDocument> spellings(const nlohmann::json& document);

// Documents that mix the user's own hooks into the events vigilmoth uses, for an entry.
std::vector<nlohmann::json> documentsWithUserHooks(const HookCatalogEntry& entry);

// What a file must hold after an install: everything it held plus exactly our handlers.
nlohmann::json withOurHandlers(nlohmann::json document, const HookCatalogEntry& entry,
                               std::string_view appPath);

// Whether `original` can be read out of `edited` by leaving bytes out, that is, whether the
// edit only inserted text.
bool onlyInserted(std::string_view original, std::string_view edited);

// Checks an install's result against the text before it; reports through GoogleTest.
void expectInstalledOver(const std::string& before, const std::string& after,
                         const HookCatalogEntry& entry, std::string_view appPath);

}  // namespace vigilmoth::testing
