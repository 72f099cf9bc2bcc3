#include "platform/linux/SystemAgentHosts.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "base/Log.h"

namespace vigilmoth {
namespace {

using namespace std::string_view_literals;

// Terminal emulators and editors with a terminal, by executable name, with the name the user
// knows them by.
constexpr std::array knownHosts{
    std::pair{"gnome-terminal-server"sv, "GNOME Terminal"sv},
    std::pair{"kgx"sv, "Console"sv},
    std::pair{"ptyxis-agent"sv, "Ptyxis"sv},
    std::pair{"ptyxis"sv, "Ptyxis"sv},
    std::pair{"konsole"sv, "Konsole"sv},
    std::pair{"yakuake"sv, "Yakuake"sv},
    std::pair{"xfce4-terminal"sv, "Xfce Terminal"sv},
    std::pair{"mate-terminal"sv, "MATE Terminal"sv},
    std::pair{"lxterminal"sv, "LXTerminal"sv},
    std::pair{"qterminal"sv, "QTerminal"sv},
    std::pair{"tilix"sv, "Tilix"sv},
    std::pair{"terminator"sv, "Terminator"sv},
    std::pair{"guake"sv, "Guake"sv},
    std::pair{"terminology"sv, "Terminology"sv},
    std::pair{"xterm"sv, "XTerm"sv},
    std::pair{"uxterm"sv, "XTerm"sv},
    std::pair{"urxvt"sv, "URxvt"sv},
    std::pair{"rxvt"sv, "rxvt"sv},
    std::pair{"st"sv, "st"sv},
    std::pair{"foot"sv, "foot"sv},
    std::pair{"kitty"sv, "kitty"sv},
    std::pair{"alacritty"sv, "Alacritty"sv},
    std::pair{"wezterm-gui"sv, "WezTerm"sv},
    std::pair{"ghostty"sv, "Ghostty"sv},
    std::pair{"rio"sv, "Rio"sv},
    std::pair{"contour"sv, "Contour"sv},
    std::pair{"warp"sv, "Warp"sv},
    std::pair{"tabby"sv, "Tabby"sv},
    std::pair{"code"sv, "Visual Studio Code"sv},
    std::pair{"code-insiders"sv, "Visual Studio Code - Insiders"sv},
    std::pair{"codium"sv, "VSCodium"sv},
    std::pair{"cursor"sv, "Cursor"sv},
    std::pair{"windsurf"sv, "Windsurf"sv},
    std::pair{"zed"sv, "Zed"sv},
    std::pair{"zed-editor"sv, "Zed"sv},
    std::pair{"emacs"sv, "Emacs"sv},
    std::pair{"gvim"sv, "GVim"sv},
};

// Owners of a terminal that are no application to bring forward.
constexpr std::array notHosts{"sshd"sv,   "sshd-session"sv, "mosh-server"sv, "login"sv,
                              "agetty"sv, "script"sv,       "sudo"sv,        "su"sv};

std::optional<std::string_view> knownName(const ProcessInfoRow& row) {
    auto name = AgentHostResolver::baseName(row.executablePath);
    for (const auto& [executable, shown] : knownHosts) {
        if (executable == name) return shown;
    }
    return std::nullopt;
}

class LinuxHostApps final : public AgentHostApps {
public:
    bool isApp(const ProcessInfoRow& row) override { return knownName(row).has_value(); }

    // A terminal emulator not known by name is found as the owner of the agent's terminal.
    std::optional<std::int32_t> appBeyond(const std::vector<ProcessInfoRow>& chain, bool,
                                          const ProcessTable&) override {
        auto owner = AgentHostResolver::terminalOwner(chain, [](std::string_view name) {
            return std::find(notHosts.begin(), notHosts.end(), name) != notHosts.end();
        });
        if (!owner) return std::nullopt;
        return owner->pid;
    }

    std::string name(const ProcessInfoRow& app) override {
        if (auto shown = knownName(app)) return std::string(*shown);
        return std::string(AgentHostResolver::baseName(app.executablePath));
    }
};

}  // namespace

std::optional<ProcessTable> SystemAgentHosts::table() {
    auto rows = census_.snapshot();
    if (!rows) return std::nullopt;
    return ProcessTable(std::move(*rows), [this](std::int32_t pid) { return census_.row(pid); });
}

std::optional<AgentHost> SystemAgentHosts::resolve(const AgentHostRequest& request,
                                                   const ProcessTable& processes) {
    LinuxHostApps apps;
    auto answer = AgentHostResolver::resolve(request.pid, request.kind, processes, apps);
    if (!answer) return answer;
    // An editor runs its terminals under helper processes of its own executable (an Electron
    // editor's pty host): the outermost of them is the one with the window.
    auto chain = AgentHostResolver::chain(*processes.row(answer->appPid), processes);
    auto executable = chain.front().executablePath;
    for (const auto& row : chain) {
        if (row.executablePath != executable) break;
        answer->appPid = row.pid;
    }
    return answer;
}

std::vector<std::optional<AgentHost>> SystemAgentHosts::hosts(
    const std::vector<AgentHostRequest>& requests) {
    const auto now = std::chrono::steady_clock::now();
    if (now - recentAt_ > kRecent) recent_.clear();
    std::vector<std::optional<AgentHost>> answers(requests.size());
    std::vector<size_t> unanswered;
    for (size_t at = 0; at < requests.size(); ++at) {
        auto known = std::find_if(recent_.begin(), recent_.end(), [&](const Recent& recent) {
            return recent.request == requests[at];
        });
        if (known != recent_.end()) {
            answers[at] = known->host;
        } else {
            unanswered.push_back(at);
        }
    }
    if (unanswered.empty()) return answers;
    auto processes = table();
    if (!processes) return answers;
    recent_.clear();
    recentAt_ = now;
    for (auto at : unanswered) {
        answers[at] = resolve(requests[at], *processes);
        recent_.push_back({requests[at], answers[at]});
    }
    return answers;
}

bool SystemAgentHosts::bringForward(std::int32_t appPid) {
    if (toldNoWayForward_) return false;
    toldNoWayForward_ = true;
    Logger("AgentHosts")
        .info("vigilmoth cannot bring an agent's window forward (pid " + std::to_string(appPid) +
              "), because this desktop offers other programs no way to raise a window.");
    return false;
}

std::vector<std::optional<std::int32_t>> SystemAgentHosts::owners(
    const std::vector<std::int32_t>& pids) {
    std::vector<AgentHostRequest> requests;
    for (auto pid : pids)
        requests.push_back({pid, AgentDefinition::Kind::cli});
    std::vector<std::optional<std::int32_t>> answers;
    for (const auto& host : hosts(requests))
        answers.push_back(host ? std::optional(host->appPid) : std::nullopt);
    return answers;
}

}  // namespace vigilmoth
