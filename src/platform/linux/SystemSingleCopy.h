#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace vigilmoth {

// One running vigilmoth application per user. The running copy holds an exclusive lock on
// "vigilmoth.lock" in the runtime folder and listens on the datagram socket "vigilmoth.sock"
// beside it, where a second copy asks it to come forward.
class SystemSingleCopy {
public:
    explicit SystemSingleCopy(std::string runtimeFolder);

    // Empty when no other copy holds the lock; this copy then holds it until it is destroyed.
    std::vector<int> otherCopies();
    void askToComeForward() const;

    bool holdsLock() const { return lock_.valid(); }
    std::string socketPath() const { return folder_ + "/vigilmoth.sock"; }

    static constexpr const char* kShowPreferences = "com.vigilmoth.app.showPreferences";

private:
    std::string lockPath() const { return folder_ + "/vigilmoth.lock"; }

    std::string folder_;
    FileDescriptor lock_;
};

}  // namespace vigilmoth
