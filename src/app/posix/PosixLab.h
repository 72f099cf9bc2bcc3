#pragma once

#include <string>
#include <vector>

#include "base/KeyValueStore.h"
#include "catalog/ProcessCensus.h"

namespace vigilmoth::PosixLab {

// Runs a lab command on this user's folders, standard output and error, and the platform's
// census, settings store and application folder, the three things in which the platforms differ.
bool run(const std::vector<std::string>& arguments, ProcessCensusing& census,
         KeyValueStore& defaults, const std::string& appPath);

}  // namespace vigilmoth::PosixLab
