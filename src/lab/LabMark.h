#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "base/JSONCoding.h"
#include "base/NameCoded.h"

namespace vigilmoth {

// What the user says an agent is really doing.
enum class LabTruth { working, waiting, idle, gone };

template <>
struct NameCoded<LabTruth> {
    static constexpr std::array codedNames{
        std::pair{LabTruth::working, std::string_view("working")},
        std::pair{LabTruth::waiting, std::string_view("waiting")},
        std::pair{LabTruth::idle, std::string_view("idle")},
        std::pair{LabTruth::gone, std::string_view("gone")},
    };
    static constexpr std::string_view unknownMessage = "Unknown LabTruth ";
};

inline std::string_view labTruthWord(LabTruth truth) {
    return *codedName(truth);
}

// One statement of ground truth, appended to a running recording from another shell.
struct LabMark {
    Date at;
    std::string agent;
    LabTruth truth = LabTruth::working;
    std::optional<std::string> note = std::nullopt;

    bool operator==(const LabMark&) const = default;
};

OrderedJSON encodeJSON(const LabMark& mark, const JSONEncoder& encoder);
template <>
LabMark decodeJSON<LabMark>(const nlohmann::json& value);

}  // namespace vigilmoth
