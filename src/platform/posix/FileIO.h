#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace vigilmoth {

// Writes every byte, retrying after interruptions; false on an error or a write of nothing.
bool writeAll(int descriptor, std::string_view bytes);

// Reads to the end of the file; absent on an error or when it holds more than `limit` bytes.
std::optional<std::string> readAll(int descriptor,
                                   size_t limit = std::numeric_limits<size_t>::max());

}  // namespace vigilmoth
