#include "platform/linux/SystemOpenFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace vigilmoth {
namespace {

// The target of a link under /proc, read relative to a folder descriptor.
std::optional<std::string> linkTarget(int folder, const char* name) {
    char buffer[4096];
    ssize_t length = ::readlinkat(folder, name, buffer, sizeof buffer);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof buffer) return std::nullopt;
    return std::string(buffer, static_cast<std::size_t>(length));
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

std::vector<std::string> SystemOpenFiles::openFilePaths(std::int32_t pid) {
    std::vector<std::string> paths;
    std::string folder = procRoot_ + "/" + std::to_string(pid) + "/fd";
    int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return paths;
    std::unique_ptr<DIR, DirectoryCloser> directory(::fdopendir(descriptor));
    if (!directory) {
        ::close(descriptor);
        return paths;
    }
    while (const dirent* entry = ::readdir(directory.get())) {
        if (entry->d_name[0] == '.') continue;
        // Following the link describes the open file itself: sockets, pipes and folders go.
        struct stat status {};
        if (::fstatat(descriptor, entry->d_name, &status, 0) != 0 || !S_ISREG(status.st_mode))
            continue;
        auto target = linkTarget(descriptor, entry->d_name);
        // A file deleted while open names no file any more.
        if (target && target->starts_with('/') && !target->ends_with(" (deleted)"))
            paths.push_back(std::move(*target));
    }
    return paths;
}

std::optional<std::string> SystemOpenFiles::workingDirectory(std::int32_t pid) {
    std::string link = procRoot_ + "/" + std::to_string(pid) + "/cwd";
    auto target = linkTarget(AT_FDCWD, link.c_str());
    if (!target || !target->starts_with('/')) return std::nullopt;
    return target;
}

}  // namespace vigilmoth
