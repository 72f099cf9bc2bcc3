// Stand-in for <sys/sysctl.h>: the process table as vigilmoth reads it. Apple documents the call
// and the names in the sysctl(3) manual page, and the record's fields in Technical Q&A QA1123;
// the numbers behind the names are not documented there and matter only to a real build.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/time.h>
#include <sys/types.h>

extern "C" {

// sysctl(3): sysctl
int sysctl(int* name, unsigned int namelen, void* oldp, size_t* oldlenp, void* newp, size_t newlen);

// sysctl(3): CTL_KERN
#define CTL_KERN 1
// sysctl(3): KERN_ARGMAX
#define KERN_ARGMAX 8
// sysctl(3): KERN_PROC
#define KERN_PROC 14
// sysctl(3): KERN_PROC_ALL
#define KERN_PROC_ALL 0
// sysctl(3): KERN_PROC_PID
#define KERN_PROC_PID 1
// sysctl(3): KERN_PROCARGS2
#define KERN_PROCARGS2 49
// sysctl(3): a zombie's p_stat (SZOMB, from <sys/proc.h>, which <sys/sysctl.h> includes)
#define SZOMB 5
// QA1123: the length of p_comm less its terminating zero (MAXCOMLEN)
#define MAXCOMLEN 16

// QA1123: the process's credentials in kp_eproc (struct _ucred)
struct _ucred {
    uid_t cr_uid;
};
// QA1123: the kernel's process record in kinfo_proc (struct extern_proc)
struct extern_proc {
    struct timeval p_starttime;
    pid_t p_pid;
    char p_stat;
    char p_comm[MAXCOMLEN + 1];
};
// QA1123: the extra process information in kinfo_proc (struct eproc)
struct eproc {
    struct _ucred e_ucred;
    pid_t e_ppid;
    pid_t e_pgid;
    dev_t e_tdev;
    pid_t e_tpgid;
};
// QA1123: one record of the KERN_PROC table (struct kinfo_proc)
struct kinfo_proc {
    struct extern_proc kp_proc;
    struct eproc kp_eproc;
};

}  // extern "C"
