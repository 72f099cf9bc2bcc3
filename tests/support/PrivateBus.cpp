#include "support/PrivateBus.h"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace vigilmoth::testing {

PrivateBus::PrivateBus() {
    std::string config = folder_ / "bus.conf";
    writeFile(config,
              R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)" +
                  (folder_ / "socket") + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");
    daemon_ = std::make_unique<BackgroundProcess>(
        "/usr/bin/dbus-daemon",
        std::vector<std::string>{"--config-file=" + config, "--nofork", "--print-address"});
    if (!daemon_->waitForOutput("\n", 20)) throw std::runtime_error("dbus-daemon did not start");
    address_ = daemon_->output().substr(0, daemon_->output().find('\n'));
}

void PrivateBus::serve(const std::string& templateName, const std::string& busName) {
    ProcessOptions options;
    options.environment["DBUS_SYSTEM_BUS_ADDRESS"] = address_;
    services_.push_back(std::make_unique<BackgroundProcess>(
        "/usr/bin/python3",
        std::vector<std::string>{"-m", "dbusmock", "--system", "--template", templateName},
        options));
    for (int attempt = 0; attempt < 200; ++attempt) {
        auto owner = call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus.NameHasOwner", {"string:" + busName});
        if (owner.out.find("boolean true") != std::string::npos) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    throw std::runtime_error("dbusmock did not take " + busName);
}

ProcessResult PrivateBus::call(const std::string& destination, const std::string& path,
                               const std::string& method,
                               const std::vector<std::string>& arguments) {
    std::vector<std::string> words{"--bus=" + address_, "--print-reply", "--dest=" + destination,
                                   path, method};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return runProcess("/usr/bin/dbus-send", words);
}

}  // namespace vigilmoth::testing
