// Stand-in for <fcntl.h>: the host's header, which has open(2) and its common flags, plus the flag
// that only macOS has. The value is not documented and matters only to a real build.
#pragma once

#include_next <fcntl.h>

// FileDescriptor.OpenOptions.eventOnly: its C constant, a descriptor for event notifications only
#define O_EVTONLY 0x8000
