#include "state/HookActions.h"

#include "hooks/install/HookInstallError.h"

namespace vigilmoth {

void HookActions::setHooks(const HookCatalogEntry& entry, bool on) {
    try {
        if (on) {
            installer_.install(entry);
        } else {
            installer_.uninstall(entry);
        }
        errors_.erase(entry.id);
    } catch (const HookInstallError& error) {
        errors_[entry.id] = error.message(HookInstaller::shownPath(entry));
    }
    refreshHookStatuses();
}

void HookActions::refreshHookStatuses() {
    std::map<std::string, HookStatus> statuses;
    for (const auto& entry : HookCatalog::entries())
        statuses[entry.id] = installer_.status(entry);
    statuses_ = std::move(statuses);
    if (onChange) onChange();
}

}  // namespace vigilmoth
