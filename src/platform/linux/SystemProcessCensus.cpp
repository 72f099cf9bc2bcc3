#include "platform/linux/SystemProcessCensus.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>

#include "base/Utf8.h"
#include "platform/linux/ProcFiles.h"

namespace vigilmoth {
namespace {

// Leaves room under the open-file limit for everything else the program opens.
size_t descriptorBudget() {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    constexpr rlim_t reserve = 512;
    if (limit.rlim_cur == RLIM_INFINITY) return 1 << 16;
    return limit.rlim_cur > reserve ? static_cast<size_t>((limit.rlim_cur - reserve) / 2) : 0;
}

// Reads a whole file from its start. The small /proc files come in one read, so a short read
// ends it without a second system call.
bool readWhole(int descriptor, std::string& text) {
    if (text.size() < 4096) text.resize(4096);
    size_t length = 0;
    while (true) {
        ssize_t count = ::pread(descriptor, text.data() + length, text.size() - length,
                                static_cast<off_t>(length));
        if (count < 0) return false;
        length += static_cast<size_t>(count);
        if (length < text.size()) break;
        text.resize(text.size() * 2);
    }
    text.resize(length);
    return true;
}

FileDescriptor openAt(int folder, const std::string& relative) {
    return FileDescriptor(::openat(folder, relative.c_str(), O_RDONLY | O_CLOEXEC));
}

std::optional<std::string> linkTarget(int folder, const std::string& relative) {
    std::string target(4096, '\0');
    while (true) {
        ssize_t length = ::readlinkat(folder, relative.c_str(), target.data(), target.size());
        if (length < 0) return std::nullopt;
        if (static_cast<size_t>(length) < target.size()) {
            target.resize(static_cast<size_t>(length));
            break;
        }
        target.resize(target.size() * 2);
    }
    // The kernel marks an executable replaced on disk (an agent that updated itself); the
    // program is still the one at that path.
    constexpr std::string_view deleted = " (deleted)";
    if (target.ends_with(deleted)) target.resize(target.size() - deleted.size());
    return repairedUtf8(target);
}

std::optional<int32_t> pidOfName(const char* name) {
    int32_t pid = 0;
    const char* end = name + std::char_traits<char>::length(name);
    auto [last, error] = std::from_chars(name, end, pid);
    if (error != std::errc() || last != end || pid <= 0) return std::nullopt;
    return pid;
}

}  // namespace

SystemProcessCensus::SystemProcessCensus(std::string procRoot, std::optional<uint32_t> uid)
    : procRoot_(std::move(procRoot)),
      uid_(uid.value_or(static_cast<uint32_t>(::getuid()))),
      ticksPerSecond_(std::max(1L, ::sysconf(_SC_CLK_TCK))),
      descriptorBudget_(descriptorBudget()) {}

SystemProcessCensus::~SystemProcessCensus() = default;

bool SystemProcessCensus::openRoot() {
    if (!root_)
        root_ = FileDescriptor(::open(procRoot_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root_) return false;
    // Read once, so that a process's start time is the same on every read.
    if (!bootTime_) {
        FileDescriptor stat = openAt(root_.get(), "stat");
        std::string text;
        if (stat && readWhole(stat.get(), text)) bootTime_ = ProcFiles::parseBootTime(text);
    }
    return bootTime_.has_value();
}

std::optional<double> SystemProcessCensus::startTime(uint64_t startTicks) {
    if (!bootTime_) return std::nullopt;
    const auto ticks = static_cast<uint64_t>(ticksPerSecond_);
    double seconds = static_cast<double>(*bootTime_ + static_cast<int64_t>(startTicks / ticks));
    double microseconds = static_cast<double>((startTicks % ticks) * 1'000'000 / ticks);
    return seconds + microseconds / 1'000'000;
}

std::optional<std::vector<ProcessInfoRow>> SystemProcessCensus::snapshot() {
    std::lock_guard guard(lock_);
    if (!openRoot()) return std::nullopt;
    // A second descriptor of the folder, so that listing it never disturbs the one used for
    // the per-process reads.
    DIR* listing = ::fdopendir(::openat(root_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (listing == nullptr) return std::nullopt;
    std::vector<int32_t> pids;
    pids.reserve(images_.size() + 64);
    while (const dirent* entry = ::readdir(listing)) {
        if (auto pid = pidOfName(entry->d_name)) pids.push_back(*pid);
    }
    ::closedir(listing);
    if (pids.empty()) return std::nullopt;

    Images images;
    images.reserve(images_.size());
    keptDescriptors_ = 0;
    std::vector<ProcessInfoRow> rows;
    rows.reserve(pids.size());
    for (int32_t pid : pids) {
        auto cached = images_.find(pid);
        Image image;
        auto row = read(pid, cached == images_.end() ? nullptr : &cached->second, image);
        if (!row) continue;
        images.emplace(pid, std::move(image));
        rows.push_back(std::move(*row));
    }
    // Images of processes that have gone are dropped here, closing their files.
    images_ = std::move(images);
    return rows;
}

std::optional<ProcessInfoRow> SystemProcessCensus::row(int32_t pid) {
    std::lock_guard guard(lock_);
    if (!openRoot()) return std::nullopt;
    auto cached = images_.find(pid);
    Image image;
    auto found = read(pid, cached == images_.end() ? nullptr : &cached->second, image);
    if (found) {
        images_[pid] = std::move(image);
    } else if (cached != images_.end()) {
        images_.erase(cached);
    }
    return found;
}

bool SystemProcessCensus::readFile(const std::string& relative, FileDescriptor Files::*file,
                                   Image* cached, Image& image, std::string& text) {
    if (cached && (cached->files.*file).valid()) {
        FileDescriptor kept = std::move(cached->files.*file);
        // A kept file of a process that has gone fails here; a new process under the same
        // pid is then read through a fresh file.
        if (readWhole(kept.get(), text)) {
            image.files.*file = std::move(kept);
            ++keptDescriptors_;
            return true;
        }
    }
    FileDescriptor opened = openAt(root_.get(), relative);
    if (!opened || !readWhole(opened.get(), text)) return false;
    if (keptDescriptors_ < descriptorBudget_) {
        image.files.*file = std::move(opened);
        ++keptDescriptors_;
    }
    return true;
}

bool SystemProcessCensus::readImage(const std::string& folder, Image& image) {
    auto path = linkTarget(root_.get(), folder + "/exe");
    if (!path) return false;
    image.executablePath = std::move(*path);
    FileDescriptor commandLine = openAt(root_.get(), folder + "/cmdline");
    std::string text;
    // Unreadable arguments leave the list empty; the process still counts.
    if (commandLine && readWhole(commandLine.get(), text))
        image.arguments = ProcFiles::parseCommandLine(text);
    return true;
}

std::optional<ProcessInfoRow> SystemProcessCensus::read(int32_t pid, Image* cached, Image& image) {
    const std::string folder = std::to_string(pid);
    // /proc/<pid> belongs to the process's effective user. A process that made itself
    // undumpable shows as root's, but its executable could not be read anyway.
    struct stat owner {};
    if (::fstatat(root_.get(), folder.c_str(), &owner, 0) != 0 || owner.st_uid != uid_)
        return std::nullopt;
    if (!readFile(folder + "/stat", &Files::stat, cached, image, buffer_)) return std::nullopt;
    auto stat = ProcFiles::parseStat(buffer_);
    if (!stat || stat->pid != pid || stat->state == 'Z' || stat->state == 'X') return std::nullopt;
    auto start = startTime(stat->startTicks);
    if (!start) return std::nullopt;
    image.startTime = *start;
    image.name = ShortName::of(stat->name);
    if (cached && cached->startTime == image.startTime && cached->name == image.name) {
        image.executablePath = std::move(cached->executablePath);
        image.arguments = std::move(cached->arguments);
    } else if (!readImage(folder, image)) {
        return std::nullopt;
    }
    // schedstat counts nanoseconds but only for the main thread, while stat's ticks cover
    // every thread: the larger of the two is the best the kernel gives, and never goes back.
    double cpuTime = static_cast<double>(stat->userTicks + stat->systemTicks) /
                     static_cast<double>(ticksPerSecond_);
    if (readFile(folder + "/schedstat", &Files::schedstat, cached, image, buffer_)) {
        if (auto nanoseconds = ProcFiles::parseSchedstat(buffer_))
            cpuTime = std::max(cpuTime, static_cast<double>(*nanoseconds) / 1e9);
    }
    std::optional<uint64_t> written;
    if (readFile(folder + "/io", &Files::io, cached, image, buffer_))
        written = ProcFiles::parseIoWrittenBytes(buffer_);
    ProcessInfoRow row;
    row.pid = pid;
    row.ppid = stat->ppid;
    row.startTime = image.startTime;
    row.executablePath = image.executablePath;
    row.arguments = image.arguments;
    row.uid = uid_;
    row.tty = stat->ttyNumber == 0 ? ProcessInfoRow::kNoTerminal : stat->ttyNumber;
    row.pgid = stat->pgid;
    row.tpgid = stat->tpgid;
    row.cpuTime = cpuTime;
    row.logicalWriteBytes = written;
    return row;
}

}  // namespace vigilmoth
