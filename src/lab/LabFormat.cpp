#include "lab/LabFormat.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

#include "base/Utf8.h"
#include "lab/LabError.h"
#include "ui/HoldHeadlineText.h"

namespace vigilmoth {
namespace {

std::int64_t anyInteger(const nlohmann::json& value, std::string_view key) {
    return json_value::integer(value, key, std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<std::int64_t>::max());
}

template <class Record>
OrderedJSON encodedArray(const std::vector<Record>& records, const JSONEncoder& encoder) {
    OrderedJSON array = OrderedJSON::array();
    for (const auto& record : records)
        array.push_back(encodeJSON(record, encoder));
    return array;
}

}  // namespace

OrderedJSON encodeJSON(const LabHeader& header, const JSONEncoder& encoder) {
    OrderedJSON json = {
        {"label", header.label},
        {"startedAt", encoder.date(header.startedAt)},
        {"app", header.app},
        {"os", header.os},
        {"model", header.model},
        {"catalog", header.catalog},
        {"frameVersion", header.frameVersion},
        {"mode", header.mode},
        {"settings", encodeJSON(header.settings, encoder)},
    };
    if (header.wronglyHeldBudget) json["wronglyHeldBudget"] = *header.wronglyHeldBudget;
    return json;
}

template <>
LabHeader decodeJSON<LabHeader>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    LabHeader header{
        .label = json_value::string(reader.require("label"), "label"),
        .startedAt = json_value::date(reader.require("startedAt"), "startedAt"),
        .app = json_value::string(reader.require("app"), "app"),
        .os = json_value::string(reader.require("os"), "os"),
        .model = json_value::string(reader.require("model"), "model"),
        .catalog = anyInteger(reader.require("catalog"), "catalog"),
        .frameVersion = anyInteger(reader.require("frameVersion"), "frameVersion"),
        .mode = json_value::string(reader.require("mode"), "mode"),
        .settings = decodeJSON<DetectionSettings>(reader.require("settings")),
    };
    if (const auto* budget = reader.find("wronglyHeldBudget")) {
        header.wronglyHeldBudget = json_value::number(*budget, "wronglyHeldBudget");
    }
    return header;
}

OrderedJSON encodeJSON(const LabVerdict& verdict, const JSONEncoder&) {
    OrderedJSON json = {{"id", verdict.id},
                        {"pid", verdict.pid},
                        {"state", encodeName(verdict.state)},
                        {"why", verdict.why}};
    if (verdict.hold) json["hold"] = *verdict.hold;
    return json;
}

template <>
LabVerdict decodeJSON<LabVerdict>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    LabVerdict verdict{
        .id = json_value::string(reader.require("id"), "id"),
        .pid = static_cast<std::int32_t>(json_value::integer(
            reader.require("pid"), "pid", std::numeric_limits<std::int32_t>::min(),
            std::numeric_limits<std::int32_t>::max())),
        .state = decodeName<ReportedState>(reader.require("state"), "state"),
        .why = json_value::string(reader.require("why"), "why"),
    };
    if (const auto* hold = reader.find("hold")) verdict.hold = json_value::string(*hold, "hold");
    return verdict;
}

OrderedJSON encodeJSON(const LabHold& hold, const JSONEncoder&) {
    return {{"on", hold.on}, {"lid", hold.lid}, {"headline", hold.headline}};
}

template <>
LabHold decodeJSON<LabHold>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    return LabHold{
        .on = json_value::boolean(reader.require("on"), "on"),
        .lid = json_value::boolean(reader.require("lid"), "lid"),
        .headline = json_value::string(reader.require("headline"), "headline"),
    };
}

OrderedJSON encodeJSON(const LabLine& line, const JSONEncoder& encoder) {
    OrderedJSON json = OrderedJSON::object();
    if (line.header) json["header"] = encodeJSON(*line.header, encoder);
    if (line.mark) json["mark"] = encodeJSON(*line.mark, encoder);
    if (line.frame) json["frame"] = encodeJSON(*line.frame, encoder);
    if (line.verdicts) json["verdicts"] = encodedArray(*line.verdicts, encoder);
    if (line.hold) json["hold"] = encodeJSON(*line.hold, encoder);
    if (line.ms) json["ms"] = *line.ms;
    return json;
}

template <>
LabLine decodeJSON<LabLine>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    LabLine line;
    if (const auto* header = reader.find("header")) line.header = decodeJSON<LabHeader>(*header);
    if (const auto* mark = reader.find("mark")) line.mark = decodeJSON<LabMark>(*mark);
    if (const auto* frame = reader.find("frame")) line.frame = decodeJSON<EvidenceFrame>(*frame);
    if (const auto* verdicts = reader.find("verdicts")) {
        line.verdicts.emplace();
        for (const auto& verdict : json_value::array(*verdicts, "verdicts"))
            line.verdicts->push_back(decodeJSON<LabVerdict>(verdict));
    }
    if (const auto* hold = reader.find("hold")) line.hold = decodeJSON<LabHold>(*hold);
    if (const auto* ms = reader.find("ms")) line.ms = json_value::number(*ms, "ms");
    return line;
}

