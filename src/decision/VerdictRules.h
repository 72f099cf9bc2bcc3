#pragma once

#include <optional>
#include <vector>

#include "base/Date.h"
#include "decision/AgentMemory.h"
#include "decision/AgentReading.h"
#include "decision/DetectionSettings.h"
#include "evidence/EvidenceFrame.h"

namespace vigilmoth {

// The readings of one frame and the memories to hand to the next.
struct VerdictOutcome {
    std::vector<AgentReading> readings;
    AgentMemories memories;

    bool operator==(const VerdictOutcome&) const = default;
};

// Turns one frame of evidence and the memories of the previous tick into a reading per agent.
// Pure: "now" is always the frame's own time, so a recording replays exactly.
namespace VerdictRules {

// A hook may write time stamps this far ahead of our clock; any further and it counts as no
// hook at all.
inline constexpr double hookClockTolerance = 5;
// A report that vanished from the evidence still counts this long.
inline constexpr double reportLinger = 10;
inline constexpr double freshHookAge = 60;
// How long a stale hook "working" is still believed for an agent that cannot say it finished.
inline constexpr double staleHookWorkTrust = 1800;
inline constexpr double cpuWindow = 30;
inline constexpr double cpuBucket = 5;
inline constexpr double busyCPUShare = 0.02;
inline constexpr double approvalDelay = 15;

// One reading per evidence entry, in frame order; memories of processes not in the frame are
// dropped. A second entry of the same process is a duplicate and is ignored.
VerdictOutcome readings(const EvidenceFrame& frame, const AgentMemories& memory,
                        const DetectionSettings& settings);

// The whole verdict for one entry whose memory has already been noted.
AgentVerdict verdict(const AgentEvidence& evidence, const AgentMemory& memory,
                     const DetectionSettings& settings, Date now);

// Every change to the memory happens here; the other steps only read it.
void note(const AgentEvidence& evidence, AgentMemory& memory, const DetectionSettings& settings,
          Date now);
std::optional<Date> fileWrite(const AgentEvidence& evidence, Date now);
std::optional<StateReport> stateReport(const AgentEvidence& evidence);
void noteHookWait(const AgentEvidence& evidence, AgentMemory& memory,
                  const DetectionSettings& settings, Date now);
void noteHookWork(const AgentEvidence& evidence, AgentMemory& memory, Date now);
void noteHookIdle(const AgentEvidence& evidence, AgentMemory& memory, Date now);
void noteCPU(const AgentEvidence& evidence, AgentMemory& memory, Date now);
bool hasSteadyCPU(const std::vector<AgentMemory::CPUSample>& samples, Date now);
void noteWeakOnly(AgentMemory& memory, bool statesWork, const DetectionSettings& settings,
                  Date now);

std::optional<ReportedState> reportedState(const AgentMemory& memory,
                                           const DetectionSettings& settings, Date now);
std::optional<ReportedState> statedState(const AgentEvidence& evidence, const AgentMemory& memory,
                                         const DetectionSettings& settings, Date now);
AgentVerdict inferred(const AgentEvidence& evidence, const AgentMemory& memory,
                      const DetectionSettings& settings, Date now);
std::optional<AgentTurn> turn(const AgentEvidence& evidence, const AgentMemory& memory,
                              const DetectionSettings& settings, Date now);

// The hook's time stamp when it can be trusted: present, with a state, and not too far ahead.
std::optional<Date> usableHookAt(const AgentEvidence& evidence, Date now);

}  // namespace VerdictRules
}  // namespace vigilmoth
