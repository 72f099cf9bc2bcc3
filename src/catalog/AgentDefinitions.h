#pragma once

#include <vector>

#include "catalog/AgentDefinition.h"

// The table of known agents, and the word lists its definitions use. Order matters: matching
// takes the first definition that fits.
namespace vigilmoth::AgentDefinitions {

// The desktop applications, tried first.
const std::vector<AgentDefinition>& desktop();
// The command-line agents.
const std::vector<AgentDefinition>& cli();

// Shells that a desktop agent starts for its tools.
const WordSet& cursorShells();
// Extensions of a single text file that an editor of an agent's name may be opened on.
const WordSet& textFileExtensions();

}  // namespace vigilmoth::AgentDefinitions
