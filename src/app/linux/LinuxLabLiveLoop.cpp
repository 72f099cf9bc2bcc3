#include "app/linux/LinuxLabLiveLoop.h"

#include <sys/resource.h>
#include <sys/utsname.h>

#include <asio/signal_set.hpp>
#include <fstream>

#include "platform/linux/SystemAwakeClock.h"

namespace vigilmoth {

DetectionEngine::Parts LinuxLabLiveLoop::engineParts() {
    if (!parts_) parts_ = std::make_unique<LinuxDetectionParts>(loop_, makeCollector_);
    return {parts_->collector(), parts_->scheduler(), parts_->watcher(), SystemAwakeClock::clock()};
}

SleepNoticing* LinuxLabLiveLoop::sleepNotices() {
    if (!notices_) {
        // Without a system bus or logind the reach says so once, and no notice comes.
        int code = 0;
        bus_ = AsioBus::open(loop_, BusAddress::system(), code);
        logind_ = std::make_unique<LogindReach>(bus_.get(), code);
        notices_ = std::make_unique<LogindSleepNotices>(*logind_);
    }
    return notices_.get();
}

void LinuxLabLiveLoop::runUntilStopped() {
    asio::signal_set signals(loop_, SIGINT, SIGTERM);
    signals.async_wait([this](std::error_code, int) { loop_.stop(); });
    loop_.run();
}

double LinuxLabLiveLoop::processCPUSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

std::string LinuxLabLiveLoop::osVersion() {
    utsname names{};
    if (::uname(&names) != 0) return "Linux";
    return std::string(names.sysname) + " " + names.release;
}

std::string LinuxLabLiveLoop::model() {
    std::ifstream file("/sys/devices/virtual/dmi/id/product_name");
    std::string name;
    std::getline(file, name);
    return name.empty() ? "unknown" : name;
}

}  // namespace vigilmoth
