#pragma once

#include <systemd/sd-bus.h>

#include <asio.hpp>
#include <memory>
#include <string>

namespace vigilmoth {

// Which bus to connect to: the system's or the user's own, found the usual way (the
// DBUS_SYSTEM_BUS_ADDRESS and DBUS_SESSION_BUS_ADDRESS variables included), or an explicit
// address, as tests give.
struct BusAddress {
    enum class Kind { system, session, explicitAddress };
    Kind kind = Kind::system;
    std::string address;

    static BusAddress system() { return {}; }
    static BusAddress session() { return {Kind::session, {}}; }
    static BusAddress at(std::string address) {
        return {Kind::explicitAddress, std::move(address)};
    }
};

struct SdBusUnref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct SdBusSlotUnref {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
struct SdBusMessageUnref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using SdBus = std::unique_ptr<sd_bus, SdBusUnref>;
using SdBusSlot = std::unique_ptr<sd_bus_slot, SdBusSlotUnref>;
using SdBusMessage = std::unique_ptr<sd_bus_message, SdBusMessageUnref>;

// The one owner of an sd-bus error.
class SdBusError {
public:
    SdBusError() = default;
    SdBusError(const SdBusError&) = delete;
    SdBusError& operator=(const SdBusError&) = delete;
    ~SdBusError() { sd_bus_error_free(&error_); }

    sd_bus_error* get() { return &error_; }
    // The error's name and message, or the system's text for `code` when the bus gave none.
    std::string describe(int code) const;

private:
    sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

// Connects to a bus for blocking use from one thread; null with `code` set on failure.
SdBus openBus(const BusAddress& address, int& code);

// A bus connection driven by an Asio loop: the connection's descriptor is watched for what
// sd-bus waits for, and its time-outs run on a timer, so that signal handlers and replies run
// on the loop's thread. One piece for every service vigilmoth talks to (logind on the system
// bus; notifications and the tray on the user's bus).
class AsioBus {
public:
    // Null, with `code` set (a negative errno), when the bus cannot be reached.
    static std::unique_ptr<AsioBus> open(asio::io_context& context, const BusAddress& address,
                                         int& code);
    ~AsioBus();
    AsioBus(const AsioBus&) = delete;
    AsioBus& operator=(const AsioBus&) = delete;

    sd_bus* get() const { return bus_.get(); }
    bool connected() const { return connected_; }

    // A blocking method call on the loop's thread; it may read other messages into sd-bus's
    // queue, so the queue is processed on the loop right after. Returns the reply or null, with
    // `error` filled and `code` set.
    SdBusMessage call(sd_bus_message* message, SdBusError& error, int& code);
    // Processes sd-bus's queue on the loop soon; for code that used the connection directly.
    void processSoon();

    // Time allowed to a blocking call before it counts as failed.
    static constexpr uint64_t kCallTimeoutMicroseconds = 5'000'000;

private:
    AsioBus(asio::io_context& context, SdBus bus);
    void process();
    void arm();

    asio::io_context& context_;
    SdBus bus_;
    asio::posix::stream_descriptor descriptor_;
    asio::steady_timer timer_;
    bool readPending_ = false;
    bool writePending_ = false;
    bool connected_ = true;
    // Handlers that run after this object is gone see the flag cleared and do nothing.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace vigilmoth
