#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <span>

#include "base/Date.h"
#include "support/ScopedTimeZone.h"

namespace vigilmoth::testing {

// One wall-clock case: in `zone`, from the moment `from`, the date `expected`.
struct ZonedCase {
    const char* name;
    const char* zone;
    double from;
    double expected;
};

// Runs each case under its own zone; `answer` must give a date, and exactly the expected one.
inline void expectInZones(std::span<const ZonedCase> cases,
                          const std::function<std::optional<Date>(Date from)>& answer) {
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        ScopedTimeZone zone(item.zone);
        auto date = answer(Date(item.from));
        ASSERT_TRUE(date);
        EXPECT_EQ(date->secondsSince1970(), item.expected);
    }
}

}  // namespace vigilmoth::testing
