#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "evidence/HookStateFile.h"
#include "hooks/runtime/HookInvocation.h"

namespace vigilmoth::HookStateUpdate {

// More sessions than this in one process's file are old ones that never ended; the oldest go.
inline constexpr size_t kMaximumSessions = 64;

// The agent process that ran the hook, as the census identifies it.
struct AgentProcess {
    int32_t pid = 0;
    double startTime = 0;
};

// The state file after one hook run, from the file's current text (absent when there is
// none). Absent when nothing is to be written: an event that means nothing, the end of a
// session the file does not hold, or an event older than one already recorded.
std::optional<HookStateFile> applying(const std::optional<std::string>& currentText,
                                      const HookInvocation& invocation, const HookInput& input,
                                      AgentProcess process, double now);

}  // namespace vigilmoth::HookStateUpdate
