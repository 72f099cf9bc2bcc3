#include "evidence/RemoteAccessDetector.h"

#include <algorithm>
#include <unordered_map>

#include "evidence/EvidenceSample.h"
#include "evidence/JSONMemberScan.h"

namespace vigilmoth {
namespace RemoteAccessDetector {
namespace {

// The two booleans among an object's top-level members.
class TopLevelFlags : public JSONMemberScan {
public:
    ClaudeSettings settings;

private:
    bool flag(bool value) override {
        if (depth() == 1 && keyAt(1) == "remoteControlAtStartup") settings.atStartup = value;
        if (depth() == 1 && keyAt(1) == "disableRemoteControl") settings.disabled = value;
        return true;
    }
};

bool isOneShot(const std::vector<std::string>& arguments) {
    return std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
        return argument == "-p" || argument == "--print" || argument.starts_with("--input-format");
    });
}

bool asksForRemoteControl(const std::vector<std::string>& arguments) {
    return std::any_of(arguments.begin(), arguments.end(), [](const std::string& argument) {
        return argument == "--remote-control" || argument == "--rc";
    });
}

std::string_view baseName(std::string_view path) {
    std::size_t cut = path.rfind('/');
    return cut == std::string_view::npos ? path : path.substr(cut + 1);
}

bool isSshd(std::string_view name) {
    return name == "sshd" || name == "sshd-session" || name.starts_with("sshd:");
}

}  // namespace

std::optional<ClaudeSettings> ClaudeSettings::fromJSON(std::string_view bytes) {
    TopLevelFlags flags;
    if (!flags.scan(bytes) || !flags.isObject()) return std::nullopt;
    return flags.settings;
}

ClaudeSettings ClaudeSettings::merged(const std::optional<ClaudeSettings>& settings,
                                      const std::optional<ClaudeSettings>& userState) {
    ClaudeSettings a = settings.value_or(ClaudeSettings{});
    ClaudeSettings b = userState.value_or(ClaudeSettings{});
    return {a.atStartup || b.atStartup, a.disabled || b.disabled};
}

bool claudeRemoteControl(const std::vector<ClaudeSession>& sessions,
                         const ClaudeSettings& settings) {
    if (settings.disabled) return false;
    for (const auto& session : sessions) {
        const auto& arguments = session.arguments;
        if (!arguments.empty() && arguments.front() == "remote-control") return true;
        if (!session.hasTerminal || (!arguments.empty() && arguments.front() == "mcp")) continue;
        if (isOneShot(arguments)) continue;
        if (settings.atStartup || asksForRemoteControl(arguments)) return true;
    }
    return false;
}

bool sshTerminal(const std::vector<ProcessInfoRow>& rows,
                 const std::function<std::optional<std::string>(std::int32_t)>& parentName) {
    std::unordered_map<std::int32_t, const ProcessInfoRow*> byPid;
    for (const auto& row : rows)
        byPid.emplace(row.pid, &row);
    std::unordered_map<std::int32_t, bool> parentIsSshd;
    for (const auto& row : rows) {
        if (row.tty == ProcessInfoRow::kNoTerminal || row.ppid <= 1) continue;
        auto known = parentIsSshd.find(row.ppid);
        if (known == parentIsSshd.end()) {
            bool sshd = false;
            if (auto parent = byPid.find(row.ppid); parent != byPid.end()) {
                const auto& arguments = parent->second->arguments;
                sshd = isSshd(baseName(parent->second->executablePath)) ||
                       (!arguments.empty() && isSshd(arguments.front()));
            } else if (auto name = parentName(row.ppid)) {
                sshd = isSshd(*name);
            }
            known = parentIsSshd.emplace(row.ppid, sshd).first;
        }
        if (known->second) return true;
    }
    return false;
}

}  // namespace RemoteAccessDetector

namespace {

// The length in bytes of the white space or line break at `position`, or 0: the ASCII ones and
// the Unicode spaces, separators and next-line of Latin-1, General Punctuation and CJK.
std::size_t blankLength(std::string_view text, std::size_t position) {
    std::string_view rest = text.substr(position);
    if (std::string_view(" \t\r\n\f\v").find(rest[0]) != std::string_view::npos) return 1;
    if (rest.starts_with("\xC2\x85") || rest.starts_with("\xC2\xA0")) return 2;
    if (rest.size() >= 3 && rest[0] == '\xE2' && rest[1] == '\x80') {
        auto third = static_cast<unsigned char>(rest[2]);
        if ((third >= 0x80 && third <= 0x8A) || third == 0xA8 || third == 0xA9 || third == 0xAF)
            return 3;
    }
    if (rest.starts_with("\xE2\x81\x9F") || rest.starts_with("\xE3\x80\x80")) return 3;
    return 0;
}

}  // namespace

std::optional<std::string> SessionHint::cleaned(const std::optional<std::string>& name) {
    if (!name) return std::nullopt;
    std::string result;
    bool blank = false;
    for (std::size_t position = 0; position < name->size();) {
        if (std::size_t length = blankLength(*name, position)) {
            blank = true;
            position += length;
            continue;
        }
        if (blank && !result.empty()) result += ' ';
        blank = false;
        result += (*name)[position++];
    }
    if (result.empty()) return std::nullopt;
    return result;
}

}  // namespace vigilmoth
