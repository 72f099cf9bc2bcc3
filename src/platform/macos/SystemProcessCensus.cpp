#include "platform/macos/SystemProcessCensus.h"

#include <errno.h>
#include <libproc.h>
#include <mach/mach_time.h>
#include <sys/proc_info.h>
#include <sys/resource.h>
#include <sys/sysctl.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <span>

#include "base/Utf8.h"

namespace vigilmoth {
namespace {

// The whole table of processes; empty when it cannot be read. The table grows between the
// size query and the read, so room for 64 more records is asked for, and a read that still
// runs short (ENOMEM) starts over, three times at most.
std::vector<kinfo_proc> processTable() {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
    for (int attempt = 0; attempt < 3; ++attempt) {
        size_t size = 0;
        if (::sysctl(name, 3, nullptr, &size, nullptr, 0) != 0) return {};
        std::vector<kinfo_proc> table(size / sizeof(kinfo_proc) + 64);
        size = table.size() * sizeof(kinfo_proc);
        if (::sysctl(name, 3, table.data(), &size, nullptr, 0) == 0) {
            table.resize(size / sizeof(kinfo_proc));
            return table;
        }
        if (errno != ENOMEM) return {};
    }
    return {};
}

struct Timebase {
    uint32_t numerator = 1;
    uint32_t denominator = 1;
};

const Timebase& timebase() {
    static const Timebase value = [] {
        mach_timebase_info_data_t info{};
        if (::mach_timebase_info(&info) != KERN_SUCCESS) return Timebase{1, 1};
        return Timebase{info.numer, info.denom};
    }();
    return value;
}

// Machine time units to seconds, in 128 bits so that nothing overflows on the way.
double seconds(uint64_t units) {
    const Timebase& base = timebase();
    if (base.denominator == 0) return static_cast<double>(units) / 1e9;
    unsigned __int128 nanoseconds =
        static_cast<unsigned __int128>(units) * base.numerator / base.denominator;
    uint64_t clamped = nanoseconds > std::numeric_limits<uint64_t>::max()
                           ? std::numeric_limits<uint64_t>::max()
                           : static_cast<uint64_t>(nanoseconds);
    return static_cast<double>(clamped) / 1e9;
}

// Flavour 6 carries energy; older systems stop at 4. Chosen once, on the own process.
int rusageFlavor() {
    static const int flavor = [] {
        rusage_info_v6 probe{};
        return ::proc_pid_rusage(::getpid(), RUSAGE_INFO_V6,
                                 reinterpret_cast<rusage_info_t*>(&probe)) == 0
                   ? RUSAGE_INFO_V6
                   : RUSAGE_INFO_V4;
    }();
    return flavor;
}

size_t argumentAreaSize() {
    static const size_t size = [] {
        int name[] = {CTL_KERN, KERN_ARGMAX};
        int maximum = 0;
        size_t length = sizeof maximum;
        if (::sysctl(name, 2, &maximum, &length, nullptr, 0) != 0 || maximum <= 0)
            return size_t{1'048'576};
        return static_cast<size_t>(maximum);
    }();
    return size;
}

}  // namespace

SystemProcessCensus::SystemProcessCensus() = default;

bool SystemProcessCensus::readImage(int32_t pid, Image& image) {
    if (pathBuffer_.empty()) pathBuffer_.resize(PROC_PIDPATHINFO_MAXSIZE);
    int length = ::proc_pidpath(pid, pathBuffer_.data(), static_cast<uint32_t>(pathBuffer_.size()));
    if (length <= 0) return false;
    image.executablePath = repairedUtf8(
        std::string_view(pathBuffer_.data(), ::strnlen(pathBuffer_.data(), pathBuffer_.size())));
    if (argumentBuffer_.empty()) argumentBuffer_.resize(argumentAreaSize());
    int name[] = {CTL_KERN, KERN_PROCARGS2, pid};
    size_t size = argumentBuffer_.size();
    image.arguments.clear();
    // Unreadable arguments leave the list empty; the process still counts.
    if (::sysctl(name, 3, argumentBuffer_.data(), &size, nullptr, 0) == 0) {
        auto parsed = ProcessCensus::parseArguments(std::span(argumentBuffer_.data(), size));
        if (parsed) image.arguments = std::move(parsed->arguments);
    }
    return true;
}

std::optional<ProcessInfoRow> SystemProcessCensus::read(const kinfo_proc& process, uid_t uid,
                                                        const Images& cached, Images& images) {
    const int32_t pid = process.kp_proc.p_pid;
    if (pid <= 0 || process.kp_eproc.e_ucred.cr_uid != uid || process.kp_proc.p_stat == SZOMB)
        return std::nullopt;
    rusage_info_v6 usage{};
    const int flavor = rusageFlavor();
    if (::proc_pid_rusage(pid, flavor, reinterpret_cast<rusage_info_t*>(&usage)) != 0)
        return std::nullopt;

    Image image;
    const timeval& started = process.kp_proc.p_starttime;
    image.startTime =
        static_cast<double>(started.tv_sec) + static_cast<double>(started.tv_usec) / 1'000'000;
    image.name = ShortName::of(
        std::string_view(process.kp_proc.p_comm, ::strnlen(process.kp_proc.p_comm, 16)));
    auto old = cached.find(pid);
    if (old != cached.end() && old->second.startTime == image.startTime &&
        old->second.name == image.name) {
        image.executablePath = old->second.executablePath;
        image.arguments = old->second.arguments;
    } else if (!readImage(pid, image)) {
        return std::nullopt;
    }

    ProcessInfoRow row;
    row.pid = pid;
    row.ppid = process.kp_eproc.e_ppid;
    row.startTime = image.startTime;
    row.executablePath = image.executablePath;
    row.arguments = image.arguments;
    row.uid = uid;
    row.tty = process.kp_eproc.e_tdev;
    row.pgid = process.kp_eproc.e_pgid;
    row.tpgid = process.kp_eproc.e_tpgid;
    row.cpuTime = seconds(usage.ri_user_time + usage.ri_system_time);
    if (flavor >= RUSAGE_INFO_V6) row.energyNanojoules = usage.ri_energy_nj;
    row.instructions = usage.ri_instructions;
    row.logicalWriteBytes = usage.ri_logical_writes;
    row.wakeups = usage.ri_interrupt_wkups + usage.ri_pkg_idle_wkups;
    images.emplace(pid, std::move(image));
    return row;
}

std::optional<std::vector<ProcessInfoRow>> SystemProcessCensus::snapshot() {
    std::lock_guard guard(lock_);
    const uid_t uid = ::getuid();
    auto table = processTable();
    if (table.empty()) return std::nullopt;
    Images images;
    images.reserve(images_.size());
    std::vector<ProcessInfoRow> rows;
    for (const auto& process : table) {
        if (auto row = read(process, uid, images_, images)) rows.push_back(std::move(*row));
    }
    // Images of processes that have gone are dropped with the old cache.
    images_ = std::move(images);
    pathBuffer_ = {};
    argumentBuffer_ = {};
    return rows;
}

std::optional<ProcessInfoRow> SystemProcessCensus::row(int32_t pid) {
    std::lock_guard guard(lock_);
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, pid};
    kinfo_proc process{};
    size_t size = sizeof process;
    if (::sysctl(name, 4, &process, &size, nullptr, 0) != 0 || size < sizeof process)
        return std::nullopt;
    Images images;
    auto found = read(process, ::getuid(), images_, images);
    if (found) images_[pid] = std::move(images.at(pid));
    pathBuffer_ = {};
    argumentBuffer_ = {};
    return found;
}

}  // namespace vigilmoth
