#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "base/Log.h"
#include "platform/linux/AsioBus.h"
#include "support/TestSupport.h"

namespace vigilmoth::testing {

// A private D-Bus daemon (a minimal configuration on a socket in a temporary
// folder) with python3-dbusmock services on it, standing in for the system's or
// the user's bus. The code under test connects with `address()`; a child
// process finds it in DBUS_SYSTEM_BUS_ADDRESS and DBUS_SESSION_BUS_ADDRESS
// (`environment()`). Everything stops when the bus goes.
class DBusTestBus {
public:
    DBusTestBus();
    ~DBusTestBus();
    DBusTestBus(const DBusTestBus&) = delete;
    DBusTestBus& operator=(const DBusTestBus&) = delete;

    BusAddress address() const { return BusAddress::at(address_); }
    ProcessOptions environment() const;

    // Starts a dbusmock template ("logind", "upower", "notification_daemon" ...)
    // with its JSON parameters and waits until it owns `busName`.
    void startTemplate(const std::string& name, const std::string& busName,
                       const std::string& parameters = "{}");
    // Starts a generic mock object that tests fill with AddMethod and
    // AddProperty.
    void startMock(const std::string& busName, const std::string& path,
                   const std::string& interface);
    // A desktop's StatusNotifierWatcher that takes every registration.
    void startTrayWatcher();

    // The test's own connection, for the mocks' interface and for asking services
    // what they hold.
    sd_bus* client() const { return client_.get(); }
    // Calls a method of the mock interface on `path` (arguments as busctl takes them); fails the
    // test when the call fails.
    void mock(const std::string& busName, const std::string& path, const std::string& method,
              const std::vector<std::string>& arguments);

    // The reply's values of a call made with busctl (types and arguments as busctl takes them).
    nlohmann::json call(const std::string& busName, const std::string& path,
                        const std::string& interface, const std::string& method,
                        const std::vector<std::string>& arguments = {});
    // The first string argument of each call of `method` a generic mock took, in
    // order.
    std::vector<std::string> firstArguments(const std::string& busName, const std::string& path,
                                            const std::string& method);
    // The services the tray watcher was asked to register, in order.
    std::vector<std::string> trayRegistrations();
    // Each Notify call the notification daemon took: replaces_id; summary, body
    // and actions.
    std::vector<std::pair<std::uint32_t, std::vector<std::string>>> notifyCalls();
    // A dbusmenu's labels with their ids, as GetLayout gives them, and its
    // revision.
    using MenuLines = std::map<std::string, std::int32_t>;
    MenuLines menuLayout(const std::string& busName, const std::string& path,
                         std::uint32_t* revision = nullptr);
    // Clicks the dbusmenu item `id` as a panel does.
    void click(const std::string& busName, const std::string& path, std::int32_t id);
    // Whether `name` has an owner on the bus.
    bool owned(const std::string& name);

private:
    // Starts python3-dbusmock with `arguments` and waits until it owns `busName`.
    void serve(const std::string& busName, std::vector<std::string> arguments);

    TemporaryFolder folder_;
    std::unique_ptr<BackgroundProcess> daemon_;
    std::vector<std::unique_ptr<BackgroundProcess>> services_;
    std::string address_;
    SdBus client_;
};

// Waits until `done` holds, running `loop` meanwhile when one is given; false
// when the time runs out. Services answer a moment after they are told, so
// tests wait for conditions.
bool eventually(const std::function<bool()>& done, double seconds = 10,
                asio::io_context* loop = nullptr);

// What vigilmoth logs while it lives, all lines and the errors alone.
struct CapturedLog {
    CapturedLog();
    ~CapturedLog();
    std::vector<std::string> lines, errors;
};

}  // namespace vigilmoth::testing
