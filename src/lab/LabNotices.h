#pragma once

#include <optional>
#include <string>
#include <vector>

#include "decision/DetectionSettings.h"
#include "lab/LabFormat.h"
#include "notices/AgentNotice.h"

namespace vigilmoth {

// Which agent notifications a recording would have produced, and why the others were not:
// the replay's steps fed to a fresh notice reducer, as the live aggregator feeds it.
namespace LabNotices {

// The heading and the log, lines joined by line feeds, without a final one.
std::string report(const LabRecording& recording);
// The log lines alone: every session's state changes and every reducer decision, each
// stamped with the seconds since the first step.
std::vector<std::string> lines(const LabRecording& recording,
                               const std::optional<DetectionSettings>& settings);

struct TimedNotice {
    Date at;
    AgentNotice notice;

    bool operator==(const TimedNotice&) const = default;
};

// The notices the replay's reducer found due, with the step at which each fell due; the report
// shows them as its "fired" lines.
std::vector<TimedNotice> notices(const LabRecording& recording,
                                 const std::optional<DetectionSettings>& settings);

}  // namespace LabNotices
}  // namespace vigilmoth
