#include "app/linux/StatusNotifierTray.h"

#include <unistd.h>

#include <cerrno>

#include "base/Log.h"

namespace vigilmoth {
namespace {

constexpr const char* kItemInterface = "org.kde.StatusNotifierItem";
constexpr const char* kWatcherInterface = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";
// Panels draw the icon at about 22 pixels; the larger one serves scaled screens.
constexpr int kIconSizes[] = {22, 44};

const Logger& logger() {
    static const Logger log("Tray");
    return log;
}

bool nameHasOwner(AsioBus& bus, const char* name) {
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(bus.get(), &message, "org.freedesktop.DBus",
                                       "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                       "NameHasOwner") < 0) {
        return false;
    }
    const SdBusMessage call(message);
    SdBusError error;
    int code = sd_bus_message_append(message, "s", name);
    const auto reply = code < 0 ? nullptr : bus.call(message, error, code);
    int owned = 0;
    return reply && sd_bus_message_read(reply.get(), "b", &owned) >= 0 && owned;
}

int appendPixmaps(sd_bus_message* reply, const std::vector<MenuBarPixmap>& pixmaps) {
    int code = sd_bus_message_open_container(reply, 'a', "(iiay)");
    for (const auto& pixmap : pixmaps) {
        if (code >= 0) code = sd_bus_message_open_container(reply, 'r', "iiay");
        if (code >= 0) code = sd_bus_message_append(reply, "ii", pixmap.size, pixmap.size);
        if (code >= 0) {
            code = sd_bus_message_append_array(reply, 'y', pixmap.argb.data(), pixmap.argb.size());
        }
        if (code >= 0) code = sd_bus_message_close_container(reply);
    }
    return code < 0 ? code : sd_bus_message_close_container(reply);
}

}  // namespace

const sd_bus_vtable StatusNotifierTray::kVTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Category", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("Id", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("Title", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("Status", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("WindowId", "i", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("IconThemePath", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("IconName", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("IconPixmap", "a(iiay)", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("OverlayIconName", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("OverlayIconPixmap", "a(iiay)", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("AttentionIconName", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("AttentionIconPixmap", "a(iiay)", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("AttentionMovieName", "s", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("ItemIsMenu", "b", &StatusNotifierTray::property, 0, 0),
    SD_BUS_PROPERTY("Menu", "o", &StatusNotifierTray::property, 0, 0),
    // The menu is all there is: a click, a middle click or a scroll has nothing else to do.
    SD_BUS_METHOD("ContextMenu", "ii", "", &StatusNotifierTray::ignore, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Activate", "ii", "", &StatusNotifierTray::ignore, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SecondaryActivate", "ii", "", &StatusNotifierTray::ignore,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Scroll", "is", "", &StatusNotifierTray::ignore, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("NewTitle", "", 0),
    SD_BUS_SIGNAL("NewIcon", "", 0),
    SD_BUS_SIGNAL("NewAttentionIcon", "", 0),
    SD_BUS_SIGNAL("NewOverlayIcon", "", 0),
    SD_BUS_SIGNAL("NewToolTip", "", 0),
    SD_BUS_SIGNAL("NewStatus", "s", 0),
    SD_BUS_VTABLE_END,
};

std::unique_ptr<StatusNotifierTray> StatusNotifierTray::start(asio::io_context& context,
                                                              AsioBus& bus, Commands commands) {
    if (!nameHasOwner(bus, kWatcher)) {
        logger().info(
            "vigilmoth runs without a tray icon, because no StatusNotifierWatcher is on the "
            "session bus to show one.");
        return nullptr;
    }
    std::unique_ptr<StatusNotifierTray> tray(
        new StatusNotifierTray(context, bus, std::move(commands)));
    sd_bus_slot* slot = nullptr;
    int code =
        sd_bus_add_object_vtable(bus.get(), &slot, kItemPath, kItemInterface, kVTable, tray.get());
    tray->itemSlot_.reset(slot);
    auto clicked = [&context, commands = &tray->commands_,
                    alive = tray->alive_](const ShellCommand& command) {
        asio::post(context, [commands, alive, command] {
            if (*alive) (*commands)(command);
        });
    };
    if (code >= 0) tray->menu_ = DBusMenuServer::serve(bus.get(), kMenuPath, clicked, code);
    if (code >= 0) {
        const std::string rule = std::string("type='signal',sender='org.freedesktop.DBus',") +
                                 "interface='org.freedesktop.DBus',member='NameOwnerChanged'," +
                                 "arg0='" + kWatcher + "'";
        code = sd_bus_add_match(bus.get(), &slot, rule.c_str(), &watcherChanged, tray.get());
        tray->watcherSlot_.reset(slot);
    }
    if (code < 0) {
        logger().error(std::string("vigilmoth runs without a tray icon, because it could not ") +
                       "offer one on the session bus: " + SdBusError().describe(code));
        return nullptr;
    }
    if (!tray->setShown(true)) return nullptr;
    return tray;
}

StatusNotifierTray::StatusNotifierTray(asio::io_context& context, AsioBus& bus, Commands commands)
    : context_(context),
      bus_(bus),
      commands_(std::move(commands)),
      busName_("org.kde.StatusNotifierItem-" + std::to_string(getpid()) + "-1") {}

StatusNotifierTray::~StatusNotifierTray() {
    *alive_ = false;
    if (shown_) sd_bus_release_name(bus_.get(), busName_.c_str());
}

void StatusNotifierTray::update(const ShellMenuInput& menu, const MenuBarLook& look,
                                const std::string& toolTip) {
    menu_->update(ShellMenu::items(menu));
    const std::string oldStatus = status();
    if (look != look_) {
        look_ = look;
        sd_bus_emit_signal(bus_.get(), kItemPath, kItemInterface, "NewIcon", "");
        sd_bus_emit_signal(bus_.get(), kItemPath, kItemInterface, "NewAttentionIcon", "");
    }
    if (oldStatus != status()) {
        sd_bus_emit_signal(bus_.get(), kItemPath, kItemInterface, "NewStatus", "s", status());
    }
    if (toolTip != toolTip_) {
        toolTip_ = toolTip;
        sd_bus_emit_signal(bus_.get(), kItemPath, kItemInterface, "NewToolTip", "");
    }
    bus_.processSoon();
}

bool StatusNotifierTray::setShown(bool shown) {
    if (!shown) {
        if (shown_) sd_bus_release_name(bus_.get(), busName_.c_str());
        shown_ = false;
        bus_.processSoon();
        return true;
    }
    shown_ = registerItem();
    return shown_;
}

bool StatusNotifierTray::registerItem() {
    int code = sd_bus_request_name(bus_.get(), busName_.c_str(), 0);
    // Already ours when a new watcher asks for the item again.
    if (code == -EALREADY) code = 0;
    sd_bus_message* message = nullptr;
    if (code >= 0) {
        code = sd_bus_message_new_method_call(bus_.get(), &message, kWatcher, kWatcherPath,
                                              kWatcherInterface, "RegisterStatusNotifierItem");
    }
    const SdBusMessage call(message);
    SdBusError error;
    if (code >= 0) code = sd_bus_message_append(message, "s", busName_.c_str());
    if (code >= 0) bus_.call(message, error, code);
    if (code >= 0) return true;
    logger().error("vigilmoth could not show its tray icon, because the StatusNotifierWatcher " +
                   std::string("did not take it: ") + error.describe(code));
    sd_bus_release_name(bus_.get(), busName_.c_str());
    return false;
}

const std::vector<MenuBarPixmap>& StatusNotifierTray::pixmaps() const {
    auto& images = pixmaps_[look_];
    if (images.empty()) {
        for (int size : kIconSizes)
            images.push_back(MenuBarPixmap::draw(look_, size));
    }
    return images;
}

const char* StatusNotifierTray::status() const {
    // An agent waiting for the user, or a problem, is what a panel may bring forward.
    const bool attention =
        look_.eyes == MenuBarLook::Eyes::open || look_.eyes == MenuBarLook::Eyes::dead;
    return attention ? "NeedsAttention" : "Active";
}

int StatusNotifierTray::property(sd_bus*, const char*, const char*, const char* name,
                                 sd_bus_message* reply, void* self, sd_bus_error*) {
    const auto& tray = *static_cast<const StatusNotifierTray*>(self);
    const std::string_view property(name);
    if (property == "Category") return sd_bus_message_append(reply, "s", "ApplicationStatus");
    if (property == "Id" || property == "Title")
        return sd_bus_message_append(reply, "s", "vigilmoth");
    if (property == "Status") return sd_bus_message_append(reply, "s", tray.status());
    if (property == "WindowId") return sd_bus_message_append(reply, "i", 0);
    if (property == "IconPixmap" || property == "AttentionIconPixmap") {
        return appendPixmaps(reply, tray.pixmaps());
    }
    if (property == "OverlayIconPixmap") return appendPixmaps(reply, {});
    if (property == "ItemIsMenu") return sd_bus_message_append(reply, "b", 1);
    if (property == "Menu") return sd_bus_message_append(reply, "o", kMenuPath);
    if (property == "ToolTip") {
        int code = sd_bus_message_open_container(reply, 'r', "sa(iiay)ss");
        if (code >= 0) code = sd_bus_message_append(reply, "s", "");
        if (code >= 0) code = appendPixmaps(reply, {});
        if (code >= 0) code = sd_bus_message_append(reply, "ss", tray.toolTip_.c_str(), "");
        return code < 0 ? code : sd_bus_message_close_container(reply);
    }
    // The names of icons, overlay and movie, and the theme path: the pixmaps say it all.
    return sd_bus_message_append(reply, "s", "");
}

int StatusNotifierTray::ignore(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, "");
}

