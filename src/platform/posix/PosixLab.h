#pragma once

#include <string>
#include <vector>

#include "catalog/ProcessCensus.h"

namespace vigilmoth::PosixLab {

// Runs a lab command on this user's folders, standard output and error, the given census and
// the application's own folder; the two platforms differ only in those last two.
bool run(const std::vector<std::string>& arguments, ProcessCensusing& census,
         const std::string& appPath);

}  // namespace vigilmoth::PosixLab
