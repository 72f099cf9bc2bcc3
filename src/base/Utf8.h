#pragma once

#include <string>
#include <string_view>

namespace vigilmoth {

// The bytes as UTF-8 text, each invalid sequence replaced by one U+FFFD, so that names read from
// the system and recordings read from disk can be shown and written as JSON whatever they hold.
// An invalid sequence spans its longest valid beginning, so that a character cut short is one
// replacement, not one per byte, as the platforms' own UTF-8 decoders read it.
std::string repairedUtf8(std::string_view bytes);

}  // namespace vigilmoth
