#error "<systemd/sd-daemon.h> is Linux only; macOS code cannot include it."
