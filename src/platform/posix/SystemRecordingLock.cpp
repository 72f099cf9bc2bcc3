#include "platform/posix/SystemRecordingLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/posix/FileDescriptor.h"

namespace vigilmoth {

RecordingLocking::Probe SystemRecordingLock::probe(const std::string& path) const {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) return Probe::unavailable;
    if (::flock(file.get(), LOCK_SH | LOCK_NB) == 0) {
        ::flock(file.get(), LOCK_UN);
        return Probe::notRunning;
    }
    return errno == EWOULDBLOCK ? Probe::running : Probe::unavailable;
}

RecordingLocking::Append SystemRecordingLock::appendWhileRunning(const std::string& path,
                                                                 std::string_view bytes) const {
    FileDescriptor file(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file) return Append::cannotOpen;
    if (probe(path) != Probe::running) return Append::notRunning;
    while (!bytes.empty()) {
        ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        // A failed or empty write ends the line where it is; the reader drops a torn last line.
        if (written <= 0) break;
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return Append::written;
}

}  // namespace vigilmoth
