#pragma once

#include <string>
#include <vector>

#include "lab/LabContext.h"

namespace vigilmoth {

// The command-line lab: every invocation with an argument beginning "--lab-".
namespace LabCommand {

// `arguments` is the whole argument vector, the executable's path first.
// Returns whether the command succeeded (exit status 0, else 1).
bool run(const std::vector<std::string>& arguments, LabContext& context);

}  // namespace LabCommand
}  // namespace vigilmoth
