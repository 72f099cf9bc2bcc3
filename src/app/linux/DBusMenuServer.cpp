#include "app/linux/DBusMenuServer.h"

#include <algorithm>
#include <cstdlib>
#include <variant>

namespace vigilmoth {
namespace {

constexpr const char* kInterface = "com.canonical.dbusmenu";

using Value = std::variant<std::string, bool, std::int32_t>;
using Properties = std::vector<std::pair<const char*, Value>>;

// A single underscore marks the access key in a dbusmenu label, so the user's folder names and
// agents' names have theirs doubled.
std::string literalLabel(const std::string& label) {
    std::string text;
    for (char c : label) {
        text += c;
        if (c == '_') text += '_';
    }
    return text;
}

Properties itemProperties(const ShellMenuItem& item) {
    if (item.separator) return {{"type", std::string("separator")}};
    Properties properties{{"label", literalLabel(item.label)}};
    if (!item.command && item.children.empty()) properties.emplace_back("enabled", false);
    if (item.toggle != ShellMenuItem::Toggle::none) {
        const bool radio = item.toggle == ShellMenuItem::Toggle::radio;
        properties.emplace_back("toggle-type", std::string(radio ? "radio" : "checkmark"));
        properties.emplace_back("toggle-state", std::int32_t{item.checked ? 1 : 0});
    }
    if (!item.children.empty()) properties.emplace_back("children-display", std::string("submenu"));
    return properties;
}

int appendEntry(sd_bus_message* message, const char* name, const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return sd_bus_message_append(message, "{sv}", name, "s", text->c_str());
    }
    if (const auto* flag = std::get_if<bool>(&value)) {
        return sd_bus_message_append(message, "{sv}", name, "b", static_cast<int>(*flag));
    }
    return sd_bus_message_append(message, "{sv}", name, "i", std::get<std::int32_t>(value));
}

int readStrings(sd_bus_message* message, std::vector<std::string>& strings) {
    char** list = nullptr;
    const int code = sd_bus_message_read_strv(message, &list);
    if (code < 0) return code;
    for (char** each = list; each && *each; ++each) {
        strings.emplace_back(*each);
        std::free(*each);
    }
    std::free(list);
    return code;
}

int readIDs(sd_bus_message* message, std::vector<std::int32_t>& ids) {
    const void* data = nullptr;
    size_t size = 0;
    const int code = sd_bus_message_read_array(message, 'i', &data, &size);
    if (code < 0) return code;
    const auto* first = static_cast<const std::int32_t*>(data);
    ids.assign(first, first + size / sizeof(std::int32_t));
    return code;
}

int unknownItem(sd_bus_error* error, std::int32_t id) {
    return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "no menu item %d", id);
}

int replyIDs(sd_bus_message* message, const std::vector<std::int32_t>& ids) {
    sd_bus_message* reply = nullptr;
    int code = sd_bus_message_new_method_return(message, &reply);
    if (code < 0) return code;
    const SdBusMessage owned(reply);
    code = sd_bus_message_append_array(reply, 'i', ids.data(), ids.size() * sizeof(std::int32_t));
    return code < 0 ? code : sd_bus_send(nullptr, reply, nullptr);
}

}  // namespace

const sd_bus_vtable DBusMenuServer::kVTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", &DBusMenuServer::getLayout,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", &DBusMenuServer::getGroupProperties,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetProperty", "is", "v", &DBusMenuServer::getProperty,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Event", "isvu", "", &DBusMenuServer::event, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", &DBusMenuServer::eventGroup,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShow", "i", "b", &DBusMenuServer::aboutToShow,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", &DBusMenuServer::aboutToShowGroup,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("Version", "u", &DBusMenuServer::property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("TextDirection", "s", &DBusMenuServer::property, 0,
                    SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Status", "s", &DBusMenuServer::property, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconThemePath", "as", &DBusMenuServer::property, 0,
                    SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
    SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
    SD_BUS_SIGNAL("ItemActivationRequested", "iu", 0),
    SD_BUS_VTABLE_END,
};

std::unique_ptr<DBusMenuServer> DBusMenuServer::serve(sd_bus* bus, std::string path,
                                                      Clicked clicked, int& code) {
    std::unique_ptr<DBusMenuServer> server(
        new DBusMenuServer(bus, std::move(path), std::move(clicked)));
    sd_bus_slot* slot = nullptr;
    code = sd_bus_add_object_vtable(bus, &slot, server->path_.c_str(), kInterface, kVTable,
                                    server.get());
    if (code < 0) return nullptr;
    server->slot_.reset(slot);
    server->nodes_[0] = Node{};
    return server;
}

