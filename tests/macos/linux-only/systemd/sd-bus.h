#error "<systemd/sd-bus.h> is Linux only; macOS code cannot include it."
