#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/TestSupport.h"

namespace vigilmoth::testing {

// A D-Bus daemon of the test's own on a socket in a temporary folder, with python3-dbusmock
// serving a template on it as a system service would.
class PrivateBus {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& address() const { return address_; }
    // Starts dbusmock with the template ("logind", "upower" ...) and waits for its name.
    void serve(const std::string& templateName, const std::string& busName);
    // Calls a method with dbus-send; the arguments in its notation ("string:c1", "uint32:7").
    ProcessResult call(const std::string& destination, const std::string& path,
                       const std::string& method, const std::vector<std::string>& arguments);

private:
    TemporaryFolder folder_;
    std::unique_ptr<BackgroundProcess> daemon_;
    std::vector<std::unique_ptr<BackgroundProcess>> services_;
    std::string address_;
};

}  // namespace vigilmoth::testing
