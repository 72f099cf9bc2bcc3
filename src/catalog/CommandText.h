#pragma once

#include <algorithm>
#include <string>
#include <string_view>

// Small text helpers shared by command decoding and matching. Comparisons are byte-wise and
// lower-casing is ASCII only, as process names are compared.
namespace vigilmoth::CommandText {

inline bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// The part after the last "/" (the whole text when there is none).
inline std::string_view baseName(std::string_view path) {
    auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

inline std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](unsigned char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return result;
}

inline std::string loweredBaseName(std::string_view path) {
    return lowered(baseName(path));
}

}  // namespace vigilmoth::CommandText
