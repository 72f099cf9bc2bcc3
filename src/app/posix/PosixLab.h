#pragma once

#include <string>
#include <vector>

#include "base/KeyValueStore.h"
#include "catalog/ProcessCensus.h"
#include "lab/LabLiveLoop.h"

namespace vigilmoth::PosixLab {

// What the platforms differ in for the lab.
struct Services {
    ProcessCensusing& census;
    KeyValueStore& defaults;
    std::string appPath;
    // Absent where no live loop is built: recording then says so.
    LabLiveLoop* liveLoop = nullptr;
    std::string osVersion = {};
    std::string model = "unknown";
};

// Runs a lab command on this user's folders, standard output and error, and the platform's
// services.
bool run(const std::vector<std::string>& arguments, const Services& services);

}  // namespace vigilmoth::PosixLab
