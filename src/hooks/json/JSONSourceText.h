#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "hooks/json/JSONSourceParser.h"

namespace vigilmoth {

// Splicing helpers over a file's bytes. They never fail: out-of-range requests do nothing.
// A splice moves every offset after it, so callers parse again after each change.
namespace JSONSourceText {

// The indentation of the first indented line, or two spaces when no line is indented.
std::string indentUnit(std::string_view bytes);

// The spaces and tabs that begin the line containing `offset`.
std::string lineIndent(JSONSourceOffset offset, std::string_view bytes);

// Carriage return plus line feed when the text holds any carriage return, else a line feed.
std::string lineEnding(std::string_view bytes);

// Whether only spaces and tabs stand between the start of the line and `offset`.
bool isFirstOnLine(JSONSourceOffset offset, std::string_view bytes);

// `text` as a JSON string literal, slashes not escaped; "\"\"" when it cannot be written.
std::string literal(std::string_view text);

// Cuts child `index` of `node` out of `bytes` together with its separator.
void removeChild(std::ptrdiff_t index, const JSONSourceNode& node, std::string& bytes);

// Adds one child at the end of an object or array, following its layout. `text` receives the
// indentation of the new child's first line and returns the child's source (for an object the
// whole member, key included).
void append(const JSONSourceNode& node, std::string& bytes,
            const std::function<std::string(const std::string& indent)>& text);

}  // namespace JSONSourceText
}  // namespace vigilmoth
