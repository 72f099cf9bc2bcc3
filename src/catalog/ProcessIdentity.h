#pragma once

#include <cstdint>
#include <functional>

namespace vigilmoth {

// A process across ticks: its id together with its start time, because ids are reused.
struct ProcessIdentity {
    std::int32_t pid = 0;
    double startTime = 0;

    bool operator==(const ProcessIdentity&) const = default;
};

}  // namespace vigilmoth

template <>
struct std::hash<vigilmoth::ProcessIdentity> {
    std::size_t operator()(const vigilmoth::ProcessIdentity& identity) const noexcept {
        std::size_t pidHash = std::hash<std::int32_t>{}(identity.pid);
        std::size_t timeHash = std::hash<double>{}(identity.startTime);
        return pidHash ^ (timeHash + 0x9e3779b97f4a7c15ULL + (pidHash << 6) + (pidHash >> 2));
    }
};
