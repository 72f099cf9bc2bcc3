#include "hooks/HookEvents.h"

namespace vigilmoth::HookEvents {
namespace {

const HookAction kWorking = HookAction::set(ReportedState::working);
const HookAction kWaiting = HookAction::set(ReportedState::waitingForUser);
const HookAction kIdle = HookAction::set(ReportedState::idle);
const HookAction kEnd = HookAction::end();

const std::map<std::string, HookAction>& waitingTypes() {
    static const std::map<std::string, HookAction> types{
        {"permission_prompt", kWaiting},
        {"elicitation_dialog", kWaiting},
        {"elicitation_url_dialog", kWaiting},
        {"idle_prompt", kIdle},
    };
    return types;
}

Rule plain(std::string event, HookAction action) {
    return Rule{std::move(event), action, {}, {}};
}

Rule notification(std::optional<std::string> matcher) {
    return Rule{"Notification", HookAction::ignore(), waitingTypes(), std::move(matcher)};
}

std::map<std::string, std::vector<Rule>> makeRules() {
    return {
        // Claude Code fires PermissionRequest as it asks, 6 s before its permission_prompt
        // notification, and ends a turn that failed on the API with StopFailure, not Stop.
        {"claude",
         {plain("UserPromptSubmit", kWorking), plain("PreToolUse", kWorking),
          plain("PermissionRequest", kWaiting), plain("PostToolUse", kWorking),
          notification("permission_prompt|elicitation_dialog|elicitation_url_dialog|idle_prompt"),
          plain("Stop", kIdle), plain("StopFailure", kIdle), plain("SessionEnd", kEnd)}},
        {"codex",
         {plain("UserPromptSubmit", kWorking), plain("PreToolUse", kWorking),
          plain("PermissionRequest", kWaiting), plain("PostToolUse", kWorking),
          plain("Stop", kIdle), plain("Interrupt", kIdle), plain("SessionEnd", kEnd)}},
        {"droid",
         {plain("UserPromptSubmit", kWorking), plain("PreToolUse", kWorking),
          plain("PostToolUse", kWorking), notification(std::nullopt), plain("Stop", kIdle),
          plain("SessionEnd", kEnd)}},
        {"opencode",
         {plain("session.busy", kWorking), plain("permission.asked", kWaiting),
          plain("permission.replied", kWorking), plain("session.idle", kIdle),
          plain("session.deleted", kEnd)}},
        {"pi",
         {plain("session_start", kIdle), plain("agent_start", kWorking),
          plain("turn_start", kWorking), plain("tool_execution_start", kWorking),
          plain("tool_execution_end", kWorking), plain("ui_prompt_start", kWaiting),
          plain("ui_prompt_end", kWorking), plain("session_before_compact", kWorking),
          plain("session_compact", kIdle), plain("session_compact_failed", kIdle),
          plain("agent_end", kIdle), plain("agent_settled", kIdle),
          plain("session_shutdown", kEnd)}},
        {"cursor",
         {plain("beforeSubmitPrompt", kWorking), plain("afterAgentThought", kWorking),
          plain("afterAgentResponse", kWorking), plain("postToolUse", kWorking),
          plain("postToolUseFailure", kWorking), plain("afterShellExecution", kWorking),
          plain("afterFileEdit", kWorking), plain("afterMCPExecution", kWorking),
          plain("stop", kIdle), plain("sessionEnd", kEnd)}},
    };
}

}  // namespace

const std::map<std::string, std::vector<Rule>>& rules() {
    static const auto table = makeRules();
    return table;
}

const std::vector<Rule>& rules(std::string_view entryID) {
    static const std::vector<Rule> none;
    auto found = rules().find(std::string(entryID));
    return found == rules().end() ? none : found->second;
}

const std::map<std::string, std::set<std::string>>& definitionIDs() {
    // Each entry serves exactly the catalog definition of its own id.
    static const auto table = [] {
        std::map<std::string, std::set<std::string>> ids;
        for (const auto& [id, entryRules] : rules())
            ids[id] = {id};
        return ids;
    }();
    return table;
}

std::optional<std::string> hookAgent(std::string_view definitionID) {
    for (const auto& [entryID, served] : definitionIDs()) {
        if (served.contains(std::string(definitionID))) return entryID;
    }
    return std::nullopt;
}

HookAction meaning(std::string_view entryID, std::string_view event,
                   const std::optional<std::string>& notificationType) {
    for (const Rule& rule : rules(entryID)) {
        if (rule.event != event) continue;
        if (notificationType) {
            auto chosen = rule.byNotificationType.find(*notificationType);
            if (chosen != rule.byNotificationType.end()) return chosen->second;
        }
        return rule.action;
    }
    return HookAction::ignore();
}

}  // namespace vigilmoth::HookEvents
