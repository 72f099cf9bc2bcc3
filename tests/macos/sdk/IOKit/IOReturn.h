// Stand-in for <IOKit/IOReturn.h>, written from Apple's documentation.
#pragma once

#include <mach/kern_return.h>

// IOReturn
typedef kern_return_t IOReturn;
// kIOReturnSuccess
#define kIOReturnSuccess KERN_SUCCESS
