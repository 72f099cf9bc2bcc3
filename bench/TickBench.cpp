// One detection tick against the least any tick must do: list /proc and read every process's
// stat file once. The tick is the census, the catalog matches, the collection with the agents'
// files, the verdicts and the decision, with 5 stand-in agents among about 400 processes (the
// rest sleepers started here). The same again under a soft open-file limit of 1024, a common
// desktop default: raised to the hard limit as vigilmoth does at start, and left as it is.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <vector>

#include "ProcessTable.h"
#include "decision/HoldPolicy.h"
#include "decision/VerdictRules.h"
#include "evidence/EvidenceCollector.h"
#include "platform/linux/SystemOpenFiles.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/posix/OpenFileLimit.h"
#include "platform/posix/SystemFileAccess.h"

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;
using bench::processCount;

constexpr std::size_t kTableSize = 400;
const char* const kAgents[] = {"claude", "codex", "opencode", "aider", "gemini"};

pid_t spawnIn(const std::string& executable, std::vector<std::string> arguments,
              const std::string& folder) {
    std::vector<char*> argv;
    for (auto& word : arguments)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    pid_t pid = -1;
    if (posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

// The stand-ins, their files in a home of their own, and the sleepers; all gone at exit.
struct World {
    fs::path home;
    std::vector<pid_t> pids;

    World() {
        home = fs::temp_directory_path() / ("vigilmoth-tick-" + std::to_string(::getpid()));
        fs::remove_all(home);
        fs::create_directories(home / "bin");
        fs::create_directories(home / "project");
        std::string project = fs::canonical(home / "project").string();
        for (const char* agent : kAgents) {
            fs::copy_file("/bin/sleep", home / "bin" / agent);
            pid_t pid = spawnIn((home / "bin" / agent).string(), {agent, "600"}, project);
            if (pid > 0) pids.push_back(pid);
            if (std::string(agent) == "claude") {
                fs::create_directories(home / ".claude/sessions");
                std::ofstream(home / ".claude/sessions" / (std::to_string(pid) + ".json"))
                    << R"({"status":"busy","updatedAt":1700000000000,"name":"bench"})";
            }
        }
        auto day = home / ".codex/sessions" / CodexRolloutReader::dayFolders(1, Date::now())[0];
        fs::create_directories(day);
        std::ofstream(day /
                      "rollout-2026-02-23T12-40-23-019c8a4c-ed82-79a1-aa28-7738fc5ab61a.jsonl")
            << R"({"type":"session_meta","payload":{"cwd":")" << project << "\"}}\n"
            << R"({"type":"event_msg","payload":{"type":"task_started","turn_id":"t1"}})"
            << "\n";
        fs::create_directories(home / ".local/share/opencode");
        std::ofstream(home / ".local/share/opencode/opencode.db") << "db";
        for (int count = processCount(); count < static_cast<int>(kTableSize); ++count) {
            pid_t pid = spawnIn("/bin/sleep", {"sleep", "600"}, "/");
            if (pid > 0) pids.push_back(pid);
        }
    }
    ~World() {
        for (pid_t pid : pids)
            ::kill(pid, SIGTERM);
        for (pid_t pid : pids)
            ::waitpid(pid, nullptr, 0);
        fs::remove_all(home);
    }
};

World& world() {
    static World instance;
    return instance;
}

void bareLoop(benchmark::State& state) {
    world();
    char buffer[4096];
    for (auto _ : state) {
        DIR* proc = ::opendir("/proc");
        while (const dirent* entry = ::readdir(proc)) {
            if (!std::isdigit(static_cast<unsigned char>(entry->d_name[0]))) continue;
            std::string path = std::string("/proc/") + entry->d_name + "/stat";
            int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (descriptor < 0) continue;
            benchmark::DoNotOptimize(::read(descriptor, buffer, sizeof buffer));
            ::close(descriptor);
        }
        ::closedir(proc);
    }
    state.counters["processes"] = processCount();
}

// The whole tick, as the engine will run it, on a collector that has warmed up.
void wholeTick(benchmark::State& state) {
    auto sources = EvidenceCollector::Sources::inHome(world().home.string());
    sources.census = std::make_shared<SystemProcessCensus>();
    sources.openFiles = std::make_shared<SystemOpenFiles>();
    sources.files = std::make_shared<SystemFileAccess>();
    sources.hookDirectory = (world().home / "hooks").string();
    EvidenceCollector collector(std::move(sources));
    DetectionSettings settings;
    AgentMemories memories;
    PolicyMemory policy;
    HoldSituation situation;
    std::size_t agents = 0;
    auto tick = [&] {
        auto sample = collector.collect({});
        auto verdicts = VerdictRules::readings(sample.frame, memories, settings);
        memories = std::move(verdicts.memories);
        situation.context = sample.frame.context;
        auto outcome =
            HoldPolicy::decide(verdicts.readings, policy, settings, situation, sample.frame.at);
        policy = std::move(outcome.memory);
        situation.previousHold = outcome.decision.hold;
        // Other programs' agents may run on the machine too; only the stand-ins are counted.
        agents = static_cast<std::size_t>(std::count_if(
            sample.frame.agents.begin(), sample.frame.agents.end(), [](const AgentEvidence& agent) {
                return std::find(world().pids.begin(), world().pids.end(), agent.pid) !=
                       world().pids.end();
            }));
    };
    tick();
    for (auto _ : state)
        tick();
    if (agents != std::size(kAgents)) state.SkipWithError("the stand-ins were not all recognised");
    state.counters["agents"] = static_cast<double>(agents);
    state.counters["processes"] = processCount();
}

// Runs `body` under a soft open-file limit of 1024, raised to the hard limit first when asked,
// and puts the limit back afterwards.
template <typename Body>
void underSoftLimit(benchmark::State& state, bool raise, Body body) {
    world();
    rlimit saved{};
    ::getrlimit(RLIMIT_NOFILE, &saved);
    rlimit lowered = saved;
    lowered.rlim_cur = std::min<rlim_t>(1024, saved.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &lowered);
    if (raise) raiseOpenFileLimit();
    rlimit now{};
    ::getrlimit(RLIMIT_NOFILE, &now);
    body(state);
    state.counters["soft_limit"] = static_cast<double>(now.rlim_cur);
    ::setrlimit(RLIMIT_NOFILE, &saved);
}

void wholeTickSoft1024Raised(benchmark::State& state) {
    underSoftLimit(state, true, wholeTick);
}
void wholeTickSoft1024Kept(benchmark::State& state) {
    underSoftLimit(state, false, wholeTick);
}

BENCHMARK(bareLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeTick)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeTickSoft1024Raised)->Unit(benchmark::kMillisecond);
BENCHMARK(wholeTickSoft1024Kept)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vigilmoth
