#include "evidence/CodexRolloutReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "base/Calendar.h"
#include "evidence/JSONFields.h"
#include "evidence/JSONMemberScan.h"
#include "evidence/ReportedTime.h"

namespace vigilmoth {
namespace {

using nlohmann::json;
using Marker = CodexTurnState::Marker;

// The UTC calendar date of a moment as Codex names its day folders; none for a moment beyond
// the years the calendar counts.
std::optional<std::string> utcFolderName(Date date) {
    using namespace std::chrono;
    const double seconds = date.secondsSince1970();
    if (!(std::abs(seconds) < 1e15)) return std::nullopt;
    year_month_day day(floor<days>(sys_seconds(duration_cast<std::chrono::seconds>(
        floor<std::chrono::seconds>(duration<double>(seconds))))));
    char text[40];
    std::snprintf(text, sizeof text, "%04d/%02u/%02u", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
    return text;
}

bool isUUID(std::string_view text) {
    if (text.size() != 36) return false;
    for (std::size_t index = 0; index < text.size(); ++index) {
        char c = text[index];
        bool dash = index == 8 || index == 13 || index == 18 || index == 23;
        bool hex = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
        if (dash ? c != '-' : !hex) return false;
    }
    return true;
}

// The top-level "type" and the "payload" object's "cwd" of a session's metadata line, which
// may be cut anywhere after them.
class SessionMetaReader : public JSONMemberScan {
public:
    // Nothing more to learn: the object is not session metadata, or its directory is known.
    bool done() const { return type && (*type != "session_meta" || cwd); }

    std::optional<std::string> type;
    std::optional<std::string> cwd;

private:
    bool text(const std::string& value) override {
        if (depth() == 1 && keyAt(1) == "type") type = value;
        if (depth() == 2 && keyAt(1) == "payload" && keyAt(2) == "cwd") cwd = value;
        return !done();
    }
};

std::optional<Date> markerTime(const json& object, const json& payload, Marker marker) {
    const json* own =
        JSONFields::member(payload, marker == Marker::started ? "started_at" : "completed_at");
    if (own != nullptr) {
        if (auto date = ReportedTime::date(*own)) return date;
    }
    const json* stamp = JSONFields::member(object, "timestamp");
    return stamp == nullptr ? std::nullopt : ReportedTime::date(*stamp);
}

}  // namespace

void CodexRolloutReader::BackwardScan::take(const Record& record) {
    if (settled) return;
    if (const auto* context = std::get_if<ContextRecord>(&record)) {
        if (!turn.cwd) turn.cwd = context->cwd;
        return;
    }
    const auto& marker = std::get<MarkerRecord>(record);
    if (!turn.lastMarker) {
        turn.lastMarker = marker.marker;
        turn.turnID = marker.turnID;
        turn.markerAt = marker.at;
    }
    if (marker.marker != Marker::started) {
        if (marker.turnID) {
            endedTurns.insert(*marker.turnID);
        } else {
            endedWithoutID = true;
        }
        return;
    }
    bool ended = endedWithoutID ||
                 (marker.turnID ? endedTurns.contains(*marker.turnID) : !endedTurns.empty());
    turn.turnInProgress = !ended;
    settled = true;
}

std::vector<std::string> CodexRolloutReader::dayFolders(int days, Date now) {
    Calendar calendar;
    std::vector<std::string> folders;
    auto add = [&folders](std::string folder) {
        if (std::find(folders.begin(), folders.end(), folder) == folders.end())
            folders.push_back(std::move(folder));
    };
    for (int day = 0; day < days; ++day) {
        if (auto local = calendar.formatted(now - 86400.0 * day, "%Y/%m/%d")) add(*local);
    }
    for (int day = 0; day < days; ++day) {
        if (auto utc = utcFolderName(now - 86400.0 * day)) add(*utc);
    }
    return folders;
}

std::optional<std::string> CodexRolloutReader::sessionID(std::string_view fileName) {
    constexpr std::string_view prefix = "rollout-", suffix = ".jsonl";
    if (!fileName.starts_with(prefix) || !fileName.ends_with(suffix)) return std::nullopt;
    fileName.remove_suffix(suffix.size());
    if (fileName.size() < prefix.size() + 36) return std::nullopt;
    auto tail = fileName.substr(fileName.size() - 36);
    return isUUID(tail) ? std::optional<std::string>(tail) : std::nullopt;
}

std::vector<CodexRolloutFile> CodexRolloutReader::filesOfLastDays(int days, Date now) {
    std::vector<CodexRolloutFile> files;
    for (const auto& day : dayFolders(days, now)) {
        std::string folder = sessionsDirectory_ + "/" + day;
        auto entries = files_.list(folder);
        if (!entries) continue;
        for (const auto& entry : *entries) {
            if (entry.isFolder || !entry.name.starts_with("rollout-") ||
                !entry.name.ends_with(".jsonl"))
                continue;
            std::string path = folder + "/" + entry.name;
            if (auto signature = files_.signature(path)) {
                files.push_back(
                    {path, sessionID(entry.name), signature->modifiedAt, signature->size});
            }
        }
    }
    std::stable_sort(files.begin(), files.end(),
                     [](const auto& a, const auto& b) { return a.lastWrite > b.lastWrite; });
    return files;
}

std::optional<CodexRolloutReader::Record> CodexRolloutReader::record(std::string_view line) {
    bool event = line.find("event_msg") != std::string_view::npos;
    if (!event && line.find("turn_context") == std::string_view::npos) return std::nullopt;
    json object = parseJSON(line).value_or(json());
    auto type = JSONFields::string(object, "type");
    const json* payload = JSONFields::member(object, "payload");
    if (!type || payload == nullptr || !payload->is_object()) return std::nullopt;
    if (*type == "turn_context") return ContextRecord{JSONFields::string(*payload, "cwd")};
    if (*type != "event_msg") return std::nullopt;
    auto kind = JSONFields::string(*payload, "type");
    Marker marker;
    if (kind == "task_started") {
        marker = Marker::started;
    } else if (kind == "task_complete") {
        marker = Marker::completed;
    } else if (kind == "turn_aborted") {
        marker = Marker::aborted;
    } else {
        return std::nullopt;
    }
    return MarkerRecord{marker, JSONFields::string(*payload, "turn_id"),
                        markerTime(object, *payload, marker)};
}

std::optional<std::string> CodexRolloutReader::sessionCwd(std::string_view head) {
    SessionMetaReader reader;
    reader.scan(head.substr(0, head.find('\n')));
    if (!reader.isObject() || reader.type != "session_meta") return std::nullopt;
    return reader.cwd;
}

std::optional<std::string> CodexRolloutReader::sessionCwd(const std::string& path,
                                                          std::uint64_t* bytesRead) {
    // The metadata line carries the model's instructions and runs to tens of kilobytes, but
    // the directory comes near its start: read only as much as it takes.
    std::string head;
    for (std::uint64_t window : {4096ull, 65536ull, 1048576ull}) {
        auto more = files_.read(path, head.size(), window - head.size());
        if (!more) return std::nullopt;
        if (bytesRead != nullptr) *bytesRead += more->size();
        head += *more;
        SessionMetaReader reader;
        std::string_view line(head);
        bool whole = line.find('\n') != std::string_view::npos || head.size() < window;
        reader.scan(line.substr(0, line.find('\n')));
        if (!reader.isObject()) return std::nullopt;
        if (reader.done() || whole || reader.finished()) {
            return reader.type == "session_meta" ? reader.cwd : std::nullopt;
        }
    }
    return std::nullopt;
}

}  // namespace vigilmoth
