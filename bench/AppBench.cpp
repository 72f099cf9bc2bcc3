// The whole application for a minute: the real `vigilmoth`, started with no arguments on a
// private system bus (logind) and session bus (a notification daemon and a StatusNotifierWatcher)
// in a home of its own, watching 5 stand-in agents that take turns working and resting while
// this benchmark writes their transcripts and rollouts. What it costs is read from the
// application's own /proc files: its CPU time over the minute after it has settled, as a share of
// one core, and its peak resident memory.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "ProcessTable.h"
#include "base/Calendar.h"
#include "base/WellKnownPaths.h"
#include "evidence/ClaudeTranscriptReader.h"
#include "notices/AgentNotice.h"
#include "platform/linux/DBusTestBus.h"
#include "platform/linux/FileKeyValueStore.h"
#include "platform/linux/Logind.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

using namespace testing;
using Clock = std::chrono::steady_clock;

constexpr auto kSettle = std::chrono::seconds(5);
constexpr int kMeasuredSeconds = 60;
// Each agent works for 20 seconds of every 30, the five out of step, so that turns end (and
// notices come) while the machine stays held throughout.
constexpr int kCycle = 30;
constexpr int kWorking = 20;

// Seconds of CPU used, user and system, from a process's or thread's stat file.
double cpuSeconds(const std::string& statPath) {
    std::string stat = readFile(statPath);
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string field;
    for (int index = 3; index < 14; ++index)
        fields >> field;
    double user = 0, system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

// A "Name:   value kB" line of /proc/<pid>/status, in MiB.
double statusMiB(int pid, const std::string& name) {
    std::istringstream status(readFile("/proc/" + std::to_string(pid) + "/status"));
    for (std::string line; std::getline(status, line);)
        if (line.rfind(name + ":", 0) == 0) return std::stod(line.substr(name.size() + 1)) / 1024;
    return 0;
}

// Three Claude Code sessions and two Codex sessions, each in a project of its own.
class Agents {
public:
    explicit Agents(const std::filesystem::path& home) {
        std::ifstream fixtureFile(fixture("claude-transcripts/spotter-short.jsonl"));
        for (std::string line; std::getline(fixtureFile, line);)
            claudeLines_.push_back(line);
        std::string today = *Calendar().formatted(Date::now(), "%Y/%m/%d");
        std::vector<PlannedProcess> plan;
        for (int id = 1; id <= 5; ++id) {
            auto project = home / ("project" + std::to_string(id));
            std::filesystem::create_directories(project);
            bool claude = id <= 3;
            std::string file =
                claude ? (home / ".claude/projects" /
                          ClaudeTranscriptReader::projectName(project.string()) / "s.jsonl")
                             .string()
                       : (home / ".codex/sessions" / today /
                          ("rollout-" + std::to_string(id) + ".jsonl"))
                             .string();
            std::filesystem::create_directories(std::filesystem::path(file).parent_path());
            std::ofstream opened(file);
            if (claude) {
                for (int number = 0; number < 5; ++number)
                    opened << claudeLines_[number] << "\n";
            } else {
                opened << R"({"type":"session_meta","payload":{"id":"r)" << id << R"(","cwd":")"
                       << project.string() << "\"}}\n";
            }
            files_.push_back(file);
            plan.push_back({id,
                            -1,
                            claude ? "bin/claude" : "bin/codex",
                            {claude ? "claude" : "codex"},
                            project.string(),
                            claude ? "" : file});
        }
        tree_ = std::make_unique<ProcessTree>(plan);
    }

    // What each agent writes in second `second` of the run: a tool call every `period` seconds
    // while it works, the end of its turn when its work is over.
    void write(int second, int period) {
        for (std::size_t index = 0; index < files_.size(); ++index) {
            int phase = (second + static_cast<int>(index) * kCycle / 5) % kCycle;
            if (phase > kWorking || (phase != kWorking && phase % period != 0)) continue;
            std::ofstream file(files_[index], std::ios::app);
            bool ends = phase == kWorking;
            if (index < 3) {
                for (std::size_t number = ends ? 10 : 6; number <= (ends ? 13u : 9u); ++number)
                    file << claudeLines_[number - 1] << "\n";
            } else {
                auto type = phase == 0 ? "task_started" : ends ? "task_complete" : "token_count";
                file << R"({"type":"event_msg","payload":{"type":")" << type << R"(","turn_id":"t)"
                     << second / kCycle << R"(","at":)" << std::time(nullptr) << "}}\n";
            }
        }
    }

