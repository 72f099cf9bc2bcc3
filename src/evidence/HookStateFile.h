#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/WellKnownPaths.h"

namespace vigilmoth {

// One hook state file: what the hook executable heard about the sessions of one agent
// process. The hook executable writes it and the evidence collector reads it.
struct HookStateFile {
    struct Session {
        // "working", "waiting" or "idle".
        std::string state;
        // The agent's event name that produced it.
        std::string event;
        // Seconds since 1970.
        double at = 0;
        // A time stamp the agent itself supplied, as it supplied it.
        std::optional<double> ts;
        std::optional<int64_t> seq;
        std::optional<std::string> inst;

        bool operator==(const Session&) const = default;
    };

    static constexpr int kVersion = 1;

    int v = kVersion;
    std::string agent;
    int32_t pid = 0;
    // The process's start time, in the census's seconds.
    double start = 0;
    std::map<std::string, Session> sessions;

    bool operator==(const HookStateFile&) const = default;

    // "none" for an absent or empty identifier, else the 64-bit FNV-1a hash of its bytes
    // as 16 lower-case hexadecimal digits.
    static std::string sessionKey(const std::optional<std::string>& sessionID);
    static uint64_t fnv1a(std::string_view bytes);

    // The state folder: VIGILMOTH_HOOKS_DIR when set and not empty, else the default one.
    static std::string directory(const PathEnvironment& paths,
                                 const std::optional<std::string>& hooksDirVariable);
    // The folder without the override, where uninstalling looks for an agent's files.
    static std::string defaultDirectory(const PathEnvironment& paths);
    // The file name for one agent process; readers only rely on the prefix and extension.
    static std::string fileName(std::string_view agent, int32_t pid);

    // Absent when the text is not a complete, well-typed state file.
    static std::optional<HookStateFile> decode(std::string_view text);
    std::string encode() const;
};

}  // namespace vigilmoth
