#include "platform/linux/Logind.h"

#include <fcntl.h>

#include <cstring>
#include <string_view>

#include "base/Log.h"

namespace vigilmoth::Logind {

FileDescriptor inhibit(AsioBus& bus, const InhibitRequest& request, std::string& failure) {
    sd_bus_message* raw = nullptr;
    int code =
        sd_bus_message_new_method_call(bus.get(), &raw, kService, kPath, kManager, "Inhibit");
    SdBusMessage message(raw);
    if (code >= 0) {
        code = sd_bus_message_append(raw, "ssss", request.what.c_str(), kWho, request.why.c_str(),
                                     request.mode.c_str());
    }
    SdBusError error;
    SdBusMessage reply;
    if (code >= 0) reply = bus.call(raw, error, code);
    int descriptor = -1;
    if (reply) code = sd_bus_message_read(reply.get(), "h", &descriptor);
    if (code < 0 || descriptor < 0) {
        failure = error.describe(code < 0 ? code : -EBADMSG);
        return FileDescriptor();
    }
    // The reply owns the descriptor it carries; the lock needs one of its own.
    FileDescriptor lock(fcntl(descriptor, F_DUPFD_CLOEXEC, 3));
    if (!lock) failure = error.describe(-errno);
    return lock;
}

std::vector<Inhibitor> listInhibitors(sd_bus* bus) {
    std::vector<Inhibitor> found;
    if (!bus) return found;
    SdBusError error;
    sd_bus_message* raw = nullptr;
    if (sd_bus_call_method(bus, kService, kPath, kManager, "ListInhibitors", error.get(), &raw,
                           "") < 0) {
        return found;
    }
    SdBusMessage reply(raw);
    if (sd_bus_message_enter_container(raw, SD_BUS_TYPE_ARRAY, "(ssssuu)") <= 0) return found;
    const char *what, *who, *why, *mode;
    uint32_t uid = 0, pid = 0;
    while (sd_bus_message_read(raw, "(ssssuu)", &what, &who, &why, &mode, &uid, &pid) > 0) {
        found.push_back({what, who, why, mode, uid, pid});
    }
    return found;
}

bool keepsAwake(const Inhibitor& inhibitor) {
    std::string_view rest = inhibitor.what;
    while (!rest.empty()) {
        const auto colon = rest.find(':');
        const auto kind = rest.substr(0, colon);
        if (kind == "sleep" || kind == "idle") return true;
        if (colon == std::string_view::npos) break;
        rest.remove_prefix(colon + 1);
    }
    return false;
}

std::optional<bool> lidClosed(sd_bus* bus) {
    if (!bus) return std::nullopt;
    SdBusError error;
    int closed = 0;
    if (sd_bus_get_property_trivial(bus, kService, kPath, kManager, "LidClosed", error.get(), 'b',
                                    &closed) < 0) {
        return std::nullopt;
    }
    return closed != 0;
}

bool running(sd_bus* bus) {
    SdBusError error;
    sd_bus_message* raw = nullptr;
    if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "NameHasOwner", error.get(), &raw, "s",
                           kService) < 0) {
        return false;
    }
    SdBusMessage reply(raw);
    int owned = 0;
    return sd_bus_message_read(raw, "b", &owned) > 0 && owned;
}

}  // namespace vigilmoth::Logind

namespace vigilmoth {
namespace {

const Logger& logger() {
    static const Logger log("PowerKeeper");
    return log;
}

}  // namespace

LogindReach::LogindReach(AsioBus* bus, int code) : bus_(bus) {
    if (!bus_) {
        told_ = true;
        logger().error(
            std::string("vigilmoth cannot keep this computer awake, because it cannot reach "
                        "the system bus (") +
            std::strerror(code < 0 ? -code : code) + ").");
        return;
    }
    available();
}

bool LogindReach::available() {
    if (!bus_ || !bus_->connected()) return false;
    if (present_) return true;
    present_ = Logind::running(bus_->get());
    bus_->processSoon();
    if (present_) {
        told_ = false;
    } else if (!told_) {
        told_ = true;
        logger().error(
            "vigilmoth cannot keep this computer awake, because logind is not running on the "
            "system bus.");
    }
    return present_;
}

}  // namespace vigilmoth
