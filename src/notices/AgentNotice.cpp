#include "notices/AgentNotice.h"

#include <cstdio>

#include "base/DefaultsKeys.h"

namespace vigilmoth {

std::string_view agentNoticeKindWord(AgentNoticeKind kind) {
    return kind == AgentNoticeKind::waiting ? "waiting" : "finished";
}

AgentNoticeSettings AgentNoticeSettings::load(const KeyValueStore& store) {
    AgentNoticeSettings settings;
    settings.waiting = store.boolValue(defaults_keys::noticesWaiting).value_or(settings.waiting);
    settings.finished = store.boolValue(defaults_keys::noticesFinished).value_or(settings.finished);
    settings.onlyWhenAway =
        store.boolValue(defaults_keys::noticesOnlyWhenAway).value_or(settings.onlyWhenAway);
    return settings;
}

void AgentNoticeSettings::save(KeyValueStore& store) const {
    store.set(defaults_keys::noticesWaiting, waiting);
    store.set(defaults_keys::noticesFinished, finished);
    store.set(defaults_keys::noticesOnlyWhenAway, onlyWhenAway);
}

namespace {

std::string seconds(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string reason(const AgentNoticeDecision::Outcome& outcome) {
    using Kind = AgentNoticeDecision::Outcome::Kind;
    switch (outcome.kind) {
        case Kind::backAtWork:
            return ": working again after " + seconds(outcome.after) + " s";
        case Kind::waitEnded:
            return ": the wait ended after " + seconds(outcome.after) + " s";
        case Kind::asksInstead:
            return ": it asks a question, and that was told";
        case Kind::atLaunch:
            return ": it waited already at launch";
        case Kind::notActive:
            return ": vigilmoth is off or paused";
        case Kind::inFront:
            return ": front app is its app";
        case Kind::told:
            break;
    }
    return "";
}

}  // namespace

std::string AgentNoticeDecision::logLine() const {
    std::string word(agentNoticeKindWord(kind));
    std::string pidText = std::to_string(pid);
    if (outcome.kind != Outcome::Kind::told)
        return word + " skipped pid " + pidText + reason(outcome);
    std::string line = word + " fired pid " + pidText;
    if (workedFor) line += " after " + seconds(*workedFor) + " s";
    return line;
}

}  // namespace vigilmoth
