#pragma once

#include <string>
#include <string_view>

#include "base/MachineWord.h"

namespace vigilmoth::testing {

// A text as this build words it, written in the macOS wording so that the tables keep the
// words macOS users read: each "Mac" becomes the build's machine word, in its plain form after
// "your", "the" or "this" ("Your computer") and capitalised elsewhere ("Computer can sleep").
inline std::string worded(std::string_view macText) {
    std::string text;
    std::size_t from = 0;
    for (auto at = macText.find("Mac"); at != std::string_view::npos;
         at = macText.find("Mac", from)) {
        text += macText.substr(from, at - from);
        const auto before = text.substr(text.rfind(' ', text.size() - 2) + 1);
        const bool afterDeterminer =
            before == "your " || before == "Your " || before == "the " || before == "this ";
        text += afterDeterminer ? kMachineWord.noun : kMachineWord.capitalised;
        from = at + 3;
    }
    return text + std::string(macText.substr(from));
}

}  // namespace vigilmoth::testing
