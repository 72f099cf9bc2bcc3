#pragma once

#include <string>
#include <string_view>

namespace vigilmoth::LabText {

// The bytes as UTF-8 text, every invalid sequence replaced by U+FFFD, as a recording is
// decoded before it is read.
std::string validUTF8(std::string_view bytes);

}  // namespace vigilmoth::LabText
