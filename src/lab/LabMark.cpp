#include "lab/LabMark.h"

namespace vigilmoth {

OrderedJSON encodeJSON(const LabMark& mark, const JSONEncoder& encoder) {
    OrderedJSON json = {
        {"at", encoder.date(mark.at)}, {"agent", mark.agent}, {"truth", encodeName(mark.truth)}};
    if (mark.note) json["note"] = *mark.note;
    return json;
}

template <>
LabMark decodeJSON<LabMark>(const nlohmann::json& value) {
    JSONObjectReader reader(value);
    LabMark mark{
        .at = json_value::date(reader.require("at"), "at"),
        .agent = json_value::string(reader.require("agent"), "agent"),
        .truth = decodeName<LabTruth>(reader.require("truth"), "truth"),
    };
    if (const auto* note = reader.find("note")) mark.note = json_value::string(*note, "note");
    return mark;
}

}  // namespace vigilmoth
