#error "<systemd/sd-journal.h> is Linux only; macOS code cannot include it."
