#include "decision/VerdictReason.h"

#include <cmath>

namespace vigilmoth {

std::int64_t wholeSeconds(double seconds) {
    if (std::isnan(seconds)) return 0;
    // About 31 million years: far beyond any age, far within the integer's range.
    constexpr double limit = 1e15;
    if (seconds >= limit) return static_cast<std::int64_t>(limit);
    if (seconds <= -limit) return -static_cast<std::int64_t>(limit);
    return static_cast<std::int64_t>(std::trunc(seconds));
}

std::string VerdictReason::code() const {
    std::string code(codedName(kind).value_or(""));
    // The first six cases carry a count, seconds or minutes.
    if (kind <= Kind::onlyWeakSigns) {
        code += ':';
        code += std::to_string(value);
    }
    return code;
}

}  // namespace vigilmoth
