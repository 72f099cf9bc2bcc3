// Stand-in for <sys/param.h>: the host's header plus the command-name length that macOS defines
// there (MAXCOMLEN, which Technical Q&A QA1123 names as the length of p_comm less its zero).
#pragma once

#include_next <sys/param.h>

// QA1123: the length of a command name less its terminating zero (MAXCOMLEN)
#define MAXCOMLEN 16
