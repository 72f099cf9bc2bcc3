#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Date.h"
#include "base/NameCoded.h"
#include "catalog/AgentDefinition.h"
#include "catalog/ProcessCensus.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// The machine's state for one frame.
struct FrameContext {
    bool onBattery = false;
    std::optional<int> batteryPercent;
    bool lidClosed = false;
    // 0 nominal, 1 fair, 2 serious, 3 critical.
    int thermalState = 0;
    bool remoteAccessDetected = false;
    bool charging = false;

    bool operator==(const FrameContext&) const = default;
};

// Everything observed about one running agent instance in one frame.
struct AgentEvidence {
    std::string agentID;
    std::string displayName;
    AgentDefinition::Level level = AgentDefinition::Level::activity;
    AgentDefinition::Kind kind = AgentDefinition::Kind::cli;
    AgentRole role = AgentRole::session;
    std::int32_t pid = 0;
    double startTime = 0;
    std::optional<StateReport> reported;
    int backgroundJobsWorking = 0;
    int childCommands = 0;
    int busyChildCommands = 0;
    // CPU seconds of the whole process tree over `sampleInterval` seconds (0 at first sight).
    double subtreeCPUSeconds = 0;
    double sampleInterval = 0;
    std::optional<std::uint64_t> energyNanojoules;
    std::optional<std::uint64_t> logicalWriteBytes;
    std::optional<Date> fileActivityAt;
    bool ownsSleepAssertion = false;
    bool hasLiveSession = false;
    std::optional<ReportedState> hookState;
    std::optional<Date> hookStateAt;
    // The hook state was matched through this instance's session, not the agent as a whole.
    bool hookStateBySession = false;

    ProcessIdentity identity() const { return ProcessIdentity{pid, startTime}; }

    bool operator==(const AgentEvidence&) const = default;
};

// One tick's record: the only input of the verdict rules, and a line of a lab recording.
struct EvidenceFrame {
    int version = 1;
    Date at;
    // The awake clock (seconds since boot without sleep), to tell a sleep from a long tick.
    std::optional<double> awake;
    std::vector<AgentEvidence> agents;
    FrameContext context;

    bool operator==(const EvidenceFrame&) const = default;
};

// The JSON form: short keys, and values equal to their defaults left out, because a lab
// recording holds one frame per tick for hours.
OrderedJSON encodeJSON(const FrameContext& context, const JSONEncoder& encoder);
OrderedJSON encodeJSON(const AgentEvidence& evidence, const JSONEncoder& encoder);
OrderedJSON encodeJSON(const EvidenceFrame& frame, const JSONEncoder& encoder);
template <>
FrameContext decodeJSON<FrameContext>(const nlohmann::json& value);
template <>
AgentEvidence decodeJSON<AgentEvidence>(const nlohmann::json& value);
template <>
EvidenceFrame decodeJSON<EvidenceFrame>(const nlohmann::json& value);

}  // namespace vigilmoth
