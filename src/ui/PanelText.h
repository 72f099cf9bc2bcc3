#pragma once

#include <string>
#include <string_view>

#include "decision/HoldSubject.h"

namespace vigilmoth {

// The panel's wording, shared with the headlines and notices that speak the same way.
namespace PanelText {

// "Claude Code is working" for one agent, "3 agents are working" for many.
std::string phrase(const HoldSubject& subject, std::string_view one, std::string_view many);

// A whole percentage with its sign, as the battery and safety texts show it.
std::string percent(int n);

}  // namespace PanelText
}  // namespace vigilmoth
