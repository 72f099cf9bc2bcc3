// Stand-in for <sys/stat.h>: the host's header, with the modification time under the name macOS's
// struct stat gives it, as the stat(2) manual page in Apple's Mac OS X Man Pages documents it
// (st_mtimespec, where the host's record says st_mtim).
#pragma once

#include_next <sys/stat.h>

// stat(2): struct stat's time of last data modification (st_mtimespec)
#define st_mtimespec st_mtim
