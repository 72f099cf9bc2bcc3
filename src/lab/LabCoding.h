#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/Date.h"

// The lab file's JSON conventions, shared by every lab record: dates rounded to whole
// milliseconds, keys sorted and slashes left alone on writing; strict types on reading, so
// that a line of the wrong shape is refused rather than half read.
namespace vigilmoth::LabCoding {

// Thrown by the readers below; LabFormat turns it into an unreadable line.
struct DecodingError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// `value` rounded to `perUnit` parts of one, halves away from zero.
double rounded(double value, double perUnit);

nlohmann::json date(Date date);
// One JSON text without line breaks; invalid UTF-8 in strings is replaced, never fatal.
std::string text(const nlohmann::json& value);

// The text with every invalid UTF-8 sequence replaced by U+FFFD.
std::string validUTF8(std::string_view bytes);

// Reads a JSON text, or nothing when it is not JSON at all.
std::optional<nlohmann::json> parsed(std::string_view text);

const nlohmann::json& object(const nlohmann::json& value);
// A member that is present and not null.
const nlohmann::json* member(const nlohmann::json& object, const char* key);
const nlohmann::json& required(const nlohmann::json& object, const char* key);

std::string string(const nlohmann::json& value);
double number(const nlohmann::json& value);
bool boolean(const nlohmann::json& value);
std::int32_t int32(const nlohmann::json& value);
std::int64_t int64(const nlohmann::json& value);
Date dateValue(const nlohmann::json& value);

template <typename Read>
auto optional(const nlohmann::json& object, const char* key, Read read)
    -> std::optional<decltype(read(object))> {
    if (const auto* found = member(object, key)) return read(*found);
    return std::nullopt;
}

}  // namespace vigilmoth::LabCoding
