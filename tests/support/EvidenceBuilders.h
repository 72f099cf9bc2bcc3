#pragma once

// Agents whose wire form the frame tests know key for key, and which the benchmarks encode.
#include "evidence/EvidenceFrame.h"

namespace vigilmoth::testing {

// Only the five keys every agent carries.
inline AgentEvidence bareAgent() {
    AgentEvidence agent;
    agent.agentID = "claude";
    agent.displayName = "Claude Code";
    agent.level = AgentDefinition::Level::state;
    agent.pid = 4242;
    agent.startTime = 1767225600.5;
    return agent;
}

// Every field set, each to a value other than its default.
inline AgentEvidence fullAgent() {
    AgentEvidence agent = bareAgent();
    agent.kind = AgentDefinition::Kind::desktop;
    agent.role = AgentRole::engine;
    agent.reported = StateReport{ReportedState::waitingForUser,
                                 Date(10),
                                 Date(20),
                                 StateReport::Source::claudeSessionFile,
                                 "a/b",
                                 true,
                                 true};
    agent.backgroundJobsWorking = 1;
    agent.childCommands = 3;
    agent.busyChildCommands = 2;
    agent.subtreeCPUSeconds = 0.25;
    agent.sampleInterval = 2;
    agent.energyNanojoules = 18446744073709551615ULL;
    agent.logicalWriteBytes = 7;
    agent.fileActivityAt = Date(30);
    agent.ownsSleepAssertion = true;
    agent.hasLiveSession = true;
    agent.hookState = ReportedState::working;
    agent.hookStateAt = Date(40);
    agent.hookStateBySession = true;
    return agent;
}

}  // namespace vigilmoth::testing
