// What one hook run costs: reading the agent's input, updating the state file, walking up the
// real process table, and writing the file atomically.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "hook/SystemHookStateStore.h"
#include "hooks/runtime/HookRunner.h"
#include "platform/linux/SystemProcessCensus.h"

namespace vigilmoth {
namespace {

// A tool result of the given size, as Claude Code sends after a large file read.
std::string postToolUse(size_t outputBytes) {
    nlohmann::json input{{"session_id", "f2fbb6b7-5f57-42e0-9900-8f46d12555f1"},
                         {"hook_event_name", "PostToolUse"},
                         {"tool_input", {{"command", "cat big.txt"}}},
                         {"tool_response", {{"stdout", std::string(outputBytes, 'x')}}}};
    return input.dump();
}

void HookInputParse(benchmark::State& state) {
    std::string text = postToolUse(static_cast<size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(HookInput::parse(text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(HookInputParse)->Arg(1000)->Arg(1000000);

void HookStateUpdateApplying(benchmark::State& state) {
    HookStateFile file{1, "claude", 100, 1000.5, {}};
    for (int index = 0; index < 10; ++index) {
        file.sessions[HookStateFile::sessionKey(std::string(1, static_cast<char>('a' + index)))] = {
            "working", "PreToolUse", 2000.0 + index, {}, {}, {}};
    }
    std::optional<std::string> text = file.encode();
    HookInvocation invocation{"claude", "Stop", 1};
    HookInput input{"d", {}, {}, {}, {}};
    for (auto _ : state) {
        auto next = HookStateUpdate::applying(text, invocation, input, {100, 1000.5}, 3000);
        benchmark::DoNotOptimize(next->encode());
    }
}
BENCHMARK(HookStateUpdateApplying);

// The longest walk: this process is no agent, so it goes all the way up.
void HookAncestorWalk(benchmark::State& state) {
    for (auto _ : state) {
        SystemProcessCensus census;
        benchmark::DoNotOptimize(HookRunner::agentProcess(
            static_cast<int32_t>(::getpid()), "claude", census, AgentCatalog::standard()));
    }
}
BENCHMARK(HookAncestorWalk);

void HookStateFileWrite(benchmark::State& state) {
    auto folder = std::filesystem::temp_directory_path() /
                  ("vigilmoth-bench-hooks-" + std::to_string(::getpid()));
    SystemHookStateStore store(folder.string());
    std::string text = HookStateFile{1, "claude", 100, 1000.5, {}}.encode();
    for (auto _ : state) {
        store.lock();
        benchmark::DoNotOptimize(store.read("claude-100.json"));
        store.replace("claude-100.json", text);
        store.unlock();
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(HookStateFileWrite);

}  // namespace
}  // namespace vigilmoth
