#pragma once

#include "base/KeyValueStore.h"

namespace vigilmoth::MenuBarVisibility {

// Whether the menu-bar item is shown: the stored choice, and shown when there is none.
bool isShown(const KeyValueStore& defaults);

}  // namespace vigilmoth::MenuBarVisibility
