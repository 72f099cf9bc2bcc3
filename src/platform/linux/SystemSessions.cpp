#include "platform/linux/SystemSessions.h"

#include <fcntl.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdlib>

#include "base/Log.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileIO.h"

namespace vigilmoth {
namespace {

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kSessionInterface = "org.freedesktop.login1.Session";
// How long logind is left alone after it could not be asked: a machine without it (a
// container) answers the same every time.
constexpr std::chrono::seconds kRetryInterval{30};

const Logger& logger() {
    static const Logger logger("Sessions");
    return logger;
}

// One owner per bus error and message.
struct BusError {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    ~BusError() { sd_bus_error_free(&error); }
};
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

}  // namespace

SystemSessions::SystemSessions(std::optional<std::string> busAddress, std::string procRoot,
                               std::optional<std::uint32_t> uid)
    : busAddress_(std::move(busAddress)),
      procRoot_(std::move(procRoot)),
      uid_(uid.value_or(static_cast<std::uint32_t>(::getuid()))) {}

SystemSessions::~SystemSessions() {
    disconnect();
}

void SystemSessions::disconnect() {
    if (bus_ != nullptr) bus_ = sd_bus_flush_close_unref(bus_);
}

sd_bus* SystemSessions::connection() {
    if (bus_ != nullptr) return bus_;
    if (std::chrono::steady_clock::now() < retryAfter_) return nullptr;
    sd_bus* bus = nullptr;
    int result = 0;
    if (busAddress_) {
        result = sd_bus_new(&bus);
        if (result >= 0) result = sd_bus_set_address(bus, busAddress_->c_str());
        if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
        if (result >= 0) result = sd_bus_start(bus);
    } else {
        result = sd_bus_open_system(&bus);
    }
    if (result < 0) {
        if (bus != nullptr) sd_bus_flush_close_unref(bus);
        retryAfter_ = std::chrono::steady_clock::now() + kRetryInterval;
        return nullptr;
    }
    bus_ = bus;
    return bus_;
}

std::optional<bool> SystemSessions::remoteLoginSession() {
    sd_bus* bus = connection();
    if (bus == nullptr) return std::nullopt;
    BusError error;
    sd_bus_message* raw = nullptr;
    int result = sd_bus_call_method(bus, kLogind, "/org/freedesktop/login1",
                                    "org.freedesktop.login1.Manager", "ListSessions", &error.error,
                                    &raw, "");
    Message reply(raw, &sd_bus_message_unref);
    if (result < 0) {
        logger().debug(std::string("logind could not list the sessions: ") +
                       (error.error.message ? error.error.message : "no answer"));
        disconnect();
        retryAfter_ = std::chrono::steady_clock::now() + kRetryInterval;
        return std::nullopt;
    }
    std::vector<std::string> paths;
    if (sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "(susso)") < 0)
        return std::nullopt;
    const char *id = nullptr, *user = nullptr, *seat = nullptr, *path = nullptr;
    std::uint32_t uid = 0;
    while (sd_bus_message_read(reply.get(), "(susso)", &id, &uid, &user, &seat, &path) > 0) {
        if (uid == uid_) paths.emplace_back(path);
    }
    for (const auto& session : paths) {
        BusError propertyError;
        int remote = 0;
        if (sd_bus_get_property_trivial(bus, kLogind, session.c_str(), kSessionInterface, "Remote",
                                        &propertyError.error, 'b', &remote) < 0 ||
            !remote) {
            continue;
        }
        char* state = nullptr;
        BusError stateError;
        sd_bus_get_property_string(bus, kLogind, session.c_str(), kSessionInterface, "State",
                                   &stateError.error, &state);
        std::string stateText = state ? state : "";
        std::free(state);
        // A session that is closing is a login that has ended but left processes behind.
        if (stateText != "closing") return true;
    }
    return false;
}

bool SystemSessions::remoteAccessActive(const std::vector<ProcessInfoRow>& processes) {
    if (remoteLoginSession().value_or(false)) return true;
    return RemoteAccessDetector::sshTerminal(processes, [this](std::int32_t pid) {
        FileDescriptor comm(::open((procRoot_ + "/" + std::to_string(pid) + "/comm").c_str(),
                                   O_RDONLY | O_CLOEXEC));
        auto text = comm ? readAll(comm.get(), 256) : std::nullopt;
        if (!text) return std::optional<std::string>();
        return std::optional<std::string>(text->substr(0, text->find('\n')));
    });
}

std::optional<std::string> SystemSessions::terminalName(std::int32_t device) {
    return terminalDeviceName(device);
}

std::optional<std::string> SystemSessions::terminalDeviceName(std::int32_t device) {
    if (device <= 0) return std::nullopt;
    auto number = static_cast<std::uint32_t>(device);
    std::uint32_t major = (number >> 8) & 0xfff;
    std::uint32_t minor = (number & 0xff) | ((number >> 12) & 0xfff00);
    // Pseudo-terminals use majors 136 to 143; the virtual consoles and serial lines major 4.
    if (major >= 136 && major <= 143) return "pts/" + std::to_string((major - 136) * 256 + minor);
    if (major == 4 && minor < 64) return "tty" + std::to_string(minor);
    if (major == 4) return "ttyS" + std::to_string(minor - 64);
    return std::nullopt;
}

}  // namespace vigilmoth
