#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vigilmoth {

// One process of a census, as the system reports it.
struct ProcessInfoRow {
    // The terminal device of a process without a controlling terminal.
    static constexpr int32_t kNoTerminal = -1;

    int32_t pid = 0;
    int32_t ppid = 0;
    double startTime = 0;  // seconds since 1970
    // The start in the kernel's clock ticks after boot, where the system counts it (Linux):
    // unlike `startTime`, no step of the wall clock moves it.
    std::optional<uint64_t> startTicks;
    std::string executablePath;
    std::vector<std::string> arguments;  // argument 0 first
    uint32_t uid = 0;
    int32_t tty = kNoTerminal;
    int32_t pgid = 0;
    int32_t tpgid = 0;
    double cpuTime = 0;  // user plus system seconds so far
    std::optional<uint64_t> energyNanojoules;
    std::optional<uint64_t> instructions;
    std::optional<uint64_t> logicalWriteBytes;
    std::optional<uint64_t> wakeups;

    bool operator==(const ProcessInfoRow&) const = default;
};

// A process across censuses: a reused pid with another start time is another process.
struct ProcessIdentity {
    int32_t pid = 0;
    double startTime = 0;

    static ProcessIdentity of(const ProcessInfoRow& row) { return {row.pid, row.startTime}; }
    bool operator==(const ProcessIdentity&) const = default;
};

}  // namespace vigilmoth

template <>
struct std::hash<vigilmoth::ProcessIdentity> {
    size_t operator()(const vigilmoth::ProcessIdentity& identity) const noexcept {
        size_t seed = std::hash<int32_t>{}(identity.pid);
        // Equal doubles must hash equally: fold -0 into 0 before hashing the value.
        double time = identity.startTime == 0 ? 0 : identity.startTime;
        return seed ^
               (std::hash<double>{}(time) + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2));
    }
};

namespace vigilmoth {

// The kernel's short command name, first 16 bytes, compared as a pair of words. A change means
// the process ran another program (or renamed itself), so its image must be read again.
struct ShortName {
    uint64_t low = 0;
    uint64_t high = 0;

    static ShortName of(std::string_view name);
    bool operator==(const ShortName&) const = default;
};

// The census as the rest of the program sees it; the real one reads the system's process table.
class ProcessCensusing {
public:
    virtual ~ProcessCensusing() = default;
    // The current user's processes, or absent when the process table cannot be read.
    virtual std::optional<std::vector<ProcessInfoRow>> snapshot() = 0;
    // The same record for one process, or absent when it is gone or not the user's.
    virtual std::optional<ProcessInfoRow> row(int32_t pid) = 0;
};

namespace ProcessCensus {

// Children by parent pid, pointing into the rows the index was made of, which must outlive it:
// copying every row of the table each tick cost more than the rest of matching.
using ChildrenIndex = std::unordered_map<int32_t, std::vector<const ProcessInfoRow*>>;

// Activity between two censuses of the same processes.
struct Delta {
    double cpuSeconds = 0;
    std::optional<uint64_t> energyNanojoules;
    std::optional<uint64_t> instructions;
    std::optional<uint64_t> logicalWriteBytes;
    std::optional<uint64_t> wakeups;
    int newProcesses = 0;  // rows without a row of the same identity before

    bool operator==(const Delta&) const = default;
};

struct ParsedArguments {
    std::string executablePath;
    std::vector<std::string> arguments;

    bool operator==(const ParsedArguments&) const = default;
};

// Rows grouped by parent pid, each group in row order.
ChildrenIndex childrenIndex(const std::vector<ProcessInfoRow>& rows);
ChildrenIndex childrenIndex(const std::vector<ProcessInfoRow>&& rows) = delete;

// The root and its descendants in visiting order, not descending into pids of `stoppingAt`.
std::vector<ProcessInfoRow> subtree(const ProcessInfoRow& root, const ChildrenIndex& children,
                                    const std::unordered_set<int32_t>& stoppingAt);

// The argument area of a process as macOS hands it out: a native-endian 32-bit count, the
// executable path, NUL padding, then the arguments, each NUL-terminated.
std::optional<ParsedArguments> parseArguments(std::span<const std::byte> procargs2);

Delta delta(const std::vector<ProcessInfoRow>& rows,
            const std::unordered_map<ProcessIdentity, ProcessInfoRow>& previous);

}  // namespace ProcessCensus
}  // namespace vigilmoth
