#error "<sys/sendfile.h> is Linux only; macOS code cannot include it."
