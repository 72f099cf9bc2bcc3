// Stand-in for <IOKit/ps/IOPSKeys.h>: C strings, to be turned into CFStrings, that key a power
// source's description. The strings are the ones vigilmoth's power context reads; Apple's pages
// for the keys are not in the docs corpus. Each comment names the key.
#pragma once

// kIOPSPowerSourceStateKey
#define kIOPSPowerSourceStateKey "Power Source State"
// kIOPSBatteryPowerValue
#define kIOPSBatteryPowerValue "Battery Power"
// kIOPSCurrentCapacityKey
#define kIOPSCurrentCapacityKey "Current Capacity"
// kIOPSMaxCapacityKey
#define kIOPSMaxCapacityKey "Max Capacity"
// kIOPSIsChargingKey
#define kIOPSIsChargingKey "Is Charging"
// kIOPSTransportTypeKey
#define kIOPSTransportTypeKey "Transport Type"
// kIOPSInternalType
#define kIOPSInternalType "Internal"
