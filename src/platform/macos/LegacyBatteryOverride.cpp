#include "platform/macos/LegacyBatteryOverride.h"

#include "base/DefaultsKeys.h"
#include "platform/macos/ProgramRun.h"
#include "platform/macos/SudoersEntry.h"

namespace vigilmoth::LegacyBatteryOverride {

void clearLeftover(KeyValueStore& defaults) {
    if (!defaults.boolValue(defaults_keys::batteryOverrideSetByApp).value_or(false)) return;
    // Only the older version's admin entry lets sudo run pmset without a password.
    if (SudoersEntry().present()) {
        ProgramRun::run({"/usr/bin/sudo", "-n", "/usr/bin/pmset", "-b", "disablesleep", "0"});
    }
    defaults.remove(defaults_keys::batteryOverrideSetByApp);
}

}  // namespace vigilmoth::LegacyBatteryOverride
