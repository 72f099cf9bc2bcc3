#include "evidence/CursorTranscript.h"

#include <algorithm>

#include "evidence/BackwardLines.h"
#include "evidence/HookStateFile.h"
#include "evidence/JSONFields.h"

namespace vigilmoth {
namespace {

using Line = CursorTurnState::Line;
using Status = CursorTurnState::Status;

std::optional<Status> statusOf(std::string_view word) {
    if (word == "success") return Status::success;
    if (word == "error") return Status::error;
    if (word == "aborted") return Status::aborted;
    if (word == "other") return Status::other;
    return std::nullopt;
}

bool transcriptName(std::string_view name) {
    return name.ends_with(".jsonl") && name.size() > 6;
}

}  // namespace

std::string CursorTranscriptReader::sessionID(std::string_view fileName) {
    if (fileName.ends_with(".jsonl")) fileName.remove_suffix(6);
    return std::string(fileName);
}

std::optional<std::string> CursorTranscriptReader::label(std::string_view slug) {
    if (slug == "empty-window") return std::nullopt;
    std::size_t cut = slug.rfind('-');
    auto piece = cut == std::string_view::npos ? slug : slug.substr(cut + 1);
    if (piece.empty()) return std::nullopt;
    return std::string(piece);
}

std::vector<CursorTranscriptFile> CursorTranscriptReader::recentFiles(double maxAge, Date now) {
    std::vector<CursorTranscriptFile> found;
    auto projects = files_.list(projectsDirectory_);
    if (!projects) return found;
    for (const auto& project : *projects) {
        if (project.name.starts_with(".") || !project.isFolder) continue;
        std::string folder = projectsDirectory_ + "/" + project.name + "/agent-transcripts";
        auto entries = files_.list(folder);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            if (entry.name.starts_with(".")) continue;
            // A conversation is a transcript, or a folder holding one of its own name.
            std::string path = folder + "/" + entry.name;
            if (!transcriptName(entry.name)) path += "/" + entry.name + ".jsonl";
            auto signature = files_.signature(path);
            if (!signature || now - signature->modifiedAt > maxAge) continue;
            std::string name = path.substr(path.rfind('/') + 1);
            found.push_back(
                {path, sessionID(name), project.name, signature->modifiedAt, signature->size});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.lastWrite > b.lastWrite; });
    return found;
}

std::optional<Line> CursorTranscriptReader::kind(std::string_view line) {
    nlohmann::json object = parseJSON(line).value_or(nlohmann::json());
    if (JSONFields::string(object, "type") == "turn_ended") {
        auto word = JSONFields::string(object, "status");
        auto status = word ? statusOf(*word) : std::nullopt;
        if (!status) return std::nullopt;
        // Cursor writes a turn the user cancelled as an error with this text.
        if (*status == Status::error && line.find("User aborted request") != std::string_view::npos)
            status = Status::aborted;
        return Line{Line::Kind::turnEnded, *status};
    }
    auto role = JSONFields::string(object, "role");
    if (role == "user") return Line{Line::Kind::user};
    if (role == "assistant") return Line{Line::Kind::assistant};
    return std::nullopt;
}

CursorTurnState CursorTranscriptReader::parseTail(std::string_view text) {
    CursorTurnState state;
    BackwardLines::newestFirst(text, [&state](std::string_view line) {
        state.last = kind(line);
        return state.last.has_value();
    });
    return state;
}

CursorTurnState CursorTranscriptReader::parseTail(FileAccessing& files, const std::string& path,
                                                  std::uint64_t size) {
    CursorTurnState state;
    BackwardLines lines(size, true);
    auto visit = [&state](std::string_view line) {
        state.last = kind(line);
        return state.last.has_value();
    };
    for (std::uint64_t window : kWindows) {
        if (lines.readLast(files, path, window, visit) || lines.atStart()) break;
    }
    return state;
}

std::optional<CursorTranscriptTracker::Reading> CursorTranscriptTracker::read(
    const std::string& path) {
    auto signature = files_.signature(path);
    if (!signature) {
        entries_.erase(path);
        return std::nullopt;
    }
    const Reading* found = entries_.find(path);
    if (found != nullptr && found->signature == *signature) return *found;
    Reading reading{CursorTranscriptReader::parseTail(files_, path, signature->size), std::nullopt,
                    *signature};
    if (reading.turn.inTurn()) {
        bool continued = found != nullptr && found->turn.inTurn() && found->turnSince;
        if (continued) {
            reading.turnSince = found->turnSince;
        } else if (reading.turn.last->kind == Line::Kind::user) {
            reading.turnSince = signature->modifiedAt;
        }
    }
    return entries_.assign(path, reading);
}

void CursorTranscriptTracker::endSample() {
    entries_.endSample();
}

CursorSummary CursorSummary::make(
    const std::vector<CursorTranscriptFile>& files,
    const std::unordered_map<std::string, CursorTranscriptTracker::Reading>& readings,
    Date engineStart, const std::map<std::string, Date>& stops) {
    CursorSummary summary;
    auto noteEnd = [&summary](const std::string& key, Date at, std::optional<Status> status) {
        summary.ends[key] = std::max(summary.ends.contains(key) ? summary.ends[key] : at, at);
        if (!summary.newestEnd || at > *summary.newestEnd) {
            summary.newestEnd = at;
            summary.newestEndStatus = status;
        }
    };
    for (const auto& file : files) {
        auto reading = readings.find(file.path);
        if (file.lastWrite < engineStart || reading == readings.end()) continue;
        ++summary.counted;
        if (!summary.newestWrite || file.lastWrite > *summary.newestWrite) {
            summary.newestWrite = file.lastWrite;
            summary.projectSlug = file.projectSlug;
        }
        const auto& turn = reading->second.turn;
        std::string key = HookStateFile::sessionKey(file.sessionID);
        if (!turn.last) {
            summary.unknown = true;
        } else if (!turn.inTurn()) {
            noteEnd(key, file.lastWrite, turn.last->status);
        } else {
            auto stop = stops.find(key);
            const auto& since = reading->second.turnSince;
            bool stopped = stop != stops.end() && (!since || *since <= stop->second) &&
                           file.lastWrite - stop->second <= kStopAllowance;
            if (stopped) {
                // Ended as if the transcript had said so at the stop, with no status of its own.
                noteEnd(key, stop->second, std::nullopt);
                continue;
            }
            ++summary.inTurn;
            if (since && (!summary.workingSince || *since < *summary.workingSince))
                summary.workingSince = since;
        }
    }
    return summary;
}

std::optional<StateReport> CursorSummary::report(Date now) const {
    StateReport report{.observedAt = now, .source = StateReport::Source::cursorTranscript};
    if (inTurn >= 1) {
        report.state = ReportedState::working;
        report.since = workingSince;
        return report;
    }
    if (counted >= 1 && !unknown) {
        report.state = ReportedState::idle;
        return report;
    }
    return std::nullopt;
}

}  // namespace vigilmoth
