#pragma once

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace vigilmoth::testing {

// Compares a long expected output with its file under tests/fixtures, byte for byte.
// VIGILMOTH_UPDATE_GOLDEN=1 rewrites the file instead; read its diff before committing.
inline void expectGolden(const std::string& relative, const std::string& actual) {
    const auto path = fixture(relative);
    if (const char* update = std::getenv("VIGILMOTH_UPDATE_GOLDEN"); update && *update == '1') {
        std::filesystem::create_directories(path.parent_path());
        writeFile(path, actual);
    }
    EXPECT_EQ(std::filesystem::exists(path) ? readFile(path) : "", actual) << relative;
}

}  // namespace vigilmoth::testing
