#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include <string>

#include "catalog/AgentHostFinding.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// Where a found application is brought forward from: its bundle, opened again (which brings
// its running instance forward), or the running application activated directly.
struct AgentHostReveal {
    enum class Kind { open, activate };
    Kind kind = Kind::activate;
    std::string bundle;

    // The path fragment of an executable inside an application bundle.
    static constexpr const char* executables = ".app/Contents/MacOS/";

    static AgentHostReveal way(const std::string& bundleURLPath, const std::string& executablePath);

    bool operator==(const AgentHostReveal&) const = default;
};

// The host of an agent on macOS: the regular application (one with a Dock icon and menus) above
// it, or the application of the bundle a helper process of its ancestry runs from.
class SystemAgentHosts final : public AgentHostFinding {
public:
    explicit SystemAgentHosts(ProcessCensusing& census) : census_(census) {}

    std::vector<std::optional<AgentHost>> hosts(
        const std::vector<AgentHostRequest>& requests) override;
    bool bringForward(std::int32_t appPid) override;
    // The first regular application up the process's ancestry, walked through the kernel's
    // records one pid at a time.
    std::vector<std::optional<std::int32_t>> owners(const std::vector<std::int32_t>& pids) override;

private:
    ProcessCensusing& census_;
};

}  // namespace vigilmoth
