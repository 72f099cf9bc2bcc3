#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vigilmoth {

inline constexpr std::string_view kLogSubsystem = "com.vigilmoth.app";

enum class LogLevel { debug, info, error };

// Where log lines go: the journal or the terminal on Linux, the unified log on macOS.
// The sink is one of the few process-wide values; the platform installs it at start.
using LogSink =
    std::function<void(LogLevel level, std::string_view category, std::string_view message)>;

void setLogSink(LogSink sink);

// A logger for one component ("Notices", "Census" ...), the category of its lines.
class Logger {
public:
    explicit Logger(std::string category) : category_(std::move(category)) {}

    void debug(std::string_view message) const { write(LogLevel::debug, message); }
    void info(std::string_view message) const { write(LogLevel::info, message); }
    void error(std::string_view message) const { write(LogLevel::error, message); }

    const std::string& category() const { return category_; }

private:
    void write(LogLevel level, std::string_view message) const;
    std::string category_;
};

// The sink used until the platform installs its own: one line per message on standard error.
void writeLogLineToStandardError(LogLevel level, std::string_view category,
                                 std::string_view message);

}  // namespace vigilmoth
