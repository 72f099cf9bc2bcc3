#include "lab/LabCoding.h"

#include <cmath>
#include <limits>

namespace vigilmoth::LabCoding {

double rounded(double value, double perUnit) {
    // std::round rounds halves away from zero, which is the file format's rule.
    return std::round(value * perUnit) / perUnit;
}

nlohmann::json date(Date date) {
    return rounded(date.secondsSince1970(), 1000);
}

std::string text(const nlohmann::json& value) {
    return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

namespace {

// The length of the valid UTF-8 sequence at the start of `bytes`, or 0.
size_t sequenceLength(std::string_view bytes) {
    auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || bytes.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates and values above U+10FFFF.
    if (lead == 0xE0 && byte(1) < 0xA0) return 0;
    if (lead == 0xED && byte(1) > 0x9F) return 0;
    if (lead == 0xF0 && byte(1) < 0x90) return 0;
    if (lead == 0xF4 && byte(1) > 0x8F) return 0;
    return length;
}

[[noreturn]] void refuse(const std::string& what) {
    throw DecodingError(what);
}

}  // namespace

std::string validUTF8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        size_t length = sequenceLength(bytes);
        if (length == 0) {
            result += "\xEF\xBF\xBD";
            length = 1;
        } else {
            result.append(bytes.substr(0, length));
        }
        bytes.remove_prefix(length);
    }
    return result;
}

std::optional<nlohmann::json> parsed(std::string_view text) {
    auto value = nlohmann::json::parse(text, nullptr, false);
    if (value.is_discarded()) return std::nullopt;
    return value;
}

const nlohmann::json& object(const nlohmann::json& value) {
    if (!value.is_object()) refuse("expected an object");
    return value;
}

const nlohmann::json* member(const nlohmann::json& object, const char* key) {
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) return nullptr;
    return &*found;
}

const nlohmann::json& required(const nlohmann::json& object, const char* key) {
    if (const auto* found = member(object, key)) return *found;
    refuse(std::string("missing key ") + key);
}

std::string string(const nlohmann::json& value) {
    if (!value.is_string()) refuse("expected a string");
    return value.get<std::string>();
}

double number(const nlohmann::json& value) {
    if (!value.is_number()) refuse("expected a number");
    return value.get<double>();
}

bool boolean(const nlohmann::json& value) {
    if (!value.is_boolean()) refuse("expected a boolean");
    return value.get<bool>();
}

std::int64_t int64(const nlohmann::json& value) {
    if (value.is_number_integer() && !value.is_number_unsigned()) {
        return value.get<std::int64_t>();
    }
    if (value.is_number_unsigned()) {
        auto unsignedValue = value.get<std::uint64_t>();
        if (unsignedValue <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return static_cast<std::int64_t>(unsignedValue);
        }
    }
    if (value.is_number_float()) {
        double number = value.get<double>();
        if (std::trunc(number) == number && std::abs(number) < 9.0e15) {
            return static_cast<std::int64_t>(number);
        }
    }
    refuse("expected an integer");
}

std::int32_t int32(const nlohmann::json& value) {
    auto wide = int64(value);
    if (wide < std::numeric_limits<std::int32_t>::min() ||
        wide > std::numeric_limits<std::int32_t>::max()) {
        refuse("integer out of range");
    }
    return static_cast<std::int32_t>(wide);
}

Date dateValue(const nlohmann::json& value) {
    return Date(number(value));
}

}  // namespace vigilmoth::LabCoding
