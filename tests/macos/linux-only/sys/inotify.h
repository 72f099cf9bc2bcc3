#error "<sys/inotify.h> is Linux only; macOS code cannot include it."