int StatusNotifierTray::watcherChanged(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& tray = *static_cast<StatusNotifierTray*>(self);
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &after) < 0) return 0;
    // A panel that restarts brings a new watcher, which knows nothing of the items before it.
    if (after && *after && tray.shown_) {
        asio::post(tray.context_, [&tray, alive = tray.alive_] {
            if (*alive && tray.shown_) tray.shown_ = tray.registerItem();
        });
    }
    return 0;
}

std::optional<StatusNotifierTray::Pixmap> StatusNotifierTray::readIcon(sd_bus* bus,
                                                                       const std::string& item) {
    sd_bus_message* reply = nullptr;
    if (sd_bus_get_property(bus, item.c_str(), kItemPath, "org.kde.StatusNotifierItem",
                            "IconPixmap", nullptr, &reply, "a(iiay)") < 0) {
        return std::nullopt;
    }
    const SdBusMessage kept(reply);
    Pixmap pixmap;
    const void* pixels = nullptr;
    sd_bus_message_enter_container(reply, 'a', "(iiay)");
    sd_bus_message_enter_container(reply, 'r', "iiay");
    sd_bus_message_read(reply, "ii", &pixmap.width, &pixmap.height);
    sd_bus_message_read_array(reply, 'y', &pixels, &pixmap.bytes);
    return pixmap;
}

}  // namespace vigilmoth
