#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalog/AgentDefinition.h"
#include "catalog/AgentHostFinding.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// One look at the process table, indexed by pid; a pid missing from it is asked of the system
// singly.
class ProcessTable {
public:
    using SingleLookup = std::function<std::optional<ProcessInfoRow>(std::int32_t pid)>;

    ProcessTable(std::vector<ProcessInfoRow> rows, SingleLookup single = {});

    std::optional<ProcessInfoRow> row(std::int32_t pid) const;
    const std::vector<ProcessInfoRow>& rows() const { return rows_; }

private:
    std::vector<ProcessInfoRow> rows_;
    std::unordered_map<std::int32_t, size_t> index_;
    SingleLookup single_;
};

// How one system recognises the applications that host agents.
class AgentHostApps {
public:
    virtual ~AgentHostApps() = default;
    // The process is an application the user can bring forward.
    virtual bool isApp(const ProcessInfoRow& row) = 0;
    // When no process of the ancestry is one: the application found another way, or none.
    virtual std::optional<std::int32_t> appBeyond(const std::vector<ProcessInfoRow>& chain,
                                                  bool skippingFirstBundle,
                                                  const ProcessTable& table) = 0;
    virtual std::string name(const ProcessInfoRow& app) = 0;
};

// Finds the application that hosts an agent by walking up its ancestry.
namespace AgentHostResolver {

// Terminal multiplexers, whose server is no application: their clients lead to one.
inline constexpr std::string_view multiplexers[] = {"tmux", "herdr"};

std::optional<AgentHost> resolve(std::int32_t pid, AgentDefinition::Kind kind,
                                 const ProcessTable& table, AgentHostApps& apps);

// The row, its parent, grandparent and so on; ends below the first process, at a process that
// is its own parent, or where a parent cannot be found.
std::vector<ProcessInfoRow> chain(const ProcessInfoRow& row, const ProcessTable& table);

// The first process of the chain that is an application, else what the system finds beyond.
std::optional<std::int32_t> app(const std::vector<ProcessInfoRow>& chain, bool skippingFirstBundle,
                                const ProcessTable& table, AgentHostApps& apps);

// The process that holds the other end of the agent's terminal: the first ancestor on another
// terminal (or none), whose child in the chain has the agent's. A terminal emulator that is not
// known by name is found so; a multiplexer's server is not an application, and `excluded`
// names what else to pass over (a remote login's daemon).
std::optional<ProcessInfoRow> terminalOwner(const std::vector<ProcessInfoRow>& chain,
                                            const std::function<bool(std::string_view)>& excluded);

std::string_view baseName(std::string_view path);

}  // namespace AgentHostResolver
}  // namespace vigilmoth
