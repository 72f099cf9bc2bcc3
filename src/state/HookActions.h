#pragma once

#include <functional>
#include <map>
#include <string>

#include "hooks/install/HookCatalog.h"
#include "hooks/install/HookConfigEditor.h"
#include "hooks/install/HookInstaller.h"

namespace vigilmoth {

// The preferences' hook switches: installs and removes an agent's hooks and keeps every
// entry's status and last failure for the panes.
class HookActions {
public:
    explicit HookActions(HookInstaller& installer) : installer_(installer) {}

    void setHooks(const HookCatalogEntry& entry, bool on);
    // Every entry of the hook catalog.
    void refreshHookStatuses();

    const std::map<std::string, HookStatus>& hookStatuses() const { return statuses_; }
    // By entry id, the sentence of the last failure to install or remove.
    const std::map<std::string, std::string>& hookErrors() const { return errors_; }
    std::function<void()> onChange;

private:
    HookInstaller& installer_;
    std::map<std::string, HookStatus> statuses_;
    std::map<std::string, std::string> errors_;
};

}  // namespace vigilmoth
