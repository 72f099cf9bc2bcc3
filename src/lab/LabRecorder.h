#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "base/WellKnownPaths.h"
#include "lab/LabMark.h"
#include "lab/RecordingLocking.h"

namespace vigilmoth {

// Where recordings live and how a running one is found and marked.
class LabRecorder {
public:
    static std::string labDirectory(const PathEnvironment& environment);
    // The UTC start time and the label's safe characters, so that names sort by start time.
    static std::string fileName(std::string_view label, Date at);
    // The ".jsonl" file of the folder modified last; none when the folder cannot be listed.
    static std::optional<std::string> newestRecording(const std::string& folder);
    // The newest recording, when a recorder still holds its lock.
    static std::optional<std::string> runningRecording(const std::string& folder,
                                                       const RecordingLocking& locking);
    // Throws LabError::cannotWrite or LabError::noRecording.
    static void appendMark(const LabMark& mark, const std::string& path,
                           const RecordingLocking& locking);
};

}  // namespace vigilmoth
