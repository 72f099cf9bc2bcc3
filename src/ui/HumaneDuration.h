#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vigilmoth {

// Durations and counts in the short English the panel and the reasons speak.
namespace HumaneDuration {

// "1 minute", "0 minutes", "3 idle sessions": every noun used takes a plain "s".
std::string counted(std::int64_t n, std::string_view noun);

// Whole units only, coarser as the duration grows; empty under one minute.
std::string units(double seconds);

}  // namespace HumaneDuration
}  // namespace vigilmoth
