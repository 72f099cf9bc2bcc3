#include "decision/AgentReading.h"

#include <cmath>

#include "ui/HumaneDuration.h"

namespace vigilmoth {

std::int64_t wholeSeconds(double seconds) {
    if (std::isnan(seconds)) return 0;
    // About 31 million years: far beyond any age, far within the integer's range.
    constexpr double limit = 1e15;
    if (seconds >= limit) return static_cast<std::int64_t>(limit);
    if (seconds <= -limit) return -static_cast<std::int64_t>(limit);
    return static_cast<std::int64_t>(std::trunc(seconds));
}

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

const char* plainText(VerdictReason::Kind kind) {
    using Kind = VerdictReason::Kind;
    switch (kind) {
        case Kind::reportsBusy:
            return "Working on a task";
        case Kind::holdsSleepAssertion:
            return "Asking your Mac to stay awake";
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

const char* codeName(VerdictReason::Kind kind) {
    using Kind = VerdictReason::Kind;
    switch (kind) {
        case Kind::runningCommand:
            return "runningCommand";
        case Kind::backgroundJob:
            return "backgroundJob";
        case Kind::writingSessionFile:
            return "writingSessionFile";
        case Kind::workedRecently:
            return "workedRecently";
        case Kind::noActivity:
            return "noActivity";
        case Kind::onlyWeakSigns:
            return "onlyWeakSigns";
        case Kind::reportsBusy:
            return "reportsBusy";
        case Kind::holdsSleepAssertion:
            return "holdsSleepAssertion";
        case Kind::cpuActivity:
            return "cpuActivity";
        case Kind::asksPermission:
            return "asksPermission";
        case Kind::awaitsApproval:
            return "awaitsApproval";
        case Kind::atPrompt:
            return "atPrompt";
        case Kind::alwaysWorkingByRule:
            return "alwaysWorkingByRule";
        case Kind::ignoredByRule:
            break;
    }
    return "ignoredByRule";
}

bool carriesValue(VerdictReason::Kind kind) {
    return kind <= VerdictReason::Kind::onlyWeakSigns;
}

}  // namespace

std::string VerdictReason::text() const {
    switch (kind) {
        case Kind::runningCommand:
            return "Running " + HumaneDuration::counted(value, "command");
        case Kind::backgroundJob:
            return "Running " + HumaneDuration::counted(value, "background task");
        case Kind::writingSessionFile:
            return "Wrote to its session " + ago(value) + " ago";
        case Kind::workedRecently:
            return "Last worked " + ago(value) + " ago";
        case Kind::noActivity:
            return lasting("No activity", value, "");
        case Kind::onlyWeakSigns:
            return lasting("Using the processor", value, "with no other sign of work");
        default:
            return plainText(kind);
    }
}

std::string VerdictReason::code() const {
    std::string code = codeName(kind);
    if (carriesValue(kind)) {
        code += ':';
        code += std::to_string(value);
    }
    return code;
}

}  // namespace vigilmoth
