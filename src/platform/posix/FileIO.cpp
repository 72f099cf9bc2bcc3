#include "platform/posix/FileIO.h"

#include <unistd.h>

#include <cerrno>

namespace vigilmoth {

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

std::optional<std::string> readAll(int descriptor, size_t limit) {
    std::string text;
    char buffer[16384];
    while (true) {
        ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) return text;
        text.append(buffer, static_cast<size_t>(count));
        if (text.size() > limit) return std::nullopt;
    }
}

}  // namespace vigilmoth
