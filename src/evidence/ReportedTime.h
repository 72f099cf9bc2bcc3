#pragma once

#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "base/Date.h"

namespace vigilmoth::ReportedTime {

// The one reading of a date found in an agent's file: an ISO 8601 text (with or without
// fractional seconds, with a zone), or a number of seconds since 1970, where a number above
// 1e11 is taken as milliseconds. Anything else, and a number that is not finite, is no date.
std::optional<Date> date(const nlohmann::json& value);

// An ISO 8601 date and time with a zone: "2026-02-23T11:40:29.275Z", "...T12:40:29+01:00".
std::optional<Date> iso8601(std::string_view text);

}  // namespace vigilmoth::ReportedTime
