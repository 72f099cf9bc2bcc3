#pragma once

#include <string>

#include "base/Date.h"
#include "base/MachineWord.h"
#include "decision/SleepOutlook.h"
#include "notices/AgentNoticeContent.h"

namespace vigilmoth::AgentNoticeText {

// The notification for a due notice; `outlook` says how long the machine stays awake for a
// wait.
AgentNoticeContent content(const AgentNotice& notice, const SleepOutlook& outlook, Date now,
                           MachineWord machine = kMachineWord);

// The history's title of a notice that was not posted.
std::string skippedTitle(AgentNoticeKind kind);

}  // namespace vigilmoth::AgentNoticeText
