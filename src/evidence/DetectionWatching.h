#pragma once

#include <functional>
#include <set>
#include <string>
#include <unordered_set>

#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// Watches the files and processes of the last sample, so that the engine ticks early when one
// of them changes instead of waiting for its next tick.
class DetectionWatching {
public:
    virtual ~DetectionWatching() = default;
    // Replaces the watched set. `onEvent` runs (on any thread) when a watched file changes or a
    // watched process exits.
    virtual void watch(const std::set<std::string>& files,
                       const std::unordered_set<ProcessIdentity>& processes,
                       std::function<void()> onEvent) = 0;
    // Cancels every watch; no event follows.
    virtual void stop() = 0;
};

}  // namespace vigilmoth
