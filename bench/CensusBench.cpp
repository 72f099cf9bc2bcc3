// A warm census of this machine's real process table, per process, against the least any
// census must do: read /proc/<pid>/stat of the same processes.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/linux/SystemProcessCensus.h"

namespace vigilmoth {
namespace {

// The processes of the census's rows (the user's own).
std::vector<int32_t> rowPids() {
    SystemProcessCensus census;
    std::vector<int32_t> pids;
    if (auto rows = census.snapshot())
        for (const auto& row : *rows)
            pids.push_back(row.pid);
    return pids;
}

// Every process of the table, which the census looks at to find the user's.
std::vector<int32_t> tablePids() {
    std::vector<int32_t> pids;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        if (!name.empty() && std::all_of(name.begin(), name.end(), ::isdigit))
            pids.push_back(std::stoi(name));
    }
    return pids;
}

void perProcess(benchmark::State& state, size_t processes) {
    state.counters["processes"] = static_cast<double>(processes);
    state.counters["per_process"] = benchmark::Counter(
        static_cast<double>(processes),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void warmCensus(benchmark::State& state) {
    SystemProcessCensus census;
    size_t processes = census.snapshot().value_or(std::vector<ProcessInfoRow>{}).size();
    for (auto _ : state) {
        auto rows = census.snapshot();
        benchmark::DoNotOptimize(rows);
    }
    perProcess(state, processes);
    state.counters["per_table_process"] = benchmark::Counter(
        static_cast<double>(tablePids().size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void statFiles(benchmark::State& state, const std::vector<int32_t>& pids) {
    char buffer[4096];
    for (auto _ : state) {
        for (int32_t pid : pids) {
            std::string path = "/proc/" + std::to_string(pid) + "/stat";
            int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (descriptor < 0) continue;
            benchmark::DoNotOptimize(::read(descriptor, buffer, sizeof buffer));
            ::close(descriptor);
        }
    }
    perProcess(state, pids.size());
}

void statFilesOfRows(benchmark::State& state) {
    statFiles(state, rowPids());
}
void statFilesOfTable(benchmark::State& state) {
    statFiles(state, tablePids());
}

BENCHMARK(warmCensus);
BENCHMARK(statFilesOfRows);
BENCHMARK(statFilesOfTable);

}  // namespace
}  // namespace vigilmoth
