#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "catalog/ProcessCensus.h"
#include "platform/linux/FileDescriptor.h"

namespace vigilmoth {

// The census of the current user's processes, read from /proc.
//
// A warm census must cost little more than reading each process's stat file, so every process
// keeps its stat, schedstat and io files open between snapshots (re-read with pread, which an
// open /proc file allows; a file of a process that has gone stays dead rather than showing a
// new process under the same pid). Path and arguments are read only for new processes: the
// image cache is keyed by pid and checked by start time and short name.
class SystemProcessCensus final : public ProcessCensusing {
public:
    // `procRoot` and `uid` are parameters so that tests can point the census at captured files.
    explicit SystemProcessCensus(std::string procRoot = "/proc",
                                 std::optional<uint32_t> uid = std::nullopt);
    ~SystemProcessCensus() override;

    std::optional<std::vector<ProcessInfoRow>> snapshot() override;
    // Usable on its own, without a snapshot before it.
    std::optional<ProcessInfoRow> row(int32_t pid) override;

private:
    struct Files {
        FileDescriptor stat;
        FileDescriptor schedstat;
        FileDescriptor io;
    };
    struct Image {
        double startTime = 0;
        ShortName name;
        std::string executablePath;
        std::vector<std::string> arguments;
        Files files;
    };
    using Images = std::unordered_map<int32_t, Image>;

    bool openRoot();
    std::optional<double> startTime(uint64_t startTicks);
    // Reads one process; `cached` is its image of the last snapshot, if any.
    std::optional<ProcessInfoRow> read(int32_t pid, Image* cached, Image& image);
    // Reads one of the process's files into `text`, through its kept descriptor when there is
    // one, and keeps the descriptor in `image` while the budget allows.
    bool readFile(const std::string& relative, FileDescriptor Files::*file, Image* cached,
                  Image& image, std::string& text);
    bool readImage(const std::string& folder, Image& image);

    std::mutex lock_;
    std::string procRoot_;
    uint32_t uid_;
    long ticksPerSecond_;
    size_t descriptorBudget_;
    size_t keptDescriptors_ = 0;
    std::optional<int64_t> bootTime_;
    FileDescriptor root_;
    Images images_;
    std::string buffer_;
};

}  // namespace vigilmoth
