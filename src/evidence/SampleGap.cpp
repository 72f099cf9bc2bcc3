#include "evidence/SampleGap.h"

#include <cmath>

namespace vigilmoth::SampleGap {

std::optional<double> length(const std::optional<SampleTime>& previous, const SampleTime& current) {
    if (!previous) return std::nullopt;
    double wall = current.at - previous->at;
    double gap = 0;
    if (previous->awake && current.awake && *current.awake >= *previous->awake) {
        double awake = *current.awake - *previous->awake;
        double slept = wall - awake;
        if (std::abs(slept) > sleepTolerance) gap += slept;
        if (awake > stallThreshold) gap += awake;
    } else if (wall > stallThreshold) {
        gap = wall;
    }
    if (gap == 0) return std::nullopt;
    return gap;
}

}  // namespace vigilmoth::SampleGap
