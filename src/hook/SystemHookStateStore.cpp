#include "hook/SystemHookStateStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/posix/FileIO.h"

namespace vigilmoth {
namespace {

// A state file is a few hundred bytes; anything far larger was not written by a hook.
constexpr off_t kMaximumFileSize = 1 << 20;
// Hooks of one process finish in milliseconds; a lock held longer belongs to a stuck run, and
// then a rare lost update is better than no update.
constexpr auto kLockPatience = std::chrono::milliseconds(1000);

}  // namespace

SystemHookStateStore::SystemHookStateStore(std::string folder) : folder_(std::move(folder)) {}

bool SystemHookStateStore::lock() {
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    directory_.reset(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory_) return false;
    auto deadline = std::chrono::steady_clock::now() + kLockPatience;
    while (::flock(directory_.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) break;
        if (std::chrono::steady_clock::now() > deadline) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

void SystemHookStateStore::unlock() {
    directory_.reset();
}

std::optional<std::string> SystemHookStateStore::read(const std::string& name) {
    if (!directory_) return std::nullopt;
    // Non-blocking, so that a pipe planted under the name cannot hold the hook up.
    FileDescriptor file(
        ::openat(directory_.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) return std::nullopt;
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kMaximumFileSize) {
        return std::nullopt;
    }
    return readAll(file.get(), static_cast<size_t>(kMaximumFileSize));
}

bool SystemHookStateStore::writeTemporary(const std::string& temporary, const std::string& text) {
    int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    FileDescriptor file(::openat(directory_.get(), temporary.c_str(), flags, 0600));
    if (!file && errno == EEXIST) {
        // Left by a run of the same pid that was cut short, or planted: either way not ours.
        ::unlinkat(directory_.get(), temporary.c_str(), 0);
        file.reset(::openat(directory_.get(), temporary.c_str(), flags, 0600));
    }
    return file && writeAll(file.get(), text);
}

bool SystemHookStateStore::replace(const std::string& name, const std::string& text) {
    if (!directory_) return false;
    // Hidden and without the ".json" extension, so readers never see a half-written file.
    std::string temporary = "." + name + "." + std::to_string(::getpid()) + ".tmp";
    if (!writeTemporary(temporary, text) ||
        ::renameat(directory_.get(), temporary.c_str(), directory_.get(), name.c_str()) != 0) {
        ::unlinkat(directory_.get(), temporary.c_str(), 0);
        return false;
    }
    return true;
}

}  // namespace vigilmoth
