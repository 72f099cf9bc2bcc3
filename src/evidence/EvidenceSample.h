#pragma once

#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/Date.h"
#include "catalog/ProcessCensus.h"
#include "evidence/EvidenceFrame.h"

namespace vigilmoth {

// The time of one tick on two clocks: the wall clock and the awake clock, which stops
// while the machine sleeps.
struct SampleTime {
    Date at;
    std::optional<double> awake;

    bool operator==(const SampleTime&) const = default;
};

// A session's name and terminal, for display.
struct SessionHint {
    std::optional<std::string> name;
    // The controlling terminal's device name, such as ttys003.
    std::optional<std::string> terminal;

    // The name with its runs of blanks and line breaks made single blanks and its ends
    // trimmed; nothing when nothing is left.
    static std::optional<std::string> cleaned(const std::optional<std::string>& name);

    bool operator==(const SessionHint&) const = default;
};

// What the collector hands the detection engine for one tick.
struct EvidenceSample {
    EvidenceFrame frame;
    // Absolute paths whose change should wake the engine early.
    std::set<std::string> watchedFiles;
    // The instances' root processes, watched for exit.
    std::unordered_set<ProcessIdentity> roots;
    // Seconds of monotonic time the collection took.
    double cost = 0;
    std::unordered_map<ProcessIdentity, SessionHint> sessionHints;

    bool operator==(const EvidenceSample&) const = default;
};

}  // namespace vigilmoth
