#include "ui/VerdictReasonText.h"

#include "ui/HumaneDuration.h"

namespace vigilmoth::VerdictReasonText {
namespace {

std::string ago(std::int64_t seconds) {
    const std::string duration = HumaneDuration::units(static_cast<double>(seconds));
    return duration.empty() ? "a moment" : duration;
}

// "No activity for 5 minutes", or without the "for" piece when under a minute.
std::string lasting(const char* head, std::int64_t minutes, const char* tail) {
    std::string text = head;
    const std::string duration = HumaneDuration::units(static_cast<double>(minutes) * 60);
    if (!duration.empty()) text += " for " + duration;
    if (*tail != '\0') text += std::string(" ") + tail;
    return text;
}

std::string plainText(VerdictReason::Kind kind, MachineWord machine) {
    using Kind = VerdictReason::Kind;
    switch (kind) {
        case Kind::reportsBusy:
            return "Working on a task";
        case Kind::holdsSleepAssertion:
            return "Asking your " + std::string(machine.noun) + " to stay awake";
        case Kind::cpuActivity:
            return "Using the processor";
        case Kind::asksPermission:
            return "Waiting for your answer";
        case Kind::awaitsApproval:
            return "Waiting for your approval";
        case Kind::atPrompt:
            return "Ready for your next message";
        case Kind::alwaysWorkingByRule:
            return "You set this agent to always count as working";
        case Kind::ignoredByRule:
            return "You set vigilmoth to ignore this agent";
        default:
            return "";
    }
}

}  // namespace

std::string text(const VerdictReason& reason, MachineWord machine) {
    using Kind = VerdictReason::Kind;
    switch (reason.kind) {
        case Kind::runningCommand:
            return "Running " + HumaneDuration::counted(reason.value, "command");
        case Kind::backgroundJob:
            return "Running " + HumaneDuration::counted(reason.value, "background task");
        case Kind::writingSessionFile:
            return "Wrote to its session " + ago(reason.value) + " ago";
        case Kind::workedRecently:
            return "Last worked " + ago(reason.value) + " ago";
        case Kind::noActivity:
            return lasting("No activity", reason.value, "");
        case Kind::onlyWeakSigns:
            return lasting("Using the processor", reason.value, "with no other sign of work");
        default:
            return plainText(reason.kind, machine);
    }
}

}  // namespace vigilmoth::VerdictReasonText
