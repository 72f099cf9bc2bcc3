// Stand-in for <os/log.h>, written from Apple's documentation.
#pragma once

#include <stdint.h>

extern "C" {

// os_log_t (an object in Objective-C, an opaque pointer to C and C++)
typedef struct os_log_s* os_log_t;

// os_log_type_t
enum os_log_type_t : uint8_t {
    OS_LOG_TYPE_DEFAULT = 0x00,
    OS_LOG_TYPE_INFO = 0x01,
    OS_LOG_TYPE_DEBUG = 0x02,
    OS_LOG_TYPE_ERROR = 0x10,
    OS_LOG_TYPE_FAULT = 0x11,
};

// os_log_create
os_log_t os_log_create(const char* subsystem, const char* category);

// os_log_with_type: a macro that takes a constant format string, checked as the compiler checks
// the real one; the function behind it stands in for Apple's private machinery.
void vigilmoth_os_log_with_type(os_log_t log, os_log_type_t type, const char* format, ...)
    __attribute__((format(os_log, 3, 4)));
#define os_log_with_type(log, type, format, ...) \
    vigilmoth_os_log_with_type(log, type, "" format "" __VA_OPT__(, ) __VA_ARGS__)

}  // extern "C"
