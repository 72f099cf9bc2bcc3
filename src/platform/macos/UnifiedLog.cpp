#include "platform/macos/UnifiedLog.h"

#include <os/log.h>

#include <map>
#include <mutex>
#include <string>

#include "base/Log.h"

namespace vigilmoth {
namespace {

// os_log_t objects live for the whole process, one per category.
os_log_t logFor(std::string_view category) {
    static std::mutex mutex;
    static std::map<std::string, os_log_t, std::less<>> logs;
    std::lock_guard lock(mutex);
    auto found = logs.find(category);
    if (found != logs.end()) return found->second;
    std::string name(category);
    os_log_t log = os_log_create(std::string(kLogSubsystem).c_str(), name.c_str());
    logs.emplace(name, log);
    return log;
}

os_log_type_t logType(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return OS_LOG_TYPE_DEBUG;
        case LogLevel::info:
            return OS_LOG_TYPE_DEFAULT;
        case LogLevel::error:
            return OS_LOG_TYPE_ERROR;
    }
    return OS_LOG_TYPE_DEFAULT;
}

}  // namespace

void installSystemLogSink() {
    setLogSink([](LogLevel level, std::string_view category, std::string_view message) {
        std::string text(message);
        os_log_with_type(logFor(category), logType(level), "%{public}s", text.c_str());
    });
}

}  // namespace vigilmoth
