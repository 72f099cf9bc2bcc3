#include "ui/TerminalPanel.h"

#include "ui/PanelText.h"
#include "ui/ShellMenu.h"

namespace vigilmoth::TerminalPanel {
namespace {

const char* stateWord(PanelRow::State state) {
    switch (state) {
        case PanelRow::State::working:
            return "working";
        case PanelRow::State::waiting:
            return "waiting";
        case PanelRow::State::idle:
            break;
    }
    return "idle";
}

}  // namespace

std::vector<std::string> lines(const PanelState& panel) {
    std::vector<std::string> lines;
    lines.push_back(panel.subtitle.empty() ? panel.title : panel.title + " · " + panel.subtitle);
    if (panel.attention) lines.push_back("! " + panel.attention->text);
    for (const auto& group : panel.groups) {
        lines.push_back("  [" + std::string(stateWord(group.header.state)) + "] " +
                        ShellMenu::rowTitle(group.header));
        for (const auto& child : group.children) {
            lines.push_back("      " + child.label + (child.detail ? " — " + *child.detail : ""));
        }
    }
    if (!panel.moreIdle.empty()) lines.push_back("  " + PanelText::moreIdle(panel.moreIdle.size()));
    if (panel.groups.empty() && panel.emptyText) lines.push_back("  " + *panel.emptyText);
    if (panel.pausedLabel) lines.push_back(*panel.pausedLabel);
    if (panel.reachableLabel) lines.push_back(*panel.reachableLabel);
    return lines;
}

}  // namespace vigilmoth::TerminalPanel
