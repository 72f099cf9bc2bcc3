#pragma once

#include <istream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decision/AgentReading.h"
#include "decision/DetectionMemory.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "decision/VerdictRules.h"
#include "evidence/EvidenceSample.h"
#include "lab/LabFormat.h"
#include "lab/LabScore.h"
#include "lab/LabTrace.h"

namespace vigilmoth {

// One replayed tick.
struct LabStep {
    Date at;
    std::vector<AgentReading> readings;
    HoldDecision decision;

    bool operator==(const LabStep&) const = default;
};

// The replay of one sample after another, with the live engine's gap rules. A recording
// carries no switch, pause, reachable window, safety stop or wake gate, so none is set.
class LabReplayer {
public:
    LabReplayer(DetectionSettings settings, AwakeMode mode);

    LabStep step(const EvidenceFrame& frame);

    const DetectionSettings& settings() const { return settings_; }
    AwakeMode mode() const { return situation_.mode; }

private:
    DetectionSettings settings_;
    HoldSituation situation_;
    // The same stepping as the live engine's.
    DetectionMemory memory_;
};

// Scores a recording while it is read: each sample is replayed as it comes, and only what the
// marks need is kept of its step (LabTrace).
class LabScorer {
public:
    LabScorer(DetectionSettings settings, AwakeMode mode);

    void add(const LabSample& sample);
    void add(LabMark mark);
    // The score once every sample and mark is in.
    LabScore score(std::string title) const;

    const DetectionSettings& settings() const { return replayer_.settings(); }
    AwakeMode mode() const { return replayer_.mode(); }

private:
    LabReplayer replayer_;
    LabTrace trace_;
    LabSeenTally tally_;
    std::vector<LabMark> marks_;
    std::int64_t samples_ = 0;
    std::int64_t liveMismatches_ = 0;
};

// Runs recorded frames through today's verdict rules and hold policy, exactly as the live
// engine would, and scores the result against the marks. Pure and deterministic.
namespace LabReplay {

// A step and when it ends: at the next step, or at once for the last one.
struct Span {
    const LabStep* step = nullptr;
    Date end;
};

// Settings and mode default to the recording's own (its header), then to the defaults.
LabScore score(const LabRecording& recording, const std::optional<DetectionSettings>& settings,
               std::optional<AwakeMode> mode);
std::vector<LabStep> steps(const LabRecording& recording,
                           const std::optional<DetectionSettings>& settings,
                           std::optional<AwakeMode> mode);

std::vector<Span> spans(const std::vector<LabStep>& steps);
// "*" matches every reading, "claude:4711" one process of an agent, anything else an agent id.
bool matches(const AgentReading& reading, std::string_view target);
LabTruth state(const LabStep& step, std::string_view target);
// Until when holding on after the mark is no fault, since the policy releases with a delay.
Date allowedHold(const LabMark& after, std::string_view target, const std::vector<LabStep>& steps,
                 const DetectionSettings& settings);
LabScore::Agent score(std::string_view target, std::vector<LabMark> marks,
                      const std::vector<LabStep>& steps, const DetectionSettings& settings);
std::vector<LabScore::Seen> seen(const std::vector<LabStep>& steps);
std::string title(const LabRecording& recording);
std::string title(const std::optional<LabHeader>& header);
// The score of a recording read from a stream, holding one line of it at a time. A header
// that comes after the first sample has the stream read again from its start (a stream that
// cannot go back is then left bad). Throws LabError::unreadableLine as LabLineReader does.
LabScore score(std::istream& input);

DetectionSettings settings(const std::optional<LabHeader>& header,
                           const std::optional<DetectionSettings>& settings);
AwakeMode mode(const std::optional<LabHeader>& header, std::optional<AwakeMode> mode);

}  // namespace LabReplay
}  // namespace vigilmoth
