#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"
#include "base/WellKnownPaths.h"
#include "lab/LabFormat.h"
#include "lab/LabMark.h"
#include "lab/RecordingLocking.h"

namespace vigilmoth {

// The recording being written, and where recordings live and how a running one is found and
// marked. Samples come from the detection loop, the stop from a signal's handler: the file is
// closed under the same lock that each line is written under, so a line is whole or absent.
class LabRecorder {
public:
    LabRecorder(std::string directory, const RecordingLocking& locking)
        : directory_(std::move(directory)), locking_(locking) {}

    // Opens a new recording under the exclusive lock and writes its header; returns its path.
    // Throws LabError::cannotWrite, or the file system's error when the folder cannot be made.
    std::string start(const LabHeader& header);
    // Appends one sample line while a recording is open; a sample that cannot be encoded is
    // dropped.
    void record(const EvidenceFrame& frame, const HoldDecision& decision,
                std::optional<double> cost);
    // Closes the recording, which lets its lock go: from now on it is finished.
    void stop();

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

private:
    std::string directory_;
    const RecordingLocking& locking_;
    std::mutex lock_;
    std::unique_ptr<RecordingLocking::Held> file_;
};

}  // namespace vigilmoth
