// Stand-in for <IOKit/pwr_mgt/IOPMLib.h>: power assertions, written from Apple's documentation.
// The docs corpus holds no page for the property keys and for IOPMAssertionCreateWithProperties,
// IOPMAssertionSetProperty and IOPMCopyAssertionsByProcess: their types follow the pages of the
// functions beside them (an IOReturn, an IOPMAssertionID, Core Foundation properties), and the
// keys' strings are the property names vigilmoth's assertions carry. Check them on a Mac.
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

// kIOPMAssertionTypeKey
#define kIOPMAssertionTypeKey CFSTR("AssertType")
// kIOPMAssertionNameKey
#define kIOPMAssertionNameKey CFSTR("AssertName")
// kIOPMAssertionLevelKey
#define kIOPMAssertionLevelKey CFSTR("AssertLevel")
// kIOPMAssertionTimeoutKey
#define kIOPMAssertionTimeoutKey CFSTR("TimeoutSeconds")
// kIOPMAssertionTimeoutActionKey
#define kIOPMAssertionTimeoutActionKey CFSTR("TimeoutAction")
// kIOPMAssertionTimeoutActionRelease
#define kIOPMAssertionTimeoutActionRelease CFSTR("TimeoutActionRelease")

// IOPMAssertionCreateWithProperties
IOReturn IOPMAssertionCreateWithProperties(CFDictionaryRef AssertionProperties,
                                           IOPMAssertionID* AssertionID);
// IOPMAssertionSetProperty
IOReturn IOPMAssertionSetProperty(IOPMAssertionID theAssertion, CFStringRef theProperty,
                                  CFTypeRef theValue);
// IOPMCopyAssertionsByProcess
IOReturn IOPMCopyAssertionsByProcess(CFDictionaryRef* AssertionsByPID);
// IOPMAssertionCreateWithName(_:_:_:_:)
IOReturn IOPMAssertionCreateWithName(CFStringRef AssertionType, IOPMAssertionLevel AssertionLevel,
                                     CFStringRef AssertionName, IOPMAssertionID* AssertionID);
// IOPMAssertionRelease(_:)
IOReturn IOPMAssertionRelease(IOPMAssertionID AssertionID);

}  // extern "C"
