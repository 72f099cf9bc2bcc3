#error "<sys/eventfd.h> is Linux only; macOS code cannot include it."
