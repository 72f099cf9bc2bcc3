#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "catalog/AgentDefinition.h"

namespace vigilmoth {

// The application in which an agent lives: the terminal that runs a command-line agent, the
// editor around it, or the desktop agent's own application.
struct AgentHost {
    // The application to bring forward.
    std::int32_t appPid = 0;
    // How the user knows the application, for the panel's rows.
    std::string name;
    // The agent's terminal, for a command-line agent that has one.
    std::optional<std::int32_t> tty;
    // The terminal of the multiplexer client through which the agent is reached.
    std::optional<std::int32_t> clientTTY;

    bool operator==(const AgentHost&) const = default;
};

struct AgentHostRequest {
    std::int32_t pid = 0;
    AgentDefinition::Kind kind = AgentDefinition::Kind::cli;

    bool operator==(const AgentHostRequest&) const = default;
};

// Finds and brings forward the applications that host agents, against the live system.
class AgentHostFinding {
public:
    virtual ~AgentHostFinding() = default;
    // One answer per request, in request order, from one look at the process table.
    virtual std::vector<std::optional<AgentHost>> hosts(
        const std::vector<AgentHostRequest>& requests) = 0;
    // True once the request to bring the application forward has been made.
    virtual bool bringForward(std::int32_t appPid) = 0;
    // The pid of the application each process runs in, for the notices' "in front" test; one
    // answer per pid, in order.
    virtual std::vector<std::optional<std::int32_t>> owners(
        const std::vector<std::int32_t>& pids) = 0;
};

}  // namespace vigilmoth
