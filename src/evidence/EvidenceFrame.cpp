#include "evidence/EvidenceFrame.h"

#include <limits>

namespace vigilmoth {

namespace {

template <class Value>
void writeUnlessZero(OrderedJSON& json, const char* key, Value value) {
    // -0.0 compares equal to 0 and is left out with it; a NaN differs and is written.
    if (value != 0) json[key] = value;
}

void writeFlag(OrderedJSON& json, const char* key, bool flag) {
    if (flag) json[key] = true;
}

int boundedInteger(const nlohmann::json& value, std::string_view key) {
    return static_cast<int>(json_value::integer(value, key, std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

int integerOrZero(const JSONObjectReader& reader, std::string_view key) {
    const auto* member = reader.find(key);
    return member ? boundedInteger(*member, key) : 0;
}

// A NaN is written as null, so null reads back as NaN rather than as the default.
double numberOrZero(const JSONObjectReader& reader, std::string_view key) {
    const auto* member = reader.member(key);
    return member ? json_value::number(*member, key) : 0;
}

std::optional<Date> optionalDate(const JSONObjectReader& reader, std::string_view key) {
    const auto* member = reader.find(key);
    if (!member) return std::nullopt;
    return json_value::date(*member, key);
}

std::optional<std::uint64_t> optionalUnsigned(const JSONObjectReader& reader,
                                              std::string_view key) {
    const auto* member = reader.find(key);
    if (!member) return std::nullopt;
    return json_value::unsignedInteger(*member, key);
}

void writeAgentCounts(OrderedJSON& json, const AgentEvidence& evidence) {
    writeUnlessZero(json, "jobs", evidence.backgroundJobsWorking);
    writeUnlessZero(json, "cmds", evidence.childCommands);
    writeUnlessZero(json, "busy", evidence.busyChildCommands);
    writeUnlessZero(json, "cpu", evidence.subtreeCPUSeconds);
    writeUnlessZero(json, "dt", evidence.sampleInterval);
    if (evidence.energyNanojoules) json["nj"] = *evidence.energyNanojoules;
    if (evidence.logicalWriteBytes) json["wr"] = *evidence.logicalWriteBytes;
}

void readAgentCounts(const JSONObjectReader& reader, AgentEvidence& evidence) {
    evidence.backgroundJobsWorking = integerOrZero(reader, "jobs");
    evidence.childCommands = integerOrZero(reader, "cmds");
    evidence.busyChildCommands = integerOrZero(reader, "busy");
    evidence.subtreeCPUSeconds = numberOrZero(reader, "cpu");
    evidence.sampleInterval = numberOrZero(reader, "dt");
    evidence.energyNanojoules = optionalUnsigned(reader, "nj");
    evidence.logicalWriteBytes = optionalUnsigned(reader, "wr");
}

}  // namespace

OrderedJSON encodeJSON(const FrameContext& context, const JSONEncoder&) {
    OrderedJSON json = OrderedJSON::object();
    writeFlag(json, "bat", context.onBattery);
    if (context.batteryPercent) json["pct"] = *context.batteryPercent;
    writeFlag(json, "lid", context.lidClosed);
    writeUnlessZero(json, "heat", context.thermalState);
    writeFlag(json, "remote", context.remoteAccessDetected);
    writeFlag(json, "chg", context.charging);
    return json;
}

template <>
FrameContext decodeJSON<FrameContext>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    FrameContext context;
    context.onBattery = reader.flag("bat");
    if (const auto* percent = reader.find("pct")) {
        context.batteryPercent = boundedInteger(*percent, "pct");
    }
    context.lidClosed = reader.flag("lid");
    context.thermalState = integerOrZero(reader, "heat");
    context.remoteAccessDetected = reader.flag("remote");
    context.charging = reader.flag("chg");
    return context;
}

OrderedJSON encodeJSON(const AgentEvidence& evidence, const JSONEncoder& encoder) {
    OrderedJSON json = OrderedJSON::object();
    json["id"] = evidence.agentID;
    json["name"] = evidence.displayName;
    json["level"] = encodeName(evidence.level);
    if (evidence.kind != AgentDefinition::Kind::cli) json["kind"] = encodeName(evidence.kind);
    if (evidence.role != AgentRole::session) json["role"] = encodeName(evidence.role);
    json["pid"] = evidence.pid;
    json["start"] = evidence.startTime;
    if (evidence.reported) json["rep"] = encodeJSON(*evidence.reported, encoder);
    writeAgentCounts(json, evidence);
    if (evidence.fileActivityAt) json["file"] = encoder.date(*evidence.fileActivityAt);
    writeFlag(json, "pwr", evidence.ownsSleepAssertion);
    writeFlag(json, "live", evidence.hasLiveSession);
    if (evidence.hookState) json["hook"] = encodeName(*evidence.hookState);
    if (evidence.hookStateAt) json["hookAt"] = encoder.date(*evidence.hookStateAt);
    writeFlag(json, "hookSes", evidence.hookStateBySession);
    return json;
}

template <>
AgentEvidence decodeJSON<AgentEvidence>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    AgentEvidence evidence;
    evidence.agentID = json_value::string(reader.require("id"), "id");
    evidence.displayName = json_value::string(reader.require("name"), "name");
    evidence.level = decodeName<AgentDefinition::Level>(reader.require("level"), "level");
    if (const auto* kind = reader.find("kind")) {
        evidence.kind = decodeName<AgentDefinition::Kind>(*kind, "kind");
    }
    if (const auto* role = reader.find("role"))
        evidence.role = decodeName<AgentRole>(*role, "role");
    evidence.pid = static_cast<std::int32_t>(
        json_value::integer(reader.require("pid"), "pid", std::numeric_limits<std::int32_t>::min(),
                            std::numeric_limits<std::int32_t>::max()));
    evidence.startTime = json_value::number(reader.require("start"), "start");
    if (const auto* report = reader.find("rep"))
        evidence.reported = decodeJSON<StateReport>(*report);
    readAgentCounts(reader, evidence);
    evidence.fileActivityAt = optionalDate(reader, "file");
    evidence.ownsSleepAssertion = reader.flag("pwr");
    evidence.hasLiveSession = reader.flag("live");
    if (const auto* hook = reader.find("hook")) {
        evidence.hookState = decodeName<ReportedState>(*hook, "hook");
    }
    evidence.hookStateAt = optionalDate(reader, "hookAt");
    evidence.hookStateBySession = reader.flag("hookSes");
    return evidence;
}

OrderedJSON encodeJSON(const EvidenceFrame& frame, const JSONEncoder& encoder) {
    OrderedJSON json = OrderedJSON::object();
    json["v"] = frame.version;
    json["at"] = encoder.date(frame.at);
    if (frame.awake) json["up"] = *frame.awake;
    OrderedJSON agents = OrderedJSON::array();
    for (const auto& evidence : frame.agents)
        agents.push_back(encodeJSON(evidence, encoder));
    json["agents"] = std::move(agents);
    json["ctx"] = encodeJSON(frame.context, encoder);
    return json;
}

template <>
EvidenceFrame decodeJSON<EvidenceFrame>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    EvidenceFrame frame;
    const auto* version = reader.find("v");
    frame.version = version ? boundedInteger(*version, "v") : 1;
    frame.at = json_value::date(reader.require("at"), "at");
    if (const auto* awake = reader.find("up")) frame.awake = json_value::number(*awake, "up");
    if (const auto* agents = reader.find("agents")) {
        for (const auto& element : json_value::array(*agents, "agents"))
            frame.agents.push_back(decodeJSON<AgentEvidence>(element));
    }
    if (const auto* context = reader.find("ctx"))
        frame.context = decodeJSON<FrameContext>(*context);
    return frame;
}

}  // namespace vigilmoth
