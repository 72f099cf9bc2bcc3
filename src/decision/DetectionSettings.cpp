#include "decision/DetectionSettings.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vigilmoth {

namespace {

constexpr double longestDuration = 86400;

// Deliberately asymmetric: a value too small to mean anything falls back to the default,
// while a value too large is only brought down to a day.
void readDuration(const JSONObjectReader& reader, std::string_view key, double& duration) {
    const auto* member = reader.find(key);
    if (!member) return;
    double value = json_value::number(*member, key);
    if (std::isfinite(value) && value >= 1) duration = std::min(value, longestDuration);
}

void readSwitch(const JSONObjectReader& reader, std::string_view key, bool& setting) {
    if (const auto* member = reader.find(key)) setting = json_value::boolean(*member, key);
}

void readBatteryFloor(const JSONObjectReader& reader, int& percent) {
    const auto* member = reader.find("batteryFloorPercent");
    if (!member) return;
    auto value = json_value::integer(*member, "batteryFloorPercent",
                                     std::numeric_limits<std::int64_t>::min(),
                                     std::numeric_limits<std::int64_t>::max());
    percent = static_cast<int>(std::clamp<std::int64_t>(value, 5, 50));
}

void readAgentRules(const JSONObjectReader& reader, std::map<std::string, AgentRule>& rules) {
    const auto* member = reader.find("agentRules");
    if (!member) return;
    for (const auto& [agentID, rule] : json_value::object(*member, "agentRules").items()) {
        rules[agentID] = decodeName<AgentRule>(rule, agentID);
    }
}

void readUserAgentNames(const JSONObjectReader& reader, std::vector<std::string>& names) {
    const auto* member = reader.find("userAgentNames");
    if (!member) return;
    for (const auto& name : json_value::array(*member, "userAgentNames")) {
        names.push_back(json_value::string(name, "userAgentNames"));
    }
}

}  // namespace

OrderedJSON encodeJSON(const DetectionSettings& settings, const JSONEncoder&) {
    OrderedJSON json = OrderedJSON::object();
    json["releaseAfterState"] = settings.releaseAfterState;
    json["releaseAfterActivity"] = settings.releaseAfterActivity;
    json["waitingHold"] = settings.waitingHold;
    json["weakEvidenceCap"] = settings.weakEvidenceCap;
    json["batteryFloorPercent"] = settings.batteryFloorPercent;
    json["batteryFloorEnabled"] = settings.batteryFloorEnabled;
    json["stayAwakeLidClosedOnBattery"] = settings.stayAwakeLidClosedOnBattery;
    json["displayOffLidClosed"] = settings.displayOffLidClosed;
    json["dimAsLidCloses"] = settings.dimAsLidCloses;
    json["stayAwakeForRemoteAccess"] = settings.stayAwakeForRemoteAccess;
    OrderedJSON rules = OrderedJSON::object();
    for (const auto& [agentID, rule] : settings.agentRules)
        rules[agentID] = encodeName(rule);
    json["agentRules"] = std::move(rules);
    json["userAgentNames"] = settings.userAgentNames;
    return json;
}

template <>
DetectionSettings decodeJSON<DetectionSettings>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    DetectionSettings settings;
    readDuration(reader, "releaseAfterState", settings.releaseAfterState);
    readDuration(reader, "releaseAfterActivity", settings.releaseAfterActivity);
    readDuration(reader, "waitingHold", settings.waitingHold);
    readDuration(reader, "weakEvidenceCap", settings.weakEvidenceCap);
    readBatteryFloor(reader, settings.batteryFloorPercent);
    readSwitch(reader, "batteryFloorEnabled", settings.batteryFloorEnabled);
    readSwitch(reader, "stayAwakeLidClosedOnBattery", settings.stayAwakeLidClosedOnBattery);
    readSwitch(reader, "displayOffLidClosed", settings.displayOffLidClosed);
    readSwitch(reader, "dimAsLidCloses", settings.dimAsLidCloses);
    readSwitch(reader, "stayAwakeForRemoteAccess", settings.stayAwakeForRemoteAccess);
    readAgentRules(reader, settings.agentRules);
    readUserAgentNames(reader, settings.userAgentNames);
    return settings;
}

}  // namespace vigilmoth
