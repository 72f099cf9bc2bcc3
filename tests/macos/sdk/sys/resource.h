// Stand-in for <sys/resource.h>: the host's header, which has getrusage(2) and the limits, plus the
// resource-usage records that only macOS has. Apple's documentation has no page for the records;
// only the fields vigilmoth reads are declared, so the layout is not the real one.
#pragma once

#include_next <sys/resource.h>

#include <stdint.h>

extern "C" {

// getrusage(2) family: the buffer type of proc_pid_rusage (rusage_info_t)
typedef void* rusage_info_t;

// getrusage(2) family: the record flavours (RUSAGE_INFO_V4, RUSAGE_INFO_V6)
#define RUSAGE_INFO_V4 4
#define RUSAGE_INFO_V6 6

// getrusage(2) family: the flavour 6 record (struct rusage_info_v6)
struct rusage_info_v6 {
    uint64_t ri_user_time;
    uint64_t ri_system_time;
    uint64_t ri_pkg_idle_wkups;
    uint64_t ri_interrupt_wkups;
    uint64_t ri_logical_writes;
    uint64_t ri_instructions;
    uint64_t ri_energy_nj;
};

}  // extern "C"
