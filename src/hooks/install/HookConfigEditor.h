#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookInstallError.h"
#include "hooks/install/HookInstallRecord.h"

namespace vigilmoth {

// Where an agent's hook stands.
struct HookStatus {
    enum class Kind { installed, notInstalled, outdated, configMissing, unreadable };

    Kind kind = Kind::notInstalled;
    int version = 0;  // only for `installed`

    static HookStatus installed(int version) { return {Kind::installed, version}; }
    static HookStatus notInstalled() { return {Kind::notInstalled, 0}; }
    static HookStatus outdated() { return {Kind::outdated, 0}; }
    static HookStatus configMissing() { return {Kind::configMissing, 0}; }
    static HookStatus unreadable() { return {Kind::unreadable, 0}; }

    bool operator==(const HookStatus&) const = default;
};

// The edits of agents' settings files, on their text alone. Everything is spliced into the
// file's own bytes; nothing that vigilmoth did not write is rewritten.
namespace HookConfigEditor {

// The seconds an agent gives a handler. The hook executable gives up after 3 seconds itself,
// and Codex warns at every start about a longer timeout for its Interrupt and SessionEnd.
inline constexpr int kHandlerTimeout = 3;

// One handler that belongs to vigilmoth.
struct OurHandler {
    std::string event;
    std::optional<std::string> matcher;
    std::string command;
    // As written; -1 when it is not a whole number of seconds. An install with another
    // timeout is outdated.
    int timeout = kHandlerTimeout;
    bool operator==(const OurHandler&) const = default;
};

// What a missing or blank settings file is taken to hold.
inline constexpr std::string_view blankDocument = "{}\n";

// The handlers an install writes, in the catalog's order.
std::vector<OurHandler> expectedHandlers(const HookCatalogEntry& entry, std::string_view appPath);

// vigilmoth's handlers in the text, in source order. Throws HookInstallError: `unreadable`
// for text that is not JSON, `unexpectedShape` when the path or an event holds the wrong kind.
std::vector<OurHandler> ourHandlers(std::string_view text, const JSONKeyPath& keyPath, bool flat);

HookStatus status(std::string_view text, const HookCatalogEntry& entry, std::string_view appPath);

// The text with the current handlers, old ones of ours replaced; notes in `record` what
// removal needs to undo it. Throws HookInstallError.
std::string installing(std::string_view text, const HookCatalogEntry& entry,
                       std::string_view appPath, HookInstallRecord& record);

// The text without any handler of ours, with what the record says the install added taken
// out again. Throws HookInstallError.
std::string uninstalling(std::string_view text, const HookCatalogEntry& entry,
                         const HookInstallRecord& record, bool removingVersion);

// Whether the agent's format wants a top-level "version" member that the text lacks.
bool lacksVersion(std::string_view text, const HookCatalogEntry& entry);

// The containers on the way to the handlers that are empty or missing in the text.
std::set<JSONKeyPath> emptyContainers(std::string_view text, const HookCatalogEntry& entry);

// The inner text of the containers on the way that exist and are empty.
std::vector<HookInstallRecord::Interior> emptyInteriors(std::string_view text,
                                                        const HookCatalogEntry& entry);

// The text with each recorded container that is empty now given back its former inner text.
std::string restoring(const std::vector<HookInstallRecord::Interior>& interiors,
                      std::string_view text);

// What an install would write, for the user to see before confirming.
std::string preview(const HookCatalogEntry& entry, std::string_view appPath);

// One new element of an event's array, its first line to stand at `indent`.
std::string group(const OurHandler& handler, const std::string& indent, const std::string& unit,
                  const std::string& lineEnding, bool flat);

// Whether a plugin file's text is one that vigilmoth wrote, in this or an earlier version.
bool isOurScript(std::string_view text, const HookCatalogEntry& entry, std::string_view appPath);

// The current text of an entry's plugin script.
std::string currentScript(const HookCatalogEntry& entry, std::string_view appPath);

}  // namespace HookConfigEditor
}  // namespace vigilmoth
