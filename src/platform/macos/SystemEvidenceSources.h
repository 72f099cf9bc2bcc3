#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "evidence/EvidenceCollector.h"

namespace vigilmoth {

// The collector's sources on macOS: the process table, libproc, the power sources and
// assertions, the login records, and the agents' folders in the user's home.
// `EvidenceCollector::Sources::system()` is this.
EvidenceCollector::Sources systemEvidenceSources();

}  // namespace vigilmoth
