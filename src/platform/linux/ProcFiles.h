#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Readers of the process files under /proc, one per file. They take the text as read, so that
// tests can feed them captured or mangled text; anything malformed reads as nothing.
namespace vigilmoth::ProcFiles {

// What /proc/<pid>/stat tells of a process.
struct Stat {
    int32_t pid = 0;
    std::string name;  // the kernel's short command name
    char state = '?';
    int32_t ppid = 0;
    int32_t pgid = 0;
    int32_t ttyNumber = 0;  // 0 when there is no controlling terminal
    int32_t tpgid = 0;
    uint64_t userTicks = 0;
    uint64_t systemTicks = 0;
    uint64_t startTicks = 0;  // clock ticks after boot

    bool operator==(const Stat&) const = default;
};

std::optional<Stat> parseStat(std::string_view text);

// The nanoseconds the process's main thread has run, from /proc/<pid>/schedstat.
std::optional<uint64_t> parseSchedstat(std::string_view text);

// The "wchar" line of /proc/<pid>/io: bytes the process asked to write.
std::optional<uint64_t> parseIoWrittenBytes(std::string_view text);

// The "btime" line of /proc/stat: the boot time in seconds since 1970.
std::optional<int64_t> parseBootTime(std::string_view text);

// /proc/<pid>/cmdline: each NUL ends one argument, and a last argument may lack its NUL.
// Empty strings are kept as the kernel gives them (a renamed process pads its title).
std::vector<std::string> parseCommandLine(std::string_view text);

}  // namespace vigilmoth::ProcFiles
