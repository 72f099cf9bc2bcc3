#pragma once

#if !defined(__APPLE__)
#error "platform/macos is built only for macOS"
#endif

#include "power/PowerKeeper.h"

namespace vigilmoth {

// The keeper's assertions on macOS: IOPM assertions with a 120-second timeout that releases
// them, so that a hung or crashed application cannot keep the Mac awake for long.
class SystemPowerAssertionMaker final : public PowerAssertionMaking {
public:
    std::vector<std::string> kinds() const override {
        return {"PreventUserIdleSystemSleep", "PreventSystemSleep"};
    }
    std::string creationCall() const override { return "IOPMAssertionCreateWithProperties"; }
    bool available() override { return true; }
    Created create(const std::string& kind, const std::string& reason) override;
    bool renew(PowerAssertionID id) override;
    bool rename(PowerAssertionID id, const std::string& reason) override;
    void release(PowerAssertionID id) override;
};

}  // namespace vigilmoth
