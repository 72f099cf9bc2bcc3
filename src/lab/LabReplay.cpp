#include "lab/LabReplay.h"

#include <algorithm>
#include <charconv>
#include <istream>

namespace vigilmoth {
namespace LabReplay {
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

// A target matched against a trace's agent ids: an id the trace never met matches nothing.
struct TraceTarget {
    bool everyone = false;
    std::optional<std::uint32_t> agent;
    std::optional<std::int32_t> pid;

    TraceTarget(const Target& target, const LabTrace& trace)
        : everyone(target.everyone), agent(trace.agent(target.agentID)), pid(target.pid) {}

    template <class Entry>
    bool matches(const Entry& entry) const {
        if (everyone) return true;
        return agent && entry.agent == *agent && (!pid || entry.pid == *pid);
    }
};

LabTrace traceOf(const std::vector<LabStep>& steps) {
    LabTrace trace;
    for (const auto& step : steps)
        trace.add(step.at, step.readings, step.decision);
    return trace;
}

bool holdsFor(const LabTrace& trace, std::size_t step, const TraceTarget& target) {
    if (!trace.holds(step)) return false;
    if (target.everyone) return true;
    auto holders = trace.holders(step);
    return std::any_of(holders.begin(), holders.end(),
                       [&](const LabTrace::Holder& holder) { return target.matches(holder); });
}

LabTruth stateFor(const LabTrace& trace, std::size_t step, const TraceTarget& target) {
    bool seen = false;
    bool waiting = false;
    for (const auto& reading : trace.readings(step)) {
        if (!target.matches(reading)) continue;
        if (reading.state == ReportedState::working) return LabTruth::working;
        seen = true;
        waiting = waiting || reading.state == ReportedState::waitingForUser;
    }
    if (!seen) return LabTruth::gone;
    return waiting ? LabTruth::waiting : LabTruth::idle;
}

bool agrees(LabTruth shown, LabTruth truth) {
    return shown == truth || (truth == LabTruth::idle && shown == LabTruth::gone);
}

// A step lasts until the next one; the last one lasts no time.
Date endOf(const LabTrace& trace, std::size_t step) {
    return step + 1 < trace.size() ? trace.at(step + 1) : trace.at(step);
}

// Seconds held after the allowance, or released while working, within one mark's window.
void addWrongTime(const LabMark& mark, std::optional<Date> windowEnd, Date allowedUntil,
                  const LabTrace& trace, const TraceTarget& target, LabScore::Agent& score) {
    for (std::size_t step = 0; step < trace.size(); ++step) {
        Date from = std::max(trace.at(step), mark.at);
        Date to = windowEnd ? std::min(endOf(trace, step), *windowEnd) : endOf(trace, step);
        if (!(to > from)) continue;
        bool held = holdsFor(trace, step, target);
        if (mark.truth == LabTruth::working) {
            if (!held) score.wronglyReleased += to - from;
        } else if (held && to > allowedUntil) {
            // Releasing while an agent waits is never wrong: waiting may be released.
            score.wronglyHeld += to - std::max(from, allowedUntil);
        }
    }
}

std::optional<double> reaction(const LabMark& mark, std::optional<Date> windowEnd,
                               const LabTrace& trace, const TraceTarget& target) {
    std::size_t first = 0;
    while (first < trace.size() && !(trace.at(first) >= mark.at))
        ++first;
    for (std::size_t step = first; step < trace.size(); ++step) {
        if (windowEnd && !(trace.at(step) < *windowEnd)) break;
        if (!agrees(stateFor(trace, step, target), mark.truth)) continue;
        // The replay was there already when the mark was made.
        if (step == first && step > 0 && agrees(stateFor(trace, step - 1, target), mark.truth)) {
            return 0.0;
        }
        return trace.at(step) - mark.at;
    }
    return std::nullopt;
}

Date allowedHold(const LabMark& after, const Target& target, const LabTrace& trace,
                 const DetectionSettings& settings) {
    double allowance = settings.releaseAfterState;
    if (target.everyone) {
        allowance = std::max(settings.releaseAfterState, settings.releaseAfterActivity);
    } else {
        TraceTarget resolved(target, trace);
        for (std::size_t step = 0; step < trace.size(); ++step) {
            auto readings = trace.readings(step);
            auto reading = std::find_if(readings.begin(), readings.end(),
                                        [&](const auto& r) { return resolved.matches(r); });
            if (reading == readings.end()) continue;
            if (!reading->stateLevel) allowance = settings.releaseAfterActivity;
            break;
        }
    }
    if (after.truth == LabTruth::waiting) allowance = std::max(allowance, settings.waitingHold);
    return after.at + allowance;
}

LabScore::Agent scoreTarget(std::string_view target, std::vector<LabMark> marks,
                            const LabTrace& trace, const DetectionSettings& settings) {
    std::stable_sort(marks.begin(), marks.end(),
                     [](const LabMark& a, const LabMark& b) { return a.at < b.at; });
    Target parsed(target);
    TraceTarget resolved(parsed, trace);
    LabScore::Agent score;
    score.agent = std::string(target);
    for (size_t index = 0; index < marks.size(); ++index) {
        const auto& mark = marks[index];
        std::optional<Date> windowEnd;
        if (index + 1 < marks.size()) windowEnd = marks[index + 1].at;
        addWrongTime(mark, windowEnd, allowedHold(mark, parsed, trace, settings), trace, resolved,
                     score);
        score.reactions.push_back(
            {mark.at, mark.truth, reaction(mark, windowEnd, trace, resolved)});
    }
    return score;
}

// One reading of a recording. Without a given header the replay starts at the first sample
// with the header read by then, which is the recording's own unless another follows.
struct Pass {
    std::optional<LabHeader> header;
    std::optional<LabScorer> scorer;
};

LabScorer scorerFor(const std::optional<LabHeader>& header) {
    return LabScorer(settings(header, std::nullopt), mode(header, std::nullopt));
}

Pass scorePass(std::istream& input, const std::optional<LabHeader>* given) {
    Pass pass;
    std::vector<LabMark> marks;
    LabLineReader reader(input);
    while (auto line = reader.next()) {
        if (line->header) pass.header = std::move(line->header);
        if (line->mark) marks.push_back(std::move(*line->mark));
        auto sample = LabFormat::takeSample(*line);
        if (!sample) continue;
        if (!pass.scorer) pass.scorer.emplace(scorerFor(given ? *given : pass.header));
        pass.scorer->add(*sample);
    }
    if (!pass.scorer) pass.scorer.emplace(scorerFor(pass.header));
    for (auto& mark : marks)
        pass.scorer->add(std::move(mark));
    return pass;
}

}  // namespace

DetectionSettings settings(const std::optional<LabHeader>& header,
                           const std::optional<DetectionSettings>& settings) {
    if (settings) return *settings;
    return header ? header->settings : DetectionSettings{};
}

AwakeMode mode(const std::optional<LabHeader>& header, std::optional<AwakeMode> mode) {
    if (mode) return *mode;
    if (!header) return AwakeMode::agentWorking;
    return namedCase<AwakeMode>(header->mode).value_or(AwakeMode::agentWorking);
}

std::vector<LabStep> steps(const LabRecording& recording,
                           const std::optional<DetectionSettings>& givenSettings,
                           std::optional<AwakeMode> givenMode) {
    LabReplayer replayer(settings(recording.header, givenSettings),
                         mode(recording.header, givenMode));
    std::vector<LabStep> steps;
    steps.reserve(recording.samples.size());
    for (const auto& sample : recording.samples)
        steps.push_back(replayer.step(sample.frame));
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
    LabTrace trace;
    trace.add(step.at, step.readings, step.decision);
    return stateFor(trace, 0, TraceTarget(Target(target), trace));
}

Date allowedHold(const LabMark& after, std::string_view target, const std::vector<LabStep>& steps,
                 const DetectionSettings& settings) {
    return allowedHold(after, Target(target), traceOf(steps), settings);
}

LabScore::Agent score(std::string_view target, std::vector<LabMark> marks,
                      const std::vector<LabStep>& steps, const DetectionSettings& settings) {
    return scoreTarget(target, std::move(marks), traceOf(steps), settings);
}

std::vector<LabScore::Seen> seen(const std::vector<LabStep>& steps) {
    LabSeenTally tally;
    for (const auto& step : steps)
        tally.add(step.at, step.decision);
    return tally.seen();
}

std::string title(const LabRecording& recording) {
    return title(recording.header);
}

std::string title(const std::optional<LabHeader>& header) {
    if (!header) return "recording without a header";
    return header->label + " (" + header->app + ", macOS " + header->os + ", " + header->model +
           ")";
}

LabScore score(const LabRecording& recording, const std::optional<DetectionSettings>& settings,
               std::optional<AwakeMode> mode) {
    LabScorer scorer(LabReplay::settings(recording.header, settings),
                     LabReplay::mode(recording.header, mode));
    for (const auto& sample : recording.samples)
        scorer.add(sample);
    for (const auto& mark : recording.marks)
        scorer.add(mark);
    return scorer.score(title(recording));
}

LabScore score(std::istream& input) {
    auto pass = scorePass(input, nullptr);
    const auto& scorer = *pass.scorer;
    if (scorer.settings() != settings(pass.header, std::nullopt) ||
        scorer.mode() != mode(pass.header, std::nullopt)) {
        // A header after the first sample changed how to replay: the samples before it are
        // read again. An input that cannot go back fails as a read would.
        auto header = pass.header;
        input.clear();
        if (!input.seekg(0)) {
            input.setstate(std::ios::badbit);
            return {};
        }
        pass = scorePass(input, &header);
    }
    return pass.scorer->score(title(pass.header));
}

}  // namespace LabReplay

