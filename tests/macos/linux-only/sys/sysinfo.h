#error "<sys/sysinfo.h> is Linux only; macOS code cannot include it."
