#pragma once

#include "base/WellKnownPaths.h"

namespace vigilmoth {

// This process's own home, XDG folders and user id.
PathEnvironment systemPathEnvironment();

// Sends log lines to the journal, or to standard error when it is a terminal.
void installSystemLogSink();

}  // namespace vigilmoth
