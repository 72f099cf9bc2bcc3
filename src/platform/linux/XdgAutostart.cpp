#include "platform/linux/XdgAutostart.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace vigilmoth {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kReserved = " \t\n\"'\\><~|&;$*?#()`";

// An argument of `Exec`: quoted when it holds a reserved character, with `"`, `` ` ``, `$` and
// `\` escaped inside the quotes, and `%` doubled so that it is not read as a field code.
std::string execArgument(const std::string& argument) {
    std::string text;
    for (char c : argument) {
        if (c == '%')
            text += "%%";
        else if (c == '"' || c == '`' || c == '$' || c == '\\')
            text += std::string("\\") + c;
        else
            text += c;
    }
    if (argument.find_first_of(kReserved) == std::string::npos) return text;
    return '"' + text + '"';
}

// The string escapes of a value, applied after the quoting, as readers undo them first.
std::string escapedValue(const std::string& value) {
    std::string text;
    for (char c : value) {
        switch (c) {
            case '\\':
                text += "\\\\";
                break;
            case '\n':
                text += "\\n";
                break;
            case '\t':
                text += "\\t";
                break;
            case '\r':
                text += "\\r";
                break;
            default:
                text += c;
        }
    }
    return text;
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    const auto last = text.find_last_not_of(" \t\r");
    return std::string(text.substr(first, last - first + 1));
}

std::optional<std::string> readText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string failure(const std::string& what, const std::string& path, const std::error_code& code) {
    return "vigilmoth could not " + what + " " + path + " (" + code.message() +
           "), so opening at login did not change.";
}

}  // namespace

XdgAutostart::XdgAutostart(std::string entry, std::string executable)
    : entry_(std::move(entry)), executable_(std::move(executable)) {}

std::string XdgAutostart::entryText(const std::string& executable) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=vigilmoth\n"
           "Comment=Keeps this computer awake while AI coding agents work\n"
           "Exec=" +
           escapedValue(execArgument(executable)) +
           "\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

std::optional<std::string> XdgAutostart::value(const std::string& text, const std::string& key) {
    bool inEntry = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto content = trimmed(line);
        if (content.empty() || content.front() == '#') continue;
        if (content.front() == '[') {
            inEntry = content == "[Desktop Entry]";
            continue;
        }
        const auto equals = content.find('=');
        if (!inEntry || equals == std::string::npos) continue;
        if (trimmed(std::string_view(content).substr(0, equals)) == key) {
            return trimmed(std::string_view(content).substr(equals + 1));
        }
    }
    return std::nullopt;
}

XdgAutostart::Status XdgAutostart::status() const {
    const auto text = readText(entry_);
    if (!text) return Status::notRegistered;
    const auto exec = value(*text, "Exec");
    const bool ours = exec && *exec == escapedValue(execArgument(executable_));
    const bool skipped =
        value(*text, "Hidden") == "true" || value(*text, "X-GNOME-Autostart-enabled") == "false";
    return ours && !skipped ? Status::enabled : Status::notRegistered;
}

std::optional<std::string> XdgAutostart::registerAtLogin() const {
    std::error_code code;
    const fs::path entry(entry_);
    fs::create_directories(entry.parent_path(), code);
    if (code) return failure("create the folder", entry.parent_path().string(), code);
    // Written beside the entry and renamed over it, so that a desktop reading it at that
    // moment never sees half a file.
    const std::string partial = entry_ + ".partial";
    {
        std::ofstream file(partial, std::ios::binary | std::ios::trunc);
        file << entryText(executable_);
        file.close();
        if (!file) {
            const std::error_code written(errno ? errno : EIO, std::generic_category());
            fs::remove(partial, code);
            return failure("write", entry_, written);
        }
    }
    fs::rename(partial, entry, code);
    if (code) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        return failure("write", entry_, code);
    }
    return std::nullopt;
}

std::optional<std::string> XdgAutostart::unregisterAtLogin() const {
    std::error_code code;
    fs::remove(entry_, code);
    if (code) return failure("remove", entry_, code);
    return std::nullopt;
}

}  // namespace vigilmoth
