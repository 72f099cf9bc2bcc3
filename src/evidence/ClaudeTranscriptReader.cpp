#include "evidence/ClaudeTranscriptReader.h"

#include <array>
#include <utility>

#include "base/Utf8.h"
#include "evidence/BackwardLines.h"
#include "evidence/JSONFields.h"

namespace vigilmoth {
namespace {

using nlohmann::json;

constexpr std::string_view kInterrupt = "[Request interrupted by user";
// User lines that only carry a slash command run by Claude Code itself, or its output; they
// are written outside any turn.
constexpr std::array<std::string_view, 4> kCommandTags{
    "<command-name>", "<local-command-stdout>", "<local-command-stderr>", "<local-command-caveat>"};

bool startsWithCommandTag(std::string_view text) {
    std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) return false;
    text.remove_prefix(start);
    for (auto tag : kCommandTags) {
        if (text.starts_with(tag)) return true;
    }
    return false;
}

// Every text of the message's content passes `test`, and there is at least one. A plain
// string content is one text.
template <typename Test>
bool everyText(const json& message, Test test) {
    const json* content = JSONFields::member(message, "content");
    if (content == nullptr) return false;
    if (content->is_string()) return test(content->get_ref<const std::string&>());
    if (!content->is_array() || content->empty()) return false;
    for (const auto& element : *content) {
        auto text = JSONFields::string(element, "text");
        if (!text || !test(*text)) return false;
    }
    return true;
}

bool anyText(const json& message, std::string_view prefix) {
    const json* content = JSONFields::member(message, "content");
    if (content == nullptr) return false;
    if (content->is_string()) return content->get_ref<const std::string&>().starts_with(prefix);
    if (!content->is_array()) return false;
    for (const auto& element : *content) {
        auto text = JSONFields::string(element, "text");
        if (text && text->starts_with(prefix)) return true;
    }
    return false;
}

bool callsTool(const json& message) {
    const json* content = JSONFields::member(message, "content");
    if (content == nullptr || !content->is_array()) return false;
    for (const auto& element : *content) {
        if (JSONFields::string(element, "type") == "tool_use") return true;
    }
    return false;
}

// Walks the lines newest first and stops at the first that decides.
class TailWalk {
public:
    bool visit(std::string_view line) {
        // Most lines (progress, snapshots, queue operations) name none of these words.
        if (line.find("\"user\"") == std::string_view::npos &&
            line.find("\"assistant\"") == std::string_view::npos &&
            line.find("\"system\"") == std::string_view::npos) {
            return false;
        }
        json object = parseJSON(line).value_or(json());
        auto type = JSONFields::string(object, "type");
        if (type == "system") {
            auto subtype = JSONFields::string(object, "subtype");
            if (subtype == "stop_hook_summary" || subtype == "turn_duration") turnClosed_ = true;
            return false;
        }
        if (type != "user" && type != "assistant") return false;
        static const json none;
        const json* found = JSONFields::member(object, "message");
        const json& message = found != nullptr ? *found : none;
        if (type == "user" &&
            (JSONFields::isTrue(object, "isMeta") || everyText(message, startsWithCommandTag))) {
            return false;
        }
        result_ = ClaudeTranscriptReader::TailParse{*type};
        if (turnClosed_) return true;
        if (type == "user") {
            result_->turnInProgress = !anyText(message, kInterrupt);
        } else {
            decideReply(message);
        }
        return true;
    }

