#include "platform/posix/SystemFileAccess.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

#include "platform/posix/FileDescriptor.h"

namespace vigilmoth {
namespace {

Date modificationOf(const struct stat& status) {
#if defined(__APPLE__)
    const struct timespec& time = status.st_mtimespec;
#else
    const struct timespec& time = status.st_mtim;
#endif
    return Date(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9);
}

}  // namespace

std::optional<FileSignature> SystemFileAccess::signature(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return FileSignature{modificationOf(status),
                         status.st_size < 0 ? 0 : static_cast<std::uint64_t>(status.st_size),
                         static_cast<std::uint64_t>(status.st_ino)};
}

std::optional<std::vector<FolderEntry>> SystemFileAccess::list(const std::string& folder) {
    FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    DIR* listing = descriptor ? ::fdopendir(descriptor.get()) : nullptr;
    if (listing == nullptr) return std::nullopt;
    int folderDescriptor = descriptor.release();  // the listing owns it now
    std::vector<FolderEntry> entries;
    while (const dirent* entry = ::readdir(listing)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        bool isFolder = entry->d_type == DT_DIR;
        // A link or an entry of unknown type is looked at through the link, as a path would be.
        if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
            struct stat status {};
            isFolder = ::fstatat(folderDescriptor, entry->d_name, &status, 0) == 0 &&
                       S_ISDIR(status.st_mode);
        }
        entries.push_back({std::move(name), isFolder});
    }
    ::closedir(listing);
    return entries;
}

std::optional<std::string> SystemFileAccess::read(const std::string& path, std::uint64_t offset,
                                                  std::uint64_t length) {
    FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0) return std::nullopt;
    // The buffer is sized by what the file holds, not by what was asked for.
    auto size = static_cast<std::uint64_t>(std::max<off_t>(status.st_size, 0));
    std::uint64_t available = offset < size ? size - offset : 0;
    std::string bytes(static_cast<std::size_t>(std::min(length, available)), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        ssize_t count = ::pread(descriptor.get(), bytes.data() + filled, bytes.size() - filled,
                                static_cast<off_t>(offset + filled));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
    }
    bytes.resize(filled);
    return bytes;
}

std::optional<std::string> SystemFileAccess::resolved(const std::string& path) {
    char buffer[PATH_MAX];
    if (::realpath(path.c_str(), buffer) == nullptr) return std::nullopt;
    return std::string(buffer);
}

bool SystemFileAccess::remove(const std::string& path) {
    return ::unlink(path.c_str()) == 0;
}

bool SystemFileAccess::createFolders(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}

}  // namespace vigilmoth
