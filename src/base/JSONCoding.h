#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/Date.h"

namespace vigilmoth {

// Records are built as ordered objects so that an encoder that keeps the key order writes the
// keys in the order the record lists them; a sorting encoder reorders them when it writes.
using OrderedJSON = nlohmann::ordered_json;

// Why a value could not be encoded or decoded; the description is meant for diagnostics.
class CodingError : public std::runtime_error {
public:
    enum class Kind { invalidValue, typeMismatch, valueNotFound, keyNotFound, dataCorrupted };

    CodingError(Kind kind, const std::string& description)
        : std::runtime_error(description), kind_(kind) {}

    Kind kind() const { return kind_; }
    std::string description() const { return what(); }

private:
    Kind kind_;
};

// How the encoder that carries a record writes its dates.
enum class DateStrategy {
    secondsSince1970,   // a JSON number, full precision
    wholeMilliseconds,  // seconds since 1970 rounded to the millisecond, halves away from zero
};

// The settings of one JSON encoder. The default is the plain encoder: keys in the order the
// records list them, slashes escaped as "\/" the way the platform's plain encoder does.
struct JSONEncoder {
    bool sortedKeys = false;
    bool escapeSlashes = true;
    DateStrategy dates = DateStrategy::secondsSince1970;

    OrderedJSON date(Date date) const;
    // Compact text of a value built by the records' encoding functions.
    std::string text(const OrderedJSON& value) const;
};

// Parses text as JSON; nothing when it is not a whole, valid JSON document.
std::optional<nlohmann::json> parseJSON(std::string_view text);

// The checked conversions that decoders share. Each throws a CodingError naming `key`.
namespace json_value {

bool boolean(const nlohmann::json& value, std::string_view key);
std::string string(const nlohmann::json& value, std::string_view key);
// A number; JSON null stands for NaN, which is how the encoder writes a NaN.
double number(const nlohmann::json& value, std::string_view key);
std::int64_t integer(const nlohmann::json& value, std::string_view key, std::int64_t lowest,
                     std::int64_t highest);
std::uint64_t unsignedInteger(const nlohmann::json& value, std::string_view key);
Date date(const nlohmann::json& value, std::string_view key);
const nlohmann::json& array(const nlohmann::json& value, std::string_view key);
const nlohmann::json& object(const nlohmann::json& value, std::string_view key);

}  // namespace json_value

// Reads the members of one JSON object. Absent keys and null values count as missing, as
// they do for the platform's decoders; a present value of the wrong type is an error.
class JSONObjectReader {
public:
    // Throws a type-mismatch error when `value` is not an object.
    explicit JSONObjectReader(const nlohmann::json& value);

    // The member, or null when the key is absent or holds null.
    const nlohmann::json* find(std::string_view key) const;
    // The member even when it holds null; null only when the key is absent.
    const nlohmann::json* member(std::string_view key) const;
    // The member; a key-not-found error when it is missing.
    const nlohmann::json& require(std::string_view key) const;

    // A flag that is written only when set: missing means false, an explicit false is accepted.
    bool flag(std::string_view key) const;

private:
    const nlohmann::json& object_;
};

// The text of a record under an encoder's settings; each record supplies
// `OrderedJSON encodeJSON(const Record&, const JSONEncoder&)` next to its type.
template <class Record>
std::string encodeJSONText(const Record& record, const JSONEncoder& encoder = {}) {
    return encoder.text(encodeJSON(record, encoder));
}

// Decoding of a record from its JSON value; each record specialises it next to its type.
// Throws a CodingError when the value is not a valid form of the record.
template <class Record>
Record decodeJSON(const nlohmann::json& value);

// The record held by a JSON text; nothing when the text is not JSON or not that record.
template <class Record>
std::optional<Record> decodeJSONText(std::string_view text) {
    auto parsed = parseJSON(text);
    if (!parsed) return std::nullopt;
    try {
        return decodeJSON<Record>(*parsed);
    } catch (const CodingError&) {
        return std::nullopt;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

}  // namespace vigilmoth
