// Stand-in for <mach/kern_return.h>, written from Apple's documentation.
#pragma once

// kern_return_t
typedef int kern_return_t;
// KERN_SUCCESS
#define KERN_SUCCESS 0
