#include "platform/linux/LinuxPower.h"

namespace vigilmoth {

LinuxPower::LinuxPower(asio::io_context& context, const BusAddress& address, std::string version,
                       Leases leases)
    : bus_(AsioBus::open(context, address, code_)),
      logind_(bus_.get(), code_),
      locks_(logind_, leases_, leases.hold),
      keeper_(locks_),
      lidSwitch_(logind_, leases_, std::move(version), leases.lid),
      notices_(logind_) {}

}  // namespace vigilmoth
