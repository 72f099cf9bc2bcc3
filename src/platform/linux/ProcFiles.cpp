#include "platform/linux/ProcFiles.h"

#include <charconv>

#include "base/Utf8.h"

namespace vigilmoth::ProcFiles {
namespace {

template <typename Number>
std::optional<Number> number(std::string_view word) {
    Number value{};
    auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    return value;
}

// Splits at single spaces, as the kernel writes these files.
std::vector<std::string_view> words(std::string_view text, size_t limit) {
    std::vector<std::string_view> result;
    while (!text.empty() && result.size() < limit) {
        auto space = text.find(' ');
        result.push_back(text.substr(0, space));
        if (space == std::string_view::npos) break;
        text.remove_prefix(space + 1);
    }
    return result;
}

// The value of the line "key: value" or "key value" among the lines of a file.
std::optional<std::string_view> lineValue(std::string_view text, std::string_view key) {
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        std::string_view line =
            text.substr(start, end == std::string_view::npos ? end : end - start);
        if (line.substr(0, key.size()) == key) {
            std::string_view value = line.substr(key.size());
            while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
                value.remove_prefix(1);
            return value;
        }
        if (end == std::string_view::npos) break;
        start = end + 1;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Stat> parseStat(std::string_view text) {
    // The name may hold spaces and parentheses itself, so it ends at the last ")".
    auto open = text.find(" (");
    auto close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2)
        return std::nullopt;
    auto pid = number<int32_t>(text.substr(0, open));
    if (!pid || close + 2 > text.size()) return std::nullopt;
    std::string_view rest = text.substr(close + 2);
    while (!rest.empty() && rest.back() == '\n')
        rest.remove_suffix(1);
    auto fields = words(rest, 20);
    if (fields.size() < 20 || fields[0].size() != 1) return std::nullopt;
    Stat stat;
    stat.pid = *pid;
    stat.name = std::string(text.substr(open + 2, close - open - 2));
    stat.state = fields[0][0];
    auto ppid = number<int32_t>(fields[1]);
    auto pgid = number<int32_t>(fields[2]);
    auto tty = number<int32_t>(fields[4]);
    auto tpgid = number<int32_t>(fields[5]);
    auto user = number<uint64_t>(fields[11]);
    auto system = number<uint64_t>(fields[12]);
    auto start = number<uint64_t>(fields[19]);
    if (!ppid || !pgid || !tty || !tpgid || !user || !system || !start) return std::nullopt;
    stat.ppid = *ppid;
    stat.pgid = *pgid;
    stat.ttyNumber = *tty;
    stat.tpgid = *tpgid;
    stat.userTicks = *user;
    stat.systemTicks = *system;
    stat.startTicks = *start;
    return stat;
}

std::optional<uint64_t> parseSchedstat(std::string_view text) {
    auto fields = words(text, 1);
    if (fields.empty()) return std::nullopt;
    return number<uint64_t>(fields[0]);
}

std::optional<uint64_t> parseIoWrittenBytes(std::string_view text) {
    auto value = lineValue(text, "wchar:");
    return value ? number<uint64_t>(*value) : std::nullopt;
}

std::optional<int64_t> parseBootTime(std::string_view text) {
    auto value = lineValue(text, "btime ");
    return value ? number<int64_t>(*value) : std::nullopt;
}

std::vector<std::string> parseCommandLine(std::string_view text) {
    std::vector<std::string> arguments;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\0', start);
        if (end == std::string_view::npos) end = text.size();
        arguments.push_back(repairedUtf8(text.substr(start, end - start)));
        start = end + 1;
    }
    return arguments;
}

}  // namespace vigilmoth::ProcFiles
