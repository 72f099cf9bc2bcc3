#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "catalog/AgentDefinition.h"
#include "catalog/ProcessCensus.h"

// Decoding a command line into the names under which its program may be known: agents are
// often started through a launcher (npx, uv ...) or as a script of an interpreter.
namespace vigilmoth::CommandDecoding {

// A command line decoded through launchers and script interpreters.
struct Command {
    std::vector<std::string> names;      // lower case, in order of discovery
    std::vector<std::string> arguments;  // after the last decoded program name
    bool interpreted = false;            // the program runs under a script interpreter
    bool launched = false;               // a launcher (npx, uvx, pnpm dlx ...) starts it

    bool operator==(const Command&) const = default;
};

Command command(const ProcessInfoRow& row);

// Whether a launcher's word names a program to run (a package, a bare name, a bin script).
bool isCommandTarget(std::string_view word);
// The program name in such a word: no folder, registry prefix or version.
std::string targetName(std::string_view word);

// Launcher name to the subcommand word sequences after which the launched program follows;
// an empty sequence means it follows directly.
const std::unordered_map<std::string, std::vector<std::vector<std::string>>>& launchers();
// Launcher options that take the following word as their value (unless written with "=").
const WordSet& launcherValuedFlags();
// Per launcher, options of the list above that take no value for that launcher.
const std::unordered_map<std::string, WordSet>& launcherSwitches();

}  // namespace vigilmoth::CommandDecoding
