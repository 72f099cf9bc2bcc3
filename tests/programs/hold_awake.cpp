// Holds the machine awake through logind on the bus at argv[1] with the reason argv[2], says
// "held", and keeps the hold until it is killed.
#include <asio.hpp>
#include <cstdio>

#include "platform/linux/LinuxPower.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    asio::io_context context;
    vigilmoth::LinuxPower power(context, vigilmoth::BusAddress::at(argv[1]), "test");
    power.keeper().hold(argv[2]);
    std::printf(power.keeper().held() ? "held\n" : "not held\n");
    std::fflush(stdout);
    auto guard = asio::make_work_guard(context);
    context.run();
}
