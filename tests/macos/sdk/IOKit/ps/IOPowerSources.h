// Stand-in for <IOKit/ps/IOPowerSources.h>. Apple's pages are not in the docs corpus; the
// declarations follow the documentation objc2-io-kit carries for each function (docs.rs),
// turned back into C types. Each comment names the function.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

extern "C" {

// IOPSCopyPowerSourcesInfo: the caller releases the blob
CFTypeRef IOPSCopyPowerSourcesInfo(void);
// IOPSCopyPowerSourcesList: the caller releases the array
CFArrayRef IOPSCopyPowerSourcesList(CFTypeRef blob);
// IOPSGetPowerSourceDescription: the dictionary belongs to the blob and is not released
CFDictionaryRef IOPSGetPowerSourceDescription(CFTypeRef blob, CFTypeRef ps);

}  // extern "C"
