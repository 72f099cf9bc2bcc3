#pragma once

#include "lab/RecordingLocking.h"

namespace vigilmoth {

// The recording lock through flock(2) on the recording file itself.
class SystemRecordingLock final : public RecordingLocking {
public:
    Probe probe(const std::string& path) const override;
    Append appendWhileRunning(const std::string& path, std::string_view bytes) const override;
    std::unique_ptr<Held> hold(const std::string& path) const override;
};

}  // namespace vigilmoth
