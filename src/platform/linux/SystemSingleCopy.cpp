#include "platform/linux/SystemSingleCopy.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

namespace vigilmoth {

SystemSingleCopy::SystemSingleCopy(std::string runtimeFolder) : folder_(std::move(runtimeFolder)) {
    ::mkdir(folder_.c_str(), 0700);
}

std::vector<int> SystemSingleCopy::otherCopies() {
    if (lock_) return {};
    FileDescriptor file(
        ::open(lockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file) return {};
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
        std::string pid = std::to_string(::getpid()) + "\n";
        if (::ftruncate(file.get(), 0) == 0) {
            [[maybe_unused]] ssize_t written = ::pwrite(file.get(), pid.data(), pid.size(), 0);
        }
        lock_ = std::move(file);
        return {};
    }
    char buffer[32] = {};
    ssize_t count = ::pread(file.get(), buffer, sizeof buffer - 1, 0);
    int pid = count > 0 ? std::atoi(buffer) : 0;
    // The holder may not have written its pid yet; it is another copy all the same.
    return {pid};
}

void SystemSingleCopy::askToComeForward() const {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket) return;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string path = socketPath();
    if (path.size() >= sizeof address.sun_path) return;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ::sendto(socket.get(), kShowPreferences, std::strlen(kShowPreferences), MSG_DONTWAIT,
             reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

}  // namespace vigilmoth
