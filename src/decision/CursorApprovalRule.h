#pragma once

#include <optional>

#include "base/Date.h"
#include "evidence/EvidenceFrame.h"

namespace vigilmoth {

// The Cursor desktop app shows nothing while it waits for a tool call to be approved; a
// transcript stuck in "working" with nothing running is the sign.
namespace CursorApprovalRule {

inline constexpr const char* agentID = "cursor-desktop";

bool signs(const AgentEvidence& evidence, Date now);
bool endedByStopHook(const AgentEvidence& evidence, Date now);
bool stopEnds(std::optional<Date> turnSince, std::optional<Date> lastWrite, Date stop);

}  // namespace CursorApprovalRule
}  // namespace vigilmoth
