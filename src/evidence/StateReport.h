#pragma once

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "base/Date.h"
#include "base/NameCoded.h"

namespace vigilmoth {

// What an agent says it is doing.
enum class ReportedState { working, waitingForUser, idle };

// One self-report of an agent, with the reader that produced it.
struct StateReport {
    enum class Source {
        claudeSessionFile,
        claudeJobState,
        claudeTranscript,
        codexRollout,
        cursorTranscript,
        fileActivity,
    };

    ReportedState state = ReportedState::idle;
    // When the agent entered the state, when the source tells it.
    std::optional<Date> since;
    // The tick at which the collector observed the report.
    Date observedAt;
    Source source = Source::fileActivity;
    // A short note for diagnostics ("writing session files").
    std::optional<std::string> detail;
    // The report marks the end of a turn; `failed` when that turn ended with an error.
    bool turnEnded = false;
    bool failed = false;

    bool operator==(const StateReport&) const = default;
};

OrderedJSON encodeJSON(const StateReport& report, const JSONEncoder& encoder);
template <>
StateReport decodeJSON<StateReport>(const nlohmann::json& value);

template <>
struct NameCoded<ReportedState> {
    static constexpr std::array codedNames{
        std::pair{ReportedState::working, std::string_view("working")},
        std::pair{ReportedState::waitingForUser, std::string_view("waiting")},
        std::pair{ReportedState::idle, std::string_view("idle")},
    };
    static constexpr std::string_view unknownMessage = "Unknown ReportedState ";
};

template <>
struct NameCoded<StateReport::Source> {
    using Source = StateReport::Source;
    // The two Claude sources drop their last word on purpose: the words are a file format.
    static constexpr std::array codedNames{
        std::pair{Source::claudeSessionFile, std::string_view("claudeSession")},
        std::pair{Source::claudeJobState, std::string_view("claudeJob")},
        std::pair{Source::claudeTranscript, std::string_view("claudeTranscript")},
        std::pair{Source::codexRollout, std::string_view("codexRollout")},
        std::pair{Source::cursorTranscript, std::string_view("cursorTranscript")},
        std::pair{Source::fileActivity, std::string_view("fileActivity")},
    };
    static constexpr std::string_view unknownMessage = "Unknown Source ";
};

}  // namespace vigilmoth
