#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalog/ProcessCensus.h"
#include "evidence/FileAccessing.h"
#include "evidence/FileCache.h"
#include "evidence/HookStateFile.h"

namespace vigilmoth {

// Reads the hook state files each tick: one current state per live agent process.
class HookStateReader {
public:
    struct State {
        std::string agent;
        ReportedState state = ReportedState::idle;
        Date at;
        std::string path;
        HookStateFile file;

        bool operator==(const State&) const = default;
    };

    // A file that is not a live process's, or cannot be read, is deleted once this old: a
    // younger one may still be being written, or its process not yet seen by the census.
    static constexpr double kGraceSeconds = 10;
    static constexpr std::uint64_t kFileLimit = 1048576;

    HookStateReader(FileAccessing& files, std::string directory)
        : files_(files), directory_(std::move(directory)) {}

    // Creates the folder, so that the hook executable always finds it.
    void prepare();
    // The current state of each process that has a valid state file, by pid.
    std::unordered_map<std::int32_t, State> states(const std::vector<ProcessInfoRow>& snapshot,
                                                   Date now, double freshness, double workingLimit);

    const std::string& directory() const { return directory_; }

private:
    FileAccessing& files_;
    std::string directory_;
    FileCache<HookStateFile> cache_;
};

}  // namespace vigilmoth
