#include "lab/LabText.h"

namespace vigilmoth::LabText {
namespace {

// The length of the valid UTF-8 sequence at the start of `bytes`, or 0.
size_t sequenceLength(std::string_view bytes) {
    auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || bytes.size() < length) return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
    }
    // Overlong forms, surrogates and values above U+10FFFF.
    if (lead == 0xE0 && byte(1) < 0xA0) return 0;
    if (lead == 0xED && byte(1) > 0x9F) return 0;
    if (lead == 0xF0 && byte(1) < 0x90) return 0;
    if (lead == 0xF4 && byte(1) > 0x8F) return 0;
    return length;
}

}  // namespace

std::string validUTF8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        size_t length = sequenceLength(bytes);
        if (length == 0) {
            result += "\xEF\xBF\xBD";
            length = 1;
        } else {
            result.append(bytes.substr(0, length));
        }
        bytes.remove_prefix(length);
    }
    return result;
}

}  // namespace vigilmoth::LabText
