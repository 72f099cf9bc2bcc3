#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vigilmoth {

// Who a headline speaks of: one agent by name, or several by count.
struct HoldSubject {
    struct One {
        std::string name;
        bool operator==(const One&) const = default;
    };
    struct Many {
        int count = 0;
        bool operator==(const Many&) const = default;
    };

    std::variant<One, Many> who;

    static HoldSubject one(std::string name) { return {One{std::move(name)}}; }
    static HoldSubject many(int count) { return {Many{count}}; }
    // No names give no subject at all, so that a headline never speaks of nobody.
    static std::optional<HoldSubject> of(const std::vector<std::string>& names) {
        if (names.empty()) return std::nullopt;
        if (names.size() == 1) return one(names.front());
        return many(static_cast<int>(names.size()));
    }

    bool operator==(const HoldSubject&) const = default;
};

}  // namespace vigilmoth
