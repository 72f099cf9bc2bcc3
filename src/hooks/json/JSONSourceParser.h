#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vigilmoth {

// Every position is a byte offset into the file's raw bytes, counted from 0.
using JSONSourceOffset = std::ptrdiff_t;

// A half-open range of byte offsets.
struct JSONSourceRange {
    JSONSourceOffset lowerBound = 0;
    JSONSourceOffset upperBound = 0;

    JSONSourceOffset length() const { return upperBound - lowerBound; }
    bool operator==(const JSONSourceRange&) const = default;
};

// One parsed value that remembers where it lies in the source, so that edits can splice the
// file's own bytes instead of re-serialising what the user wrote.
struct JSONSourceNode {
    struct Member;
    struct Object {
        std::vector<Member> members;  // in source order; duplicate keys are all kept
        bool operator==(const Object&) const = default;
    };
    struct Array {
        std::vector<JSONSourceNode> elements;
        bool operator==(const Array&) const = default;
    };
    struct String {
        std::string value;  // escapes resolved
        bool operator==(const String&) const = default;
    };
    // A number, true, false or null; the text itself stays in the source.
    struct Other {
        bool operator==(const Other&) const = default;
    };
    using Kind = std::variant<Object, Array, String, Other>;

    Kind kind;
    // For a string, from the opening quote to just after the closing quote.
    JSONSourceRange range;

    const Object* object() const { return std::get_if<Object>(&kind); }
    const Array* array() const { return std::get_if<Array>(&kind); }
    const String* string() const { return std::get_if<String>(&kind); }

    // For an object each member from its key's opening quote to the end of its value; for an
    // array each element; nothing for a scalar.
    std::vector<JSONSourceRange> childRanges() const;

    bool operator==(const JSONSourceNode&) const = default;
};

struct JSONSourceNode::Member {
    std::string key;         // escapes resolved
    JSONSourceOffset start;  // the key's opening quote
    JSONSourceNode value;

    bool operator==(const Member&) const = default;
};

// Where a parse gave up. Callers compose the text that the user sees.
class JSONSourceError : public std::exception {
public:
    explicit JSONSourceError(JSONSourceOffset offset);
    JSONSourceOffset offset() const { return offset_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    JSONSourceOffset offset_;
    std::string message_;
};

// Strict JSON (no comments, no trailing commas) with byte ranges. The nesting is bounded so
// that a hostile file cannot exhaust the stack.
class JSONSourceParser {
public:
    static constexpr int kNestingLimit = 256;

    // Parses a whole document, after an optional UTF-8 byte-order mark; throws JSONSourceError.
    static JSONSourceNode parse(std::string_view bytes);

private:
    explicit JSONSourceParser(std::string_view bytes) : bytes_(bytes) {}

    JSONSourceNode value(int depth);
    JSONSourceNode array(int depth);
    JSONSourceNode object(int depth);
    JSONSourceNode literal();
    JSONSourceNode string();
    void skipWhitespace();
    void expect(char byte);
    bool atEnd() const { return offset_ >= static_cast<JSONSourceOffset>(bytes_.size()); }
    char current() const { return bytes_[static_cast<std::size_t>(offset_)]; }

    std::string_view bytes_;
    JSONSourceOffset offset_ = 0;
};

}  // namespace vigilmoth
