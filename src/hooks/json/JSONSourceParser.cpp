#include "hooks/json/JSONSourceParser.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vigilmoth {
namespace {

// Exactly these four; form feeds and comments are not whitespace in JSON.
bool isWhitespace(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool endsLiteral(char byte) {
    return isWhitespace(byte) || byte == ',' || byte == '}' || byte == ']';
}

// The one place where text is judged as JSON on its own; the editor's own scanning only
// decides where a value ends.
std::optional<nlohmann::json> decode(std::string_view text) {
    auto value = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

}  // namespace

std::vector<JSONSourceRange> JSONSourceNode::childRanges() const {
    std::vector<JSONSourceRange> ranges;
    if (const auto* members = object()) {
        for (const auto& member : members->members) {
            ranges.push_back({member.start, member.value.range.upperBound});
        }
    } else if (const auto* elements = array()) {
        for (const auto& element : elements->elements)
            ranges.push_back(element.range);
    }
    return ranges;
}

JSONSourceError::JSONSourceError(JSONSourceOffset offset)
    : offset_(offset), message_("JSON source error at byte " + std::to_string(offset)) {}

JSONSourceNode JSONSourceParser::parse(std::string_view bytes) {
    JSONSourceParser parser(bytes);
    if (bytes.starts_with("\xEF\xBB\xBF")) parser.offset_ = 3;
    parser.skipWhitespace();
    JSONSourceNode root = parser.value(0);
    parser.skipWhitespace();
    if (!parser.atEnd()) throw JSONSourceError(parser.offset_);
    return root;
}

JSONSourceNode JSONSourceParser::value(int depth) {
    if (depth >= kNestingLimit || atEnd()) throw JSONSourceError(offset_);
    switch (current()) {
        case '"':
            return string();
        case '[':
            return array(depth);
        case '{':
            return object(depth);
        default:
            return literal();
    }
}

JSONSourceNode JSONSourceParser::array(int depth) {
    JSONSourceOffset begin = offset_;
    ++offset_;
    skipWhitespace();
    JSONSourceNode::Array elements;
    if (!atEnd() && current() == ']') {
        ++offset_;
        return {elements, {begin, offset_}};
    }
    while (true) {
        elements.elements.push_back(value(depth + 1));
        skipWhitespace();
        if (atEnd() || current() != ',') break;
        ++offset_;
        skipWhitespace();
    }
    expect(']');
    return {std::move(elements), {begin, offset_}};
}

JSONSourceNode JSONSourceParser::object(int depth) {
    JSONSourceOffset begin = offset_;
    ++offset_;
    skipWhitespace();
    JSONSourceNode::Object members;
    if (!atEnd() && current() == '}') {
        ++offset_;
        return {members, {begin, offset_}};
    }
    while (true) {
        skipWhitespace();
        JSONSourceOffset start = offset_;
        JSONSourceNode key = string();
        skipWhitespace();
        expect(':');
        skipWhitespace();
        JSONSourceNode member = value(depth + 1);
        members.members.push_back({std::move(std::get<JSONSourceNode::String>(key.kind).value),
                                   start, std::move(member)});
        skipWhitespace();
        if (atEnd() || current() != ',') break;
        ++offset_;
        skipWhitespace();
    }
    expect('}');
    return {std::move(members), {begin, offset_}};
}

JSONSourceNode JSONSourceParser::literal() {
    JSONSourceOffset begin = offset_;
    JSONSourceOffset end = begin;
    while (end < static_cast<JSONSourceOffset>(bytes_.size()) &&
           !endsLiteral(bytes_[static_cast<std::size_t>(end)])) {
        ++end;
    }
    auto text =
        bytes_.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
    // The decoder would skip a byte-order mark, which is no literal in the middle of a file.
    auto decoded = text.empty() || text.starts_with("\xEF") ? std::nullopt : decode(text);
    if (!decoded || decoded->is_string() || decoded->is_structured()) {
        throw JSONSourceError(begin);
    }
    offset_ = end;
    return {JSONSourceNode::Other{}, {begin, end}};
}

JSONSourceNode JSONSourceParser::string() {
    expect('"');
    JSONSourceOffset begin = offset_ - 1;
    bool closed = false;
    while (!atEnd()) {
        char byte = current();
        ++offset_;
        if (byte == '\\') {
            ++offset_;
        } else if (byte == '"') {
            closed = true;
            break;
        }
    }
    if (!closed) throw JSONSourceError(begin);
    auto text =
        bytes_.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(offset_ - begin));
    auto inner = text.substr(1, text.size() - 2);
    // Plain ASCII without escapes or control bytes is its own value; most keys and values
    // in a settings file are like that, and skipping the decoder for them is much faster.
    bool plain = std::all_of(inner.begin(), inner.end(), [](char byte) {
        auto code = static_cast<unsigned char>(byte);
        return code >= 0x20 && code < 0x80 && byte != '\\';
    });
    if (plain) return {JSONSourceNode::String{std::string(inner)}, {begin, offset_}};
    auto decoded = decode(text);
    if (!decoded || !decoded->is_string()) throw JSONSourceError(begin);
    return {JSONSourceNode::String{decoded->get<std::string>()}, {begin, offset_}};
}

void JSONSourceParser::skipWhitespace() {
    while (!atEnd() && isWhitespace(current()))
        ++offset_;
}

void JSONSourceParser::expect(char byte) {
    if (atEnd() || current() != byte) throw JSONSourceError(offset_);
    ++offset_;
}

}  // namespace vigilmoth
