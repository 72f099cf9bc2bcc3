#pragma once

#include <string>
#include <vector>

#include "ui/PanelState.h"

// The panel as a few lines of a terminal, for a vigilmoth started from one: the headline, the
// problem that needs the user, one line per agent and its sessions, a pause or reachable period.
namespace vigilmoth::TerminalPanel {

std::vector<std::string> lines(const PanelState& panel);

}  // namespace vigilmoth::TerminalPanel
