#include "catalog/ProcessCensus.h"

#include <algorithm>
#include <cstring>

#include "base/Utf8.h"

namespace vigilmoth {

ShortName ShortName::of(std::string_view name) {
    char bytes[16] = {};
    std::memcpy(bytes, name.data(), std::min(name.size(), sizeof bytes));
    ShortName shortName;
    std::memcpy(&shortName.low, bytes, 8);
    std::memcpy(&shortName.high, bytes + 8, 8);
    return shortName;
}

namespace ProcessCensus {

ChildrenIndex childrenIndex(const std::vector<ProcessInfoRow>& rows) {
    ChildrenIndex index;
    for (const auto& row : rows)
        index[row.ppid].push_back(&row);
    return index;
}

std::vector<ProcessInfoRow> subtree(const ProcessInfoRow& root, const ChildrenIndex& children,
                                    const std::unordered_set<int32_t>& stoppingAt) {
    std::vector<ProcessInfoRow> result;
    std::unordered_set<int32_t> visited;
    std::vector<const ProcessInfoRow*> stack = {&root};
    while (!stack.empty()) {
        const ProcessInfoRow* row = stack.back();
        stack.pop_back();
        // A pid is visited once, so a cycle in parent links ends the walk.
        if (!visited.insert(row->pid).second) continue;
        result.push_back(*row);
        auto found = children.find(row->pid);
        if (found == children.end()) continue;
        for (const ProcessInfoRow* child : found->second)
            if (!stoppingAt.contains(child->pid)) stack.push_back(child);
    }
    return result;
}

std::optional<ParsedArguments> parseArguments(std::span<const std::byte> procargs2) {
    if (procargs2.size() < 5) return std::nullopt;
    int32_t count = 0;
    std::memcpy(&count, procargs2.data(), sizeof count);
    if (count < 0) return std::nullopt;
    std::string_view area(reinterpret_cast<const char*>(procargs2.data()), procargs2.size());
    size_t position = sizeof count;
    auto readString = [&] {
        size_t end = std::min(area.find('\0', position), area.size());
        std::string text = repairedUtf8(area.substr(position, end - position));
        position = std::min(end + 1, area.size());
        return text;
    };
    ParsedArguments parsed;
    parsed.executablePath = readString();
    while (position < area.size() && area[position] == '\0')
        ++position;
    parsed.arguments.reserve(std::min<size_t>(static_cast<size_t>(count), 64));
    for (int32_t index = 0; index < count && position < area.size(); ++index)
        parsed.arguments.push_back(readString());
    return parsed;
}

namespace {

// Adds one row's share of a counter; the total goes absent for good once a row lacks it.
void addCounter(std::optional<uint64_t>& total, bool& missing, std::optional<uint64_t> now,
                std::optional<uint64_t> before) {
    if (missing) return;
    if (!now) {
        missing = true;
        total.reset();
        return;
    }
    uint64_t share = *now;
    if (before) share = *now >= *before ? *now - *before : 0;
    *total += share;
}

}  // namespace

Delta delta(const std::vector<ProcessInfoRow>& rows,
            const std::unordered_map<ProcessIdentity, ProcessInfoRow>& previous) {
    // Counters start at zero: a census without rows did no work.
    Delta result{.cpuSeconds = 0,
                 .energyNanojoules = 0,
                 .instructions = 0,
                 .logicalWriteBytes = 0,
                 .wakeups = 0,
                 .newProcesses = 0};
    bool missingEnergy = false, missingInstructions = false, missingWrites = false,
         missingWakeups = false;
    for (const auto& row : rows) {
        auto found = previous.find(ProcessIdentity::of(row));
        const ProcessInfoRow* before = found == previous.end() ? nullptr : &found->second;
        if (!before) ++result.newProcesses;
        double cpuBefore = before ? before->cpuTime : 0;
        result.cpuSeconds += std::max(0.0, row.cpuTime - cpuBefore);
        auto old = [&](std::optional<uint64_t> ProcessInfoRow::*field) {
            return before ? before->*field : std::nullopt;
        };
        addCounter(result.energyNanojoules, missingEnergy, row.energyNanojoules,
                   old(&ProcessInfoRow::energyNanojoules));
        addCounter(result.instructions, missingInstructions, row.instructions,
                   old(&ProcessInfoRow::instructions));
        addCounter(result.logicalWriteBytes, missingWrites, row.logicalWriteBytes,
                   old(&ProcessInfoRow::logicalWriteBytes));
        addCounter(result.wakeups, missingWakeups, row.wakeups, old(&ProcessInfoRow::wakeups));
    }
    return result;
}

}  // namespace ProcessCensus
}  // namespace vigilmoth
