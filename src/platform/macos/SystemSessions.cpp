#include "platform/macos/SystemSessions.h"

#include <libproc.h>
#include <pwd.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <cerrno>
#include <cstring>
#include <mutex>

namespace vigilmoth {
namespace {

// The login records are read through the C library's one cursor.
std::mutex& loginRecordsMutex() {
    static std::mutex mutex;
    return mutex;
}

bool alive(pid_t pid) {
    return pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

// A login of the user whose record names a remote host, and whose process still runs: a
// record left behind by a crashed login does not count.
bool remoteLoginRecorded() {
    const passwd* user = ::getpwuid(::getuid());
    if (user == nullptr || user->pw_name == nullptr) return false;
    std::string name = user->pw_name;
    std::lock_guard lock(loginRecordsMutex());
    ::setutxent();
    bool found = false;
    while (const utmpx* record = ::getutxent()) {
        if (record->ut_type != USER_PROCESS) continue;
        std::string recordUser(record->ut_user, strnlen(record->ut_user, sizeof record->ut_user));
        std::string host(record->ut_host, strnlen(record->ut_host, sizeof record->ut_host));
        if (recordUser == name && !host.empty() && alive(record->ut_pid)) {
            found = true;
            break;
        }
    }
    ::endutxent();
    return found;
}

}  // namespace

bool SystemSessions::remoteAccessActive(const std::vector<ProcessInfoRow>& processes) {
    if (remoteLoginRecorded()) return true;
    return RemoteAccessDetector::sshTerminal(processes, [](std::int32_t pid) {
        char name[2 * MAXCOMLEN + 1] = {};
        int length = ::proc_name(pid, name, sizeof name);
        if (length <= 0) return std::optional<std::string>();
        return std::optional<std::string>(std::string(name, static_cast<std::size_t>(length)));
    });
}

std::optional<std::string> SystemSessions::terminalName(std::int32_t device) {
    if (device < 0) return std::nullopt;
    char name[64] = {};
    if (::devname_r(static_cast<dev_t>(device), S_IFCHR, name, static_cast<int>(sizeof name)) ==
        nullptr)
        return std::nullopt;
    std::string result(name);
    // The traditional text for a device that has no name.
    if (result.empty() || result == "??") return std::nullopt;
    return result;
}

}  // namespace vigilmoth
