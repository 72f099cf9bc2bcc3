#pragma once

#include <string>
#include <vector>

#include "lab/LabContext.h"

namespace vigilmoth::LabHooks {

// "--lab-hooks": lists every hook entry with its status; "install ID" and "remove ID" change
// one, printing the installer's sentence. Linux has no preferences window; this is its pane.
bool run(const std::vector<std::string>& parameters, LabContext& context);

}  // namespace vigilmoth::LabHooks
