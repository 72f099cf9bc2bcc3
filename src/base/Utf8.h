#pragma once

#include <string>
#include <string_view>

namespace vigilmoth {

// The text with every byte sequence that is not valid UTF-8 replaced by U+FFFD, so that
// names read from the system can be shown and written as JSON whatever they contain.
std::string repairedUtf8(std::string_view bytes);

}  // namespace vigilmoth
