#pragma once

#include <string>
#include <vector>

namespace vigilmoth::testing {

// Broken and whole UTF-8 and what the one repair makes of it, for every place that reads
// outside bytes as text. None holds a control byte or a quote, so each also fits raw into a
// JSON string.
struct Utf8Case {
    const char* name;
    std::string bytes;
    std::string repaired;
};

inline std::vector<Utf8Case> utf8Cases() {
    const std::string r = "\xEF\xBF\xBD";
    return {
        {"ascii", "/usr/bin/node", "/usr/bin/node"},
        {"two, three and four bytes", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x90\x9B",
         "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x90\x9B"},
        {"latin-1 byte", "caf\xE9", "caf" + r},
        {"byte never used",
         "a\xFF"
         "b",
         "a" + r + "b"},
        {"lone continuation",
         "a\x80"
         "b",
         "a" + r + "b"},
        {"three bytes cut short at the end", "a\xE2\x82", "a" + r},
        {"four bytes cut short before more text", "\xF0\x9F\x98!", r + "!"},
        {"overlong slash", "\xC0\xAF", r + r},
        {"overlong three bytes", "\xE0\x80\xAF", r + r + r},
        {"surrogate", "\xED\xA0\x80", r + r + r},
        {"above U+10FFFF", "\xF4\x90\x80\x80", r + r + r + r},
        {"empty", "", ""},
    };
}

}  // namespace vigilmoth::testing
