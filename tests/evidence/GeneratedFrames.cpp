#include "evidence/GeneratedFrames.h"

#include <cmath>
#include <limits>

namespace vigilmoth::testing {

bool FrameGenerator::chance(double probability) {
    return std::bernoulli_distribution(probability)(random_);
}

int FrameGenerator::integer(int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random_);
}

double FrameGenerator::anyDouble() {
    switch (integer(0, 5)) {
        case 0:
            return 0;
        case 1:
            return std::uniform_real_distribution<double>(0, 1e-3)(random_);
        case 2:
            return std::uniform_real_distribution<double>(-1e6, 1e6)(random_);
        case 3:
            return std::numeric_limits<double>::max();
        case 4:
            return std::numeric_limits<double>::denorm_min();
        default:
            return std::uniform_real_distribution<double>(0, 20)(random_);
    }
}

Date FrameGenerator::date() {
    auto milliseconds = std::uniform_int_distribution<std::int64_t>(0, 4'102'444'800'000)(random_);
    return Date(static_cast<double>(milliseconds) / 1000);
}

std::string FrameGenerator::text() {
    static const std::vector<std::string> pieces = {"claude",     "/Users/me/project",
                                                    "\"quoted\"", "back\\slash",
                                                    "tab\t",      "line\n",
                                                    "\x01",       "Grüße",
                                                    "日本語",     "🤖",
                                                    " ",          ""};
    std::string result;
    for (int count = integer(0, 4); count > 0; --count) {
        result += pieces[static_cast<std::size_t>(integer(0, static_cast<int>(pieces.size()) - 1))];
    }
    return result;
}

StateReport FrameGenerator::report() {
    StateReport report;
    report.state = static_cast<ReportedState>(integer(0, 2));
    if (chance(0.5)) report.since = date();
    report.observedAt = date();
    report.source = static_cast<StateReport::Source>(integer(0, 5));
    if (chance(0.5)) report.detail = text();
    report.turnEnded = chance(0.5);
    report.failed = chance(0.5);
    return report;
}

AgentEvidence FrameGenerator::agent() {
    AgentEvidence agent;
    agent.agentID = text();
    agent.displayName = text();
    agent.level = static_cast<AgentDefinition::Level>(integer(0, 2));
    agent.kind = static_cast<AgentDefinition::Kind>(integer(0, 1));
    agent.role = static_cast<AgentRole>(integer(0, 3));
    agent.pid = std::uniform_int_distribution<std::int32_t>()(random_);
    agent.startTime = anyDouble();
    if (chance(0.5)) agent.reported = report();
    agent.backgroundJobsWorking = chance(0.5) ? 0 : integer(-1, 1);
    agent.childCommands = chance(0.5) ? 0 : std::numeric_limits<int>::max();
    agent.busyChildCommands = chance(0.5) ? 0 : std::numeric_limits<int>::min();
    agent.subtreeCPUSeconds = anyDouble();
    agent.sampleInterval = anyDouble();
    if (chance(0.5))
        agent.energyNanojoules = std::uniform_int_distribution<std::uint64_t>()(random_);
    if (chance(0.5)) agent.logicalWriteBytes = std::numeric_limits<std::uint64_t>::max();
    if (chance(0.5)) agent.fileActivityAt = date();
    agent.ownsSleepAssertion = chance(0.5);
    agent.hasLiveSession = chance(0.5);
    if (chance(0.5)) agent.hookState = static_cast<ReportedState>(integer(0, 2));
    if (chance(0.5)) agent.hookStateAt = date();
    agent.hookStateBySession = chance(0.5);
    return agent;
}

EvidenceFrame FrameGenerator::frame() {
    EvidenceFrame frame;
    frame.version = chance(0.9) ? 1 : integer(-5, 5);
    frame.at = date();
    if (chance(0.5)) frame.awake = anyDouble();
    for (int count = integer(0, 4); count > 0; --count)
        frame.agents.push_back(agent());
    frame.context.onBattery = chance(0.5);
    if (chance(0.5)) frame.context.batteryPercent = integer(-1, 100);
    frame.context.lidClosed = chance(0.5);
    frame.context.thermalState = integer(0, 3);
    frame.context.remoteAccessDetected = chance(0.5);
    frame.context.charging = chance(0.5);
    return frame;
}

}  // namespace vigilmoth::testing
