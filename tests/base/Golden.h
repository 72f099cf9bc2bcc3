#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

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

}  // namespace vigilmoth::testing
