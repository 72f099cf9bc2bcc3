#pragma once

#include <string>
#include <vector>

namespace vigilmoth::HookPlatform {

// The hook executable on this platform: reads its input, finds the agent process and updates
// its state file. `arguments` are those after the program name. Always returns 0, so that no
// agent ever sees its hook fail.
int main(const std::vector<std::string>& arguments);

}  // namespace vigilmoth::HookPlatform
