#include "platform/linux/SystemLog.h"

#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <string>

#include "base/Log.h"

namespace vigilmoth {
namespace {

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
