#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "base/JSONCoding.h"

// Lenient reading of members of the agents' JSON, on top of the checked conversions of
// base/JSONCoding: a member of another type than expected is the same as a missing one. The
// documents themselves are parsed with `parseJSON`.
namespace vigilmoth::JSONFields {

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
    try {
        if constexpr (std::is_unsigned_v<T>) {
            auto number = json_value::unsignedInteger(value, "");
            if (number > std::numeric_limits<T>::max()) return std::nullopt;
            return static_cast<T>(number);
        } else {
            return static_cast<T>(json_value::integer(value, "", std::numeric_limits<T>::min(),
                                                      std::numeric_limits<T>::max()));
        }
    } catch (const CodingError&) {
        return std::nullopt;
    }
}

template <typename T>
std::optional<T> integer(const nlohmann::json& object, std::string_view key) {
    const auto* value = member(object, key);
    return value == nullptr ? std::nullopt : integerValue<T>(*value);
}

}  // namespace vigilmoth::JSONFields
