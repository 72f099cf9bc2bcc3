#include "lab/LabReplay.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <unordered_map>

#include "decision/DetectionMemory.h"

namespace vigilmoth::LabReplay {
namespace {

// A mark's agent text, parsed once: every reading, one process of an agent, or an agent.
struct Target {
    bool everyone = false;
    std::string agentID;
    std::optional<std::int32_t> pid;

    explicit Target(std::string_view text) : everyone(text == "*"), agentID(text) {
        auto colon = text.rfind(':');
        if (everyone || colon == std::string_view::npos) return;
        auto number = text.substr(colon + 1);
        // An explicit plus sign is accepted, as an integer parser does.
        if (number.size() > 1 && number.front() == '+' && number[1] != '-') {
            number.remove_prefix(1);
        }
        std::int32_t value = 0;
        auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
        if (number.empty() || error != std::errc() || end != number.data() + number.size()) return;
        agentID = std::string(text.substr(0, colon));
        pid = value;
    }

    bool matches(const AgentReading& reading) const {
        if (everyone) return true;
        return reading.agentID == agentID && (!pid || reading.identity.pid == *pid);
    }
};

bool holdsFor(const LabStep& step, const Target& target) {
    if (!step.decision.hold) return false;
    if (target.everyone) return true;
    return std::any_of(
        step.decision.perAgent.begin(), step.decision.perAgent.end(),
        [&](const AgentHold& hold) { return hold.cause && target.matches(hold.reading); });
}

LabTruth stateFor(const LabStep& step, const Target& target) {
    bool seen = false;
    bool waiting = false;
    for (const auto& reading : step.readings) {
        if (!target.matches(reading)) continue;
        if (reading.verdict.state == ReportedState::working) return LabTruth::working;
        seen = true;
        waiting = waiting || reading.verdict.state == ReportedState::waitingForUser;
    }
    if (!seen) return LabTruth::gone;
    return waiting ? LabTruth::waiting : LabTruth::idle;
}

bool agrees(LabTruth shown, LabTruth truth) {
    return shown == truth || (truth == LabTruth::idle && shown == LabTruth::gone);
}

// Seconds held after the allowance, or released while working, within one mark's window.
void addWrongTime(const LabMark& mark, std::optional<Date> windowEnd, Date allowedUntil,
                  const std::vector<Span>& spans, const Target& target, LabScore::Agent& score) {
    for (const auto& span : spans) {
        Date from = std::max(span.step->at, mark.at);
        Date to = windowEnd ? std::min(span.end, *windowEnd) : span.end;
        if (!(to > from)) continue;
        bool held = holdsFor(*span.step, target);
        if (mark.truth == LabTruth::working) {
            if (!held) score.wronglyReleased += to - from;
        } else if (held && to > allowedUntil) {
            // Releasing while an agent waits is never wrong: waiting may be released.
            score.wronglyHeld += to - std::max(from, allowedUntil);
        }
    }
}

std::optional<double> reaction(const LabMark& mark, std::optional<Date> windowEnd,
                               const std::vector<LabStep>& steps, const Target& target) {
    auto first = std::find_if(steps.begin(), steps.end(),
                              [&](const LabStep& step) { return step.at >= mark.at; });
    for (auto step = first; step != steps.end(); ++step) {
        if (windowEnd && !(step->at < *windowEnd)) break;
        if (!agrees(stateFor(*step, target), mark.truth)) continue;
        // The replay was there already when the mark was made.
        if (step == first && step != steps.begin() &&
            agrees(stateFor(*(step - 1), target), mark.truth)) {
            return 0.0;
        }
        return step->at - mark.at;
    }
    return std::nullopt;
}

}  // namespace

DetectionSettings settings(const LabRecording& recording,
                           const std::optional<DetectionSettings>& settings) {
    if (settings) return *settings;
    return recording.header ? recording.header->settings : DetectionSettings{};
}

AwakeMode mode(const LabRecording& recording, std::optional<AwakeMode> mode) {
    if (mode) return *mode;
    if (!recording.header) return AwakeMode::agentWorking;
    return namedCase<AwakeMode>(recording.header->mode).value_or(AwakeMode::agentWorking);
}

std::vector<LabStep> steps(const LabRecording& recording,
                           const std::optional<DetectionSettings>& givenSettings,
                           std::optional<AwakeMode> givenMode) {
    auto replaySettings = settings(recording, givenSettings);
    // A recording carries no switch, pause, reachable window, safety stop or wake gate.
    HoldSituation situation;
    situation.mode = mode(recording, givenMode);
    DetectionMemory memory;
    std::vector<LabStep> steps;
    steps.reserve(recording.samples.size());
    for (const auto& sample : recording.samples) {
        const auto& frame = sample.frame;
        memory.pass(SampleTime{frame.at, frame.awake});
        auto readings = memory.read(frame, replaySettings);
        situation.context = frame.context;
        auto decision = memory.decide(readings, replaySettings, situation, frame.at);
        situation.previousHold = decision.hold;
        steps.push_back(LabStep{frame.at, std::move(readings), std::move(decision)});
    }
    return steps;
}

std::vector<Span> spans(const std::vector<LabStep>& steps) {
    std::vector<Span> spans;
    spans.reserve(steps.size());
    for (size_t index = 0; index < steps.size(); ++index) {
        Date end = index + 1 < steps.size() ? steps[index + 1].at : steps[index].at;
        spans.push_back(Span{&steps[index], end});
    }
    return spans;
}

bool matches(const AgentReading& reading, std::string_view target) {
    return Target(target).matches(reading);
}

LabTruth state(const LabStep& step, std::string_view target) {
    return stateFor(step, Target(target));
}

Date allowedHold(const LabMark& after, std::string_view target, const std::vector<LabStep>& steps,
                 const DetectionSettings& settings) {
    Target parsed(target);
    double allowance = settings.releaseAfterState;
    if (parsed.everyone) {
        allowance = std::max(settings.releaseAfterState, settings.releaseAfterActivity);
    } else {
        for (const auto& step : steps) {
            auto reading = std::find_if(step.readings.begin(), step.readings.end(),
                                        [&](const AgentReading& r) { return parsed.matches(r); });
            if (reading == step.readings.end()) continue;
            if (reading->level != AgentDefinition::Level::state) {
                allowance = settings.releaseAfterActivity;
            }
            break;
        }
    }
    if (after.truth == LabTruth::waiting) allowance = std::max(allowance, settings.waitingHold);
    return after.at + allowance;
}

LabScore::Agent score(std::string_view target, std::vector<LabMark> marks,
                      const std::vector<LabStep>& steps, const DetectionSettings& settings) {
    std::stable_sort(marks.begin(), marks.end(),
                     [](const LabMark& a, const LabMark& b) { return a.at < b.at; });
    Target parsed(target);
    auto allSpans = spans(steps);
    LabScore::Agent score;
    score.agent = std::string(target);
    for (size_t index = 0; index < marks.size(); ++index) {
        const auto& mark = marks[index];
        std::optional<Date> windowEnd;
        if (index + 1 < marks.size()) windowEnd = marks[index + 1].at;
        addWrongTime(mark, windowEnd, allowedHold(mark, target, steps, settings), allSpans, parsed,
                     score);
        score.reactions.push_back({mark.at, mark.truth, reaction(mark, windowEnd, steps, parsed)});
    }
    return score;
}

std::vector<LabScore::Seen> seen(const std::vector<LabStep>& steps) {
    std::vector<LabScore::Seen> entries;
    std::unordered_map<ProcessIdentity, size_t> indexes;
    for (const auto& span : spans(steps)) {
        double length = span.end - span.step->at;
        for (const auto& hold : span.step->decision.perAgent) {
            const auto& reading = hold.reading;
            auto [found, isNew] = indexes.try_emplace(reading.identity, entries.size());
            if (isNew) {
                entries.push_back({.agentID = reading.agentID,
                                   .displayName = reading.displayName,
                                   .pid = reading.identity.pid});
            }
            auto& entry = entries[found->second];
            switch (reading.verdict.state) {
                case ReportedState::working:
                    entry.working += length;
                    break;
                case ReportedState::waitingForUser:
                    entry.waiting += length;
                    break;
                case ReportedState::idle:
                    entry.idle += length;
                    break;
            }
            if (hold.cause) entry.held += length;
        }
    }
    return entries;
}

std::string title(const LabRecording& recording) {
    if (!recording.header) return "recording without a header";
    const auto& header = *recording.header;
    return header.label + " (" + header.app + ", macOS " + header.os + ", " + header.model + ")";
}

LabScore score(const LabRecording& recording, const std::optional<DetectionSettings>& settings,
               std::optional<AwakeMode> mode) {
    auto replaySettings = LabReplay::settings(recording, settings);
    auto replayed = steps(recording, replaySettings, mode);
    LabScore result;
    result.title = title(recording);
    result.samples = static_cast<std::int64_t>(recording.samples.size());
    result.duration = replayed.empty() ? 0 : replayed.back().at - replayed.front().at;
    result.marks = static_cast<std::int64_t>(recording.marks.size());
    result.seen = seen(replayed);
    std::vector<std::string> targets;
    for (const auto& mark : recording.marks) {
        if (std::find(targets.begin(), targets.end(), mark.agent) == targets.end()) {
            targets.push_back(mark.agent);
        }
    }
    for (const auto& target : targets) {
        std::vector<LabMark> marks;
        std::copy_if(recording.marks.begin(), recording.marks.end(), std::back_inserter(marks),
                     [&](const LabMark& mark) { return mark.agent == target; });
        result.agents.push_back(score(target, std::move(marks), replayed, replaySettings));
    }
    for (size_t index = 0; index < std::min(replayed.size(), recording.samples.size()); ++index) {
        const auto& live = recording.samples[index].hold;
        if (live && live->on != replayed[index].decision.hold) ++result.liveMismatches;
    }
    for (const auto& span : spans(replayed)) {
        if (span.step->decision.hold) result.heldSeconds += span.end - span.step->at;
    }
    return result;
}

}  // namespace vigilmoth::LabReplay
