#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/JSONCoding.h"
#include "base/NameCoded.h"

namespace vigilmoth {

// The user's choice for one agent, set from the panel.
enum class AgentRule { automatic, alwaysWorkingWhileOpen, ignore };

// When vigilmoth keeps the Mac awake at all.
enum class AwakeMode { always, agentOpen, agentWorking };

// The mode kept under its case name; nothing stored, or a name of no case, gives the default.
inline AwakeMode storedAwakeMode(const std::optional<std::string>& stored);

// The user's tunables, read by the rules and the policy on every tick. Stored as JSON whose
// keys are the field names; decoding is forgiving (see decodeJSON<DetectionSettings>).
struct DetectionSettings {
    double releaseAfterState = 120;
    double releaseAfterActivity = 300;
    double waitingHold = 300;
    double weakEvidenceCap = 1800;
    int batteryFloorPercent = 20;
    bool batteryFloorEnabled = true;
    bool stayAwakeLidClosedOnBattery = true;
    bool displayOffLidClosed = true;
    bool dimAsLidCloses = true;
    bool stayAwakeForRemoteAccess = true;
    // Agents without an entry follow AgentRule::automatic.
    std::map<std::string, AgentRule> agentRules;
    // Process names the user added as agents of their own.
    std::vector<std::string> userAgentNames;

    AgentRule rule(const std::string& agentID) const {
        auto found = agentRules.find(agentID);
        return found == agentRules.end() ? AgentRule::automatic : found->second;
    }

    bool operator==(const DetectionSettings&) const = default;
};

// The encoder's settings do not matter: the record holds no dates.
OrderedJSON encodeJSON(const DetectionSettings& settings, const JSONEncoder& encoder = {});

// Missing keys take their defaults and out-of-range numbers are clamped, but a value of the
// wrong type fails the whole decode.
template <>
DetectionSettings decodeJSON<DetectionSettings>(const nlohmann::json& value);

template <>
struct NameCoded<AgentRule> {
    static constexpr std::array codedNames{
        std::pair{AgentRule::automatic, std::string_view("automatic")},
        std::pair{AgentRule::alwaysWorkingWhileOpen, std::string_view("alwaysWorkingWhileOpen")},
        std::pair{AgentRule::ignore, std::string_view("ignore")},
    };
    static constexpr std::string_view unknownMessage = "Unknown AgentRule ";
};

template <>
struct NameCoded<AwakeMode> {
    static constexpr std::array codedNames{
        std::pair{AwakeMode::always, std::string_view("always")},
        std::pair{AwakeMode::agentOpen, std::string_view("agentOpen")},
        std::pair{AwakeMode::agentWorking, std::string_view("agentWorking")},
    };
    static constexpr std::string_view unknownMessage = "Unknown AwakeMode ";
};

inline AwakeMode storedAwakeMode(const std::optional<std::string>& stored) {
    auto mode = stored ? namedCase<AwakeMode>(*stored) : std::nullopt;
    return mode.value_or(AwakeMode::agentWorking);
}

}  // namespace vigilmoth
