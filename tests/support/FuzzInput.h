#pragma once

#include <random>
#include <string>

namespace vigilmoth::testing {

// `text` with a few random changes: bytes overwritten, runs erased, JSON tokens inserted,
// or the text cut short. For fuzz-style tests of parsers of outside input.
std::string mutatedText(std::string text, std::mt19937& random);

// Random bytes, up to `longest` of them.
std::string randomBytes(std::mt19937& random, std::size_t longest);

}  // namespace vigilmoth::testing
