#include "platform/linux/AsioBus.h"

#include <poll.h>
#include <time.h>

#include <cstring>

#include "base/Log.h"

namespace vigilmoth {
namespace {

const Logger& logger() {
    static const Logger log("Bus");
    return log;
}

uint64_t monotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<uint64_t>(now.tv_nsec) / 1000;
}

}  // namespace

std::string SdBusError::describe(int code) const {
    if (sd_bus_error_is_set(&error_)) {
        return std::string(error_.name) + ": " + (error_.message ? error_.message : "");
    }
    return std::strerror(code < 0 ? -code : code);
}

SdBus openBus(const BusAddress& address, int& code) {
    sd_bus* bus = nullptr;
    switch (address.kind) {
        case BusAddress::Kind::system:
            code = sd_bus_open_system(&bus);
            break;
        case BusAddress::Kind::session:
            code = sd_bus_open_user(&bus);
            break;
        case BusAddress::Kind::explicitAddress:
            code = sd_bus_new(&bus);
            if (code < 0) break;
            if ((code = sd_bus_set_address(bus, address.address.c_str())) >= 0 &&
                (code = sd_bus_set_bus_client(bus, 1)) >= 0) {
                code = sd_bus_start(bus);
            }
            if (code < 0) bus = sd_bus_unref(bus);
            break;
    }
    if (code < 0) return nullptr;
    return SdBus(bus);
}

std::unique_ptr<AsioBus> AsioBus::open(asio::io_context& context, const BusAddress& address,
                                       int& code) {
    SdBus bus = openBus(address, code);
    if (!bus) return nullptr;
    std::unique_ptr<AsioBus> result(new AsioBus(context, std::move(bus)));
    result->process();
    return result;
}

AsioBus::AsioBus(asio::io_context& context, SdBus bus)
    : context_(context),
      bus_(std::move(bus)),
      descriptor_(context, sd_bus_get_fd(bus_.get())),
      timer_(context) {}

AsioBus::~AsioBus() {
    *alive_ = false;
    timer_.cancel();
    // The descriptor belongs to sd-bus, which closes it with the connection.
    descriptor_.cancel();
    descriptor_.release();
}

SdBusMessage AsioBus::call(sd_bus_message* message, SdBusError& error, int& code) {
    sd_bus_message* reply = nullptr;
    code = sd_bus_call(bus_.get(), message, kCallTimeoutMicroseconds, error.get(), &reply);
    processSoon();
    return SdBusMessage(code < 0 ? sd_bus_message_unref(reply) : reply);
}

void AsioBus::processSoon() {
    asio::post(context_, [this, alive = alive_] {
        if (*alive && connected_) process();
    });
}

void AsioBus::process() {
    int result = 0;
    do {
        result = sd_bus_process(bus_.get(), nullptr);
    } while (result > 0);
    if (result < 0) {
        if (connected_) {
            logger().error(std::string("the connection to the bus ended: ") +
                           std::strerror(-result));
        }
        connected_ = false;
        return;
    }
    arm();
}

void AsioBus::arm() {
    const int events = sd_bus_get_events(bus_.get());
    const auto waitFor = [this](asio::posix::descriptor_base::wait_type type, bool& pending) {
        pending = true;
        descriptor_.async_wait(type, [this, &pending, alive = alive_](std::error_code error) {
            if (!*alive) return;
            pending = false;
            if (!error) process();
        });
    };
    if ((events & POLLIN) && !readPending_)
        waitFor(asio::posix::descriptor_base::wait_read, readPending_);
    if ((events & POLLOUT) && !writePending_) {
        waitFor(asio::posix::descriptor_base::wait_write, writePending_);
    }
    uint64_t deadline = 0;
    if (sd_bus_get_timeout(bus_.get(), &deadline) < 0 || deadline == UINT64_MAX) {
        timer_.cancel();
        return;
    }
    const uint64_t now = monotonicMicroseconds();
    timer_.expires_after(std::chrono::microseconds(deadline > now ? deadline - now : 0));
    timer_.async_wait([this, alive = alive_](std::error_code error) {
        if (*alive && !error) process();
    });
}

}  // namespace vigilmoth