LabReplayer::LabReplayer(DetectionSettings settings, AwakeMode mode)
    : settings_(std::move(settings)) {
    situation_.mode = mode;
}

LabStep LabReplayer::step(const EvidenceFrame& frame) {
    memory_.pass(SampleTime{frame.at, frame.awake});
    auto readings = memory_.read(frame, settings_);
    situation_.context = frame.context;
    auto decision = memory_.decide(readings, settings_, situation_, frame.at);
    situation_.previousHold = decision.hold;
    return LabStep{frame.at, std::move(readings), std::move(decision)};
}

LabScorer::LabScorer(DetectionSettings settings, AwakeMode mode)
    : replayer_(std::move(settings), mode) {}

void LabScorer::add(const LabSample& sample) {
    auto step = replayer_.step(sample.frame);
    trace_.add(step.at, step.readings, step.decision);
    tally_.add(step.at, step.decision);
    ++samples_;
    if (sample.hold && sample.hold->on != step.decision.hold) ++liveMismatches_;
}

void LabScorer::add(LabMark mark) {
    marks_.push_back(std::move(mark));
}

LabScore LabScorer::score(std::string title) const {
    auto marks = marks_;
    std::stable_sort(marks.begin(), marks.end(),
                     [](const LabMark& a, const LabMark& b) { return a.at < b.at; });
    LabScore result;
    result.title = std::move(title);
    result.samples = samples_;
    result.duration = trace_.size() == 0 ? 0 : trace_.at(trace_.size() - 1) - trace_.at(0);
    result.marks = static_cast<std::int64_t>(marks.size());
    result.seen = tally_.seen();
    std::vector<std::string> targets;
    for (const auto& mark : marks) {
        if (std::find(targets.begin(), targets.end(), mark.agent) == targets.end()) {
            targets.push_back(mark.agent);
        }
    }
    for (const auto& target : targets) {
        std::vector<LabMark> targetMarks;
        std::copy_if(marks.begin(), marks.end(), std::back_inserter(targetMarks),
                     [&](const LabMark& mark) { return mark.agent == target; });
        result.agents.push_back(
            LabReplay::scoreTarget(target, std::move(targetMarks), trace_, settings()));
    }
    result.heldSeconds = tally_.heldSeconds();
    result.liveMismatches = liveMismatches_;
    return result;
}

}  // namespace vigilmoth
