#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "evidence/FileAccessing.h"
#include "evidence/FileCache.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// One agent transcript of the Cursor editor.
struct CursorTranscriptFile {
    std::string path;
    std::optional<std::string> sessionID;
    std::string projectSlug;
    Date lastWrite;
    std::uint64_t size = 0;

    bool operator==(const CursorTranscriptFile&) const = default;
};

struct CursorTurnState {
    enum class Status { success, error, aborted, other };
    // A meaningful line: a turn's end with its status, or a user or assistant message.
    struct Line {
        enum class Kind { turnEnded, user, assistant };
        Kind kind = Kind::user;
        Status status = Status::other;  // for `turnEnded`

        bool operator==(const Line&) const = default;
    };

    std::optional<Line> last;

    bool inTurn() const { return last && last->kind != Line::Kind::turnEnded; }
    bool operator==(const CursorTurnState&) const = default;
};

// Cursor's transcripts: ".cursor/projects/<slug>/agent-transcripts/<id>.jsonl", or
// ".../agent-transcripts/<id>/<id>.jsonl".
class CursorTranscriptReader {
public:
    static constexpr std::uint64_t kWindows[] = {65536, 1048576, 8388608};

    CursorTranscriptReader(FileAccessing& files, std::string projectsDirectory)
        : files_(files), projectsDirectory_(std::move(projectsDirectory)) {}

    // The transcripts written within `maxAge` seconds before `now`, newest first.
    std::vector<CursorTranscriptFile> recentFiles(double maxAge, Date now);

    static std::string sessionID(std::string_view fileName);
    // The project's short name: the last "-" piece of its slug; none for "empty-window".
    static std::optional<std::string> label(std::string_view slug);
    // The kind of one line; nothing for a line that tells nothing of the turn.
    static std::optional<CursorTurnState::Line> kind(std::string_view line);
    // The newest meaningful line of text whose first line may be cut.
    static CursorTurnState parseTail(std::string_view text);
    // The same for a file of `size` bytes, read from its end in growing windows.
    static CursorTurnState parseTail(FileAccessing& files, const std::string& path,
                                     std::uint64_t size);

private:
    FileAccessing& files_;
    std::string projectsDirectory_;
};

// Cursor transcripts followed between ticks, each parsed again only when it changes.
class CursorTranscriptTracker {
public:
    struct Reading {
        CursorTurnState turn;
        // Since when the current turn has been seen in progress.
        std::optional<Date> turnSince;
        FileSignature signature;

        bool operator==(const Reading&) const = default;
    };

    explicit CursorTranscriptTracker(FileAccessing& files) : files_(files) {}

    std::optional<Reading> read(const std::string& path);
    void endSample();

private:
    FileAccessing& files_;
    TickEntries<Reading> entries_;
};

// The recent transcripts of one Cursor instance, summed up.
struct CursorSummary {
    int counted = 0;
    int inTurn = 0;
    // Some counted transcript has no line that tells its turn.
    bool unknown = false;
    std::optional<Date> workingSince;
    std::optional<Date> newestWrite;
    std::optional<Date> newestEnd;
    std::optional<CursorTurnState::Status> newestEndStatus;
    // When each conversation's last turn ended, by the hook state files' session key.
    std::map<std::string, Date> ends;
    std::optional<std::string> projectSlug;

    // A hook stop counts as the end of a turn the transcript still shows open when writing
    // stopped within this many seconds after it.
    static constexpr double kStopAllowance = 15.0;

    // `engineStart` is when the Cursor engine process started: older conversations belong to
    // an earlier run. `stops` are the hook's stop times by session key.
    static CursorSummary make(
        const std::vector<CursorTranscriptFile>& files,
        const std::unordered_map<std::string, CursorTranscriptTracker::Reading>& readings,
        Date engineStart, const std::map<std::string, Date>& stops);
    std::optional<StateReport> report(Date now) const;

    bool operator==(const CursorSummary&) const = default;
};

}  // namespace vigilmoth
