#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>

#include "support/TestSupport.h"

namespace vigilmoth::testing {

// Compares `actual` with tests/fixtures/<name> byte for byte; VIGILMOTH_UPDATE_GOLDEN=1
// rewrites the file instead, for a person to read through the diff.
inline void expectGolden(const std::string& name, const std::string& actual) {
    const auto path = fixture(name);
    if (std::getenv("VIGILMOTH_UPDATE_GOLDEN")) {
        std::filesystem::create_directories(path.parent_path());
        writeFile(path, actual);
    }
    ASSERT_TRUE(std::filesystem::exists(path)) << path << " (VIGILMOTH_UPDATE_GOLDEN=1 writes it)";
    EXPECT_EQ(actual, readFile(path)) << "differs from " << path;
}

// One line of a case table under tests/fixtures: its cells (split at " | "), and the line and
// the "## " heading above it, for the trace.
struct TableRow {
    std::vector<std::string> cells;
    std::string where;
};

// Blank lines and lines starting with "#" are not rows.
inline std::vector<TableRow> tableRows(const std::string& name) {
    std::istringstream lines(readFile(fixture(name)));
    std::vector<TableRow> rows;
    std::string heading;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.starts_with("## ")) heading = line.substr(3);
        if (line.empty() || line[0] == '#') continue;
        TableRow row{{}, name + ":" + std::to_string(number) + " (" + heading + ")"};
        for (std::size_t from = 0;;) {
            auto bar = line.find(" |", from);
            row.cells.push_back(line.substr(from, bar - from));
            if (bar == std::string::npos) break;
            from = std::min(bar + 3, line.size());
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

// A table of "input | what it reads as" lines that is its own golden file: each input's reading
// is worked out again and the whole file compared (or rewritten); "#" and blank lines stay.
inline void expectEachLineReads(const std::string& name,
                                const std::function<std::string(const std::string&)>& read) {
    std::istringstream lines(readFile(fixture(name)));
    std::string actual;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line[0] != '#') {
            const auto input = line.substr(0, line.rfind(" | "));
            line = input + " | " + read(input);
        }
        actual += line + "\n";
    }
    expectGolden(name, actual);
}

}  // namespace vigilmoth::testing
