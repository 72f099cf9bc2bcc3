#include "hooks/runtime/HookStateUpdate.h"

#include <algorithm>
#include <cmath>

#include "hooks/HookEvents.h"

namespace vigilmoth::HookStateUpdate {
namespace {

// The file to build on: the current one when it is this process's, else a fresh one (a file
// left by an earlier process with the same id, or one that cannot be read, is replaced).
HookStateFile base(const std::optional<std::string>& currentText, std::string_view agent,
                   AgentProcess process) {
    if (currentText) {
        auto file = HookStateFile::decode(*currentText);
        if (file && file->agent == agent && file->pid == process.pid &&
            std::abs(file->start - process.startTime) <= 0.001) {
            file->v = HookStateFile::kVersion;
            file->start = process.startTime;
            return *file;
        }
    }
    return HookStateFile{
        HookStateFile::kVersion, std::string(agent), process.pid, process.startTime, {}};
}

// A plugin script numbers its events; one that arrives after a later one of the same script
// instance (a run abandoned by its time guard finishing late) is stale.
bool stale(const HookStateFile::Session& recorded, const HookInput& input) {
    return recorded.inst && input.inst && *recorded.inst == *input.inst && recorded.seq &&
           input.seq && *input.seq <= *recorded.seq;
}

void dropOldest(HookStateFile& file) {
    while (file.sessions.size() > kMaximumSessions) {
        auto oldest = std::min_element(
            file.sessions.begin(), file.sessions.end(),
            [](const auto& a, const auto& b) { return a.second.at < b.second.at; });
        file.sessions.erase(oldest);
    }
}

}  // namespace

std::optional<HookStateFile> applying(const std::optional<std::string>& currentText,
                                      const HookInvocation& invocation, const HookInput& input,
                                      AgentProcess process, double now) {
    HookAction action =
        HookEvents::meaning(invocation.agent, invocation.event, input.notificationType);
    if (action.kind == HookAction::Kind::ignore) return std::nullopt;
    HookStateFile file = base(currentText, invocation.agent, process);
    std::string key = HookStateFile::sessionKey(input.sessionID);
    auto recorded = file.sessions.find(key);
    if (recorded != file.sessions.end() && stale(recorded->second, input)) return std::nullopt;
    if (action.kind == HookAction::Kind::end) {
        // The reader knows only working, waiting and idle: an ended session is simply gone.
        if (recorded == file.sessions.end()) return std::nullopt;
        file.sessions.erase(recorded);
        return file;
    }
    file.sessions[key] =
        HookStateFile::Session{std::string(codedName(*action.state).value_or("idle")),
                               invocation.event,
                               now,
                               input.ts,
                               input.seq,
                               input.inst};
    dropOldest(file);
    return file;
}

}  // namespace vigilmoth::HookStateUpdate
