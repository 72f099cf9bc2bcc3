#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "base/NameCoded.h"

namespace vigilmoth {

// Why the rules read an agent the way they did. The code is what the lab writes and compares;
// the text the user reads is ui/'s (`VerdictReasonText`), so the code never changes with it.
struct VerdictReason {
    enum class Kind {
        runningCommand,
        backgroundJob,
        writingSessionFile,
        workedRecently,
        noActivity,
        onlyWeakSigns,
        reportsBusy,
        holdsSleepAssertion,
        cpuActivity,
        asksPermission,
        awaitsApproval,
        atPrompt,
        alwaysWorkingByRule,
        ignoredByRule,
    };

    Kind kind = Kind::noActivity;
    // The count, seconds ago or minutes of the first six cases; 0 for the others.
    std::int64_t value = 0;

    static VerdictReason runningCommand(std::int64_t count) {
        return {Kind::runningCommand, count};
    }
    static VerdictReason backgroundJob(std::int64_t count) { return {Kind::backgroundJob, count}; }
    static VerdictReason writingSessionFile(std::int64_t secondsAgo) {
        return {Kind::writingSessionFile, secondsAgo};
    }
    static VerdictReason workedRecently(std::int64_t secondsAgo) {
        return {Kind::workedRecently, secondsAgo};
    }
    static VerdictReason noActivity(std::int64_t minutes) { return {Kind::noActivity, minutes}; }
    static VerdictReason onlyWeakSigns(std::int64_t minutes) {
        return {Kind::onlyWeakSigns, minutes};
    }
    static VerdictReason plain(Kind kind) { return {kind, 0}; }

    std::string code() const;

    bool operator==(const VerdictReason&) const = default;
};

template <>
struct NameCoded<VerdictReason::Kind> {
    using Kind = VerdictReason::Kind;
    static constexpr std::array codedNames{
        std::pair{Kind::runningCommand, std::string_view("runningCommand")},
        std::pair{Kind::backgroundJob, std::string_view("backgroundJob")},
        std::pair{Kind::writingSessionFile, std::string_view("writingSessionFile")},
        std::pair{Kind::workedRecently, std::string_view("workedRecently")},
        std::pair{Kind::noActivity, std::string_view("noActivity")},
        std::pair{Kind::onlyWeakSigns, std::string_view("onlyWeakSigns")},
        std::pair{Kind::reportsBusy, std::string_view("reportsBusy")},
        std::pair{Kind::holdsSleepAssertion, std::string_view("holdsSleepAssertion")},
        std::pair{Kind::cpuActivity, std::string_view("cpuActivity")},
        std::pair{Kind::asksPermission, std::string_view("asksPermission")},
        std::pair{Kind::awaitsApproval, std::string_view("awaitsApproval")},
        std::pair{Kind::atPrompt, std::string_view("atPrompt")},
        std::pair{Kind::alwaysWorkingByRule, std::string_view("alwaysWorkingByRule")},
        std::pair{Kind::ignoredByRule, std::string_view("ignoredByRule")},
    };
    static constexpr std::string_view unknownMessage = "Unknown VerdictReason ";
};

// Whole seconds of a duration, truncated toward zero; nonsense (NaN, infinite, beyond any
// real age) is held to a finite value so that reasons never carry undefined numbers.
std::int64_t wholeSeconds(double seconds);

}  // namespace vigilmoth
