#pragma once

#include <cctype>
#include <filesystem>

namespace vigilmoth::bench {

// How many processes the machine's table holds now, as /proc lists them.
inline int processCount() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        auto name = entry.path().filename().string();
        if (std::isdigit(static_cast<unsigned char>(name[0]))) ++count;
    }
    return count;
}

}  // namespace vigilmoth::bench
