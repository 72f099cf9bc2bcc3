#pragma once

#include <string>
#include <string_view>

namespace vigilmoth::PowerNoticeText {

// What the user calls the machine: a macOS user reads "Mac", everyone else "computer".
#if defined(__APPLE__)
inline constexpr std::string_view kMachine = "Mac";
#else
inline constexpr std::string_view kMachine = "computer";
#endif

// Posted while the battery limit is off and vigilmoth holds the machine on a falling battery.
std::string batteryLimitOff(int percent);

}  // namespace vigilmoth::PowerNoticeText
