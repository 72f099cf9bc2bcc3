#include "base/JSONCoding.h"

#include <cmath>
#include <limits>

namespace vigilmoth {

namespace {

std::string quoted(std::string_view key) {
    return "\"" + std::string(key) + "\"";
}

[[noreturn]] void mismatch(std::string_view expected, std::string_view key) {
    std::string where = key.empty() ? "" : " for key " + quoted(key);
    throw CodingError(
        CodingError::Kind::typeMismatch,
        "Expected to decode " + std::string(expected) + where + " but found another type.");
}

[[noreturn]] void outOfRange(std::string_view key) {
    throw CodingError(CodingError::Kind::dataCorrupted,
                      "The number for key " + quoted(key) + " does not fit.");
}

nlohmann::json sortedCopy(const OrderedJSON& value) {
    if (value.is_object()) {
        auto object = nlohmann::json::object();
        for (const auto& [key, member] : value.items())
            object[key] = sortedCopy(member);
        return object;
    }
    if (value.is_array()) {
        auto array = nlohmann::json::array();
        for (const auto& element : value)
            array.push_back(sortedCopy(element));
        return array;
    }
    // Scalars carry over by their own type, so integers stay integers.
    switch (value.type()) {
        case nlohmann::json::value_t::boolean:
            return value.get<bool>();
        case nlohmann::json::value_t::string:
            return value.get<std::string>();
        case nlohmann::json::value_t::number_integer:
            return value.get<std::int64_t>();
        case nlohmann::json::value_t::number_unsigned:
            return value.get<std::uint64_t>();
        case nlohmann::json::value_t::number_float:
            return value.get<double>();
        default:
            return nullptr;
    }
}

std::string escapingSlashes(const std::string& text) {
    std::string escaped;
    escaped.reserve(text.size());
    // Compact JSON holds a slash only inside strings, so every slash is one to escape.
    for (char character : text) {
        if (character == '/') escaped += '\\';
        escaped += character;
    }
    return escaped;
}

}  // namespace

OrderedJSON JSONEncoder::date(Date date) const {
    double seconds = date.secondsSince1970();
    if (dates == DateStrategy::wholeMilliseconds) return std::round(seconds * 1000) / 1000;
    return seconds;
}

std::string JSONEncoder::text(const OrderedJSON& value) const {
    // Text read from agents' files may hold broken UTF-8; it is written with replacement
    // characters rather than failing the whole record.
    constexpr auto handler = nlohmann::json::error_handler_t::replace;
    std::string text = sortedKeys ? sortedCopy(value).dump(-1, ' ', false, handler)
                                  : value.dump(-1, ' ', false, handler);
    return escapeSlashes ? escapingSlashes(text) : text;
}

std::optional<nlohmann::json> parseJSON(std::string_view text) {
    auto parsed = nlohmann::json::parse(text.begin(), text.end(), nullptr, false);
    if (parsed.is_discarded()) return std::nullopt;
    return parsed;
}

namespace json_value {

bool boolean(const nlohmann::json& value, std::string_view key) {
    if (!value.is_boolean()) mismatch("a Boolean", key);
    return value.get<bool>();
}

std::string string(const nlohmann::json& value, std::string_view key) {
    if (!value.is_string()) mismatch("a string", key);
    return value.get<std::string>();
}

double number(const nlohmann::json& value, std::string_view key) {
    if (value.is_null()) return std::numeric_limits<double>::quiet_NaN();
    if (!value.is_number()) mismatch("a number", key);
    return value.get<double>();
}

std::int64_t integer(const nlohmann::json& value, std::string_view key, std::int64_t lowest,
                     std::int64_t highest) {
    if (value.is_number_unsigned()) {
        auto number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(highest)) outOfRange(key);
        return static_cast<std::int64_t>(number);
    }
    if (value.is_number_integer()) {
        auto number = value.get<std::int64_t>();
        if (number < lowest || number > highest) outOfRange(key);
        return number;
    }
    if (!value.is_number_float()) mismatch("an integer", key);
    double number = value.get<double>();
    // A whole number written with a fraction part ("3.0") is still that integer.
    if (!(number >= static_cast<double>(lowest) && number <= static_cast<double>(highest)) ||
        number != std::trunc(number) || number >= 9.2233720368547758e18) {
        outOfRange(key);
    }
    return static_cast<std::int64_t>(number);
}

std::uint64_t unsignedInteger(const nlohmann::json& value, std::string_view key) {
    if (value.is_number_unsigned()) return value.get<std::uint64_t>();
    if (value.is_number_integer()) outOfRange(key);  // a negative integer
    if (!value.is_number_float()) mismatch("an unsigned integer", key);
    double number = value.get<double>();
    if (!(number >= 0 && number < 1.8446744073709552e19) || number != std::trunc(number)) {
        outOfRange(key);
    }
    return static_cast<std::uint64_t>(number);
}

Date date(const nlohmann::json& value, std::string_view key) {
    if (!value.is_number()) mismatch("a date (seconds since 1970)", key);
    return Date(value.get<double>());
}

const nlohmann::json& array(const nlohmann::json& value, std::string_view key) {
    if (!value.is_array()) mismatch("an array", key);
    return value;
}

const nlohmann::json& object(const nlohmann::json& value, std::string_view key) {
    if (!value.is_object()) mismatch("an object", key);
    return value;
}

}  // namespace json_value

JSONObjectReader::JSONObjectReader(const nlohmann::json& value)
    : object_(json_value::object(value, "")) {}

const nlohmann::json* JSONObjectReader::find(std::string_view key) const {
    auto found = object_.find(key);
    if (found == object_.end() || found->is_null()) return nullptr;
    return &*found;
}

const nlohmann::json* JSONObjectReader::member(std::string_view key) const {
    auto found = object_.find(key);
    return found == object_.end() ? nullptr : &*found;
}

const nlohmann::json& JSONObjectReader::require(std::string_view key) const {
    if (const auto* member = find(key)) return *member;
    throw CodingError(CodingError::Kind::keyNotFound,
                      "No value associated with key " + quoted(key) + ".");
}

bool JSONObjectReader::flag(std::string_view key) const {
    const auto* member = find(key);
    return member != nullptr && json_value::boolean(*member, key);
}

}  // namespace vigilmoth
