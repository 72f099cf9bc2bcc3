#pragma once

#include <systemd/sd-bus.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/AsioBus.h"
#include "platform/posix/FileDescriptor.h"

// The calls vigilmoth makes to systemd-logind's manager object on the system bus.
namespace vigilmoth::Logind {

inline constexpr const char* kService = "org.freedesktop.login1";
inline constexpr const char* kPath = "/org/freedesktop/login1";
inline constexpr const char* kManager = "org.freedesktop.login1.Manager";
inline constexpr const char* kWho = "vigilmoth";

struct InhibitRequest {
    std::string what;  // "sleep:idle", "handle-lid-switch", "sleep"
    std::string why;
    std::string mode;  // "block" or "delay"
};

// Takes an inhibitor lock. The lock lasts as long as the returned descriptor is open, in this
// process or, if it dies, until the kernel closes it. An invalid descriptor, with `failure`
// describing why, when logind refused or did not answer.
FileDescriptor inhibit(AsioBus& bus, const InhibitRequest& request, std::string& failure);

struct Inhibitor {
    std::string what, who, why, mode;
    uint32_t uid = 0;
    uint32_t pid = 0;

    bool operator==(const Inhibitor&) const = default;
};

// Every inhibitor lock of the system; empty when logind cannot be asked.
std::vector<Inhibitor> listInhibitors(sd_bus* bus);

// Whether some lock's kinds (colon-separated) include sleep or idle.
bool keepsAwake(const Inhibitor& inhibitor);

// logind's LidClosed property; nothing when it cannot be read.
std::optional<bool> lidClosed(sd_bus* bus);

// Whether logind owns its name on the bus.
bool running(sd_bus* bus);

}  // namespace vigilmoth::Logind

namespace vigilmoth {

// Whether logind can be asked on the bus. When it cannot (no system bus, or no logind on it),
// this says once, as a whole sentence, that vigilmoth cannot keep the computer awake; it says
// it again only after logind was reached in between.
class LogindReach {
public:
    // `bus` is null when the bus could not be opened; `code` then says why.
    LogindReach(AsioBus* bus, int code);

    AsioBus* bus() const { return bus_; }
    bool available();

private:
    AsioBus* bus_;
    bool present_ = false;
    bool told_ = false;
};

}  // namespace vigilmoth
