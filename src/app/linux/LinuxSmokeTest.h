#pragma once

#include <string>

namespace vigilmoth {

// The smoke test of the Linux application: runs the real application for a number of seconds,
// hides and shows its tray icon, opens its menu from the session bus as a tray host does and
// reads the layout, measures the main loop's ticks and stalls and the processor time, and
// prints the health report line. Preferences are skipped: Linux has no preferences window.
namespace LinuxSmokeTest {

// The exit status: 0 when the report says healthy, 1 otherwise.
int run(double seconds, const std::string& appPath);

}  // namespace LinuxSmokeTest
}  // namespace vigilmoth