DBusMenuServer::DBusMenuServer(sd_bus* bus, std::string path, Clicked clicked)
    : bus_(bus), path_(std::move(path)), clicked_(std::move(clicked)) {}

void DBusMenuServer::update(std::vector<ShellMenuItem> items) {
    if (items == items_) return;
    items_ = std::move(items);
    std::unordered_map<std::string, std::int32_t> ids;
    nodes_.clear();
    nodes_[0] = Node{};
    index(items_, "", 0, ids);
    // Ids of items that went are dropped, so that the table does not grow over a long run.
    ids_ = std::move(ids);
    ++revision_;
    sd_bus_emit_signal(bus_, path_.c_str(), kInterface, "LayoutUpdated", "ui", revision_,
                       std::int32_t{0});
}

void DBusMenuServer::index(const std::vector<ShellMenuItem>& items, const std::string& parentPath,
                           std::int32_t parent,
                           std::unordered_map<std::string, std::int32_t>& ids) {
    for (const auto& item : items) {
        const std::string path = parentPath + "/" + item.key;
        const auto known = ids_.find(path);
        const std::int32_t id = known != ids_.end() ? known->second : nextID_++;
        ids[path] = id;
        nodes_[id].item = &item;
        nodes_[parent].children.push_back(id);
        index(item.children, path, id, ids);
    }
}

const DBusMenuServer::Node* DBusMenuServer::node(std::int32_t id) const {
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? nullptr : &found->second;
}

int DBusMenuServer::appendProperties(sd_bus_message* message, std::int32_t id,
                                     const std::vector<std::string>& names) const {
    const Node* found = node(id);
    const Properties properties = found->item
                                      ? itemProperties(*found->item)
                                      : Properties{{"children-display", std::string("submenu")}};
    int code = sd_bus_message_open_container(message, 'a', "{sv}");
    for (const auto& [name, value] : properties) {
        if (code < 0) return code;
        if (names.empty() || std::find(names.begin(), names.end(), name) != names.end()) {
            code = appendEntry(message, name, value);
        }
    }
    return code < 0 ? code : sd_bus_message_close_container(message);
}

int DBusMenuServer::appendLayout(sd_bus_message* message, std::int32_t id, int depth,
                                 const std::vector<std::string>& names) const {
    int code = sd_bus_message_open_container(message, 'r', "ia{sv}av");
    if (code >= 0) code = sd_bus_message_append(message, "i", id);
    if (code >= 0) code = appendProperties(message, id, names);
    if (code >= 0) code = sd_bus_message_open_container(message, 'a', "v");
    if (depth != 0) {
        for (std::int32_t child : node(id)->children) {
            if (code >= 0) code = sd_bus_message_open_container(message, 'v', "(ia{sv}av)");
            if (code >= 0)
                code = appendLayout(message, child, depth < 0 ? depth : depth - 1, names);
            if (code >= 0) code = sd_bus_message_close_container(message);
        }
    }
    if (code >= 0) code = sd_bus_message_close_container(message);
    return code < 0 ? code : sd_bus_message_close_container(message);
}

bool DBusMenuServer::click(std::int32_t id, const std::string& event) {
    const Node* found = node(id);
    if (!found) return false;
    if (event == "clicked" && found->item && found->item->command) {
        // A copy: the command may change the menu, and with it the item.
        const ShellCommand command = *found->item->command;
        clicked_(command);
    }
    return true;
}

int DBusMenuServer::getLayout(sd_bus_message* message, void* self, sd_bus_error* error) {
    auto& server = *static_cast<DBusMenuServer*>(self);
    std::int32_t parent = 0;
    std::int32_t depth = -1;
    std::vector<std::string> names;
    int code = sd_bus_message_read(message, "ii", &parent, &depth);
    if (code >= 0) code = readStrings(message, names);
    if (code < 0) return code;
    if (!server.node(parent)) return unknownItem(error, parent);
    sd_bus_message* reply = nullptr;
    code = sd_bus_message_new_method_return(message, &reply);
    if (code < 0) return code;
    const SdBusMessage owned(reply);
    code = sd_bus_message_append(reply, "u", server.revision_);
    if (code >= 0) code = server.appendLayout(reply, parent, depth, names);
    return code < 0 ? code : sd_bus_send(nullptr, reply, nullptr);
}

