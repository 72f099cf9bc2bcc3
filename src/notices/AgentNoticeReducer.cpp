#include "notices/AgentNoticeReducer.h"

#include <algorithm>
#include <unordered_set>

namespace vigilmoth {
namespace {

// The state the reducer follows: the reported turn when there is one, else the verdict.
ReportedState followedState(const AgentReading& reading) {
    return reading.turn ? reading.turn->state : reading.verdict.state;
}

AgentNotice::Session noticeSession(const ProcessIdentity& identity,
                                   const AgentNoticeReducer::Session& session) {
    return AgentNotice::Session{
        .identity = identity,
        .agentID = session.agentID,
        .displayName = session.displayName,
        .label = session.label,
        .ownerPid = session.ownerPid,
        .workedFor = std::nullopt,
        .failed = false,
    };
}

template <class Map>
auto lookup(const Map& map, const ProcessIdentity& identity)
    -> std::optional<typename Map::mapped_type> {
    auto found = map.find(identity);
    if (found == map.end()) return std::nullopt;
    return found->second;
}

bool before(const ProcessIdentity& a, const ProcessIdentity& b) {
    return a.pid != b.pid ? a.pid < b.pid : a.startTime < b.startTime;
}

}  // namespace

std::vector<AgentNotice> AgentNoticeReducer::update(Date now, const AgentNoticeInput& input) {
    decisions.clear();
    std::unordered_set<ProcessIdentity> present;
    for (const auto& reading : input.readings) {
        // A second reading of the same process is a duplicate.
        if (!present.insert(reading.identity).second) continue;
        follow(reading, now, input);
    }
    std::vector<ProcessIdentity> gone;
    for (const auto& [identity, session] : sessions) {
        if (!present.contains(identity)) gone.push_back(identity);
    }
    // Sessions that vanish together are told in a fixed order.
    std::sort(gone.begin(), gone.end(), before);
    for (const auto& identity : gone) {
        auto session = sessions.at(identity);
        sessions.erase(identity);
        vanished(identity, session, now, input);
    }
    screen(input);
    auto notices = due(now);
    primed = true;
    lastUpdate = now;
    return notices;
}

void AgentNoticeReducer::follow(const AgentReading& reading, Date now,
                                const AgentNoticeInput& input) {
    const auto& identity = reading.identity;
    bool known = sessions.contains(identity);
    auto& session = sessions[identity];
    session.agentID = reading.agentID;
    session.displayName = reading.displayName;
    session.label = lookup(input.labels, identity);
    session.ownerPid = lookup(input.owners, identity);
    ReportedState previous = session.state;
    ReportedState state = followedState(reading);
    session.state = state;
    if (reading.turn) session.failed = reading.turn->failed;
    if (state == previous) return;

    if (state == ReportedState::working) {
        startWorking(identity, session, known, reading.turn, now);
        return;
    }
    if (previous == ReportedState::waitingForUser) {
        withdraw(identity, AgentNoticeKind::waiting, now);
    }
    auto about = noticeSession(identity, session);
    if (state == ReportedState::waitingForUser && input.settings.waiting) {
        if (!suppressed(AgentNoticeKind::waiting, about, input)) {
            add(Candidate{AgentNoticeKind::waiting, about, now});
        }
    } else if (state == ReportedState::idle && previous == ReportedState::working &&
               input.settings.finished) {
        if (session.workStart) about.workedFor = now - *session.workStart;
        about.failed = reading.turn && reading.turn->failed;
        if (!suppressed(AgentNoticeKind::finished, about, input)) {
            add(Candidate{AgentNoticeKind::finished, about, now});
        }
    }
}

void AgentNoticeReducer::startWorking(const ProcessIdentity& identity, Session& session, bool known,
                                      const std::optional<AgentTurn>& turn, Date now) {
    session.workStart = now;
    if (turn && turn->since && *turn->since <= now) {
        session.workStart = *turn->since;
        // A turn that began before the last update was not seen to begin before then.
        if (known && lastUpdate && *session.workStart < *lastUpdate) {
            session.workStart = *lastUpdate;
        }
    }
    session.waitTold = false;
    withdraw(identity, std::nullopt, now);
}

void AgentNoticeReducer::vanished(const ProcessIdentity& identity, const Session& session, Date now,
                                  const AgentNoticeInput& input) {
    withdraw(identity, AgentNoticeKind::waiting, now);
    if (session.state != ReportedState::working || !input.settings.finished) return;
    auto about = noticeSession(identity, session);
    if (session.workStart) about.workedFor = now - *session.workStart;
    // Deliberately not the session's own flag: a process that vanished did not report failing.
    about.failed = false;
    if (!suppressed(AgentNoticeKind::finished, about, input)) {
        add(Candidate{AgentNoticeKind::finished, about, now});
    }
}

void AgentNoticeReducer::withdraw(const ProcessIdentity& identity,
                                  std::optional<AgentNoticeKind> kind, Date now) {
    std::vector<Candidate> kept;
    for (auto& candidate : candidates) {
        bool matches = candidate.session.identity == identity && (!kind || candidate.kind == *kind);
        if (!matches) {
            kept.push_back(std::move(candidate));
            continue;
        }
        double after = now - candidate.at;
        record(candidate.kind, candidate.session,
               candidate.kind == AgentNoticeKind::waiting
                   ? AgentNoticeDecision::Outcome::waitEnded(after)
                   : AgentNoticeDecision::Outcome::backAtWork(after));
    }
    candidates = std::move(kept);
}

bool AgentNoticeReducer::suppressed(AgentNoticeKind kind, const AgentNotice::Session& session,
                                    const AgentNoticeInput& input) {
    using Kind = AgentNoticeDecision::Outcome::Kind;
    std::optional<Kind> reason;
    if (!primed) {
        // The first update only learns the states that were there already.
        reason = Kind::atLaunch;
    } else if (!input.active) {
        reason = Kind::notActive;
    } else if (input.settings.onlyWhenAway && input.userActive && session.ownerPid &&
               input.frontmostPid && *session.ownerPid == *input.frontmostPid) {
        reason = Kind::inFront;
    }
    if (reason) record(kind, session, AgentNoticeDecision::Outcome::of(*reason));
    return reason.has_value();
}

void AgentNoticeReducer::add(Candidate candidate) {
    std::erase_if(candidates, [&](const Candidate& pending) {
        return pending.kind == candidate.kind &&
               pending.session.identity == candidate.session.identity;
    });
    candidates.push_back(std::move(candidate));
}

void AgentNoticeReducer::screen(const AgentNoticeInput& input) {
    using Kind = AgentNoticeDecision::Outcome::Kind;
    std::vector<Candidate> kept;
    for (auto& candidate : candidates) {
        bool wanted = candidate.kind == AgentNoticeKind::waiting ? input.settings.waiting
                                                                 : input.settings.finished;
        // A kind switched off goes without a word.
        if (!wanted) continue;
        if (!input.active) {
            record(candidate.kind, candidate.session,
                   AgentNoticeDecision::Outcome::of(Kind::notActive));
            continue;
        }
        const auto& owner = candidate.session.ownerPid;
        if (input.settings.onlyWhenAway && input.userActive && owner && input.frontmostPid &&
            *owner == *input.frontmostPid) {
            record(candidate.kind, candidate.session,
                   AgentNoticeDecision::Outcome::of(Kind::inFront));
            continue;
        }
        kept.push_back(std::move(candidate));
    }
    candidates = std::move(kept);
}

std::vector<AgentNotice> AgentNoticeReducer::due(Date now) {
    std::vector<AgentNotice> notices;
    // Waiting first: a wait told in this very update turns a finished notice into asksInstead.
    for (auto kind : {AgentNoticeKind::waiting, AgentNoticeKind::finished}) {
        if (auto notice = dueOfKind(kind, now)) notices.push_back(std::move(*notice));
    }
    return notices;
}

std::optional<AgentNotice> AgentNoticeReducer::dueOfKind(AgentNoticeKind kind, Date now) {
    auto ofKind = [&](const Candidate& candidate) { return candidate.kind == kind; };
    bool groupStillForming = std::any_of(candidates.begin(), candidates.end(), [&](const auto& c) {
        return ofKind(c) && now - c.at <= groupingWindow;
    });
    if (groupStillForming) return std::nullopt;
    double delay = kind == AgentNoticeKind::waiting ? waitingDelay : finishedDelay;
    AgentNotice notice{kind, {}};
    std::vector<Candidate> kept;
    for (auto& candidate : candidates) {
        if (!ofKind(candidate) || now - candidate.at < delay) {
            kept.push_back(std::move(candidate));
            continue;
        }
        auto session = sessions.find(candidate.session.identity);
        bool waitTold = session != sessions.end() && session->second.waitTold;
        if (kind == AgentNoticeKind::finished && waitTold) {
            record(
                kind, candidate.session,
                AgentNoticeDecision::Outcome::of(AgentNoticeDecision::Outcome::Kind::asksInstead));
            continue;
        }
        record(kind, candidate.session,
               AgentNoticeDecision::Outcome::of(AgentNoticeDecision::Outcome::Kind::told));
        if (kind == AgentNoticeKind::waiting && session != sessions.end()) {
            session->second.waitTold = true;
        }
        notice.sessions.push_back(std::move(candidate.session));
    }
    candidates = std::move(kept);
    if (notice.sessions.empty()) return std::nullopt;
    return notice;
}

void AgentNoticeReducer::record(AgentNoticeKind kind, const AgentNotice::Session& session,
                                AgentNoticeDecision::Outcome outcome) {
    decisions.push_back(
        AgentNoticeDecision{kind, session.identity.pid, outcome, session.workedFor});
}

}  // namespace vigilmoth
