#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "base/JSONCoding.h"

namespace vigilmoth {

// A small enumeration that is written in JSON as a short word. A type opts in by
// specialising NameCoded with a `codedNames` table of (case, word) pairs and the
// `unknownMessage` that precedes an unknown word in a decoding error.
template <class Enum>
struct NameCoded;

template <class Enum>
concept NameCodedEnum = std::is_enum_v<Enum> && requires {
    NameCoded<Enum>::codedNames;
    NameCoded<Enum>::unknownMessage;
};

template <NameCodedEnum Enum>
constexpr std::optional<std::string_view> codedName(Enum value) {
    for (const auto& [candidate, word] : NameCoded<Enum>::codedNames) {
        if (candidate == value) return word;
    }
    return std::nullopt;
}

// The case whose word is exactly `word` (case-sensitive), the first one in table order.
template <NameCodedEnum Enum>
constexpr std::optional<Enum> namedCase(std::string_view word) {
    for (const auto& [candidate, candidateWord] : NameCoded<Enum>::codedNames) {
        if (candidateWord == word) return candidate;
    }
    return std::nullopt;
}

// Every case with a word, in table order.
template <NameCodedEnum Enum>
constexpr auto allCases() {
    constexpr auto& table = NameCoded<Enum>::codedNames;
    std::array<Enum, std::tuple_size_v<std::remove_cvref_t<decltype(table)>>> cases{};
    for (std::size_t index = 0; index < table.size(); ++index)
        cases[index] = table[index].first;
    return cases;
}

template <NameCodedEnum Enum>
OrderedJSON encodeName(Enum value) {
    if (auto word = codedName(value)) return std::string(*word);
    throw CodingError(CodingError::Kind::invalidValue,
                      "No name for " + std::to_string(static_cast<long long>(value)));
}

template <NameCodedEnum Enum>
Enum decodeName(const nlohmann::json& value, std::string_view key) {
    auto word = json_value::string(value, key);
    if (auto found = namedCase<Enum>(word)) return *found;
    throw CodingError(CodingError::Kind::dataCorrupted,
                      std::string(NameCoded<Enum>::unknownMessage) + word);
}

}  // namespace vigilmoth
