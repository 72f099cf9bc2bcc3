#pragma once

#include <string>
#include <vector>

#include "app/Main.h"

namespace vigilmoth::Platform {

// What the entry needs from the platform's shell, implemented once per platform
// in app/linux and app/macos.
CopyCoordination copyCoordination();
int runApplication();
int runSmokeTest(double seconds);
int runDisplayProbe(double seconds);
// Runs a lab command with the platform's services; returns whether it succeeded.
bool runLab(const std::vector<std::string>& arguments);

}  // namespace vigilmoth::Platform
