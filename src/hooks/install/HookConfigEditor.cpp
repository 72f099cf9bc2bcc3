#include "hooks/install/HookConfigEditor.h"

#include <algorithm>
#include <tuple>

#include "hooks/HookEvents.h"
#include "hooks/install/HookPluginHistory.h"
#include "hooks/json/JSONSourceText.h"

namespace vigilmoth::HookConfigEditor {
namespace {

using Node = JSONSourceNode;
using Kind = HookInstallError::Kind;
using JSONSourceText::literal;

bool isFlat(const HookCatalogEntry& entry) {
    return entry.format.kind == HookCatalogEntry::Format::Kind::jsonFlatHooks;
}

Node parsed(std::string_view text) {
    try {
        return JSONSourceParser::parse(text);
    } catch (const JSONSourceError&) {
        throw HookInstallError(Kind::unreadable);
    }
}

// The last member with the key, the one that the agents' own JSON readers keep.
std::optional<std::size_t> memberIndex(const Node& node, std::string_view key) {
    const auto* object = node.object();
    if (object == nullptr) return std::nullopt;
    for (auto i = object->members.size(); i-- > 0;) {
        if (object->members[i].key == key) return i;
    }
    return std::nullopt;
}

const Node* member(const Node& node, std::string_view key) {
    auto index = memberIndex(node, key);
    return index ? &node.object()->members[*index].value : nullptr;
}

// The node at a path, or nothing when a member is missing. Stepping through anything but an
// object means a layout that vigilmoth does not know.
const Node* nodeAt(const Node& root, const JSONKeyPath& path) {
    const Node* node = &root;
    for (const auto& key : path) {
        if (node->object() == nullptr) throw HookInstallError(Kind::unexpectedShape);
        node = member(*node, key);
        if (node == nullptr) return nullptr;
    }
    return node;
}

// The same, for looking around in text already known to have the right shape.
const Node* find(const Node& root, const JSONKeyPath& path) {
    try {
        return nodeAt(root, path);
    } catch (const HookInstallError&) {
        return nullptr;
    }
}

bool isEmptyContainer(const Node& node) {
    return (node.object() != nullptr || node.array() != nullptr) && node.childRanges().empty();
}

// Where one of our handlers sits, by position in the parse it was found in.
struct Site {
    OurHandler handler;
    std::size_t eventMember = 0;
    std::size_t element = 0;
    std::optional<std::size_t> inGroup;  // its place in the group's "hooks" array
    bool wholeGroup = false;             // every handler of the group is ours
};

std::optional<std::string> stringMember(const Node& node, std::string_view key) {
    const Node* value = member(node, key);
    if (value == nullptr || value->string() == nullptr) return std::nullopt;
    return value->string()->value;
}

// A whole number of seconds as written, or -1 for anything else (absent, text, a fraction).
int timeoutMember(const Node& handler, std::string_view text) {
    const Node* value = member(handler, "timeout");
    if (value == nullptr || !std::holds_alternative<Node::Other>(value->kind)) return -1;
    auto digits = text.substr(static_cast<std::size_t>(value->range.lowerBound),
                              static_cast<std::size_t>(value->range.length()));
    if (digits.empty() || digits.size() > 4) return -1;
    int seconds = 0;
    for (char c : digits) {
        if (c < '0' || c > '9') return -1;
        seconds = seconds * 10 + (c - '0');
    }
    return seconds;
}

std::optional<OurHandler> ourHandler(const Node& handler, const std::string& event,
                                     std::optional<std::string> matcher, std::string_view text) {
    auto command = stringMember(handler, "command");
    if (!command || command->find(HookCatalog::kHookExecutableSuffix) == std::string::npos) {
        return std::nullopt;
    }
    return OurHandler{event, std::move(matcher), std::move(*command), timeoutMember(handler, text)};
}

void collectGroup(const Node& group, const std::string& event, std::size_t eventMember,
                  std::size_t element, std::string_view text, std::vector<Site>& sites) {
    if (group.object() == nullptr) throw HookInstallError(Kind::unexpectedShape);
    auto matcher = stringMember(group, "matcher");
    const Node* hooks = member(group, "hooks");
    if (hooks == nullptr || hooks->array() == nullptr) return;
    const auto& handlers = hooks->array()->elements;
    auto first = sites.size();
    for (std::size_t i = 0; i < handlers.size(); ++i) {
        if (auto handler = ourHandler(handlers[i], event, matcher, text)) {
            sites.push_back({std::move(*handler), eventMember, element, i, false});
        }
    }
    bool whole = sites.size() - first == handlers.size();
    for (auto i = first; i < sites.size(); ++i)
        sites[i].wholeGroup = whole;
}

const Node* eventsObject(const Node& root, const JSONKeyPath& keyPath) {
    const Node* events = nodeAt(root, keyPath);
    if (events != nullptr && events->object() == nullptr) {
        throw HookInstallError(Kind::unexpectedShape);
    }
    return events;
}

std::vector<Site> sites(std::string_view text, const JSONKeyPath& keyPath, bool flat) {
    const Node root = parsed(text);
    std::vector<Site> found;
    const Node* events = eventsObject(root, keyPath);
    if (events == nullptr) return found;
    const auto& members = events->object()->members;
    for (std::size_t m = 0; m < members.size(); ++m) {
        const auto* handlers = members[m].value.array();
        if (handlers == nullptr) throw HookInstallError(Kind::unexpectedShape);
        for (std::size_t e = 0; e < handlers->elements.size(); ++e) {
            const Node& element = handlers->elements[e];
            if (!flat) {
                collectGroup(element, members[m].key, m, e, text, found);
            } else if (auto handler = ourHandler(element, members[m].key,
                                                 stringMember(element, "matcher"), text)) {
                found.push_back({std::move(*handler), m, e, std::nullopt, true});
            }
        }
    }
    return found;
}

void removeSite(std::string& bytes, const Site& site, const JSONKeyPath& keyPath) {
    Node root = parsed(bytes);
    const Node& handlers = eventsObject(root, keyPath)->object()->members[site.eventMember].value;
    auto element = static_cast<std::ptrdiff_t>(site.element);
    if (!site.inGroup || site.wholeGroup) {
        JSONSourceText::removeChild(element, handlers, bytes);
        return;
    }
    const Node& group = handlers.array()->elements[site.element];
    JSONSourceText::removeChild(static_cast<std::ptrdiff_t>(*site.inGroup), *member(group, "hooks"),
                                bytes);
}

// One removal per parse, the last first, until none of ours is left.
std::string withoutOurHandlers(std::string bytes, const JSONKeyPath& keyPath, bool flat) {
    while (true) {
        auto found = sites(bytes, keyPath, flat);
        if (found.empty()) return bytes;
        auto before = bytes.size();
        removeSite(bytes, found.back(), keyPath);
        if (bytes.size() == before) return bytes;
    }
}

// The containers from the root to every event array the entry's handlers go into.
std::vector<JSONKeyPath> containerPaths(const HookCatalogEntry& entry) {
    const auto& keyPath = entry.format.keyPath;
    std::vector<JSONKeyPath> paths;
    for (std::size_t n = 0; n <= keyPath.size(); ++n) {
        paths.emplace_back(keyPath.begin(), keyPath.begin() + static_cast<std::ptrdiff_t>(n));
    }
    for (const auto& rule : HookEvents::rules(entry.id)) {
        auto path = keyPath;
        path.push_back(rule.event);
        if (std::find(paths.begin(), paths.end(), path) == paths.end()) paths.push_back(path);
    }
    return paths;
}

// Appends `key` with an empty container to the object at `path` unless it is there already.
void ensureMember(std::string& bytes, const JSONKeyPath& path, const std::string& key,
                  std::string_view empty) {
    Node root = parsed(bytes);
    const Node* parent = nodeAt(root, path);
    if (parent == nullptr || parent->object() == nullptr) {
        throw HookInstallError(Kind::unexpectedShape);
    }
    if (member(*parent, key) != nullptr) return;
    JSONSourceText::append(*parent, bytes, [&](const std::string&) {
        return literal(key) + ": " + std::string(empty);
    });
}

void appendHandler(std::string& bytes, const JSONKeyPath& arrayPath, const OurHandler& handler,
                   bool flat) {
    Node root = parsed(bytes);
    const Node* handlers = nodeAt(root, arrayPath);
    if (handlers == nullptr || handlers->array() == nullptr) {
        throw HookInstallError(Kind::unexpectedShape);
    }
    auto unit = JSONSourceText::indentUnit(bytes);
    auto ending = JSONSourceText::lineEnding(bytes);
    JSONSourceText::append(*handlers, bytes, [&](const std::string& indent) {
        return group(handler, indent, unit, ending, flat);
    });
}

void removeIfEmpty(std::string& bytes, const JSONKeyPath& path) {
    if (path.empty()) return;
    Node root = parsed(bytes);
    const Node* parent = find(root, JSONKeyPath(path.begin(), path.end() - 1));
    auto index = parent != nullptr ? memberIndex(*parent, path.back()) : std::nullopt;
    if (!index || !isEmptyContainer(parent->object()->members[*index].value)) return;
    JSONSourceText::removeChild(static_cast<std::ptrdiff_t>(*index), *parent, bytes);
}

// Only the member as vigilmoth wrote it: a version the user changed since is theirs.
void removeAddedVersion(std::string& bytes) {
    Node root = parsed(bytes);
    auto index = memberIndex(root, "version");
    if (!index) return;
    const auto& range = root.object()->members[*index].value.range;
    if (std::string_view(bytes).substr(static_cast<std::size_t>(range.lowerBound),
                                       static_cast<std::size_t>(range.length())) != "1") {
        return;
    }
    JSONSourceText::removeChild(static_cast<std::ptrdiff_t>(*index), root, bytes);
}

bool hasInterior(const HookInstallRecord& record, const JSONKeyPath& path) {
    if (!record.interiors) return false;
    return std::any_of(record.interiors->begin(), record.interiors->end(),
                       [&](const auto& interior) { return interior.path == path; });
}

void mergeInto(HookInstallRecord& record, const std::string& bytes, const HookCatalogEntry& entry) {
    record.emptyBefore.merge(emptyContainers(bytes, entry));
    if (!record.interiors) record.interiors.emplace();
    // An earlier install's note is older and so nearer to what the user wrote.
    for (auto& interior : emptyInteriors(bytes, entry)) {
        if (!hasInterior(record, interior.path)) record.interiors->push_back(std::move(interior));
    }
}

// Events keep the place they already had in the user's file, so the order in which our
// handlers appear says nothing; what matters is that each one is there exactly once.
bool sameHandlers(std::vector<OurHandler> found, std::vector<OurHandler> expected) {
    auto order = [](const OurHandler& a, const OurHandler& b) {
        return std::tie(a.event, a.matcher, a.command, a.timeout) <
               std::tie(b.event, b.matcher, b.command, b.timeout);
    };
    std::sort(found.begin(), found.end(), order);
    std::sort(expected.begin(), expected.end(), order);
    return found == expected;
}

int currentVersion(const HookCatalogEntry& entry) {
    return entry.id == "pi" ? HookCatalog::kPiExtensionVersion
                            : HookCatalog::kOpencodePluginVersion;
}

}  // namespace

std::vector<OurHandler> expectedHandlers(const HookCatalogEntry& entry, std::string_view appPath) {
    std::vector<OurHandler> handlers;
    for (const auto& rule : HookEvents::rules(entry.id)) {
        handlers.push_back(
            {rule.event, rule.matcher, HookCatalog::command(entry.id, rule.event, appPath)});
    }
    return handlers;
}

std::vector<OurHandler> ourHandlers(std::string_view text, const JSONKeyPath& keyPath, bool flat) {
    std::vector<OurHandler> handlers;
    for (auto& site : sites(text, keyPath, flat)) {
        handlers.push_back(std::move(site.handler));
    }
    return handlers;
}

HookStatus status(std::string_view text, const HookCatalogEntry& entry, std::string_view appPath) {
    if (entry.format.kind == HookCatalogEntry::Format::Kind::pluginFile) {
        if (text == currentScript(entry, appPath)) {
            return HookStatus::installed(currentVersion(entry));
        }
        return isOurScript(text, entry, appPath) ? HookStatus::outdated()
                                                 : HookStatus::notInstalled();
    }
    try {
        auto ours = ourHandlers(text, entry.format.keyPath, isFlat(entry));
        if (ours.empty()) return HookStatus::notInstalled();
        return sameHandlers(std::move(ours), expectedHandlers(entry, appPath))
                   ? HookStatus::installed(1)
                   : HookStatus::outdated();
    } catch (const HookInstallError& error) {
        // A layout we do not know holds nothing of ours; installing says why it cannot.
        return error.kind() == Kind::unreadable ? HookStatus::unreadable()
                                                : HookStatus::notInstalled();
    }
}

std::string installing(std::string_view text, const HookCatalogEntry& entry,
                       std::string_view appPath, HookInstallRecord& record) {
    const auto& keyPath = entry.format.keyPath;
    bool flat = isFlat(entry);
    // Refuses text that is not JSON or not in the agent's layout before anything else.
    ourHandlers(text, keyPath, flat);
    if (status(text, entry, appPath) == HookStatus::installed(1)) return std::string(text);
    std::string bytes = uninstalling(text, entry, record, false);
    mergeInto(record, bytes, entry);
    for (const auto& handler : expectedHandlers(entry, appPath)) {
        JSONKeyPath path;
        for (const auto& key : keyPath) {
            ensureMember(bytes, path, key, "{}");
            path.push_back(key);
        }
        ensureMember(bytes, path, handler.event, "[]");
        path.push_back(handler.event);
        appendHandler(bytes, path, handler, flat);
    }
    if (lacksVersion(bytes, entry)) {
        JSONSourceText::append(parsed(bytes), bytes,
                               [](const std::string&) { return "\"version\": 1"; });
        record.addedVersion = true;
    }
    return bytes;
}

std::string uninstalling(std::string_view text, const HookCatalogEntry& entry,
                         const HookInstallRecord& record, bool removingVersion) {
    std::string bytes = withoutOurHandlers(std::string(text), entry.format.keyPath, isFlat(entry));
    std::vector<JSONKeyPath> paths(record.emptyBefore.begin(), record.emptyBefore.end());
    std::stable_sort(paths.begin(), paths.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    for (const auto& path : paths) {
        // A container that existed empty gets its former inner text back instead.
        if (!hasInterior(record, path)) removeIfEmpty(bytes, path);
    }
    if (removingVersion && record.addedVersion.value_or(false)) removeAddedVersion(bytes);
    return record.interiors ? restoring(*record.interiors, bytes) : bytes;
}

bool lacksVersion(std::string_view text, const HookCatalogEntry& entry) {
    // Cursor's hooks.json declares its format version; the other agents' files have none, and
    // Codex's hooks.json may hold nothing but "hooks" at its root.
    if (entry.id != "cursor") return false;
    try {
        Node root = JSONSourceParser::parse(text);
        return root.object() != nullptr && member(root, "version") == nullptr;
    } catch (const JSONSourceError&) {
        return false;
    }
}

std::set<JSONKeyPath> emptyContainers(std::string_view text, const HookCatalogEntry& entry) {
    std::set<JSONKeyPath> empty;
    try {
        Node root = JSONSourceParser::parse(text);
        for (const auto& path : containerPaths(entry)) {
            const Node* node = find(root, path);
            if (node == nullptr || isEmptyContainer(*node)) empty.insert(path);
        }
    } catch (const JSONSourceError&) {
    }
    return empty;
}

std::vector<HookInstallRecord::Interior> emptyInteriors(std::string_view text,
                                                        const HookCatalogEntry& entry) {
    std::vector<HookInstallRecord::Interior> interiors;
    try {
        Node root = JSONSourceParser::parse(text);
        for (const auto& path : containerPaths(entry)) {
            const Node* node = find(root, path);
            if (node == nullptr || !isEmptyContainer(*node)) continue;
            auto inner = text.substr(static_cast<std::size_t>(node->range.lowerBound + 1),
                                     static_cast<std::size_t>(node->range.length() - 2));
            interiors.push_back({path, std::string(inner)});
        }
    } catch (const JSONSourceError&) {
    }
    return interiors;
}

std::string restoring(const std::vector<HookInstallRecord::Interior>& interiors,
                      std::string_view text) {
    std::string bytes(text);
    for (const auto& interior : interiors) {
        try {
            Node root = JSONSourceParser::parse(bytes);
            const Node* node = find(root, interior.path);
            if (node == nullptr || !isEmptyContainer(*node)) continue;
            bytes.replace(static_cast<std::size_t>(node->range.lowerBound + 1),
                          static_cast<std::size_t>(node->range.length() - 2), interior.bytes);
        } catch (const JSONSourceError&) {
            return bytes;
        }
    }
    return bytes;
}

std::string preview(const HookCatalogEntry& entry, std::string_view appPath) {
    if (entry.format.kind == HookCatalogEntry::Format::Kind::pluginFile) {
        return currentScript(entry, appPath);
    }
    HookInstallRecord scratch;
    return installing(blankDocument, entry, appPath, scratch);
}

std::string group(const OurHandler& handler, const std::string& indent, const std::string& unit,
                  const std::string& lineEnding, bool flat) {
    const std::string command = "\"command\": " + literal(handler.command) + ",";
    const std::string timeout = "\"timeout\": " + std::to_string(handler.timeout);
    std::vector<std::string> lines;
    if (flat) {
        lines = {"{", indent + unit + command, indent + unit + timeout, indent + "}"};
    } else {
        lines.push_back("{");
        if (handler.matcher) {
            lines.push_back(indent + unit + "\"matcher\": " + literal(*handler.matcher) + ",");
        }
        const std::string one = indent + unit;
        const std::string two = one + unit;
        const std::string three = two + unit;
        lines.insert(lines.end(),
                     {one + "\"hooks\": [", two + "{", three + "\"type\": \"command\",",
                      three + command, three + timeout, two + "}", one + "]", indent + "}"});
    }
    std::string text;
    for (std::size_t i = 0; i < lines.size(); ++i)
        text += (i == 0 ? "" : lineEnding) + lines[i];
    return text;
}

bool isOurScript(std::string_view text, const HookCatalogEntry& entry, std::string_view appPath) {
    auto version = HookPluginHistory::version(text);
    if (!version) return false;
    return *version == currentVersion(entry) ||
           HookPluginHistory::source(entry.id, *version, appPath).has_value();
}

std::string currentScript(const HookCatalogEntry& entry, std::string_view appPath) {
    return entry.id == "pi" ? HookCatalog::piExtensionSource(appPath)
                            : HookCatalog::pluginSource(appPath);
}

}  // namespace vigilmoth::HookConfigEditor
