#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/Date.h"

namespace vigilmoth {

// What the user says an agent is really doing.
enum class LabTruth { working, waiting, idle, gone };

inline constexpr std::array<LabTruth, 4> kAllLabTruths = {LabTruth::working, LabTruth::waiting,
                                                          LabTruth::idle, LabTruth::gone};

std::string_view labTruthWord(LabTruth truth);
std::optional<LabTruth> labTruth(std::string_view word);

// One statement of ground truth, appended to a running recording from another shell.
struct LabMark {
    Date at;
    std::string agent;
    LabTruth truth = LabTruth::working;
    std::optional<std::string> note = std::nullopt;

    bool operator==(const LabMark&) const = default;

    nlohmann::json json() const;
    // Throws LabCoding::DecodingError.
    static LabMark fromJson(const nlohmann::json& json);
};

}  // namespace vigilmoth
