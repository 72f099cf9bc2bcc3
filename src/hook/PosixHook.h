#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/WellKnownPaths.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth::PosixHook {

// What the hook executable takes from the system it runs on.
struct System {
    std::unique_ptr<ProcessCensusing> census;
    PathEnvironment paths;
};

// The hook executable's whole run on a POSIX system: reads standard input, finds the agent
// process and updates its state file in the folder that VIGILMOTH_HOOKS_DIR or the default
// names. `system` is only asked for once the input is read. Always returns 0.
int main(const std::vector<std::string>& arguments, const std::function<System()>& system);

}  // namespace vigilmoth::PosixHook
