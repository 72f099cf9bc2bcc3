#include "hooks/json/JSONSourceText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vigilmoth::JSONSourceText {
namespace {

bool isIndent(char byte) {
    return byte == ' ' || byte == '\t';
}

std::size_t clamped(JSONSourceOffset offset, std::string_view bytes) {
    return static_cast<std::size_t>(
        std::clamp<JSONSourceOffset>(offset, 0, static_cast<JSONSourceOffset>(bytes.size())));
}

std::size_t lineStart(std::size_t offset, std::string_view bytes) {
    auto feed = offset == 0 ? std::string_view::npos : bytes.rfind('\n', offset - 1);
    return feed == std::string_view::npos ? 0 : feed + 1;
}

void replace(std::string& bytes, JSONSourceOffset from, JSONSourceOffset to,
             const std::string& text) {
    bytes.replace(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from), text);
}

}  // namespace

std::string lineEnding(std::string_view bytes) {
    return bytes.find('\r') == std::string_view::npos ? "\n" : "\r\n";
}

std::string indentUnit(std::string_view bytes) {
    for (auto feed = bytes.find('\n'); feed != std::string_view::npos;
         feed = bytes.find('\n', feed + 1)) {
        auto start = feed + 1;
        auto end = start;
        while (end < bytes.size() && isIndent(bytes[end]))
            ++end;
        if (end > start && end < bytes.size() && bytes[end] != '\n' && bytes[end] != '\r') {
            return std::string(bytes.substr(start, end - start));
        }
    }
    return "  ";
}

std::string lineIndent(JSONSourceOffset offset, std::string_view bytes) {
    auto start = lineStart(clamped(offset, bytes), bytes);
    auto end = start;
    while (end < bytes.size() && isIndent(bytes[end]))
        ++end;
    return std::string(bytes.substr(start, end - start));
}

bool isFirstOnLine(JSONSourceOffset offset, std::string_view bytes) {
    auto end = clamped(offset, bytes);
    auto start = lineStart(end, bytes);
    return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(start),
                       bytes.begin() + static_cast<std::ptrdiff_t>(end), isIndent);
}

std::string literal(std::string_view text) {
    try {
        return nlohmann::json(std::string(text)).dump();
    } catch (const nlohmann::json::exception&) {
        // Text that is not UTF-8 cannot be written as JSON.
        return "\"\"";
    }
}

void removeChild(std::ptrdiff_t index, const JSONSourceNode& node, std::string& bytes) {
    auto children = node.childRanges();
    auto count = static_cast<std::ptrdiff_t>(children.size());
    if (index < 0 || index >= count) return;
    auto child = static_cast<std::size_t>(index);
    if (count == 1) {
        replace(bytes, node.range.lowerBound + 1, node.range.upperBound - 1, "");
    } else if (index == 0) {
        replace(bytes, children[0].lowerBound, children[1].lowerBound, "");
    } else {
        replace(bytes, children[child - 1].upperBound, children[child].upperBound, "");
    }
}

void append(const JSONSourceNode& node, std::string& bytes,
            const std::function<std::string(const std::string& indent)>& text) {
    if (!node.object() && !node.array()) return;
    auto ending = lineEnding(bytes);
    auto children = node.childRanges();
    if (children.empty()) {
        auto outer = lineIndent(node.range.lowerBound, bytes);
        auto inner = outer + indentUnit(bytes);
        replace(bytes, node.range.lowerBound + 1, node.range.upperBound - 1,
                ending + inner + text(inner) + ending + outer);
        return;
    }
    const auto& last = children.back();
    if (isFirstOnLine(last.lowerBound, bytes)) {
        auto indent = lineIndent(last.lowerBound, bytes);
        replace(bytes, last.upperBound, last.upperBound, "," + ending + indent + text(indent));
    } else {
        replace(bytes, last.upperBound, last.upperBound,
                ", " + text(lineIndent(node.range.lowerBound, bytes)));
    }
}

}  // namespace vigilmoth::JSONSourceText