int DBusMenuServer::getGroupProperties(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& server = *static_cast<DBusMenuServer*>(self);
    std::vector<std::int32_t> ids;
    std::vector<std::string> names;
    int code = readIDs(message, ids);
    if (code >= 0) code = readStrings(message, names);
    if (code < 0) return code;
    sd_bus_message* reply = nullptr;
    code = sd_bus_message_new_method_return(message, &reply);
    if (code < 0) return code;
    const SdBusMessage owned(reply);
    code = sd_bus_message_open_container(reply, 'a', "(ia{sv})");
    for (std::int32_t id : ids) {
        // Ids the menu no longer has are left out, as a host asking after a rebuild expects.
        if (code < 0 || !server.node(id)) continue;
        code = sd_bus_message_open_container(reply, 'r', "ia{sv}");
        if (code >= 0) code = sd_bus_message_append(reply, "i", id);
        if (code >= 0) code = server.appendProperties(reply, id, names);
        if (code >= 0) code = sd_bus_message_close_container(reply);
    }
    if (code >= 0) code = sd_bus_message_close_container(reply);
    return code < 0 ? code : sd_bus_send(nullptr, reply, nullptr);
}

int DBusMenuServer::getProperty(sd_bus_message* message, void* self, sd_bus_error* error) {
    auto& server = *static_cast<DBusMenuServer*>(self);
    std::int32_t id = 0;
    const char* name = nullptr;
    int code = sd_bus_message_read(message, "is", &id, &name);
    if (code < 0) return code;
    const Node* found = server.node(id);
    if (!found) return unknownItem(error, id);
    const Properties properties = found->item
                                      ? itemProperties(*found->item)
                                      : Properties{{"children-display", std::string("submenu")}};
    for (const auto& [each, value] : properties) {
        if (std::string_view(each) != name) continue;
        if (const auto* text = std::get_if<std::string>(&value)) {
            return sd_bus_reply_method_return(message, "v", "s", text->c_str());
        }
        if (const auto* flag = std::get_if<bool>(&value)) {
            return sd_bus_reply_method_return(message, "v", "b", static_cast<int>(*flag));
        }
        return sd_bus_reply_method_return(message, "v", "i", std::get<std::int32_t>(value));
    }
    return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "no property %s", name);
}

int DBusMenuServer::event(sd_bus_message* message, void* self, sd_bus_error* error) {
    auto& server = *static_cast<DBusMenuServer*>(self);
    std::int32_t id = 0;
    const char* kind = nullptr;
    int code = sd_bus_message_read(message, "is", &id, &kind);
    if (code < 0) return code;
    const std::string eventKind = kind;
    if (!server.click(id, eventKind)) return unknownItem(error, id);
    return sd_bus_reply_method_return(message, "");
}

int DBusMenuServer::eventGroup(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& server = *static_cast<DBusMenuServer*>(self);
    std::vector<std::pair<std::int32_t, std::string>> events;
    int code = sd_bus_message_enter_container(message, 'a', "(isvu)");
    while (code >= 0) {
        code = sd_bus_message_enter_container(message, 'r', "isvu");
        if (code <= 0) break;
        std::int32_t id = 0;
        const char* kind = nullptr;
        code = sd_bus_message_read(message, "is", &id, &kind);
        if (code >= 0) events.emplace_back(id, kind);
        if (code >= 0) code = sd_bus_message_skip(message, "vu");
        if (code >= 0) code = sd_bus_message_exit_container(message);
    }
    if (code < 0) return code;
    std::vector<std::int32_t> unknown;
    for (const auto& [id, kind] : events) {
        if (!server.click(id, kind)) unknown.push_back(id);
    }
    return replyIDs(message, unknown);
}

int DBusMenuServer::property(sd_bus*, const char*, const char*, const char* name,
                             sd_bus_message* reply, void*, sd_bus_error*) {
    const std::string_view property(name);
    // Version 3 of the protocol; a menu in the reading direction of its English texts.
    if (property == "Version") return sd_bus_message_append(reply, "u", 3u);
    if (property == "TextDirection") return sd_bus_message_append(reply, "s", "ltr");
    if (property == "Status") return sd_bus_message_append(reply, "s", "normal");
    return sd_bus_message_append(reply, "as", 0);
}

int DBusMenuServer::aboutToShow(sd_bus_message* message, void*, sd_bus_error*) {
    // The menu is rebuilt on every change of the state, so it never needs an update first.
    return sd_bus_reply_method_return(message, "b", 0);
}

int DBusMenuServer::aboutToShowGroup(sd_bus_message* message, void*, sd_bus_error*) {
    return sd_bus_reply_method_return(message, "aiai", 0, 0);
}

}  // namespace vigilmoth
