#include "ui/MenuGroups.h"

#include <algorithm>
#include <set>

#include "ui/HumaneDuration.h"
#include "ui/PanelText.h"
#include "ui/VerdictReasonText.h"

namespace vigilmoth::MenuModel {

namespace {

using State = ReportedState;
using Rank = Built::Rank;

// With more idle groups than this, the last of them fold under one row; the fold row never
// hides a single agent, so at one more than this only foldKeeps stay in view.
constexpr std::size_t foldAbove = 5;
constexpr std::size_t foldKeeps = 4;
// Names spelled out in the summary of idle sessions before " and 2 more".
constexpr std::size_t namesSpelled = 3;

bool earlier(const std::optional<Date>& a, const std::optional<Date>& b) {
    return a && (!b || *a < *b);
}

bool later(const std::optional<Date>& a, const std::optional<Date>& b) {
    return a && (!b || *a > *b);
}

// The clock's entry while it still speaks of the reading's state.
const StateClock::Entry* current(const AgentReading& reading, const StateClock& clock) {
    const auto* entry = clock.entry(reading.identity);
    return entry != nullptr && entry->state == reading.verdict.state ? entry : nullptr;
}

// When an idle session last did something: the clock's date, or earlier when the verdict has
// seen it quiet for longer (the clock only knows since when it read the session idle).
std::optional<Date> idleSince(const AgentReading& reading, const StateClock& clock, Date now) {
    std::optional<Date> since;
    if (const auto* entry = current(reading, clock)) since = entry->since;
    const auto& reason = reading.verdict.reason;
    if (reason.kind == VerdictReason::Kind::noActivity && reason.value > 0) {
        const Date quiet = now - static_cast<double>(reason.value) * 60;
        if (!since || quiet < *since) since = quiet;
    }
    return since;
}

std::optional<Date> sinceOf(const AgentReading& reading, const StateClock& clock, Date now) {
    if (reading.verdict.state == State::idle) return idleSince(reading, clock, now);
    const auto* entry = current(reading, clock);
    return entry != nullptr ? std::optional(entry->since) : std::nullopt;
}

std::string statusLine(const AgentReading& reading, const PanelInput& input, Date now) {
    const auto* entry = current(reading, input.clock);
    const double seconds = entry != nullptr ? now - entry->since : 0;
    const bool startSeen = entry != nullptr && entry->before.has_value();
    switch (reading.verdict.state) {
        case State::working:
            return PanelText::working(seconds, startSeen, reading.verdict);
        case State::waitingForUser:
            return PanelText::waiting(seconds, startSeen);
        case State::idle:
            break;
    }
    const auto since = idleSince(reading, input.clock, now);
    const bool finished = entry != nullptr && entry->before == State::working;
    return PanelText::idle(since ? std::optional(now - *since) : std::nullopt, finished);
}

// The label the user knows a session by: its working folder, else its session's name.
std::optional<std::string> sessionName(const ProcessIdentity& identity, const PanelInput& input) {
    if (const auto label = input.labels.find(identity); label != input.labels.end()) {
        return label->second;
    }
    if (const auto hint = input.hints.find(identity); hint != input.hints.end()) {
        return hint->second.name;
    }
    return std::nullopt;
}

std::optional<PanelAction> goTo(const ProcessIdentity& identity, const PanelInput& input) {
    const auto host = input.hosts.find(identity);
    if (host == input.hosts.end() || host->second.empty()) return std::nullopt;
    return PanelAction::goToAgent(identity, host->second);
}

// "a and b", "a, b and c", "a, b, c and 2 more".
std::string namesList(const std::vector<std::string>& names) {
    const std::size_t spelled = std::min(names.size(), namesSpelled);
    const std::size_t rest = names.size() - spelled;
    std::string text;
    for (std::size_t i = 0; i < spelled; ++i) {
        if (i > 0) text += (i + 1 == spelled && rest == 0) ? " and " : ", ";
        text += names[i];
    }
    if (rest > 0) text += " and " + std::to_string(rest) + " more";
    return text;
}

// The children of a group of several sessions, `active` of them working or waiting first.
// Several idle sessions beside active ones are summed up in one line, so that the active ones
// stand out; an agent that is idle throughout lists each session.
std::vector<PanelChild> children(const std::vector<AgentReading>& ordered, std::size_t active,
                                 const PanelInput& input, Date now, MachineWord machine) {
    const auto labels = childLabels(ordered, input);
    const std::size_t idle = ordered.size() - active;
    const bool summarise = active > 0 && idle > 1;
    std::vector<PanelChild> made;
    for (std::size_t i = 0; i < (summarise ? active : ordered.size()); ++i) {
        made.push_back(
            child(ordered[i], labels[i], input, statusLine(ordered[i], input, now), machine));
    }
    if (summarise) {
        made.push_back(
            {.id = ordered.front().agentID + "/idle",
             .label = HumaneDuration::counted(static_cast<std::int64_t>(idle), "idle session"),
             .detail = namesList({labels.begin() + static_cast<long>(active), labels.end()})});
    }
    return made;
}

// Waiting, then working, each longest first, then idle, most recently active first.
std::vector<AgentReading> ordered(const std::vector<AgentReading>& readings,
                                  const StateClock& clock, Date now) {
    std::vector<AgentReading> waiting, working, idle;
    for (const auto& reading : readings) {
        switch (reading.verdict.state) {
            case State::waitingForUser:
                waiting.push_back(reading);
                break;
            case State::working:
                working.push_back(reading);
                break;
            case State::idle:
                idle.push_back(reading);
                break;
        }
    }
    std::stable_sort(idle.begin(), idle.end(), [&](const auto& a, const auto& b) {
        return later(idleSince(a, clock, now), idleSince(b, clock, now));
    });
    auto all = longestFirst(std::move(waiting), clock);
    for (auto& reading : longestFirst(std::move(working), clock))
        all.push_back(std::move(reading));
    for (auto& reading : idle)
        all.push_back(std::move(reading));
    return all;
}

int count(const std::vector<AgentReading>& readings, State state) {
    return static_cast<int>(std::count_if(readings.begin(), readings.end(), [state](const auto& r) {
        return r.verdict.state == state;
    }));
}

}  // namespace

std::vector<AgentReading> longestFirst(std::vector<AgentReading> readings,
                                       const StateClock& clock) {
    std::stable_sort(readings.begin(), readings.end(), [&clock](const auto& a, const auto& b) {
        const auto* first = current(a, clock);
        const auto* second = current(b, clock);
        return first != nullptr && (second == nullptr || first->since < second->since);
    });
    return readings;
}

Built built(const std::vector<AgentReading>& readings, const std::string& name,
            const PanelInput& input, Date now, MachineWord machine) {
    const auto sessions = ordered(readings, input.clock, now);
    const AgentReading& first = sessions.front();
    Built made;
    made.identity = first.identity;
    made.since = sinceOf(first, input.clock, now);
    PanelGroup& group = made.group;
    group.working = count(readings, State::working);
    group.waiting = count(readings, State::waitingForUser);
    group.idle = count(readings, State::idle);
    group.rule = input.settings.rule(first.agentID);
    PanelRow& header = group.header;
    header.id = header.agentID = first.agentID;
    header.name = name;
    header.goTo = goTo(first.identity, input);
    const bool ignored = std::any_of(readings.begin(), readings.end(), [](const auto& r) {
        return r.verdict.reason.kind == VerdictReason::Kind::ignoredByRule;
    });
    if (ignored) {
        made.rank = Rank::ignored;
        header.detail = "Ignored";
        header.hint = VerdictReasonText::text(
            VerdictReason::plain(VerdictReason::Kind::ignoredByRule), machine);
        return made;
    }
    made.rank = group.waiting > 0 ? Rank::waiting : group.working > 0 ? Rank::working : Rank::idle;
    header.state = group.waiting > 0   ? PanelRow::State::waiting
                   : group.working > 0 ? PanelRow::State::working
                                       : PanelRow::State::idle;
    header.detail = statusLine(first, input, now);
    header.hint = VerdictReasonText::text(first.verdict.reason, machine);
    if (sessions.size() == 1) {
        header.label = sessionName(first.identity, input);
    } else {
        const auto active = static_cast<std::size_t>(group.working + group.waiting);
        group.children = children(sessions, active, input, now, machine);
    }
    return made;
}

std::unordered_map<std::string, std::string> groupNames(const std::vector<AgentReading>& readings) {
    std::set<std::string> commandLine;
    for (const auto& reading : readings) {
        if (reading.kind == AgentDefinition::Kind::cli) commandLine.insert(reading.displayName);
    }
    std::unordered_map<std::string, std::string> names;
    for (const auto& reading : readings) {
        const bool namesake = reading.kind == AgentDefinition::Kind::desktop &&
                              commandLine.contains(reading.displayName);
        names.try_emplace(reading.agentID, reading.displayName + (namesake ? " app" : ""));
    }
    return names;
}

std::vector<PanelGroup> distinguished(std::vector<PanelGroup> groups,
                                      const std::vector<Built>& built, const PanelInput& input) {
    std::unordered_map<std::string, int> reading;
    for (const auto& group : groups)
        ++reading[group.header.name];
    for (std::size_t i = 0; i < groups.size() && i < built.size(); ++i) {
        auto& header = groups[i].header;
        if (reading[header.name] < 2) continue;
        const auto& identity = built[i].identity;
        const auto name = identity ? sessionName(*identity, input) : std::nullopt;
        header.distinction = name.value_or(header.agentID);
    }
    return groups;
}

std::vector<std::string> childLabels(const std::vector<AgentReading>& readings,
                                     const PanelInput& input) {
    std::vector<std::string> labels;
    for (const auto& reading : readings) {
        if (auto name = sessionName(reading.identity, input)) {
            labels.push_back(std::move(*name));
        } else if (const auto* entry = current(reading, input.clock)) {
            labels.push_back("since " +
                             PanelText::time(entry->since, input.calendar, input.locale));
        } else if (const auto hint = input.hints.find(reading.identity);
                   hint != input.hints.end() && hint->second.terminal) {
            labels.push_back(*hint->second.terminal);
        } else {
            labels.push_back("Session " + std::to_string(labels.size() + 1));
        }
    }
    return labels;
}

PanelChild child(const AgentReading& reading, std::string label, const PanelInput& input,
                 std::optional<std::string> detail, MachineWord machine) {
    return {.id = std::to_string(reading.identity.pid) + "@" +
                  std::to_string(reading.identity.startTime),
            .label = std::move(label),
            .detail = std::move(detail),
            .hint = VerdictReasonText::text(reading.verdict.reason, machine),
            .goTo = goTo(reading.identity, input)};
}

Groups groups(const PanelInput& input, Date now, MachineWord machine) {
    std::vector<AgentReading> readings;
    for (const auto& hold : input.decision.perAgent)
        readings.push_back(hold.reading);
    const auto names = groupNames(readings);
    // By agent, in the order the agents were first read.
    std::vector<std::string> agents;
    std::unordered_map<std::string, std::vector<AgentReading>> sessions;
    for (const auto& reading : readings) {
        auto& own = sessions[reading.agentID];
        if (own.empty()) agents.push_back(reading.agentID);
        own.push_back(reading);
    }
    std::vector<Built> all;
    for (const auto& agent : agents) {
        all.push_back(built(sessions[agent], names.at(agent), input, now, machine));
    }
    std::stable_sort(all.begin(), all.end(), [](const Built& a, const Built& b) {
        if (a.rank != b.rank) return a.rank < b.rank;
        // The most recently active idle agent first; otherwise the one longest in its state.
        return a.rank == Rank::idle ? later(a.since, b.since) : earlier(a.since, b.since);
    });
    std::vector<PanelGroup> sorted;
    for (const auto& one : all)
        sorted.push_back(one.group);
    Groups made;
    made.all = distinguished(std::move(sorted), all, input);
    const auto active = static_cast<std::size_t>(
        std::count_if(made.all.begin(), made.all.end(),
                      [](const auto& group) { return group.kind() == PanelGroup::Kind::active; }));
    const std::size_t idle = made.all.size() - active;
    const auto shown = static_cast<long>(active + (idle > foldAbove ? foldKeeps : idle));
    made.inView.assign(made.all.begin(), made.all.begin() + shown);
    made.moreIdle.assign(made.all.begin() + shown, made.all.end());
    return made;
}

}  // namespace vigilmoth::MenuModel
