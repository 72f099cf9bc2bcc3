#include "platform/macos/SystemPowerAssertions.h"

#include <IOKit/pwr_mgt/IOPMLib.h>

#include <array>

#include "platform/macos/CFReference.h"

namespace vigilmoth {
namespace {

// The assertion kinds that keep the Mac awake when another process holds them.
constexpr std::array<const char*, 5> kSleepTypes = {
    "PreventUserIdleSystemSleep", "PreventSystemSleep", "NoIdleSleepAssertion",
    "PreventUserIdleDisplaySleep", "NoDisplaySleepAssertion"};

bool keepsAwake(CFDictionaryRef assertion) {
    auto type = CFDictionaryGetValue(assertion, kIOPMAssertionTypeKey);
    if (!type || CFGetTypeID(type) != CFStringGetTypeID()) return false;
    const auto text = fromString(static_cast<CFStringRef>(type));
    for (const char* kind : kSleepTypes) {
        if (text == kind) return true;
    }
    return false;
}

}  // namespace

std::set<int> SystemPowerAssertions::assertingPIDs() {
    std::set<int> pids;
    CFDictionaryRef raw = nullptr;
    if (IOPMCopyAssertionsByProcess(&raw) != kIOReturnSuccess || !raw) return pids;
    CFReference<CFDictionaryRef> byProcess(raw);
    const CFIndex count = CFDictionaryGetCount(raw);
    std::vector<const void*> keys(static_cast<size_t>(count)), values(static_cast<size_t>(count));
    CFDictionaryGetKeysAndValues(raw, keys.data(), values.data());
    for (CFIndex index = 0; index < count; ++index) {
        int pid = 0;
        if (CFGetTypeID(keys[index]) != CFNumberGetTypeID() ||
            !CFNumberGetValue(static_cast<CFNumberRef>(keys[index]), kCFNumberIntType, &pid) ||
            CFGetTypeID(values[index]) != CFArrayGetTypeID()) {
            continue;
        }
        auto assertions = static_cast<CFArrayRef>(values[index]);
        for (CFIndex one = 0; one < CFArrayGetCount(assertions); ++one) {
            auto assertion = CFArrayGetValueAtIndex(assertions, one);
            if (CFGetTypeID(assertion) == CFDictionaryGetTypeID() &&
                keepsAwake(static_cast<CFDictionaryRef>(assertion))) {
                pids.insert(pid);
                break;
            }
        }
    }
    return pids;
}

}  // namespace vigilmoth
