#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "base/Date.h"
#include "notices/AgentNotice.h"

namespace vigilmoth {

// Decides which agent notices are due after each sample: debounced, grouped, and suppressed
// where the user does not need them, with every decision kept for the log. A pure value.
class AgentNoticeReducer {
public:
    // How long a condition must hold before its notice falls due. The asymmetry is deliberate:
    // a finished turn is often followed at once by the next one.
    static constexpr double waitingDelay = 2.0;
    static constexpr double finishedDelay = 3.0;
    // Candidates this young hold back their whole kind, so that agents changing within
    // moments of each other are told in one notice.
    static constexpr double groupingWindow = 2.0;

    struct Session {
        ReportedState state = ReportedState::idle;
        std::string agentID;
        std::string displayName;
        std::optional<std::string> label;
        std::optional<std::int32_t> ownerPid;
        // When the current working stretch began.
        std::optional<Date> workStart;
        // A waiting notice for the current wait was posted.
        bool waitTold = false;
        // The last turn ended with an error.
        bool failed = false;

        bool operator==(const Session&) const = default;
    };

    struct Candidate {
        AgentNoticeKind kind = AgentNoticeKind::waiting;
        AgentNotice::Session session;
        // When the condition began.
        Date at;

        bool operator==(const Candidate&) const = default;
    };

    // The decisions of the last update.
    std::vector<AgentNoticeDecision> decisions;
    std::unordered_map<ProcessIdentity, Session> sessions;
    std::vector<Candidate> candidates;
    // At least one update has run.
    bool primed = false;
    std::optional<Date> lastUpdate;

    // The notices due at `now`; this update's decisions are left in `decisions`.
    std::vector<AgentNotice> update(Date now, const AgentNoticeInput& input);

    bool operator==(const AgentNoticeReducer&) const = default;

private:
    void follow(const AgentReading& reading, Date now, const AgentNoticeInput& input);
    void startWorking(const ProcessIdentity& identity, Session& session, bool known,
                      const std::optional<AgentTurn>& turn, Date now);
    void vanished(const ProcessIdentity& identity, const Session& session, Date now,
                  const AgentNoticeInput& input);
    void withdraw(const ProcessIdentity& identity, std::optional<AgentNoticeKind> kind, Date now);
    // Records the suppression and answers true when the event must not become a candidate.
    bool suppressed(AgentNoticeKind kind, const AgentNotice::Session& session,
                    const AgentNoticeInput& input);
    void add(Candidate candidate);
    void screen(const AgentNoticeInput& input);
    std::vector<AgentNotice> due(Date now);
    std::optional<AgentNotice> dueOfKind(AgentNoticeKind kind, Date now);
    void record(AgentNoticeKind kind, const AgentNotice::Session& session,
                AgentNoticeDecision::Outcome outcome);
};

}  // namespace vigilmoth
