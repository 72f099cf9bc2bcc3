#pragma once

#include <string>
#include <vector>

#include "evidence/EvidenceSample.h"

namespace vigilmoth {

// The detection engine's view of the collector: one tick's evidence. Tests substitute a fake.
class EvidenceCollecting {
public:
    virtual ~EvidenceCollecting() = default;
    // `userNames` are the agents the user named in the settings, matched besides the catalog's.
    virtual EvidenceSample collect(const std::vector<std::string>& userNames) = 0;
};

}  // namespace vigilmoth
