// What reading the agents' files costs per tick: an unchanged 50 MB Claude Code transcript
// behind its file cache, and a Codex session whose 200 rollouts over two days are followed
// within the per-tick byte budget.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "base/Calendar.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "evidence/CodexRolloutReader.h"
#include "evidence/CodexRolloutTracker.h"
#include "evidence/FileCache.h"
#include "support/EvidenceFiles.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;

const fs::path kFixtures = fs::path(VIGILMOTH_SOURCE_DIR) / "tests/fixtures";

std::string fixtureText(const std::string& relative) {
    std::ifstream file(kFixtures / relative, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

fs::path benchFolder(const char* name) {
    auto folder = fs::temp_directory_path() /
                  (std::string("vigilmoth-bench-") + name + "-" + std::to_string(::getpid()));
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

void ClaudeTranscriptUnchanged(benchmark::State& state) {
    auto folder = benchFolder("claude");
    std::string path = (folder / "session.jsonl").string();
    std::string text =
        fixtureText("claude-transcripts/spotter-4d5611e5-241a-462a-8d15-5122611a9569.jsonl");
    {
        std::ofstream file(path, std::ios::binary);
        for (std::size_t written = 0; written < 50u << 20; written += text.size())
            file << text;
    }
    testing::CountingFileAccess files;
    FileCache<std::optional<ClaudeTranscriptReader::TailParse>> cache;
    auto parse = [&](const std::string& at, const FileSignature& signature) {
        return std::optional(ClaudeTranscriptReader::parseTail(files, at, signature.size));
    };
    cache.value(files, path, parse);
    files.reset();
    for (auto _ : state) {
        benchmark::DoNotOptimize(cache.value(files, path, parse));
        cache.endSample();
    }
    auto iterations = static_cast<double>(state.iterations());
    state.counters["stats_per_tick"] = files.signatures / iterations;
    state.counters["bytes_per_tick"] = static_cast<double>(files.bytesRead) / iterations;
    fs::remove_all(folder);
}
BENCHMARK(ClaudeTranscriptUnchanged);

// One tick of the Codex path: the listing of two days, each rollout's working directory once,
// and every rollout through the tracker.
struct CodexTick {
    CodexRolloutReader& reader;
    CodexRolloutTracker& tracker;
    std::map<std::string, std::optional<std::string>>& cwds;

    bool operator()(Date now) {
        bool resolved = true;
        for (const auto& file : reader.filesOfLastDays(2, now)) {
            // A working directory is looked up while the tick's budget lasts, and charged to it.
            if (!cwds.contains(file.path) && tracker.budgetLeft() > 0) {
                std::uint64_t bytes = 0;
                cwds[file.path] = reader.sessionCwd(file.path, &bytes);
                tracker.charge(bytes);
            }
            auto reading = tracker.read(file.path);
            resolved = resolved && reading && reading->resolved;
        }
        tracker.endSample();
        return resolved;
    }
};

void CodexTwoHundredRollouts(benchmark::State& state) {
    auto folder = benchFolder("codex");
    Date now = Date::now();
    std::string text = fixtureText(
        "codex-rollouts/sessions/2026/02/23/"
        "rollout-2026-02-23T12-40-23-019c8a4c-ed82-79a1-aa28-7738fc5ab61a.jsonl");
    auto days = CodexRolloutReader::dayFolders(2, now);
    for (int index = 0; index < 200; ++index) {
        auto day = folder / days[static_cast<std::size_t>(index) % 2];
        fs::create_directories(day);
        char name[96];
        std::snprintf(name, sizeof name,
                      "rollout-2026-02-23T12-40-23-019c8a4c-ed82-79a1-aa28-%012d.jsonl", index);
        std::ofstream(day / name, std::ios::binary) << text;
    }
    testing::CountingFileAccess files;
    std::uint64_t mostInATick = 0;
    int ticksToResolve = 0;
    {
        CodexRolloutReader reader(files, folder.string());
        CodexRolloutTracker tracker(files);
        std::map<std::string, std::optional<std::string>> cwds;
        CodexTick tick{reader, tracker, cwds};
        for (bool resolved = false; !resolved && ticksToResolve < 20; ++ticksToResolve) {
            files.reset();
            resolved = tick(now);
            mostInATick = std::max(mostInATick, files.bytesRead);
        }
    }
    CodexRolloutReader reader(files, folder.string());
    CodexRolloutTracker tracker(files);
    std::map<std::string, std::optional<std::string>> cwds;
    CodexTick tick{reader, tracker, cwds};
    while (!tick(now)) {
    }
    files.reset();
    for (auto _ : state)
        benchmark::DoNotOptimize(tick(now));
    state.counters["first_ticks_most_bytes"] = static_cast<double>(mostInATick);
    state.counters["ticks_to_resolve"] = ticksToResolve;
    state.counters["budget"] = static_cast<double>(CodexRolloutTracker::kDefaultBudget);
    state.counters["steady_bytes_per_tick"] =
        static_cast<double>(files.bytesRead) / static_cast<double>(state.iterations());
    fs::remove_all(folder);
}
BENCHMARK(CodexTwoHundredRollouts)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vigilmoth
