#error "<sys/timerfd.h> is Linux only; macOS code cannot include it."
