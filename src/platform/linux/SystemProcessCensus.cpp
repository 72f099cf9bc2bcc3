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

// Reads a whole file from its start into `buffer`, which only grows. The small /proc files come
// in one read, so a short read ends it without a second system call.
std::optional<std::string_view> readWhole(int descriptor, std::string& buffer) {
    if (buffer.size() < 4096) buffer.resize(4096);
    size_t length = 0;
    while (true) {
        ssize_t count = ::pread(descriptor, buffer.data() + length, buffer.size() - length,
                                static_cast<off_t>(length));
        if (count < 0) return std::nullopt;
        length += static_cast<size_t>(count);
        if (length < buffer.size()) break;
        buffer.resize(buffer.size() * 2);
    }
    return std::string_view(buffer.data(), length);
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
        std::optional<std::string_view> text;
        if (stat && (text = readWhole(stat.get(), buffer_)))
            bootTime_ = ProcFiles::parseBootTime(*text);
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
    FileDescriptor folder(::openat(root_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* listing = folder ? ::fdopendir(folder.get()) : nullptr;
    if (listing == nullptr) return std::nullopt;
    folder.release();  // the listing owns it now
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
        if (row || image.skipped) images.emplace(pid, std::move(image));
        if (row) rows.push_back(std::move(*row));
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
    if (found || image.skipped) {
        images_[pid] = std::move(image);
    } else if (cached != images_.end()) {
        images_.erase(cached);
    }
    return found;
}

std::optional<std::string_view> SystemProcessCensus::readFile(const std::string& folder,
                                                              const char* leaf,
                                                              FileDescriptor Files::*file,
                                                              Image* cached, Image& image) {
    if (cached && (cached->files.*file).valid()) {
        FileDescriptor kept = std::move(cached->files.*file);
        // A kept file of a process that has gone fails here; a new process under the same
        // pid is then read through a fresh file.
        if (auto text = readWhole(kept.get(), buffer_)) {
            image.files.*file = std::move(kept);
            ++keptDescriptors_;
            return text;
        }
    }
    FileDescriptor opened = openAt(root_.get(), folder + "/" + leaf);
    if (!opened) return std::nullopt;
    auto text = readWhole(opened.get(), buffer_);
    if (text && keptDescriptors_ < descriptorBudget_) {
        image.files.*file = std::move(opened);
        ++keptDescriptors_;
    }
    return text;
}

bool SystemProcessCensus::readImage(const std::string& folder, Image& image) {
    auto path = linkTarget(root_.get(), folder + "/exe");
    if (!path) return false;
    image.executablePath = std::move(*path);
    FileDescriptor commandLine = openAt(root_.get(), folder + "/cmdline");
    std::optional<std::string_view> text;
    // Unreadable arguments leave the list empty; the process still counts.
    if (commandLine && (text = readWhole(commandLine.get(), buffer_)))
        image.arguments = ProcFiles::parseCommandLine(*text);
    return true;
}

bool SystemProcessCensus::stillSkipped(Image& cached, Image& image) {
    // Only the kept file counts: it fails once the process has gone, while a fresh one could
    // show a new process that took over the pid.
    if (!cached.files.name) return false;
    auto text = readWhole(cached.files.name.get(), buffer_);
    if (!text || ShortName::of(text->substr(0, text->find('\n'))) != cached.name) return false;
    image = std::move(cached);
    ++keptDescriptors_;
    return true;
}

void SystemProcessCensus::markSkipped(const std::string& folder, Image& image) {
    image.skipped = true;
    image.files = {};
    if (keptDescriptors_ >= descriptorBudget_) return;
    image.files.name = openAt(root_.get(), folder + "/comm");
    if (image.files.name) ++keptDescriptors_;
}

// /proc/<pid> belongs to the process's effective user. A process that made itself undumpable
// shows as root's, but its executable could not be read anyway.
bool SystemProcessCensus::ownedByUser(const std::string& folder) const {
    struct stat owner {};
    return ::fstatat(root_.get(), folder.c_str(), &owner, 0) == 0 && owner.st_uid == uid_;
}

std::optional<ProcessInfoRow> SystemProcessCensus::read(int32_t pid, Image* cached, Image& image) {
    const std::string folder = std::to_string(pid);
    if (cached && cached->skipped) {
        if (stillSkipped(*cached, image)) return std::nullopt;
        cached = nullptr;
    }
    // A process read before through its kept stat file is known to be the user's while it
    // runs the same program; any other is checked before its files are opened.
    bool ownerChecked = false;
    if (!cached || !cached->files.stat.valid()) {
        if (!ownedByUser(folder)) return std::nullopt;
        ownerChecked = true;
    }
    auto text = readFile(folder, "stat", &Files::stat, cached, image);
    auto stat = text ? ProcFiles::parseStat(*text) : std::nullopt;
    if (!stat || stat->pid != pid) return std::nullopt;
    auto start = startTime(stat->startTicks);
    if (!start) return std::nullopt;
    image.startTime = *start;
    image.name = ShortName::of(stat->name);
    bool unchanged = cached && cached->startTime == image.startTime && cached->name == image.name;
    if (!unchanged && !ownerChecked && !ownedByUser(folder)) return std::nullopt;
    if (stat->state == 'Z' || stat->state == 'X' || ProcFiles::isKernelThread(*stat)) {
        markSkipped(folder, image);
        return std::nullopt;
    }
    if (unchanged) {
        image.executablePath = std::move(cached->executablePath);
        image.arguments = std::move(cached->arguments);
    } else if (!readImage(folder, image)) {
        markSkipped(folder, image);
        return std::nullopt;
    }
    // schedstat counts nanoseconds but only for the main thread, while stat's ticks cover
    // every thread. For a process of one thread the nanoseconds are the better figure (the
    // larger of the two, so that it never goes back); for more, only the ticks are whole.
    double cpuTime = static_cast<double>(stat->userTicks + stat->systemTicks) /
                     static_cast<double>(ticksPerSecond_);
    auto schedstat = stat->threads == 1
                         ? readFile(folder, "schedstat", &Files::schedstat, cached, image)
                         : std::nullopt;
    if (schedstat) {
        if (auto nanoseconds = ProcFiles::parseSchedstat(*schedstat))
            cpuTime = std::max(cpuTime, static_cast<double>(*nanoseconds) / 1e9);
    }
    std::optional<uint64_t> written;
    if (auto io = readFile(folder, "io", &Files::io, cached, image))
        written = ProcFiles::parseIoWrittenBytes(*io);
    ProcessInfoRow row;
    row.pid = pid;
    row.ppid = stat->ppid;
    row.startTime = image.startTime;
    row.startTicks = stat->startTicks;
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
