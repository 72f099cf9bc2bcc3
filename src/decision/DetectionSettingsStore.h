#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/KeyValueStore.h"
#include "catalog/AgentCatalog.h"
#include "decision/DetectionSettings.h"

namespace vigilmoth {

// Loads, saves and migrates the detection settings in the user-defaults store.
namespace DetectionSettingsStore {

// Never fails: undecodable data gives the migration of the legacy keys, or the defaults.
// Removes the legacy keys in every case.
DetectionSettings load(KeyValueStore& store, const AgentCatalog& catalog);

// Stores the settings' JSON; an encoding failure leaves the stored value as it was.
void save(const DetectionSettings& settings, KeyValueStore& store);

// The settings that the allowlist of an older version stands for.
DetectionSettings migrated(const std::vector<std::string>& allowlist,
                           const std::optional<std::vector<std::string>>& knownDefaults,
                           const AgentCatalog& catalog);

}  // namespace DetectionSettingsStore

}  // namespace vigilmoth
