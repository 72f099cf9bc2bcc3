#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/LabMark.h"

namespace vigilmoth {

// One line of a recording; which fields are present makes the line's kind.
struct LabLine {
    std::optional<LabMark> mark;

    bool operator==(const LabLine&) const = default;
};

namespace LabFormat {

// The line's JSON text and one line feed.
std::string line(const LabLine& line);

}  // namespace LabFormat
}  // namespace vigilmoth
