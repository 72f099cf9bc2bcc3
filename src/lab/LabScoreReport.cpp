#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "lab/LabReplay.h"

namespace vigilmoth {
namespace {

std::string seconds(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f s", value);
    return text;
}

// "HH:mm:ss" in the machine's time zone, as a terminal user reads the marks' times.
std::string clockTime(Date date) {
    // localtime shares one buffer across the process; the lock keeps two reports apart.
    static std::mutex mutex;
    std::time_t time = static_cast<std::time_t>(std::floor(date.secondsSince1970()));
    std::lock_guard lock(mutex);
    const std::tm* local = std::localtime(&time);
    if (local == nullptr) return "??:??:??";
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", local->tm_hour, local->tm_min,
                  local->tm_sec);
    return text;
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

std::string LabScore::report() const {
    std::vector<std::string> lines = {
        "Lab score: " + title,
        std::to_string(samples) + " samples over " + seconds(duration) + ", " +
            std::to_string(marks) + " marks, Mac held awake for " + seconds(heldSeconds),
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
