#error "<sys/prctl.h> is Linux only; macOS code cannot include it."
