#pragma once

#include "evidence/EvidenceFrame.h"

namespace vigilmoth {

// The frame with every date at whole milliseconds, as a lab recording stores it. Detection
// decides on this frame, so that a recording replays exactly as it was decided: a date a
// fraction of a millisecond finer than the recorded one can tip an age over a limit, or into
// the next whole second of a reason, in the live decision only.
EvidenceFrame withStoredDates(EvidenceFrame frame);

}  // namespace vigilmoth
