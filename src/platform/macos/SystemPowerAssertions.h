#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "evidence/PowerContextReading.h"

namespace vigilmoth {

// Which processes hold sleep assertions of their own, for the evidence collector.
class SystemPowerAssertions final : public PowerAssertionListing {
public:
    std::set<int> assertingPIDs() override;
};

}  // namespace vigilmoth
