#pragma once

#include <systemd/sd-bus.h>

#include <asio.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "app/linux/DBusMenuServer.h"
#include "platform/linux/AsioBus.h"
#include "ui/MenuBarLook.h"
#include "ui/MenuBarPixmap.h"
#include "ui/ShellMenu.h"

namespace vigilmoth {

// The tray icon on Linux: an org.kde.StatusNotifierItem with the robot's pixmap and tooltip,
// whose menu is a `DBusMenuServer`, registered with the desktop's StatusNotifierWatcher on the
// session bus. It runs on the application's loop through its `AsioBus`; clicks come back as
// `ShellCommand`s on the loop, after the bus call that carried them has been answered.
class StatusNotifierTray {
public:
    using Commands = std::function<void(const ShellCommand&)>;

    static constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
    static constexpr const char* kItemPath = "/StatusNotifierItem";
    static constexpr const char* kMenuPath = "/MenuBar";

    // The first picture of an item's IconPixmap as a tray host reads it, or none when the item
    // cannot be asked.
    struct Pixmap {
        int width = 0;
        int height = 0;
        std::size_t bytes = 0;
    };
    static std::optional<Pixmap> readIcon(sd_bus* bus, const std::string& item);

    // None when the desktop has no StatusNotifierWatcher or the item cannot be set up; the
    // application then runs without a tray, which is logged once.
    static std::unique_ptr<StatusNotifierTray> start(asio::io_context& context, AsioBus& bus,
                                                     Commands commands);
    ~StatusNotifierTray();
    StatusNotifierTray(const StatusNotifierTray&) = delete;
    StatusNotifierTray& operator=(const StatusNotifierTray&) = delete;

    // Shows the state: the menu, the icon of `look` and the tooltip; the host hears of what
    // changed (LayoutUpdated, NewIcon, NewToolTip, NewStatus).
    void update(const ShellMenuInput& menu, const MenuBarLook& look, const std::string& toolTip);

    // Hiding gives up the item's bus name, so the watcher drops the icon; showing takes the
    // name again and registers anew. False when the watcher refused.
    bool setShown(bool shown);
    bool shown() const { return shown_; }
    const std::string& busName() const { return busName_; }

private:
    StatusNotifierTray(asio::io_context& context, AsioBus& bus, Commands commands);
    bool registerItem();
    const std::vector<MenuBarPixmap>& pixmaps() const;
    const char* status() const;

    static int property(sd_bus* bus, const char* path, const char* interface, const char* name,
                        sd_bus_message* reply, void* self, sd_bus_error* error);
    static int ignore(sd_bus_message* message, void* self, sd_bus_error* error);
    static int watcherChanged(sd_bus_message* message, void* self, sd_bus_error* error);

    asio::io_context& context_;
    AsioBus& bus_;
    Commands commands_;
    std::string busName_;
    SdBusSlot itemSlot_;
    SdBusSlot watcherSlot_;
    std::unique_ptr<DBusMenuServer> menu_;
    MenuBarLook look_;
    std::string toolTip_ = "vigilmoth";
    bool shown_ = false;
    // One image set per distinct look, drawn once.
    mutable std::unordered_map<MenuBarLook, std::vector<MenuBarPixmap>> pixmaps_;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);

    static const sd_bus_vtable kVTable[];
};

}  // namespace vigilmoth
