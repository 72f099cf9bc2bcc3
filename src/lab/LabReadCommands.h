#pragma once

#include <string>
#include <vector>

#include "lab/LabContext.h"

// The commands that read a recording: "--lab-score FILE" and "--lab-notices FILE".
namespace vigilmoth::LabReadCommands {

bool runScore(const std::vector<std::string>& parameters, LabContext& context);
bool runNotices(const std::vector<std::string>& parameters, LabContext& context);

bool score(const std::string& path, LabContext& context);
bool notices(const std::string& path, LabContext& context);

}  // namespace vigilmoth::LabReadCommands
