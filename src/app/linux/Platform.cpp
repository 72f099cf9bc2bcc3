// The Linux shell: the entry's platform services, and the running application, which for now
// holds the single-copy lock and answers requests to come forward.
#include <unistd.h>

#include <asio.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <thread>

#include "app/Platform.h"
#include "app/linux/LinuxLabLiveLoop.h"
#include "app/posix/PosixLab.h"
#include "base/Log.h"
#include "evidence/EvidenceCollector.h"
#include "hooks/HookEvents.h"
#include "hooks/HookLocation.h"
#include "platform/linux/FileKeyValueStore.h"
#include "platform/linux/LinuxPower.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/linux/SystemSingleCopy.h"
#include "platform/posix/OpenFileLimit.h"
#include "platform/posix/SystemPathEnvironment.h"

namespace vigilmoth::Platform {
namespace {

SystemSingleCopy& singleCopy() {
    static SystemSingleCopy copy(WellKnownPaths::runtime(systemPathEnvironment()));
    return copy;
}

const Logger& logger() {
    static const Logger log("App");
    return log;
}

// Reads requests from later copies on the socket beside the lock.
class ComeForwardListener {
public:
    ComeForwardListener(asio::io_context& context, const std::string& path) : socket_(context) {
        ::unlink(path.c_str());
        socket_.open();
        socket_.bind(asio::local::datagram_protocol::endpoint(path));
        receive();
    }

private:
    void receive() {
        socket_.async_receive(asio::buffer(buffer_), [this](std::error_code error, size_t size) {
            if (error) return;
            if (std::string_view(buffer_.data(), size) == SystemSingleCopy::kShowPreferences) {
                logger().info("another copy asked this one to come forward");
                std::printf("vigilmoth was asked to come forward.\n");
                std::fflush(stdout);
            }
            receive();
        });
    }

    asio::local::datagram_protocol::socket socket_;
    std::array<char, 256> buffer_{};
};

// The install prefix above this executable's bin/, which also holds libexec/ in the build tree.
std::string ownAppPath() {
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : HookLocation::appPath(executable.string());
}

}  // namespace

CopyCoordination copyCoordination() {
    return CopyCoordination{
        .otherCopies = [] { return singleCopy().otherCopies(); },
        .postShowPreferences = [] { singleCopy().askToComeForward(); },
        // The request above is how a Linux copy is brought forward; there is nothing more to do.
        .activate = [](int) {},
        .sleep =
            [](double seconds) {
                std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
            },
    };
}

int runApplication() {
    installSystemLogSink();
    raiseOpenFileLimit();
    asio::io_context context;
    std::unique_ptr<ComeForwardListener> listener;
    try {
        listener = std::make_unique<ComeForwardListener>(context, singleCopy().socketPath());
    } catch (const std::system_error& error) {
        logger().error(std::string("could not listen for other copies: ") + error.what());
    }
    // Without a system bus or logind this says once why it cannot hold, and the run goes on.
    LinuxPower power(context, BusAddress::system(), VIGILMOTH_VERSION);
    asio::signal_set signals(context, SIGINT, SIGTERM);
    signals.async_wait([&](std::error_code, int) { context.stop(); });
    std::printf(
        "vigilmoth is running as process %d. It does not watch agents yet on Linux; "
        "use --lab-agents to see the agents running now. Press Ctrl-C to quit.\n",
        static_cast<int>(::getpid()));
    std::fflush(stdout);
    logger().info("started");
    context.run();
    power.keeper().release();
    ::unlink(singleCopy().socketPath().c_str());
    logger().info("stopped");
    return 0;
}

int runSmokeTest(double) {
    std::fputs("The smoke test needs the menu-bar application, which runs only on macOS.\n",
               stderr);
    return 1;
}

int runDisplayProbe(double) {
    std::fputs("The display probe needs a Mac's built-in display.\n", stderr);
    return 1;
}

bool runLab(const std::vector<std::string>& arguments) {
    installSystemLogSink();
    raiseOpenFileLimit();
    SystemProcessCensus census;
    FileKeyValueStore defaults(FileKeyValueStore::defaultPath());
    LinuxLabLiveLoop liveLoop([] {
        auto sources = EvidenceCollector::Sources::system();
        sources.hookAgent = HookEvents::hookAgent;
        return std::make_unique<EvidenceCollector>(std::move(sources));
    });
    return PosixLab::run(arguments, {.census = census,
                                     .defaults = defaults,
                                     .appPath = ownAppPath(),
                                     .liveLoop = &liveLoop,
                                     .osVersion = LinuxLabLiveLoop::osVersion(),
                                     .model = LinuxLabLiveLoop::model()});
}

}  // namespace vigilmoth::Platform
