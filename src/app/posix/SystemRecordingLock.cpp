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

namespace {

class HeldRecording final : public RecordingLocking::Held {
public:
    explicit HeldRecording(FileDescriptor file) : file_(std::move(file)) {}
    void append(std::string_view bytes) override { writeAll(file_.get(), bytes); }

private:
    FileDescriptor file_;
};

}  // namespace

std::unique_ptr<RecordingLocking::Held> SystemRecordingLock::hold(const std::string& path) const {
    FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (!file || ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return nullptr;
    return std::make_unique<HeldRecording>(std::move(file));
}

}  // namespace vigilmoth
