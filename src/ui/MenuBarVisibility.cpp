#include "ui/MenuBarVisibility.h"

#include "base/DefaultsKeys.h"

namespace vigilmoth::MenuBarVisibility {

bool isShown(const KeyValueStore& defaults) {
    // A value that is not a bool counts as none, so that a damaged store never hides the item.
    return defaults.boolValue(defaults_keys::showMenuBarIcon).value_or(true);
}

}  // namespace vigilmoth::MenuBarVisibility
