#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "evidence/FileAccessing.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// Reads a whole file of at most `limit` bytes; nothing for an unreadable or a longer one.
std::optional<std::string> smallFile(FileAccessing& files, const std::string& path,
                                     std::uint64_t limit);

// Claude Code's session file, ".claude/sessions/<pid>.json".
struct ClaudeSessionState {
    struct Kind {
        enum class Case { other, interactive, background, spare };
        Case value = Case::other;
        std::string other;  // the word as written, for `other`

        bool operator==(const Kind&) const = default;
    };

    ReportedState state = ReportedState::idle;
    std::string rawStatus;
    std::optional<Date> statusUpdatedAt;
    std::optional<std::int32_t> pid;
    std::optional<Kind> kind;
    std::optional<std::string> sessionID;
    std::optional<std::string> jobID;
    std::optional<std::string> cwd;
    std::optional<std::string> version;
    std::optional<std::string> name;
    // The process's start as Claude Code wrote it ("procStart"): the kernel's clock ticks
    // after boot on Linux. With the pid it tells a reused pid from the session's own process.
    std::optional<std::uint64_t> processStart;
    Date observedAt;

    // "in a turn", "background work running", "waiting for you", or nothing.
    std::optional<std::string> detail() const;

    bool operator==(const ClaudeSessionState&) const = default;
};

class ClaudeSessionStateReader {
public:
    static constexpr std::uint64_t kFileLimit = 1048576;

    ClaudeSessionStateReader(FileAccessing& files, std::string sessionsDirectory)
        : files_(files), sessionsDirectory_(std::move(sessionsDirectory)) {}

    std::string path(std::int32_t pid) const;
    // The session file of the process. `startTicks` is the process's start in the kernel's
    // ticks where the system tells it; a file whose "procStart" differs is another process's.
    std::optional<ClaudeSessionState> state(std::int32_t pid,
                                            std::optional<std::uint64_t> startTicks, Date now);

    static std::optional<ClaudeSessionState> parse(std::string_view bytes, Date now);
    // The parsed file as the given process's, or nothing when it names another process.
    static std::optional<ClaudeSessionState> belonging(ClaudeSessionState state, std::int32_t pid,
                                                       std::optional<std::uint64_t> startTicks);

private:
    FileAccessing& files_;
    std::string sessionsDirectory_;
};

// Claude Code's background job state, ".claude/jobs/<id>/state.json".
struct ClaudeJobState {
    enum class Phase { working, blocked, done };

    Phase phase = Phase::done;
    int tasksInFlight = 0;
    std::optional<Date> updatedAt;
    std::optional<std::string> sessionID;
    std::optional<std::string> cwd;
    Date observedAt;

    // A job counts as background work while it works, or is blocked with tasks in flight.
    bool busy() const {
        return phase == Phase::working || (phase == Phase::blocked && tasksInFlight > 0);
    }

    bool operator==(const ClaudeJobState&) const = default;
};

class ClaudeJobStateReader {
public:
    ClaudeJobStateReader(FileAccessing& files, std::string jobsDirectory)
        : files_(files), jobsDirectory_(std::move(jobsDirectory)) {}

    // The state file of a job; nothing for an identifier that is not made only of letters,
    // digits, "-" and "_", so that no identifier can lead out of the folder.
    std::optional<std::string> path(std::string_view jobID) const;
    std::optional<ClaudeJobState> state(std::string_view jobID, Date now);

    static std::optional<ClaudeJobState> parse(std::string_view bytes, Date now);

private:
    FileAccessing& files_;
    std::string jobsDirectory_;
};

}  // namespace vigilmoth
