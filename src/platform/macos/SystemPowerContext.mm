#include "platform/macos/SystemPowerContext.h"

#import <Foundation/Foundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/ps/IOPSKeys.h>
#include <IOKit/ps/IOPowerSources.h>

#include "platform/macos/CFReference.h"

namespace vigilmoth {
namespace {

std::optional<int> integerValue(CFDictionaryRef dictionary, const char* key) {
    auto name = makeString(key);
    auto value = CFDictionaryGetValue(dictionary, name.get());
    int number = 0;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID() ||
        !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberIntType, &number)) {
        return std::nullopt;
    }
    return number;
}

std::string stringValue(CFDictionaryRef dictionary, const char* key) {
    auto name = makeString(key);
    auto value = CFDictionaryGetValue(dictionary, name.get());
    if (!value || CFGetTypeID(value) != CFStringGetTypeID()) return {};
    return fromString(static_cast<CFStringRef>(value));
}

BatteryReading reading(CFDictionaryRef source) {
    BatteryReading battery;
    battery.onBattery = stringValue(source, kIOPSPowerSourceStateKey) == kIOPSBatteryPowerValue;
    const auto current = integerValue(source, kIOPSCurrentCapacityKey);
    const auto maximum = integerValue(source, kIOPSMaxCapacityKey);
    if (current && maximum && *maximum > 0) battery.percent = *current * 100 / *maximum;
    auto key = makeString(kIOPSIsChargingKey);
    auto charging = CFDictionaryGetValue(source, key.get());
    battery.charging = charging && CFGetTypeID(charging) == CFBooleanGetTypeID() &&
                       CFBooleanGetValue(static_cast<CFBooleanRef>(charging));
    return battery;
}

}  // namespace

BatteryReading SystemPowerContext::battery() {
    CFReference<CFTypeRef> info(IOPSCopyPowerSourcesInfo());
    if (!info) return {};
    CFReference<CFArrayRef> sources(IOPSCopyPowerSourcesList(info.get()));
    if (!sources) return {};
    for (CFIndex index = 0; index < CFArrayGetCount(sources.get()); ++index) {
        // The description belongs to `info`; it is not released here.
        CFDictionaryRef source =
            IOPSGetPowerSourceDescription(info.get(), CFArrayGetValueAtIndex(sources.get(), index));
        if (source && stringValue(source, kIOPSTransportTypeKey) == kIOPSInternalType) {
            return reading(source);
        }
    }
    return {};
}

bool SystemPowerContext::lidClosed() {
    io_registry_entry_t root =
        IOServiceGetMatchingService(kIOMainPortDefault, IOServiceMatching("IOPMrootDomain"));
    if (root == IO_OBJECT_NULL) return false;
    auto key = makeString("AppleClamshellState");
    CFReference<CFTypeRef> state(
        IORegistryEntryCreateCFProperty(root, key.get(), kCFAllocatorDefault, 0));
    IOObjectRelease(root);
    return state && CFGetTypeID(state.get()) == CFBooleanGetTypeID() &&
           CFBooleanGetValue(static_cast<CFBooleanRef>(state.get()));
}

int SystemPowerContext::thermalState() {
    switch (NSProcessInfo.processInfo.thermalState) {
        case NSProcessInfoThermalStateNominal:
            return 0;
        case NSProcessInfoThermalStateFair:
            return 1;
        case NSProcessInfoThermalStateSerious:
            return 2;
        case NSProcessInfoThermalStateCritical:
            return 3;
    }
    return 0;
}

}  // namespace vigilmoth
