#error "<sys/epoll.h> is Linux only; macOS code cannot include it."
