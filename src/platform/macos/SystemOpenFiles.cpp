#include "platform/macos/SystemOpenFiles.h"

#include <libproc.h>
#include <sys/stat.h>

#include <cstring>

namespace vigilmoth {

std::vector<std::string> SystemOpenFiles::openFilePaths(std::int32_t pid) {
    std::vector<std::string> paths;
    // Called without a buffer, the call gives the bytes the list needs now; a few more leave
    // room for descriptors opened meanwhile.
    int needed = proc_pidinfo(pid, PROC_PIDLISTFDS, 0, nullptr, 0);
    if (needed <= 0) return paths;
    std::vector<proc_fdinfo> descriptors(static_cast<std::size_t>(needed) / sizeof(proc_fdinfo) +
                                         16);
    int bytes = proc_pidinfo(pid, PROC_PIDLISTFDS, 0, descriptors.data(),
                             static_cast<int>(descriptors.size() * sizeof(proc_fdinfo)));
    if (bytes <= 0) return paths;
    descriptors.resize(static_cast<std::size_t>(bytes) / sizeof(proc_fdinfo));
    for (const auto& descriptor : descriptors) {
        if (descriptor.proc_fdtype != PROX_FDTYPE_VNODE) continue;
        vnode_fdinfowithpath info{};
        int size = proc_pidfdinfo(pid, descriptor.proc_fd, PROC_PIDFDVNODEPATHINFO, &info,
                                  static_cast<int>(sizeof info));
        if (size != static_cast<int>(sizeof info) || !S_ISREG(info.pvip.vip_vi.vi_stat.vst_mode))
            continue;
        std::size_t length = strnlen(info.pvip.vip_path, sizeof info.pvip.vip_path);
        if (length > 0) paths.emplace_back(info.pvip.vip_path, length);
    }
    return paths;
}

std::optional<std::string> SystemOpenFiles::workingDirectory(std::int32_t pid) {
    proc_vnodepathinfo info{};
    int size = proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &info, static_cast<int>(sizeof info));
    if (size != static_cast<int>(sizeof info)) return std::nullopt;
    std::size_t length = strnlen(info.pvi_cdir.vip_path, sizeof info.pvi_cdir.vip_path);
    if (length == 0) return std::nullopt;
    return std::string(info.pvi_cdir.vip_path, length);
}

}  // namespace vigilmoth
