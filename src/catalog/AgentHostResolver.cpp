#include "catalog/AgentHostResolver.h"

#include <algorithm>

namespace vigilmoth {

ProcessTable::ProcessTable(std::vector<ProcessInfoRow> rows, SingleLookup single)
    : rows_(std::move(rows)), single_(std::move(single)) {
    for (size_t at = 0; at < rows_.size(); ++at)
        index_.emplace(rows_[at].pid, at);
}

std::optional<ProcessInfoRow> ProcessTable::row(std::int32_t pid) const {
    if (auto found = index_.find(pid); found != index_.end()) return rows_[found->second];
    if (single_) return single_(pid);
    return std::nullopt;
}

namespace AgentHostResolver {
namespace {

// A census holds no more processes than this; a longer walk would be a loop of stale rows.
constexpr size_t kLongestChain = 4096;

bool isMultiplexer(const ProcessInfoRow& row) {
    auto name = baseName(row.executablePath);
    return std::find(std::begin(multiplexers), std::end(multiplexers), name) !=
           std::end(multiplexers);
}

std::optional<std::int32_t> terminalOf(const ProcessInfoRow& row) {
    if (row.tty == ProcessInfoRow::kNoTerminal) return std::nullopt;
    return row.tty;
}

AgentHost hostAt(std::int32_t appPid, const ProcessTable& table, AgentHostApps& apps) {
    AgentHost host{.appPid = appPid};
    if (auto row = table.row(appPid)) host.name = apps.name(*row);
    return host;
}

// The multiplexer's client that has a terminal, and the application above it.
std::optional<AgentHost> throughClient(const ProcessInfoRow& multiplexer, std::int32_t agentTTY,
                                       const ProcessTable& table, AgentHostApps& apps) {
    auto name = baseName(multiplexer.executablePath);
    for (const auto& row : table.rows()) {
        if (baseName(row.executablePath) != name || !terminalOf(row)) continue;
        if (auto found = app(chain(row, table), true, table, apps)) {
            auto host = hostAt(*found, table, apps);
            host.tty = agentTTY;
            host.clientTTY = row.tty;
            return host;
        }
    }
    return std::nullopt;
}

}  // namespace

std::string_view baseName(std::string_view path) {
    auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::vector<ProcessInfoRow> chain(const ProcessInfoRow& row, const ProcessTable& table) {
    std::vector<ProcessInfoRow> rows{row};
    while (rows.size() < kLongestChain) {
        const auto& last = rows.back();
        if (last.ppid < 2 || last.ppid == last.pid) break;
        auto parent = table.row(last.ppid);
        if (!parent) break;
        rows.push_back(std::move(*parent));
    }
    return rows;
}

std::optional<std::int32_t> app(const std::vector<ProcessInfoRow>& chain, bool skippingFirstBundle,
                                const ProcessTable& table, AgentHostApps& apps) {
    for (const auto& row : chain) {
        if (apps.isApp(row)) return row.pid;
    }
    return apps.appBeyond(chain, skippingFirstBundle, table);
}

std::optional<AgentHost> resolve(std::int32_t pid, AgentDefinition::Kind kind,
                                 const ProcessTable& table, AgentHostApps& apps) {
    auto agent = table.row(pid);
    if (!agent) return std::nullopt;
    auto ancestry = chain(*agent, table);
    bool commandLine = kind == AgentDefinition::Kind::cli;
    if (auto found = app(ancestry, commandLine, table, apps)) {
        auto host = hostAt(*found, table, apps);
        if (commandLine) host.tty = terminalOf(*agent);
        return host;
    }
    auto agentTTY = terminalOf(*agent);
    if (!agentTTY) return std::nullopt;
    for (const auto& row : ancestry) {
        if (isMultiplexer(row)) return throughClient(row, *agentTTY, table, apps);
    }
    return std::nullopt;
}

std::optional<ProcessInfoRow> terminalOwner(const std::vector<ProcessInfoRow>& chain,
                                            const std::function<bool(std::string_view)>& excluded) {
    if (chain.empty() || !terminalOf(chain.front())) return std::nullopt;
    auto tty = chain.front().tty;
    auto owner = std::find_if(chain.begin(), chain.end(),
                              [tty](const ProcessInfoRow& row) { return row.tty != tty; });
    if (owner == chain.end() || isMultiplexer(*owner)) return std::nullopt;
    if (excluded(baseName(owner->executablePath))) return std::nullopt;
    return *owner;
}

}  // namespace AgentHostResolver
}  // namespace vigilmoth
