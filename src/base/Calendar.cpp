#include "base/Calendar.h"

#include <array>
#include <cmath>
#include <ctime>
#include <mutex>
#include <tuple>

namespace vigilmoth {

namespace {

// std::localtime and std::mktime share the C library's static state.
std::mutex& localTimeMutex() {
    static std::mutex mutex;
    return mutex;
}

using Fields = std::array<int, 6>;  // year, month, day, hour, minute, second

Fields fieldsOf(const std::tm& time) {
    return {time.tm_year, time.tm_mon, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec};
}

Fields localFields(std::time_t time) {
    std::tm* local = std::localtime(&time);
    return local ? fieldsOf(*local) : Fields{};
}

std::time_t makeTime(const Fields& fields, int isDaylightSaving) {
    std::tm time{};
    time.tm_year = fields[0];
    time.tm_mon = fields[1];
    time.tm_mday = fields[2];
    time.tm_hour = fields[3];
    time.tm_min = fields[4];
    time.tm_sec = fields[5];
    time.tm_isdst = isDaylightSaving;
    return std::mktime(&time);
}

// The calendar day `offset` days after the day of `local`, with its month and year carried.
Fields dayAfter(const Fields& local, int offset) {
    std::time_t noon = makeTime({local[0], local[1], local[2] + offset, 12, 0, 0}, -1);
    Fields day = localFields(noon);
    return {day[0], day[1], day[2], 0, 0, 0};
}

// The first moment whose local clock reads `target` or later: where the target time was
// skipped by a jump forward, that is the moment of the jump.
std::time_t firstMomentAtOrAfter(const Fields& target) {
    std::time_t low = makeTime({target[0], target[1], target[2], 0, 0, 0}, -1) - 86400;
    std::time_t high = low + 3 * 86400;
    while (high - low > 1) {
        std::time_t middle = low + (high - low) / 2;
        (localFields(middle) >= target ? high : low) = middle;
    }
    return high;
}

std::optional<std::time_t> matchOn(const Fields& target, double after) {
    std::optional<std::time_t> best;
    // Both readings of the local time, so that a time the clocks pass twice gives its first.
    for (int isDaylightSaving : {0, 1}) {
        std::time_t candidate = makeTime(target, isDaylightSaving);
        if (candidate == static_cast<std::time_t>(-1) || localFields(candidate) != target) continue;
        if (static_cast<double>(candidate) <= after) continue;
        if (!best || candidate < *best) best = candidate;
    }
    if (best) return best;
    std::time_t jump = firstMomentAtOrAfter(target);
    Fields reached = localFields(jump);
    bool sameDay =
        std::tie(reached[0], reached[1], reached[2]) == std::tie(target[0], target[1], target[2]);
    // Only a skipped time counts here; a time that exists but lies before `after` does not.
    if (sameDay && reached != target && static_cast<double>(jump) > after) return jump;
    return std::nullopt;
}

}  // namespace

std::optional<std::string> Calendar::formatted(Date date, const char* format) const {
    const double seconds = std::floor(date.secondsSince1970());
    // Beyond this no year fits the C library's count, and the conversion itself would overflow.
    if (!(std::abs(seconds) < 1e17)) return std::nullopt;
    const auto time = static_cast<std::time_t>(seconds);
    std::lock_guard lock(localTimeMutex());
    const std::tm* local = std::localtime(&time);
    if (local == nullptr) return std::nullopt;
    char text[64];
    const std::size_t length = std::strftime(text, sizeof text, format, local);
    if (length == 0) return std::nullopt;
    return std::string(text, length);
}

std::optional<Date> Calendar::nextDate(Date after, int hour, int minute, int second) const {
    std::lock_guard lock(localTimeMutex());
    double seconds = after.secondsSince1970();
    if (!std::isfinite(seconds)) return std::nullopt;
    Fields today = localFields(static_cast<std::time_t>(std::floor(seconds)));
    for (int offset = 0; offset <= 7; ++offset) {
        Fields target = dayAfter(today, offset);
        target[3] = hour;
        target[4] = minute;
        target[5] = second;
        if (auto match = matchOn(target, seconds)) return Date(static_cast<double>(*match));
    }
    return std::nullopt;
}

}  // namespace vigilmoth
