#include "app/posix/SystemRecordingLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"

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
    // A failed write ends the line where it is; the reader drops a torn last line.
    writeAll(file.get(), bytes);
    return Append::written;
}

}  // namespace vigilmoth
