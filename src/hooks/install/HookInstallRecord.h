#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vigilmoth {

// Members from a document's root down to a container.
using JSONKeyPath = std::vector<std::string>;

// What an install changed, kept so that removal can put the file back as it was.
struct HookInstallRecord {
    // The exact former text between the brackets of a container that the install filled.
    struct Interior {
        JSONKeyPath path;
        std::string bytes;
        bool operator==(const Interior&) const = default;
    };

    // Containers on the way to the handlers that were empty or missing before the install.
    std::set<JSONKeyPath> emptyBefore;
    bool createdFile = false;
    std::optional<bool> addedVersion;
    // The file's bytes when it held only whitespace.
    std::optional<std::string> blankBefore;
    std::optional<std::vector<Interior>> interiors;
    std::optional<std::vector<std::string>> backups;

    bool operator==(const HookInstallRecord&) const = default;

    // Every key is optional; a value of the wrong kind counts as absent.
    static HookInstallRecord fromJSON(const nlohmann::json& json);
    nlohmann::json toJSON() const;
};

}  // namespace vigilmoth
