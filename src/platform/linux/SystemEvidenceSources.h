#pragma once

#include <optional>
#include <string>

#include "evidence/EvidenceCollector.h"

namespace vigilmoth {

// The collector's sources on Linux: /proc, logind on `busAddress` (the system bus when absent)
// for the lid, the sleep locks and remote sessions, sysfs for batteries and heat, and the
// agents' folders in the user's home. `EvidenceCollector::Sources::system()` is this with the
// defaults.
EvidenceCollector::Sources systemEvidenceSources(
    std::optional<std::string> busAddress = std::nullopt);

}  // namespace vigilmoth
