#pragma once

#include <string_view>

namespace vigilmoth {

// What the texts the user reads call the machine: "Mac" on macOS, "computer" on Linux. Every
// text that names the machine takes one, so that the choice is made once, in `kMachineWord`.
struct MachineWord {
    // Inside a sentence: "your Mac", "your computer".
    std::string_view noun;
    // Where a sentence begins with it: "Mac can sleep", "Computer can sleep".
    std::string_view capitalised;

    static constexpr MachineWord mac() { return {"Mac", "Mac"}; }
    static constexpr MachineWord computer() { return {"computer", "Computer"}; }

    constexpr bool operator==(const MachineWord&) const = default;
};

// The word of this application: "Mac" everywhere until the Linux application says "computer".
inline constexpr MachineWord kMachineWord = MachineWord::mac();

}  // namespace vigilmoth
