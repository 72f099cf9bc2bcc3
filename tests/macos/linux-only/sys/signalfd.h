#error "<sys/signalfd.h> is Linux only; macOS code cannot include it."
