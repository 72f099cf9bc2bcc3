#include "evidence/HookStateReader.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "evidence/ClaudeSessionState.h"

namespace vigilmoth {
namespace {

constexpr double kFutureSeconds = 5;

std::optional<ReportedState> stateOfWord(std::string_view word) {
    if (word == "working") return ReportedState::working;
    if (word == "waiting") return ReportedState::waitingForUser;
    if (word == "idle") return ReportedState::idle;
    return std::nullopt;
}

}  // namespace

std::map<std::string, Date> HookStateFile::stops(Date now) const {
    std::map<std::string, Date> result;
    for (const auto& [key, session] : sessions) {
        if (session.state == "idle" && Date(session.at) - now <= kFutureSeconds)
            result.emplace(key, Date(session.at));
    }
    return result;
}

std::optional<std::pair<ReportedState, Date>> HookStateFile::summary(
    Date now, double freshness, double workingLimit,
    const std::map<std::string, Date>& ended) const {
    static constexpr std::array order{ReportedState::working, ReportedState::waitingForUser,
                                      ReportedState::idle};
    std::array<std::optional<Date>, 3> latest;
    for (const auto& [key, session] : sessions) {
        auto state = stateOfWord(session.state);
        if (!state) continue;
        Date at(session.at);
        if (auto end = ended.find(key);
            *state == ReportedState::working && end != ended.end() && end->second > at) {
            state = ReportedState::idle;
            at = end->second;
        }
        double age = now - at;
        if (age < -kFutureSeconds) continue;
        if (*state == ReportedState::working && age > std::max(freshness, workingLimit)) continue;
        if (*state == ReportedState::idle && age > freshness) continue;
        auto index =
            static_cast<std::size_t>(std::find(order.begin(), order.end(), *state) - order.begin());
        if (!latest[index] || at > *latest[index]) latest[index] = at;
    }
    for (std::size_t index = 0; index < order.size(); ++index) {
        if (latest[index]) return std::pair{order[index], *latest[index]};
    }
    return std::nullopt;
}

bool HookStateFile::sameStart(double recorded, double census) {
    double difference = recorded - census;
    if (!std::isfinite(difference)) return false;
    return std::abs(difference - std::round(difference)) <= 0.001;
}

void HookStateReader::prepare() {
    files_.createFolders(directory_);
}

std::unordered_map<std::int32_t, HookStateReader::State> HookStateReader::states(
    const std::vector<ProcessInfoRow>& snapshot, Date now, double freshness, double workingLimit) {
    std::unordered_map<std::int32_t, State> result;
    auto entries = files_.list(directory_);
    if (!entries) return result;
    std::unordered_map<std::int32_t, double> starts;
    for (const auto& row : snapshot)
        starts.emplace(row.pid, row.startTime);

    struct Valid {
        std::string path;
        HookStateFile file;
    };
    std::vector<Valid> valid;
    std::map<std::string, Date> ended;
    for (const auto& entry : *entries) {
        if (entry.isFolder || !entry.name.ends_with(".json")) continue;
        std::string path = directory_ + "/" + entry.name;
        auto file = cache_.value(files_, path, [this](const std::string& at, const FileSignature&) {
            auto bytes = smallFile(files_, at, kFileLimit);
            return bytes ? HookStateFile::decode(*bytes) : std::nullopt;
        });
        auto signature = cache_.signature(path);
        if (!signature) continue;  // gone, or not a regular file
        auto start = file ? starts.find(file->pid) : starts.end();
        if (start == starts.end() || !HookStateFile::sameStart(file->start, start->second)) {
            if (now - signature->modifiedAt >= kGraceSeconds) files_.remove(path);
            continue;
        }
        for (const auto& [key, at] : file->stops(now)) {
            auto& latest = ended[key];
            latest = std::max(latest, at);
        }
        valid.push_back({std::move(path), std::move(*file)});
    }
    for (auto& [path, file] : valid) {
        if (auto summary = file.summary(now, freshness, workingLimit, ended)) {
            result[file.pid] = State{file.agent, summary->first, summary->second, std::move(path),
                                     std::move(file)};
        }
    }
    cache_.endSample();
    return result;
}

}  // namespace vigilmoth
