#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Date.h"
#include "base/WellKnownPaths.h"
#include "evidence/StateReport.h"

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

    // The sessions that report "idle", each with the time of its report; a report more than
    // 5 seconds in the future of `now` is left out.
    std::map<std::string, Date> stops(Date now) const;
    // The file's overall state and its time: the first of working, waiting and idle that a
    // session reports, taking the latest such session. A working session with a later end in
    // `ended` (by session key) counts as idle at that end; working reports older than the
    // larger of both limits and idle ones older than `freshness` are stale; a waiting report
    // holds until something else is reported.
    std::optional<std::pair<ReportedState, Date>> summary(
        Date now, double freshness, double workingLimit,
        const std::map<std::string, Date>& ended) const;

    // Whether a start time written by the hook is the census's start time of the process.
    // Linux computes a process's start from the boot time, a whole number of seconds that a
    // step of the wall clock moves: a start that differs by whole seconds, to the
    // millisecond, is the same process seen with another boot time.
    static bool sameStart(double recorded, double census);

    // Absent when the text is not a complete, well-typed state file.
    static std::optional<HookStateFile> decode(std::string_view text);
    std::string encode() const;
};

}  // namespace vigilmoth
