// Stand-in for <libproc.h>. Apple's documentation has no page for libproc (the header calls its
// interfaces private); the signatures are those of Apple's published libproc interface.
#pragma once

#include <stdint.h>
#include <sys/proc_info.h>
#include <sys/resource.h>

extern "C" {

// libproc: proc_pidpath, the executable path of a process
int proc_pidpath(int pid, void* buffer, uint32_t buffersize);
// libproc: proc_name, the short name of a process (at most 2 * MAXCOMLEN bytes)
int proc_name(int pid, void* buffer, uint32_t buffersize);
// libproc: proc_pid_rusage, a process's resource usage in the layout that flavor names
int proc_pid_rusage(int pid, int flavor, rusage_info_t* buffer);

// libproc: proc_pidinfo, one flavor of a process's information into a buffer; the bytes written
int proc_pidinfo(int pid, int flavor, uint64_t arg, void* buffer, int buffersize);
// libproc: proc_pidfdinfo, one flavor of information on one of a process's descriptors
int proc_pidfdinfo(int pid, int fd, int flavor, void* buffer, int buffersize);

}  // extern "C"
