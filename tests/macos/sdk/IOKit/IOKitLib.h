// Stand-in for <IOKit/IOKitLib.h>: the registry calls vigilmoth makes. Apple's IOKitLib pages are
// not in the docs corpus; the declarations follow the documentation objc2-io-kit carries for
// each function (docs.rs), turned back into C types. Each comment names the function.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <mach/kern_return.h>
#include <stdint.h>

extern "C" {

// mach_port_t
typedef unsigned int mach_port_t;
// io_object_t
typedef mach_port_t io_object_t;
// io_registry_entry_t
typedef io_object_t io_registry_entry_t;
// io_service_t
typedef io_object_t io_service_t;
// IOOptionBits
typedef UInt32 IOOptionBits;
// IO_OBJECT_NULL: the null handle
#define IO_OBJECT_NULL (static_cast<io_object_t>(0))

// kIOMainPortDefault
extern const mach_port_t kIOMainPortDefault;

// IOServiceMatching: the caller owns the dictionary unless a call consumes it
CFMutableDictionaryRef IOServiceMatching(const char* name);
// IOServiceGetMatchingService: consumes one reference of `matching`
io_service_t IOServiceGetMatchingService(mach_port_t mainPort, CFDictionaryRef matching);
// IORegistryEntryCreateCFProperty: the caller releases the result with CFRelease
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options);
// IOObjectRelease
kern_return_t IOObjectRelease(io_object_t object);

}  // extern "C"