namespace LabFormat {

JSONEncoder encoder() {
    return JSONEncoder{
        .sortedKeys = true, .escapeSlashes = false, .dates = DateStrategy::wholeMilliseconds};
}

std::string line(const LabLine& line) {
    return encodeJSONText(line, encoder()) + "\n";
}

std::string_view holdWord(HoldCause cause) {
    switch (cause) {
        case HoldCause::working:
            return "working";
        case HoldCause::waitingForUser:
            return "waiting";
        case HoldCause::finishedRecently:
            return "finished";
        case HoldCause::open:
            return "open";
    }
    return "";
}

namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

}  // namespace

LabLine sample(const EvidenceFrame& frame, const HoldDecision& decision,
               std::optional<double> cost) {
    std::vector<LabVerdict> verdicts;
    std::string headline = HoldHeadlineText::text(decision.headline);
    for (const auto& hold : decision.perAgent) {
        const auto& reading = hold.reading;
        LabVerdict verdict{.id = withoutPath(reading.agentID),
                           .pid = reading.identity.pid,
                           .state = reading.verdict.state,
                           .why = reading.verdict.reason.code()};
        if (hold.cause) verdict.hold = std::string(holdWord(*hold.cause));
        verdicts.push_back(std::move(verdict));
        if (reading.displayName.find('/') != std::string::npos) {
            replaceAll(headline, reading.displayName, withoutPath(reading.displayName));
        }
    }
    LabLine line;
    line.frame = scrubbed(frame);
    line.verdicts = std::move(verdicts);
    line.hold = LabHold{decision.hold, decision.lidClosedFlag, std::move(headline)};
    if (cost) line.ms = std::round(*cost * 100000) / 100;
    return line;
}

std::string withoutPath(std::string_view text) {
    auto slash = text.rfind('/');
    if (slash == std::string_view::npos) return std::string(text);
    std::string name(text.substr(slash + 1));
    return text.starts_with("user:") ? "user:" + name : name;
}

EvidenceFrame scrubbed(EvidenceFrame frame) {
    for (auto& agent : frame.agents) {
        agent.agentID = withoutPath(agent.agentID);
        agent.displayName = withoutPath(agent.displayName);
        if (agent.reported && agent.reported->detail) {
            agent.reported->detail = withoutPath(*agent.reported->detail);
        }
    }
    return frame;
}

LabHeader scrubbed(LabHeader header) {
    header.label = withoutPath(header.label);
    for (auto& name : header.settings.userAgentNames)
        name = withoutPath(name);
    std::map<std::string, AgentRule> rules;
    // Of two keys that collapse into one, the one met first stays.
    for (const auto& [agentID, rule] : header.settings.agentRules)
        rules.emplace(withoutPath(agentID), rule);
    header.settings.agentRules = std::move(rules);
    return header;
}

std::optional<LabSample> takeSample(LabLine& line) {
    if (!line.frame) return std::nullopt;
    return LabSample{
        .frame = std::move(*line.frame),
        .verdicts = std::move(line.verdicts).value_or(std::vector<LabVerdict>{}),
        .hold = std::move(line.hold),
        .ms = line.ms,
    };
}

LabRecording recording(std::string_view text) {
    std::istringstream input{std::string(text)};
    return recording(input);
}

LabRecording recording(std::istream& input) {
    LabRecording recording;
    LabLineReader reader(input);
    while (auto line = reader.next()) {
        if (line->header) recording.header = std::move(line->header);
        if (line->mark) recording.marks.push_back(std::move(*line->mark));
        if (auto sample = takeSample(*line)) recording.samples.push_back(std::move(*sample));
    }
    std::stable_sort(recording.marks.begin(), recording.marks.end(),
                     [](const LabMark& a, const LabMark& b) { return a.at < b.at; });
    return recording;
}

}  // namespace LabFormat

bool LabLineReader::advance() {
    while (std::getline(input_, text_)) {
        if (text_.empty()) continue;
        ++number_;
        // Recordings are ASCII but for names; most lines need no repair, and no copy.
        if (!std::all_of(text_.begin(), text_.end(),
                         [](char byte) { return static_cast<unsigned char>(byte) < 0x80; })) {
            text_ = repairedUtf8(text_);
        }
        return true;
    }
    return false;
}

std::optional<LabLine> LabLineReader::next() {
    if (!advance()) return std::nullopt;
    if (auto line = decodeJSONText<LabLine>(text_)) return line;
    int unreadable = number_;
    if (advance()) throw LabError::unreadableLine(unreadable);
    return std::nullopt;
}

}  // namespace vigilmoth
