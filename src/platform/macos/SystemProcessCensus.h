#pragma once

#if !defined(__APPLE__)
#error "This census reads the macOS process table."
#endif

#include <sys/sysctl.h>
#include <sys/types.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "catalog/ProcessCensus.h"

namespace vigilmoth {

// The census of the current user's processes, from the kernel's process table (sysctl) and
// libproc. Path and arguments are read only for new processes: the image cache is keyed by
// pid and checked by start time and short name.
class SystemProcessCensus final : public ProcessCensusing {
public:
    SystemProcessCensus();

    std::optional<std::vector<ProcessInfoRow>> snapshot() override;
    std::optional<ProcessInfoRow> row(int32_t pid) override;

private:
    struct Image {
        double startTime = 0;
        ShortName name;
        std::string executablePath;
        std::vector<std::string> arguments;
    };
    using Images = std::unordered_map<int32_t, Image>;

    // Reads one record of the table into a row, reusing `cached` when it still fits.
    std::optional<ProcessInfoRow> read(const kinfo_proc& process, uid_t uid, const Images& cached,
                                       Images& images);
    bool readImage(int32_t pid, Image& image);

    std::mutex lock_;
    Images images_;
    // Allocated on first need within a snapshot and reused for each of its processes.
    std::vector<char> pathBuffer_;
    std::vector<std::byte> argumentBuffer_;
};

}  // namespace vigilmoth
