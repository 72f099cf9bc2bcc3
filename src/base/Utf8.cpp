#include "base/Utf8.h"

#include <cstdint>

namespace vigilmoth {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The length of the valid sequence starting at `index`, or 0 when it is not valid. Overlong
// forms, surrogates and values above U+10FFFF are refused, as a strict decoder does.
size_t validSequenceLength(std::string_view bytes, size_t index) {
    auto byte = [&](size_t offset) { return static_cast<uint8_t>(bytes[index + offset]); };
    uint8_t lead = byte(0);
    if (lead < 0x80) return 1;
    size_t length = 0;
    uint8_t low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return 0;
    }
    if (index + length > bytes.size()) return 0;
    if (byte(1) < low || byte(1) > high) return 0;
    for (size_t offset = 2; offset < length; ++offset)
        if (byte(offset) < 0x80 || byte(offset) > 0xBF) return 0;
    return length;
}

}  // namespace

std::string repairedUtf8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    size_t index = 0;
    while (index < bytes.size()) {
        size_t length = validSequenceLength(bytes, index);
        if (length == 0) {
            result += kReplacement;
            index += 1;
        } else {
            result.append(bytes.substr(index, length));
            index += length;
        }
    }
    return result;
}

}  // namespace vigilmoth
