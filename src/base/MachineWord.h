#pragma once

#include <string_view>

#include "base/WellKnownPaths.h"

namespace vigilmoth {

// What the texts the user reads call the machine: "Mac" on macOS, "computer" on Linux. Every
// text that names the machine takes one, so that the choice is made once, in `kMachineWord`.
// It lives in base/ because the hook installer's and the aggregator's sentences name the
// machine too, and they sit below ui/.
struct MachineWord {
    // Inside a sentence: "your Mac", "your computer".
    std::string_view noun;
    // Where a sentence begins with it: "Mac can sleep", "Computer can sleep".
    std::string_view capitalised;

    static constexpr MachineWord mac() { return {"Mac", "Mac"}; }
    static constexpr MachineWord computer() { return {"computer", "Computer"}; }

    constexpr bool operator==(const MachineWord&) const = default;
};

// The word of this application, chosen here and nowhere else, by the system it is built for: a
// Linux machine may be any kind of computer, and calling it a Mac would be wrong.
inline constexpr MachineWord kMachineWord =
    kHostPlatform == HostPlatform::macos ? MachineWord::mac() : MachineWord::computer();

}  // namespace vigilmoth
