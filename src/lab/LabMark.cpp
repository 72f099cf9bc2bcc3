#include "lab/LabMark.h"

#include "lab/LabCoding.h"

namespace vigilmoth {

std::string_view labTruthWord(LabTruth truth) {
    switch (truth) {
        case LabTruth::working:
            return "working";
        case LabTruth::waiting:
            return "waiting";
        case LabTruth::idle:
            return "idle";
        case LabTruth::gone:
            return "gone";
    }
    return "";
}

std::optional<LabTruth> labTruth(std::string_view word) {
    for (auto truth : kAllLabTruths) {
        if (labTruthWord(truth) == word) return truth;
    }
    return std::nullopt;
}

nlohmann::json LabMark::json() const {
    nlohmann::json json = {
        {"at", LabCoding::date(at)}, {"agent", agent}, {"truth", labTruthWord(truth)}};
    if (note) json["note"] = *note;
    return json;
}

LabMark LabMark::fromJson(const nlohmann::json& json) {
    using namespace LabCoding;
    const auto& fields = object(json);
    auto truth = labTruth(string(required(fields, "truth")));
    if (!truth) throw DecodingError("unknown truth");
    return LabMark{
        .at = dateValue(required(fields, "at")),
        .agent = string(required(fields, "agent")),
        .truth = *truth,
        .note = optional(fields, "note", string),
    };
}

}  // namespace vigilmoth
