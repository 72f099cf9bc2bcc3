#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/AsioBus.h"
#include "ui/ShellMenu.h"

namespace vigilmoth {

// A `ShellMenu` served as a com.canonical.dbusmenu object, the menu a StatusNotifierItem points
// its host to. Items keep their id while their key path stays, so that a click on a menu the
// host drew before a rebuild still reaches the same item.
class DBusMenuServer {
public:
    using Clicked = std::function<void(const ShellCommand&)>;

    // Null, with `code` set, when the object cannot be added to the bus.
    static std::unique_ptr<DBusMenuServer> serve(sd_bus* bus, std::string path, Clicked clicked,
                                                 int& code);
    DBusMenuServer(const DBusMenuServer&) = delete;
    DBusMenuServer& operator=(const DBusMenuServer&) = delete;

    // Shows `items` from now on; a changed menu gets a new revision and LayoutUpdated.
    void update(std::vector<ShellMenuItem> items);
    std::uint32_t revision() const { return revision_; }

private:
    struct Node {
        const ShellMenuItem* item = nullptr;  // none for the root
        std::vector<std::int32_t> children;
    };

    DBusMenuServer(sd_bus* bus, std::string path, Clicked clicked);
    void index(const std::vector<ShellMenuItem>& items, const std::string& parentPath,
               std::int32_t parent, std::unordered_map<std::string, std::int32_t>& ids);
    const Node* node(std::int32_t id) const;
    int appendProperties(sd_bus_message* message, std::int32_t id,
                         const std::vector<std::string>& names) const;
    int appendLayout(sd_bus_message* message, std::int32_t id, int depth,
                     const std::vector<std::string>& names) const;
    bool click(std::int32_t id, const std::string& event);

    static int getLayout(sd_bus_message* message, void* self, sd_bus_error* error);
    static int getGroupProperties(sd_bus_message* message, void* self, sd_bus_error* error);
    static int getProperty(sd_bus_message* message, void* self, sd_bus_error* error);
    static int event(sd_bus_message* message, void* self, sd_bus_error* error);
    static int eventGroup(sd_bus_message* message, void* self, sd_bus_error* error);
    static int property(sd_bus* bus, const char* path, const char* interface, const char* name,
                        sd_bus_message* reply, void* self, sd_bus_error* error);
    static int aboutToShow(sd_bus_message* message, void* self, sd_bus_error* error);
    static int aboutToShowGroup(sd_bus_message* message, void* self, sd_bus_error* error);

    sd_bus* bus_;
    std::string path_;
    Clicked clicked_;
    SdBusSlot slot_;
    std::vector<ShellMenuItem> items_;
    std::unordered_map<std::string, std::int32_t> ids_;
    std::unordered_map<std::int32_t, Node> nodes_;
    std::int32_t nextID_ = 1;
    std::uint32_t revision_ = 1;

    static const sd_bus_vtable kVTable[];
};

}  // namespace vigilmoth
