#include "evidence/StateReport.h"

namespace vigilmoth {

OrderedJSON encodeJSON(const StateReport& report, const JSONEncoder& encoder) {
    OrderedJSON json = OrderedJSON::object();
    json["state"] = encodeName(report.state);
    if (report.since) json["since"] = encoder.date(*report.since);
    json["seen"] = encoder.date(report.observedAt);
    json["source"] = encodeName(report.source);
    if (report.detail) json["detail"] = *report.detail;
    if (report.turnEnded) json["over"] = true;
    if (report.failed) json["err"] = true;
    return json;
}

template <>
StateReport decodeJSON<StateReport>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    StateReport report;
    report.state = decodeName<ReportedState>(reader.require("state"), "state");
    if (const auto* since = reader.find("since")) report.since = json_value::date(*since, "since");
    report.observedAt = json_value::date(reader.require("seen"), "seen");
    report.source = decodeName<StateReport::Source>(reader.require("source"), "source");
    if (const auto* detail = reader.find("detail")) {
        report.detail = json_value::string(*detail, "detail");
    }
    report.turnEnded = reader.flag("over");
    report.failed = reader.flag("err");
    return report;
}

}  // namespace vigilmoth
