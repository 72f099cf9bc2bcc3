#include "evidence/ClaudeSessionState.h"

#include <charconv>

#include "evidence/EvidenceSample.h"
#include "evidence/JSONFields.h"
#include "evidence/ReportedTime.h"

namespace vigilmoth {
namespace {

using nlohmann::json;

std::optional<ReportedState> stateOfStatus(std::string_view status) {
    if (status == "busy" || status == "shell") return ReportedState::working;
    if (status == "waiting") return ReportedState::waitingForUser;
    if (status == "idle") return ReportedState::idle;
    return std::nullopt;
}

std::optional<ClaudeSessionState::Kind> kindOf(const json& object) {
    using Case = ClaudeSessionState::Kind::Case;
    const json* spare = JSONFields::member(object, "spare");
    if (spare != nullptr && !(spare->is_boolean() && !spare->get<bool>())) {
        return ClaudeSessionState::Kind{Case::spare, {}};
    }
    auto kind = JSONFields::string(object, "kind");
    if (!kind) return std::nullopt;
    if (*kind == "interactive") return ClaudeSessionState::Kind{Case::interactive, {}};
    if (*kind == "bg") return ClaudeSessionState::Kind{Case::background, {}};
    return ClaudeSessionState::Kind{Case::other, *kind};
}

// "procStart" is written as a decimal text; a number is taken too.
std::optional<std::uint64_t> processStartOf(const json& object) {
    if (auto number = JSONFields::integer<std::uint64_t>(object, "procStart")) return number;
    auto text = JSONFields::string(object, "procStart");
    if (!text || text->empty()) return std::nullopt;
    std::uint64_t value = 0;
    auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size()) return std::nullopt;
    return value;
}

std::optional<Date> dateMember(const json& object, std::string_view key) {
    const json* value = JSONFields::member(object, key);
    return value == nullptr ? std::nullopt : ReportedTime::date(*value);
}

}  // namespace

std::optional<std::string> smallFile(FileAccessing& files, const std::string& path,
                                     std::uint64_t limit) {
    auto bytes = files.read(path, 0, limit + 1);
    if (!bytes || bytes->size() > limit) return std::nullopt;
    return bytes;
}

std::optional<std::string> ClaudeSessionState::detail() const {
    if (rawStatus == "busy") return "in a turn";
    if (rawStatus == "shell") return "background work running";
    if (rawStatus == "waiting") return "waiting for you";
    return std::nullopt;
}

std::string ClaudeSessionStateReader::path(std::int32_t pid) const {
    return sessionsDirectory_ + "/" + std::to_string(pid) + ".json";
}

std::optional<ClaudeSessionState> ClaudeSessionStateReader::state(
    std::int32_t pid, std::optional<std::uint64_t> startTicks, Date now) {
    auto bytes = smallFile(files_, path(pid), kFileLimit);
    auto parsed = bytes ? parse(*bytes, now) : std::nullopt;
    if (!parsed) return std::nullopt;
    return belonging(std::move(*parsed), pid, startTicks);
}

std::optional<ClaudeSessionState> ClaudeSessionStateReader::parse(std::string_view bytes,
                                                                  Date now) {
    json object = parseJSON(bytes).value_or(json());
    auto status = JSONFields::string(object, "status");
    auto state = status ? stateOfStatus(*status) : std::nullopt;
    if (!state) return std::nullopt;
    ClaudeSessionState result;
    result.state = *state;
    result.rawStatus = *status;
    result.statusUpdatedAt = dateMember(object, "statusUpdatedAt");
    if (!result.statusUpdatedAt) result.statusUpdatedAt = dateMember(object, "updatedAt");
    result.pid = JSONFields::integer<std::int32_t>(object, "pid");
    result.kind = kindOf(object);
    result.sessionID = JSONFields::string(object, "sessionId");
    result.jobID = JSONFields::string(object, "jobId");
    result.cwd = JSONFields::string(object, "cwd");
    result.version = JSONFields::string(object, "version");
    result.name = SessionHint::cleaned(JSONFields::string(object, "name"));
    result.processStart = processStartOf(object);
    result.observedAt = now;
    return result;
}

std::optional<ClaudeSessionState> ClaudeSessionStateReader::belonging(
    ClaudeSessionState state, std::int32_t pid, std::optional<std::uint64_t> startTicks) {
    if (state.pid && *state.pid != pid) return std::nullopt;
    // Only a start in the same unit can be compared; elsewhere the pid has to do.
    if (state.processStart && startTicks && *state.processStart != *startTicks) {
        return std::nullopt;
    }
    state.pid = pid;
    return state;
}

std::optional<std::string> ClaudeJobStateReader::path(std::string_view jobID) const {
    if (jobID.empty()) return std::nullopt;
    for (char c : jobID) {
        bool allowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '-' || c == '_';
        if (!allowed) return std::nullopt;
    }
    return jobsDirectory_ + "/" + std::string(jobID) + "/state.json";
}

std::optional<ClaudeJobState> ClaudeJobStateReader::state(std::string_view jobID, Date now) {
    auto file = path(jobID);
    auto bytes =
        file ? smallFile(files_, *file, ClaudeSessionStateReader::kFileLimit) : std::nullopt;
    return bytes ? parse(*bytes, now) : std::nullopt;
}

std::optional<ClaudeJobState> ClaudeJobStateReader::parse(std::string_view bytes, Date now) {
    json object = parseJSON(bytes).value_or(json());
    auto phase = JSONFields::string(object, "state");
    if (!phase) return std::nullopt;
    ClaudeJobState result;
    if (*phase == "working") {
        result.phase = ClaudeJobState::Phase::working;
    } else if (*phase == "blocked") {
        result.phase = ClaudeJobState::Phase::blocked;
    } else if (*phase == "done") {
        result.phase = ClaudeJobState::Phase::done;
    } else {
        return std::nullopt;
    }
    if (const json* inFlight = JSONFields::member(object, "inFlight")) {
        result.tasksInFlight = JSONFields::integer<int>(*inFlight, "tasks").value_or(0);
    }
    result.updatedAt = dateMember(object, "updatedAt");
    result.sessionID = JSONFields::string(object, "sessionId");
    result.cwd = JSONFields::string(object, "cwd");
    result.observedAt = now;
    return result;
}

}  // namespace vigilmoth
