#include "decision/CursorApprovalRule.h"

#include "decision/VerdictRules.h"

namespace vigilmoth::CursorApprovalRule {

namespace {

// A Cursor transcript that says "working" while the app holds nothing and runs nothing.
bool quietlyWorking(const AgentEvidence& evidence) {
    return evidence.agentID == agentID && evidence.reported &&
           evidence.reported->source == StateReport::Source::cursorTranscript &&
           evidence.reported->state == ReportedState::working && !evidence.ownsSleepAssertion &&
           evidence.childCommands == 0;
}

}  // namespace

bool signs(const AgentEvidence& evidence, Date now) {
    return quietlyWorking(evidence) && !endedByStopHook(evidence, now);
}

bool endedByStopHook(const AgentEvidence& evidence, Date now) {
    if (!quietlyWorking(evidence) || evidence.hookStateBySession ||
        evidence.hookState != ReportedState::idle) {
        return false;
    }
    const auto stop = VerdictRules::usableHookAt(evidence, now);
    return stop && stopEnds(evidence.reported->since, evidence.fileActivityAt, *stop);
}

bool stopEnds(std::optional<Date> turnSince, std::optional<Date> lastWrite, Date stop) {
    if (turnSince && *turnSince > stop) return false;
    // Writes shortly after the stop are the transcript catching up with the end of the turn.
    return !lastWrite || *lastWrite <= stop + 15;
}

}  // namespace vigilmoth::CursorApprovalRule
