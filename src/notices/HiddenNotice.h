#pragma once

namespace vigilmoth {

// Something outside vigilmoth keeps it from doing its job while the menu-bar icon, which would
// show it, is hidden. Its text is ui/'s (`HiddenNoticeText`).
enum class HiddenNotice {
    // The sleep flag is on and only the helper, switched off in the system's settings, could
    // clear it.
    helperSwitchedOff,
    // The helper does not answer, so a closed lid on battery will sleep the machine.
    helperNotResponding,
};

}  // namespace vigilmoth
