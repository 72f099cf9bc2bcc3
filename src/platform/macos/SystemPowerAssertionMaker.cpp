#include "platform/macos/SystemPowerAssertionMaker.h"

#include <IOKit/pwr_mgt/IOPMLib.h>

#include "platform/macos/CFReference.h"

namespace vigilmoth {
namespace {

CFReference<CFNumberRef> timeout() {
    const double seconds = PowerKeeper::kLeaseSeconds;
    return CFReference<CFNumberRef>(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &seconds));
}

}  // namespace

PowerAssertionMaking::Created SystemPowerAssertionMaker::create(const std::string& kind,
                                                                const std::string& reason) {
    auto type = makeString(kind);
    auto name = makeString(reason);
    const int on = kIOPMAssertionLevelOn;
    CFReference<CFNumberRef> level(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &on));
    auto seconds = timeout();
    const void* keys[] = {kIOPMAssertionTypeKey, kIOPMAssertionNameKey, kIOPMAssertionLevelKey,
                          kIOPMAssertionTimeoutKey, kIOPMAssertionTimeoutActionKey};
    const void* values[] = {type.get(), name.get(), level.get(), seconds.get(),
                            kIOPMAssertionTimeoutActionRelease};
    CFReference<CFDictionaryRef> properties(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 5,
                                                               &kCFTypeDictionaryKeyCallBacks,
                                                               &kCFTypeDictionaryValueCallBacks));
    IOPMAssertionID id = 0;
    const IOReturn result = IOPMAssertionCreateWithProperties(properties.get(), &id);
    if (result != kIOReturnSuccess) return {std::nullopt, std::to_string(result)};
    return {id, {}};
}

bool SystemPowerAssertionMaker::renew(PowerAssertionID id) {
    // Setting the timeout again restarts it.
    return IOPMAssertionSetProperty(id, kIOPMAssertionTimeoutKey, timeout().get()) ==
           kIOReturnSuccess;
}

bool SystemPowerAssertionMaker::rename(PowerAssertionID id, const std::string& reason) {
    return IOPMAssertionSetProperty(id, kIOPMAssertionNameKey, makeString(reason).get()) ==
           kIOReturnSuccess;
}

void SystemPowerAssertionMaker::release(PowerAssertionID id) {
    IOPMAssertionRelease(id);
}

}  // namespace vigilmoth
