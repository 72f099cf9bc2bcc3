#include "base/Log.h"

#include <cstdio>
#include <mutex>

namespace vigilmoth {
namespace {

std::mutex sinkMutex;

LogSink& currentSink() {
    static LogSink sink = writeLogLineToStandardError;
    return sink;
}

const char* levelWord(LogLevel level) {
    switch (level) {
        case LogLevel::debug:
            return "debug";
        case LogLevel::info:
            return "info";
        case LogLevel::error:
            return "error";
    }
    return "info";
}

}  // namespace

void setLogSink(LogSink sink) {
    std::lock_guard lock(sinkMutex);
    currentSink() = sink ? std::move(sink) : LogSink(writeLogLineToStandardError);
}

void Logger::write(LogLevel level, std::string_view message) const {
    std::lock_guard lock(sinkMutex);
    currentSink()(level, category_, message);
}

void writeLogLineToStandardError(LogLevel level, std::string_view category,
                                 std::string_view message) {
    std::string line = std::string(kLogSubsystem) + " [" + std::string(category) + "] " +
                       levelWord(level) + ": " + std::string(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace vigilmoth
