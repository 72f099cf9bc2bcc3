// Stand-in for <sys/proc_info.h>. Apple's documentation has no page for libproc; the names follow
// the proc_pidpath usage that Apple's libproc manual pages describe.
#pragma once

// libproc: the size of a buffer that holds any executable path (PROC_PIDPATHINFO_MAXSIZE)
#define PROC_PIDPATHINFO_MAXSIZE 4096
