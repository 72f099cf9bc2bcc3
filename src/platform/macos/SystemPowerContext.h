#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "evidence/PowerContextReading.h"

namespace vigilmoth {

// The Mac's power context: the internal battery from the power sources, the lid from the root
// power domain's "AppleClamshellState", the thermal state from the process information.
class SystemPowerContext final : public PowerContextReading {
public:
    BatteryReading battery() override;
    bool lidClosed() override;
    int thermalState() override;
};

}  // namespace vigilmoth
