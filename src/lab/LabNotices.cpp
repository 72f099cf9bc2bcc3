#include "lab/LabNotices.h"

#include <algorithm>
#include <cstdio>
#include <unordered_map>

#include "lab/LabReplay.h"
#include "notices/AgentNoticeFeed.h"

namespace vigilmoth::LabNotices {
namespace {

// A session's pair of states and since when the pair has held.
struct Seen {
    std::optional<ReportedState> turn;
    ReportedState verdict = ReportedState::idle;
    Date since;

    bool samePair(const Seen& other) const {
        return turn == other.turn && verdict == other.verdict;
    }
    // What the notice reducer reacts to.
    ReportedState effective() const { return turn.value_or(verdict); }
};

std::string word(ReportedState state) {
    return std::string(codedName(state).value_or(""));
}

std::string words(const Seen& pair) {
    if (!pair.turn) return word(pair.verdict) + " (no turn reported)";
    if (*pair.turn == pair.verdict) return word(pair.verdict);
    return "turn " + word(*pair.turn) + ", verdict " + word(pair.verdict);
}

std::string formatted(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

class Log {
public:
    explicit Log(Date origin) : origin_(origin) {}

    void add(Date at, const std::string& text) {
        lines_.push_back(formatted("%7.1f s", at - origin_) + text);
    }
    std::vector<std::string> take() { return std::move(lines_); }

private:
    Date origin_;
    std::vector<std::string> lines_;
};

using SessionTable = std::unordered_map<ProcessIdentity, Seen>;

void followReading(const AgentReading& reading, bool firstStep, Date now, SessionTable& previous,
                   SessionTable& current, Log& log) {
    Seen seen{reading.turn ? std::optional(reading.turn->state) : std::nullopt,
              reading.verdict.state, now};
    std::string pid = "  pid " + std::to_string(reading.identity.pid) + "  ";
    auto found = previous.find(reading.identity);
    if (found == previous.end()) {
        // Sessions of the first step were there from the start.
        if (!firstStep) log.add(now, pid + "new, " + words(seen));
        current[reading.identity] = seen;
        return;
    }
    Seen stored = found->second;
    previous.erase(found);
    if (stored.samePair(seen)) {
        current[reading.identity] = stored;
        return;
    }
    std::string line = pid + words(stored) + " -> " + words(seen) + " (" +
                       reading.verdict.reason.code() + ") after " +
                       formatted("%.1f s", now - stored.since);
    // A verdict that changes under an unchanged reported turn is invisible to notifications.
    if (stored.effective() == seen.effective()) line += ": no change for the notifications";
    log.add(now, line);
    current[reading.identity] = seen;
}

void reportGone(const SessionTable& left, Date now, Log& log) {
    std::vector<std::pair<ProcessIdentity, Seen>> gone(left.begin(), left.end());
    std::sort(gone.begin(), gone.end(), [](const auto& a, const auto& b) {
        return a.first.pid != b.first.pid ? a.first.pid < b.first.pid
                                          : a.first.startTime < b.first.startTime;
    });
    for (const auto& [identity, seen] : gone) {
        log.add(now, "  pid " + std::to_string(identity.pid) + "  " + words(seen) + " -> gone");
    }
}

// The replay's steps through the notice feed, as the live aggregator feeds it; `visit` sees
// each step with what the feed answered.
template <typename Visit>
void replay(const std::vector<LabStep>& steps, Visit visit) {
    AgentNoticeFeed feed;
    for (const auto& step : steps) {
        visit(step, feed.feed(step.readings, step.at, AgentNoticeFeed::Conditions::replay()));
    }
}

}  // namespace

std::vector<std::string> lines(const LabRecording& recording,
                               const std::optional<DetectionSettings>& settings) {
    auto steps = LabReplay::steps(recording, settings, std::nullopt);
    if (steps.empty()) return {};
    Log log(steps.front().at);
    SessionTable previous;
    bool first = true;
    replay(steps, [&](const LabStep& step, const AgentNoticeFeed::Step& fed) {
        SessionTable current;
        for (const auto& reading : step.readings) {
            followReading(reading, first, step.at, previous, current, log);
        }
        first = false;
        reportGone(previous, step.at, log);
        previous = std::move(current);
        for (const auto& decision : fed.decisions) {
            log.add(step.at, "    " + decision.logLine());
        }
    });
    return log.take();
}

std::vector<TimedNotice> notices(const LabRecording& recording,
                                 const std::optional<DetectionSettings>& settings) {
    std::vector<TimedNotice> told;
    replay(LabReplay::steps(recording, settings, std::nullopt),
           [&](const LabStep& step, const AgentNoticeFeed::Step& fed) {
               for (const auto& notice : fed.due)
                   told.push_back({step.at, notice});
           });
    return told;
}

std::string report(const LabRecording& recording) {
    auto body = lines(recording, std::nullopt);
    auto fired = std::count_if(body.begin(), body.end(), [](const std::string& line) {
        return line.find(" fired pid ") != std::string::npos;
    });
    std::string report = "Agent notifications in the replay: " + std::to_string(fired) + " fired";
    if (body.empty()) return report + "\nNo session changed.";
    for (const auto& line : body)
        report += "\n" + line;
    return report;
}

}  // namespace vigilmoth::LabNotices
