#include "base/Utf8.h"

namespace vigilmoth {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

struct Sequence {
    size_t length = 1;
    bool valid = false;
};

// The UTF-8 sequence at the start of `bytes`. Overlong forms, surrogates and values above
// U+10FFFF are refused, as a strict decoder does.
Sequence sequence(std::string_view bytes) {
    auto byte = [&](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    unsigned char lead = byte(0);
    if (lead < 0x80) return {1, true};
    if (lead < 0xC2 || lead > 0xF4) return {1, false};
    size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    for (size_t i = 1; i < length; ++i) {
        if (i >= bytes.size()) return {i, false};
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        // The second byte excludes overlong forms, surrogates and values above U+10FFFF.
        if (i == 1 && lead == 0xE0) low = 0xA0;
        if (i == 1 && lead == 0xED) high = 0x9F;
        if (i == 1 && lead == 0xF0) low = 0x90;
        if (i == 1 && lead == 0xF4) high = 0x8F;
        if (byte(i) < low || byte(i) > high) return {i, false};
    }
    return {length, true};
}

}  // namespace

std::string repairedUtf8(std::string_view bytes) {
    std::string result;
    result.reserve(bytes.size());
    while (!bytes.empty()) {
        auto next = sequence(bytes);
        if (next.valid) {
            result.append(bytes.substr(0, next.length));
        } else {
            result += kReplacement;
        }
        bytes.remove_prefix(next.length);
    }
    return result;
}

}  // namespace vigilmoth
