#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "catalog/ProcessCensus.h"
#include "evidence/StateReport.h"

namespace vigilmoth {

// What the verdict rules remember of one agent process between ticks.
struct AgentMemory {
    struct CPUSample {
        Date at;
        double cpuSeconds = 0;
        double interval = 0;

        bool operator==(const CPUSample&) const = default;
    };

    std::optional<Date> firstSeenAt;
    std::optional<Date> lastCommandAt;
    std::optional<Date> lastBackgroundJobAt;
    std::optional<Date> lastAssertionAt;
    std::optional<Date> lastFileWriteAt;
    std::optional<Date> lastCPUAt;
    std::optional<Date> weakOnlySince;
    bool weakCapped = false;
    std::optional<StateReport> lastReport;
    std::optional<Date> lastReportSeenAt;
    std::optional<Date> endedHookWaitAt;
    std::optional<Date> hookWorkAt;
    std::optional<Date> hookWorkSince;
    std::optional<Date> hookIdleAt;
    std::optional<Date> workAfterHookIdleAt;
    std::optional<Date> approvalSignsSince;
    // The agent's child commands at the last tick: one more while it waits is the user's answer.
    std::optional<int> childCommands;
    // The last 30 seconds of processor samples.
    std::vector<CPUSample> cpuSamples;

    // The latest strong sign of work. Processor use is deliberately not one.
    std::optional<Date> lastStrongAt() const;

    // The dates vigilmoth set itself, moved over a sleep or stall. Time stamps written by the
    // agents and their hooks did not move, so the fields compared with them stay.
    AgentMemory shifted(double seconds) const;

    bool operator==(const AgentMemory&) const = default;
};

using AgentMemories = std::unordered_map<ProcessIdentity, AgentMemory>;

// The later of two optional dates; absent only when both are.
std::optional<Date> latest(std::optional<Date> a, std::optional<Date> b);

}  // namespace vigilmoth
