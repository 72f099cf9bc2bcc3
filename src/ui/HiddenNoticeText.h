#pragma once

#include <string>

#include "base/MachineWord.h"
#include "notices/HiddenNotice.h"

namespace vigilmoth::HiddenNoticeText {

std::string text(HiddenNotice notice, MachineWord machine = kMachineWord);

}  // namespace vigilmoth::HiddenNoticeText
