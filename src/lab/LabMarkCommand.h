#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/LabContext.h"
#include "lab/LabMark.h"

// "--lab-mark AGENT TRUTH [note]": appends a mark to the running recording.
namespace vigilmoth::LabMarkCommand {

bool run(const std::vector<std::string>& parameters, LabContext& context);

bool mark(const std::string& agent, LabTruth truth, const std::optional<std::string>& note,
          LabContext& context);

}  // namespace vigilmoth::LabMarkCommand
