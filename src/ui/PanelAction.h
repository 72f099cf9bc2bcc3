#pragma once

#include <string>

#include "catalog/ProcessCensus.h"
#include "decision/DetectionSettings.h"
#include "decision/TimedModes.h"

namespace vigilmoth {

// One thing the user can do from the panel; the shells hand it to the state aggregator, which
// performs it. A tag with the payload its case needs; the factories fill only that payload, so
// that equality compares like with like.
struct PanelAction {
    enum class Kind {
        pause,
        stayReachable,
        setAgentRule,
        goToAgent,
        openLoginItems,
        tryHelperAgain,
        setUpLidClosed,
        dismissLidClosedHint,
        resume,
        stopReachable,
        agentNotListed,
        openAgentSettings,
        dismissSleepNote,
        openHelp,
    };

    Kind kind = Kind::openHelp;
    // For pause.
    PauseChoice pauseChoice = PauseChoice::thirtyMinutes;
    // For stayReachable.
    ReachableChoice reachableChoice = ReachableChoice::oneHour;
    // For setAgentRule.
    std::string agentID;
    AgentRule rule = AgentRule::automatic;
    // For goToAgent: the session, and the name of the application that hosts it.
    ProcessIdentity identity;
    std::string app;

    static PanelAction pause(PauseChoice choice) {
        PanelAction action{Kind::pause};
        action.pauseChoice = choice;
        return action;
    }
    static PanelAction stayReachable(ReachableChoice choice) {
        PanelAction action{Kind::stayReachable};
        action.reachableChoice = choice;
        return action;
    }
    static PanelAction setAgentRule(std::string agentID, AgentRule rule) {
        PanelAction action{Kind::setAgentRule};
        action.agentID = std::move(agentID);
        action.rule = rule;
        return action;
    }
    static PanelAction goToAgent(ProcessIdentity identity, std::string app) {
        PanelAction action{Kind::goToAgent};
        action.identity = identity;
        action.app = std::move(app);
        return action;
    }
    static PanelAction openLoginItems() { return PanelAction{Kind::openLoginItems}; }
    static PanelAction tryHelperAgain() { return PanelAction{Kind::tryHelperAgain}; }
    static PanelAction setUpLidClosed() { return PanelAction{Kind::setUpLidClosed}; }
    static PanelAction dismissLidClosedHint() { return PanelAction{Kind::dismissLidClosedHint}; }
    static PanelAction resume() { return PanelAction{Kind::resume}; }
    static PanelAction stopReachable() { return PanelAction{Kind::stopReachable}; }
    static PanelAction agentNotListed() { return PanelAction{Kind::agentNotListed}; }
    static PanelAction openAgentSettings() { return PanelAction{Kind::openAgentSettings}; }
    static PanelAction dismissSleepNote() { return PanelAction{Kind::dismissSleepNote}; }
    static PanelAction openHelp() { return PanelAction{Kind::openHelp}; }

    bool operator==(const PanelAction&) const = default;
};

}  // namespace vigilmoth