private:
    std::vector<std::string> claudeLines_;
    std::vector<std::string> files_;
    std::unique_ptr<ProcessTree> tree_;
};

void applicationMinute(benchmark::State& state) {
    for (auto _ : state) {
        DBusTestBus system;
        system.startTemplate("logind", Logind::kService);
        DBusTestBus session;
        session.startTemplate("notification_daemon", "org.freedesktop.Notifications");
        const char* watcher = "org.kde.StatusNotifierWatcher";
        session.startMock(watcher, "/StatusNotifierWatcher", watcher);
        session.mock(watcher, "/StatusNotifierWatcher", "AddMethod", "sssss", "",
                     "RegisterStatusNotifierItem", "s", "", "");
        TemporaryFolder home;
        Agents agents(home.path());
        const int period = static_cast<int>(state.range(1));
        agents.write(0, period);
        // Sleeping stand-ins that are no agent, to bring the table to the size asked.
        std::vector<PlannedProcess> fillers;
        for (int count = bench::processCount(); count < state.range(0); ++count)
            fillers.push_back({count, -1, "bin/sleeper", {"sleeper"}});
        ProcessTree table(fillers);
        // Finished turns are told too, so that each turn's end posts a notice.
        FileKeyValueStore defaults(
            WellKnownPaths::configuration(
                {.home = home.path().string(), .xdgConfigHome = home / ".config"}) +
            "/defaults.json");
        AgentNoticeSettings{.finished = true, .onlyWhenAway = false}.save(defaults);

        ProcessOptions options;
        options.environment = {{"HOME", home.path().string()},
                               {"XDG_DATA_HOME", std::nullopt},
                               {"XDG_CONFIG_HOME", home / ".config"},
                               {"XDG_RUNTIME_DIR", home.path().string()},
                               {"VIGILMOTH_HOOKS_DIR", home / "hooks"},
                               {"DBUS_SYSTEM_BUS_ADDRESS", system.address().address},
                               {"DBUS_SESSION_BUS_ADDRESS", session.address().address}};
        auto started = Clock::now();
        BackgroundProcess app(VIGILMOTH_EXECUTABLE, {}, options);
        std::this_thread::sleep_until(started + kSettle);
        const std::string process = "/proc/" + std::to_string(app.pid());
        // The main thread runs the loop (bus, tray, notices, the panel); the detection ticks
        // run on a thread of their own.
        const std::string loop = process + "/task/" + std::to_string(app.pid()) + "/stat";
        double startCPU = cpuSeconds(process + "/stat");
        double startLoopCPU = cpuSeconds(loop);
        auto measured = Clock::now();
        for (int second = 1; second <= kMeasuredSeconds; ++second) {
            std::this_thread::sleep_until(measured + std::chrono::seconds(second));
            agents.write(second, period);
        }
        double usedCPU = cpuSeconds(process + "/stat") - startCPU;
        double loopCPU = cpuSeconds(loop) - startLoopCPU;
        state.SetIterationTime(kMeasuredSeconds);
        state.counters["cpu_percent"] = 100 * usedCPU / kMeasuredSeconds;
        state.counters["loop_percent"] = 100 * loopCPU / kMeasuredSeconds;
        state.counters["start_cpu_ms"] = 1000 * startCPU;
        state.counters["peak_MiB"] = statusMiB(app.pid(), "VmHWM");
        state.counters["rss_MiB"] = statusMiB(app.pid(), "VmRSS");
        state.counters["processes"] = bench::processCount();
        // Signs that the application did its whole work: it holds the machine, has posted the
        // turns' notices and shows its tray.
        const auto& locks = Logind::listInhibitors(system.client());
        state.counters["holding"] = static_cast<double>(
            std::count_if(locks.begin(), locks.end(), [](const Logind::Inhibitor& lock) {
                return lock.who == Logind::kWho && lock.what == "sleep:idle";
            }));
        state.counters["notices"] = static_cast<double>(session.notifyCalls().size());
        state.counters["tray_registrations"] = static_cast<double>(
            session.firstArguments(watcher, "/StatusNotifierWatcher", "RegisterStatusNotifierItem")
                .size());
        app.signal(SIGTERM);
        if (app.wait(30) != 0) state.SkipWithError("vigilmoth did not stop cleanly");
    }
}

// As the machine is and with its table brought to 400 processes, a busy desktop's size; the
// agents writing every second, and every 4 seconds.
BENCHMARK(applicationMinute)
    ->ArgNames({"table", "writes_every_s"})
    ->Args({0, 1})
    ->Args({400, 1})
    ->Args({400, 4})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace vigilmoth
