#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// Whether Claude Code's remote control is active, from its sessions and its settings.
namespace RemoteAccessDetector {

struct ClaudeSettings {
    // "remoteControlAtStartup" is true.
    bool atStartup = false;
    // "disableRemoteControl" is true.
    bool disabled = false;

    // Nothing unless the bytes are a JSON object. Only its top-level keys are looked at, and
    // the document is never built: Claude Code's "~/.claude.json" runs to megabytes.
    static std::optional<ClaudeSettings> fromJSON(std::string_view bytes);
    // Claude Code keeps the setting in "settings.json" and in "~/.claude.json"; either counts.
    static ClaudeSettings merged(const std::optional<ClaudeSettings>& settings,
                                 const std::optional<ClaudeSettings>& userState);

    bool operator==(const ClaudeSettings&) const = default;
};

struct ClaudeSession {
    // The process's arguments after the program name.
    std::vector<std::string> arguments;
    // The process has a controlling terminal: an interactive session.
    bool hasTerminal = false;

    bool operator==(const ClaudeSession&) const = default;
};

bool claudeRemoteControl(const std::vector<ClaudeSession>& sessions,
                         const ClaudeSettings& settings);

// Whether one of the user's terminals belongs to a login over SSH: a process with a terminal
// whose parent is sshd. `parentName` gives the kernel's short name of a process that is not
// among the rows (the user's sshd often cannot be read further than that).
bool sshTerminal(const std::vector<ProcessInfoRow>& rows,
                 const std::function<std::optional<std::string>(std::int32_t)>& parentName);

}  // namespace RemoteAccessDetector

// What the system tells of the user's sessions: remote access of other kinds than Claude
// Code's remote control, and the names of terminals.
class SessionProbing {
public:
    virtual ~SessionProbing() = default;
    // A remote login session of the user is active.
    virtual bool remoteAccessActive(const std::vector<ProcessInfoRow>& processes) = 0;
    // The device name of a terminal (ttys003, pts/2), from a row's terminal device.
    virtual std::optional<std::string> terminalName(std::int32_t device) = 0;
};

}  // namespace vigilmoth
