// Stand-in for <mach/mach_time.h>, written from Apple's documentation.
#pragma once

#include <mach/kern_return.h>
#include <stdint.h>

extern "C" {

// mach_timebase_info
struct mach_timebase_info {
    uint32_t numer;
    uint32_t denom;
};
// mach_timebase_info_t
typedef struct mach_timebase_info* mach_timebase_info_t;
// mach_timebase_info_data_t
typedef struct mach_timebase_info mach_timebase_info_data_t;

// mach_timebase_info(_:)
kern_return_t mach_timebase_info(mach_timebase_info_t info);
// mach_absolute_time()
uint64_t mach_absolute_time(void);
// mach_continuous_time()
uint64_t mach_continuous_time(void);

}  // extern "C"
