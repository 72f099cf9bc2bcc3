// Over the real /proc, a stand-in Codex whose shell child burns CPU has a busy child command, and
// the rollout it holds open is its own.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "evidence/EvidenceCollector.h"
#include "platform/linux/SystemOpenFiles.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/posix/SystemFileAccess.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

TEST(EvidenceCollectorLiveTest, ABurningChildIsBusyAndTheOpenRolloutIsTheAgents) {
    testing::TemporaryFolder home;
    std::filesystem::path project = home.path() / "project";
    std::filesystem::create_directories(project);
    auto day = home.path() / ".codex/sessions" / CodexRolloutReader::dayFolders(1, Date::now())[0];
    auto rollout = day / "rollout-2026-02-23T12-40-23-019c8a4c-ed82-79a1-aa28-7738fc5ab61a.jsonl";
    testing::writeFile(rollout,
                       R"({"type":"event_msg","payload":{"type":"task_started","turn_id":"t1",)"
                       R"("started_at":1700000000}})"
                       "\n");
    testing::ProcessTree tree({
        {.id = 1,
         .executable = "bin/codex",
         .arguments = {"codex"},
         .workingDirectory = project.string(),
         .openFile = rollout.string()},
        {.id = 2, .parent = 1, .executable = "bin/bash", .arguments = {"bash"}, .burnsCPU = true},
    });
    int pid = tree.pid(1);

    SystemOpenFiles openFiles;
    auto canonical = std::filesystem::canonical(rollout).string();
    auto open = openFiles.openFilePaths(pid);
    EXPECT_NE(std::find(open.begin(), open.end(), canonical), open.end());
    EXPECT_EQ(openFiles.workingDirectory(pid), std::filesystem::canonical(project).string());
    // Whatever the starter handed down (pipes, a terminal, a log file), only regular files count.
    for (const auto& path : openFiles.openFilePaths(tree.pid(2)))
        EXPECT_TRUE(std::filesystem::is_regular_file(path)) << path;

    auto sources = EvidenceCollector::Sources::inHome(home.path().string());
    sources.census = std::make_shared<SystemProcessCensus>();
    sources.openFiles = std::make_shared<SystemOpenFiles>();
    sources.files = std::make_shared<SystemFileAccess>();
    EvidenceCollector collector(std::move(sources));
    // Busy needs CPU in both halves of a child's ten-second window: some six seconds of ticks.
    std::optional<AgentEvidence> codex;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < deadline) {
        auto sample = collector.collect({});
        codex.reset();
        for (const auto& agent : sample.frame.agents) {
            if (agent.pid == pid) codex = agent;
        }
        ASSERT_TRUE(codex) << "the stand-in is recognised on every tick";
        if (codex->busyChildCommands == 1) {
            EXPECT_TRUE(sample.watchedFiles.contains(canonical));
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
    }
    EXPECT_EQ(codex->childCommands, 1);
    EXPECT_EQ(codex->busyChildCommands, 1);
    EXPECT_GT(codex->subtreeCPUSeconds, 0);
    ASSERT_TRUE(codex->reported);
    EXPECT_EQ(codex->reported->state, ReportedState::working);
    EXPECT_EQ(codex->reported->source, StateReport::Source::codexRollout);
}

}  // namespace
}  // namespace vigilmoth
