#include "ui/AgentNoticeText.h"

#include "ui/HumaneDuration.h"
#include "ui/PanelText.h"

namespace vigilmoth::AgentNoticeText {
namespace {

std::string singleTitle(AgentNoticeKind kind, const AgentNotice::Session& session) {
    if (kind == AgentNoticeKind::waiting) return session.displayName + " is waiting for you";
    return session.displayName + (session.failed ? " stopped with an error" : " finished");
}

std::optional<std::string> finishedBody(const AgentNotice::Session& session) {
    if (!session.workedFor) return std::nullopt;
    auto duration = HumaneDuration::units(*session.workedFor);
    if (duration.empty()) return std::nullopt;
    return "After " + duration;
}

}  // namespace

AgentNoticeContent content(const AgentNotice& notice, const SleepOutlook& outlook, Date now,
                           MachineWord machine) {
    AgentNoticeContent content = AgentNoticeContent::of(notice, now);
    bool single = notice.sessions.size() == 1;
    if (single) {
        content.title = singleTitle(notice.kind, notice.sessions.front());
    } else {
        content.title = std::to_string(notice.sessions.size()) +
                        (notice.kind == AgentNoticeKind::waiting ? " agents are waiting for you"
                                                                 : " agents finished");
    }
    if (notice.kind == AgentNoticeKind::waiting) {
        content.body = PanelText::sleepOutlook(outlook, machine);
    } else if (single) {
        content.body = finishedBody(notice.sessions.front());
    }
    return content;
}

std::string skippedTitle(AgentNoticeKind kind) {
    return kind == AgentNoticeKind::waiting ? "An agent started to wait for you"
                                            : "An agent finished";
}

}  // namespace vigilmoth::AgentNoticeText
