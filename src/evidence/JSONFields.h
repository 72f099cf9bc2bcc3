#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <nlohmann/json.hpp>

// Lenient reading of members of the agents' JSON: a member of another type than expected is
// the same as a missing one.
namespace vigilmoth::JSONFields {

// Parses text as JSON without throwing; a discarded (null) value when it is not valid JSON.
inline nlohmann::json parsed(std::string_view text) {
    return nlohmann::json::parse(text, nullptr, false);
}

inline const nlohmann::json* member(const nlohmann::json& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

inline std::optional<std::string> string(const nlohmann::json& object, std::string_view key) {
    const auto* value = member(object, key);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

inline bool isTrue(const nlohmann::json& object, std::string_view key) {
    const auto* value = member(object, key);
    return value != nullptr && value->is_boolean() && value->get<bool>();
}

// An integer that fits T; a fraction, another type or an out-of-range number is none.
template <typename T>
std::optional<T> integerValue(const nlohmann::json& value) {
    if (!value.is_number_integer()) return std::nullopt;
    if (value.is_number_unsigned()) {
        auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(std::numeric_limits<T>::max())) return std::nullopt;
        return static_cast<T>(number);
    }
    auto number = value.get<std::int64_t>();
    if (number < 0) {
        if constexpr (std::is_unsigned_v<T>) {
            return std::nullopt;
        } else if (number < static_cast<std::int64_t>(std::numeric_limits<T>::min())) {
            return std::nullopt;
        }
    } else if (static_cast<std::uint64_t>(number) >
               static_cast<std::uint64_t>(std::numeric_limits<T>::max())) {
        return std::nullopt;
    }
    return static_cast<T>(number);
}

template <typename T>
std::optional<T> integer(const nlohmann::json& object, std::string_view key) {
    const auto* value = member(object, key);
    return value == nullptr ? std::nullopt : integerValue<T>(*value);
}

}  // namespace vigilmoth::JSONFields
