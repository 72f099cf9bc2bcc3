#include "lab/LabScore.h"

#include <cstdio>

#include "base/Calendar.h"

namespace vigilmoth {
namespace {

std::string seconds(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f s", value);
    return text;
}

// "HH:mm:ss" in the machine's time zone, as a terminal user reads the marks' times.
std::string clockTime(Date date) {
    return Calendar{}.formatted(date, "%H:%M:%S").value_or("??:??:??");
}

void addTargetLines(const LabScore::Agent& agent, std::vector<std::string>& lines) {
    lines.push_back(agent.agent + ": wrongly held " + seconds(agent.wronglyHeld) +
                    ", wrongly released " + seconds(agent.wronglyReleased));
    for (const auto& reaction : agent.reactions) {
        lines.push_back("  " + clockTime(reaction.at) + " " +
                        std::string(labTruthWord(reaction.truth)) + ": " +
                        (reaction.delay ? "seen after " + seconds(*reaction.delay) : "never seen"));
    }
}

}  // namespace

std::string LabScore::report(MachineWord machine) const {
    std::vector<std::string> lines = {
        "Lab score: " + title,
        std::to_string(samples) + " samples over " + seconds(duration) + ", " +
            std::to_string(marks) + " marks, " + std::string(machine.capitalised) +
            " held awake for " + seconds(heldSeconds),
    };
    for (const auto& entry : seen) {
        lines.push_back("  " + entry.displayName + " [" + entry.agentID + ":" +
                        std::to_string(entry.pid) + "]: working " + seconds(entry.working) +
                        ", waiting " + seconds(entry.waiting) + ", idle " + seconds(entry.idle) +
                        ", held " + seconds(entry.held));
    }
    if (agents.empty()) {
        lines.push_back("No marks, so nothing to score.");
    } else {
        double held = 0;
        double released = 0;
        for (const auto& agent : agents) {
            addTargetLines(agent, lines);
            held += agent.wronglyHeld;
            released += agent.wronglyReleased;
        }
        lines.push_back("Total: wrongly held " + seconds(held) + ", wrongly released " +
                        seconds(released));
    }
    lines.push_back("The replay differs from the live decision in " +
                    std::to_string(liveMismatches) + " of " + std::to_string(samples) + " samples");
    std::string report;
    for (const auto& line : lines) {
        if (!report.empty()) report += "\n";
        report += line;
    }
    return report;
}

}  // namespace vigilmoth
