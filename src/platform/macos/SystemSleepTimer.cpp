#include "platform/macos/SystemSleepTimer.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dlfcn.h>

#include "platform/macos/CFReference.h"

namespace vigilmoth::SystemSleepTimer {

std::optional<int> sleepTimerMinutes(bool onBattery) {
    // Looked up at run time, once: the function is not in every SDK's headers.
    using CopyPreferences = CFDictionaryRef (*)();
    static void* const iokit =
        dlopen("/System/Library/Frameworks/IOKit.framework/IOKit", RTLD_LAZY);
    if (!iokit) return std::nullopt;
    static const auto copy =
        reinterpret_cast<CopyPreferences>(dlsym(iokit, "IOPMCopyActivePMPreferences"));
    if (!copy) return std::nullopt;
    CFReference<CFDictionaryRef> preferences(copy());
    if (!preferences) return std::nullopt;
    auto source = makeString(onBattery ? "Battery Power" : "AC Power");
    auto settings = CFDictionaryGetValue(preferences.get(), source.get());
    if (!settings || CFGetTypeID(settings) != CFDictionaryGetTypeID()) return std::nullopt;
    auto key = makeString("System Sleep Timer");
    auto value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(settings), key.get());
    int minutes = 0;
    if (!value || CFGetTypeID(value) != CFNumberGetTypeID() ||
        !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberIntType, &minutes)) {
        return std::nullopt;
    }
    return minutes;
}

}  // namespace vigilmoth::SystemSleepTimer
