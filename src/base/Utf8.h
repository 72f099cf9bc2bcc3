#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vigilmoth {

// The bytes as UTF-8 text, each invalid sequence replaced by one U+FFFD, so that names read from
// the system and recordings read from disk can be shown and written as JSON whatever they hold.
// An invalid sequence spans its longest valid beginning, so that a character cut short is one
// replacement, not one per byte, as the platforms' own UTF-8 decoders read it.
std::string repairedUtf8(std::string_view bytes);

// The Unicode scalar that the bytes start with, and its length in bytes; none when they do not
// start with a valid UTF-8 sequence (or are empty).
struct Utf8Scalar {
    char32_t value = 0;
    std::size_t length = 0;
};
std::optional<Utf8Scalar> firstUtf8Scalar(std::string_view bytes);

}  // namespace vigilmoth
