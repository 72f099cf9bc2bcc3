// Stand-in for <libproc.h>. Apple's documentation has no page for libproc (the header calls its
// interfaces private); the signatures are those of Apple's published libproc interface.
#pragma once

#include <stdint.h>
#include <sys/proc_info.h>
#include <sys/resource.h>

extern "C" {

// libproc: proc_pidpath, the executable path of a process
int proc_pidpath(int pid, void* buffer, uint32_t buffersize);
// libproc: proc_pid_rusage, a process's resource usage in the layout that flavor names
int proc_pid_rusage(int pid, int flavor, rusage_info_t* buffer);

}  // extern "C"
