#include "lab/LabError.h"

namespace vigilmoth {

LabError::LabError(Kind kind, int lineNumber, std::string path, std::string description)
    : kind_(kind),
      lineNumber_(lineNumber),
      path_(std::move(path)),
      description_(std::move(description)) {}

LabError LabError::unreadableLine(int lineNumber) {
    return LabError(Kind::unreadableLine, lineNumber, {},
                    "Line " + std::to_string(lineNumber) + " of the recording cannot be read.");
}

LabError LabError::cannotWrite(const std::string& path) {
    return LabError(Kind::cannotWrite, 0, path, "Cannot write to " + path + ".");
}

LabError LabError::noRecording() {
    return LabError(Kind::noRecording, 0, {},
                    "No recording is running. Start one with --lab-record.");
}

}  // namespace vigilmoth
