#include "ui/HumaneDuration.h"

#include <cmath>

namespace vigilmoth::HumaneDuration {

std::string counted(std::int64_t n, std::string_view noun) {
    std::string text = std::to_string(n);
    text += ' ';
    text += noun;
    if (n != 1) text += 's';
    return text;
}

namespace {

// Truncated toward zero; nonsense durations (negative, NaN, infinite) count as none at all.
std::int64_t wholeMinutes(double seconds) {
    if (!std::isfinite(seconds) || seconds <= 0) return 0;
    const double minutes = std::trunc(seconds / 60);
    // Beyond this the day count no longer fits the text any user would read anyway.
    constexpr double ceiling = 1e15;
    return static_cast<std::int64_t>(minutes < ceiling ? minutes : ceiling);
}

}  // namespace

std::string units(double seconds) {
    const std::int64_t m = wholeMinutes(seconds);
    if (m < 1) return "";
    if (m < 60) return counted(m, "minute");
    if (m < 600) {
        std::string text = counted(m / 60, "hour");
        if (m % 60 != 0) {
            text += ' ';
            text += counted(m % 60, "minute");
        }
        return text;
    }
    if (m < 2880) return counted(m / 60, "hour");
    return counted(m / 1440, "day");
}

}  // namespace vigilmoth::HumaneDuration
