#pragma once

#include <string>

#include "notices/HiddenNotice.h"
#include "base/MachineWord.h"

namespace vigilmoth::HiddenNoticeText {

std::string text(HiddenNotice notice, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::HiddenNoticeText
