#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Date.h"
#include "evidence/FileAccessing.h"

namespace vigilmoth {

// One rollout file found by a listing.
struct CodexRolloutFile {
    std::string path;
    // The UUID at the end of the file's name, as written.
    std::optional<std::string> sessionID;
    Date lastWrite;
    std::uint64_t size = 0;

    bool operator==(const CodexRolloutFile&) const = default;
};

// What is known of a session's turn.
struct CodexTurnState {
    enum class Marker { started, completed, aborted };

    std::optional<Marker> lastMarker;
    bool turnInProgress = false;
    std::optional<Date> markerAt;
    std::optional<std::string> turnID;
    // The working directory of the newest turn context.
    std::optional<std::string> cwd;

    bool operator==(const CodexTurnState&) const = default;
};

// Codex's rollouts (".codex/sessions/YYYY/MM/DD/rollout-*.jsonl"): listing and lines.
class CodexRolloutReader {
public:
    struct MarkerRecord {
        CodexTurnState::Marker marker = CodexTurnState::Marker::started;
        std::optional<std::string> turnID;
        std::optional<Date> at;

        bool operator==(const MarkerRecord&) const = default;
    };
    struct ContextRecord {
        std::optional<std::string> cwd;

        bool operator==(const ContextRecord&) const = default;
    };
    using Record = std::variant<MarkerRecord, ContextRecord>;

    // The current turn decided from the newest lines backwards.
    struct BackwardScan {
        CodexTurnState turn;
        // Older lines cannot change the answer any more.
        bool settled = false;
        // Turns seen completed or aborted in lines newer than the current one.
        std::set<std::string> endedTurns;
        bool endedWithoutID = false;

        // Feeds one record, newest first.
        void take(const Record& record);

        bool operator==(const BackwardScan&) const = default;
    };

    CodexRolloutReader(FileAccessing& files, std::string sessionsDirectory)
        : files_(files), sessionsDirectory_(std::move(sessionsDirectory)) {}

    // The rollouts in the day folders of the last `days` days, newest first. Codex names a
    // day's folder by its local date; the UTC dates are listed as well, each folder once.
    std::vector<CodexRolloutFile> filesOfLastDays(int days, Date now);
    // The day folders ("2026/02/23") of the last `days` days, local dates first.
    static std::vector<std::string> dayFolders(int days, Date now);
    // The UUID that ends a "rollout-...-<uuid>.jsonl" name, as written.
    static std::optional<std::string> sessionID(std::string_view fileName);

    // One line of a rollout; nothing for the many lines that are neither a turn marker nor a
    // turn context. Lines that do not name either are never parsed as JSON.
    static std::optional<Record> record(std::string_view line);
    // The working directory in a rollout's first line, its session metadata; the bytes read
    // are added to `bytesRead`, so that they can be charged to the tick's budget.
    std::optional<std::string> sessionCwd(const std::string& path,
                                          std::uint64_t* bytesRead = nullptr);
    // The same over the start of a file's text, which may end anywhere.
    static std::optional<std::string> sessionCwd(std::string_view head);

private:
    FileAccessing& files_;
    std::string sessionsDirectory_;
};

}  // namespace vigilmoth
