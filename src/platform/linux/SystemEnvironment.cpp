#include "platform/linux/SystemEnvironment.h"

#include <pwd.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/Log.h"

namespace vigilmoth {
namespace {

std::optional<std::string> environmentValue(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) return std::nullopt;
    return std::string(value);
}

// HOME wins, as it does for every shell tool; the password database covers a bare environment.
std::string homeFolder() {
    if (auto home = environmentValue("HOME"); home && !home->empty()) return *home;
    if (const passwd* entry = getpwuid(getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        return entry->pw_dir;
    }
    return "/";
}

int journalPriority(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return LOG_DEBUG;
        case LogLevel::info:
            return LOG_INFO;
        case LogLevel::error:
            return LOG_ERR;
    }
    return LOG_INFO;
}

}  // namespace

PathEnvironment systemPathEnvironment() {
    PathEnvironment environment;
    environment.home = homeFolder();
    environment.xdgDataHome = environmentValue("XDG_DATA_HOME");
    environment.xdgConfigHome = environmentValue("XDG_CONFIG_HOME");
    environment.xdgRuntimeDir = environmentValue("XDG_RUNTIME_DIR");
    environment.userID = static_cast<unsigned>(getuid());
    return environment;
}

void installSystemLogSink() {
    if (isatty(STDERR_FILENO)) {
        setLogSink(writeLogLineToStandardError);
        return;
    }
    setLogSink([](LogLevel level, std::string_view category, std::string_view message) {
        std::string categoryText(category);
        std::string messageText(message);
        std::string subsystem(kLogSubsystem);
        sd_journal_send("MESSAGE=%s", messageText.c_str(), "PRIORITY=%i", journalPriority(level),
                        "SYSLOG_IDENTIFIER=vigilmoth", "VIGILMOTH_SUBSYSTEM=%s", subsystem.c_str(),
                        "VIGILMOTH_CATEGORY=%s", categoryText.c_str(), nullptr);
    });
}

}  // namespace vigilmoth
