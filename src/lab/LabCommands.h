#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/LabCommand.h"
#include "lab/LabMark.h"

// The lab's commands, each in its own file; LabCommand's table routes to them.
namespace vigilmoth::LabCommand {

using Parameters = std::vector<std::string>;

bool markCommand(const Parameters& parameters, LabContext& context);
bool scoreCommand(const Parameters& parameters, LabContext& context);
bool noticesCommand(const Parameters& parameters, LabContext& context);

bool mark(const std::string& agent, LabTruth truth, const std::optional<std::string>& note,
          LabContext& context);
bool score(const std::string& path, LabContext& context);
bool notices(const std::string& path, LabContext& context);

}  // namespace vigilmoth::LabCommand
