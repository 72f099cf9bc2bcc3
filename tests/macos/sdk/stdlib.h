// Stand-in for <stdlib.h>: the host's header plus what only the BSD C library of macOS declares
// there, as the devname(3) manual page in Apple's Mac OS X Man Pages documents it.
#pragma once

#include_next <stdlib.h>

#include <sys/types.h>

extern "C" {

// devname(3): devname_r, the name in /dev of a block or character device
char* devname_r(dev_t dev, mode_t type, char* buf, int len);

}  // extern "C"
