#include "evidence/ReportedTime.h"

#include <cmath>
#include <cstdint>

namespace vigilmoth::ReportedTime {
namespace {

// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar.
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

bool leapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && leapYear(year) ? 29 : days[month - 1];
}

// Reads exactly `count` digits.
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text) {}

    std::optional<int> digits(std::size_t count) {
        if (text_.size() - position_ < count) return std::nullopt;
        int value = 0;
        for (std::size_t index = 0; index < count; ++index) {
            char digit = text_[position_ + index];
            if (digit < '0' || digit > '9') return std::nullopt;
            value = value * 10 + (digit - '0');
        }
        position_ += count;
        return value;
    }
    bool take(char expected) {
        if (position_ >= text_.size() || text_[position_] != expected) return false;
        ++position_;
        return true;
    }
    bool takeAny(std::string_view choices) {
        if (position_ >= text_.size() || choices.find(text_[position_]) == std::string_view::npos)
            return false;
        ++position_;
        return true;
    }
    // The digits after a decimal point, as a fraction of one.
    std::optional<double> fraction() {
        double value = 0;
        double scale = 0.1;
        std::size_t start = position_;
        while (position_ < text_.size() && text_[position_] >= '0' && text_[position_] <= '9') {
            value += (text_[position_] - '0') * scale;
            scale /= 10;
            ++position_;
        }
        if (position_ == start) return std::nullopt;
        return value;
    }
    char peek() const { return position_ < text_.size() ? text_[position_] : '\0'; }
    bool atEnd() const { return position_ == text_.size(); }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

// "Z", "+HH:MM", "+HHMM" or "+HH", as seconds east of UTC.
std::optional<int> zoneOffset(Cursor& cursor) {
    if (cursor.takeAny("Zz")) return 0;
    char sign = cursor.peek();
    if (!cursor.takeAny("+-")) return std::nullopt;
    auto hours = cursor.digits(2);
    if (!hours || *hours > 23) return std::nullopt;
    int minutes = 0;
    if (!cursor.atEnd()) {
        cursor.take(':');
        auto read = cursor.digits(2);
        if (!read || *read > 59) return std::nullopt;
        minutes = *read;
    }
    int offset = *hours * 3600 + minutes * 60;
    return sign == '-' ? -offset : offset;
}

}  // namespace

std::optional<Date> iso8601(std::string_view text) {
    Cursor cursor(text);
    auto year = cursor.digits(4);
    if (!year || !cursor.take('-')) return std::nullopt;
    auto month = cursor.digits(2);
    if (!month || *month < 1 || *month > 12 || !cursor.take('-')) return std::nullopt;
    auto day = cursor.digits(2);
    if (!day || *day < 1 || *day > daysInMonth(*year, *month)) return std::nullopt;
    if (!cursor.takeAny("Tt ")) return std::nullopt;
    auto hour = cursor.digits(2);
    if (!hour || *hour > 23 || !cursor.take(':')) return std::nullopt;
    auto minute = cursor.digits(2);
    if (!minute || *minute > 59 || !cursor.take(':')) return std::nullopt;
    auto second = cursor.digits(2);
    // 60 is a leap second, which the count of seconds since 1970 folds into the next one.
    if (!second || *second > 60) return std::nullopt;
    double fraction = 0;
    if (cursor.takeAny(".,")) {
        auto read = cursor.fraction();
        if (!read) return std::nullopt;
        fraction = *read;
    }
    auto offset = zoneOffset(cursor);
    if (!offset || !cursor.atEnd()) return std::nullopt;
    std::int64_t days =
        daysFromCivil(*year, static_cast<unsigned>(*month), static_cast<unsigned>(*day));
    std::int64_t seconds = days * 86400 + *hour * 3600 + *minute * 60 + *second - *offset;
    return Date(static_cast<double>(seconds) + fraction);
}

std::optional<Date> date(const nlohmann::json& value) {
    if (value.is_string()) return iso8601(value.get_ref<const std::string&>());
    if (!value.is_number()) return std::nullopt;
    double number = value.get<double>();
    if (!std::isfinite(number)) return std::nullopt;
    // Agents write milliseconds too; no date in seconds comes anywhere near 1e11.
    return Date(number > 1e11 ? number / 1000 : number);
}

}  // namespace vigilmoth::ReportedTime
