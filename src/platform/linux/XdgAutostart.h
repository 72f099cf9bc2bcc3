#pragma once

#include <optional>
#include <string>

namespace vigilmoth {

// Opening vigilmoth at login on Linux: an entry in the desktop's autostart folder
// (`WellKnownPaths::autostartEntry`), which every XDG desktop reads when the user logs in.
class XdgAutostart {
public:
    enum class Status { enabled, notRegistered };

    // `entry`: the file to write; `executable`: the absolute path of the vigilmoth to start.
    XdgAutostart(std::string entry, std::string executable);

    // Enabled only when the entry starts this vigilmoth and the desktop is not told to skip it:
    // an entry left by a copy that has moved starts nothing, so it counts as not registered.
    Status status() const;
    // Each returns a sentence saying what failed, or nothing on success.
    std::optional<std::string> registerAtLogin() const;
    std::optional<std::string> unregisterAtLogin() const;

    // The entry's text; `Exec` quoted as the Desktop Entry rules ask.
    static std::string entryText(const std::string& executable);
    // The value of `key` in the "[Desktop Entry]" group of `text`, if it is there.
    static std::optional<std::string> value(const std::string& text, const std::string& key);

private:
    std::string entry_;
    std::string executable_;
};

}  // namespace vigilmoth