    const std::optional<ClaudeTranscriptReader::TailParse>& result() const { return result_; }

private:
    void decideReply(const json& message) {
        auto& tail = *result_;
        const json* reason = JSONFields::member(message, "stop_reason");
        bool toolReason = reason != nullptr && reason->is_string() && *reason == "tool_use";
        if (callsTool(message) || toolReason) {
            tail.turnInProgress = tail.runningTool = true;
        } else if (reason == nullptr || !reason->is_string()) {
            tail.turnInProgress = tail.endsWhenQuiet = true;
        }
        // Any other reason names the end of the turn.
    }
    std::optional<ClaudeTranscriptReader::TailParse> result_;
    bool turnClosed_ = false;
};

struct Range {
    char32_t first;
    char32_t last;
};

// Characters outside ASCII that are neither letters, marks nor digits: punctuation, spaces,
// symbols and emoji of the common blocks. Everything else outside ASCII counts as a letter.
constexpr Range kNotAlphanumeric[] = {
    {0x80, 0xA9},     {0xAB, 0xB1},     {0xB4, 0xB4},     {0xB6, 0xB8},     {0xBB, 0xBB},
    {0xBF, 0xBF},     {0xD7, 0xD7},     {0xF7, 0xF7},     {0x2000, 0x206F}, {0x20A0, 0x20CF},
    {0x2190, 0x245F}, {0x2500, 0x2BFF}, {0x2E00, 0x2E7F}, {0x3000, 0x3004}, {0x3008, 0x3020},
    {0x3030, 0x3030}, {0xE000, 0xF8FF}, {0xFE10, 0xFE1F}, {0xFE30, 0xFE6F}, {0xFF01, 0xFF0F},
    {0xFF1A, 0xFF20}, {0xFF3B, 0xFF40}, {0xFF5B, 0xFF65}, {0xFFF0, 0xFFFF}, {0x1F000, 0x1FAFF},
};

bool alphanumeric(char32_t scalar) {
    if (scalar < 0x80) {
        return (scalar >= 'a' && scalar <= 'z') || (scalar >= 'A' && scalar <= 'Z') ||
               (scalar >= '0' && scalar <= '9');
    }
    for (const auto& range : kNotAlphanumeric) {
        if (scalar >= range.first && scalar <= range.last) return false;
    }
    return true;
}

}  // namespace

std::optional<ClaudeTranscriptReader::TailParse> ClaudeTranscriptReader::parseTail(
    FileAccessing& files, const std::string& path, std::uint64_t size) {
    TailWalk walk;
    BackwardLines lines(size, true);
    auto visit = [&walk](std::string_view line) { return walk.visit(line); };
    for (std::uint64_t window = kFirstWindow; window <= kLastWindow; window *= 2) {
        if (lines.readLast(files, path, window, visit) || lines.atStart()) break;
    }
    return walk.result();
}

std::optional<ClaudeTranscriptReader::TailParse> ClaudeTranscriptReader::parseTail(
    std::string_view text) {
    TailWalk walk;
    BackwardLines::newestFirst(text, [&walk](std::string_view line) { return walk.visit(line); });
    return walk.result();
}

std::optional<StateReport> ClaudeTranscriptReader::report(const std::optional<TailParse>& tail,
                                                          Date modifiedAt, Date now) {
    if (!tail || !tail->lastTurn) return std::nullopt;
    StateReport report{.state = ReportedState::idle,
                       .since = modifiedAt,
                       .observedAt = now,
                       .source = StateReport::Source::claudeTranscript};
    bool quietTooLong = tail->endsWhenQuiet && now - modifiedAt > kQuietSeconds;
    if (tail->turnInProgress && !quietTooLong) {
        report.state = ReportedState::working;
        report.detail = tail->runningTool ? "running a tool" : "in a turn";
    }
    return report;
}

std::string ClaudeTranscriptReader::projectName(std::string_view directory) {
    std::string name;
    while (!directory.empty()) {
        auto scalar = firstUtf8Scalar(directory);
        std::size_t length = scalar ? scalar->length : 1;
        if (scalar && alphanumeric(scalar->value)) {
            name.append(directory.substr(0, length));
        } else {
            name += '-';
        }
        directory.remove_prefix(length);
    }
    return name;
}

std::optional<ClaudeTranscriptReader::Transcript> ClaudeTranscriptReader::newestTranscript(
    FileAccessing& files, const std::string& projectsDirectory, std::string_view workingDirectory) {
    std::string folder = projectsDirectory + "/" + projectName(workingDirectory);
    auto entries = files.list(folder);
    if (!entries) return std::nullopt;
    std::optional<Transcript> newest;
    for (const auto& entry : *entries) {
        if (entry.isFolder || !entry.name.ends_with(".jsonl")) continue;
        std::string path = folder + "/" + entry.name;
        auto signature = files.signature(path);
        if (signature && (!newest || signature->modifiedAt > newest->signature.modifiedAt)) {
            newest = Transcript{std::move(path), *signature};
        }
    }
    return newest;
}

}  // namespace vigilmoth
