#pragma once

#include "base/WellKnownPaths.h"

namespace vigilmoth {

// This process's own home, XDG folders and user id.
PathEnvironment systemPathEnvironment();

}  // namespace vigilmoth
