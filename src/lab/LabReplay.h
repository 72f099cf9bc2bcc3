#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "decision/AgentReading.h"
#include "decision/DetectionSettings.h"
#include "decision/HoldPolicy.h"
#include "lab/LabFormat.h"
#include "lab/LabScore.h"

namespace vigilmoth {

// One replayed tick.
struct LabStep {
    Date at;
    std::vector<AgentReading> readings;
    HoldDecision decision;

    bool operator==(const LabStep&) const = default;
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

DetectionSettings settings(const LabRecording& recording,
                           const std::optional<DetectionSettings>& settings);
AwakeMode mode(const LabRecording& recording, std::optional<AwakeMode> mode);

}  // namespace LabReplay
}  // namespace vigilmoth
