// Stand-in for <IOKit/pwr_mgt/IOPMLib.h>: power assertions, written from Apple's documentation.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOReturn.h>
#include <stdint.h>

extern "C" {

// IOPMAssertionID
typedef uint32_t IOPMAssertionID;
// IOPMAssertionLevel
typedef uint32_t IOPMAssertionLevel;
// kIOPMAssertionLevelOn
#define kIOPMAssertionLevelOn 255
// kIOPMAssertionTypePreventUserIdleSystemSleep
#define kIOPMAssertionTypePreventUserIdleSystemSleep CFSTR("PreventUserIdleSystemSleep")

// IOPMAssertionCreateWithName(_:_:_:_:)
IOReturn IOPMAssertionCreateWithName(CFStringRef AssertionType, IOPMAssertionLevel AssertionLevel,
                                     CFStringRef AssertionName, IOPMAssertionID* AssertionID);
// IOPMAssertionRelease(_:)
IOReturn IOPMAssertionRelease(IOPMAssertionID AssertionID);

}  // extern "C"
