#include "platform/linux/DBusTestBus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>

namespace vigilmoth::testing {
namespace {

constexpr const char* kMockInterface = "org.freedesktop.DBus.Mock";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";

}  // namespace

DBusTestBus::DBusTestBus() {
    // A session bus on a socket of its own that lets the test watch and own everything.
    std::string configuration = readFile(fixture("dbus/bus.conf"));
    configuration.replace(configuration.find("@SOCKET@"), 8, folder_ / "bus");
    writeFile(folder_ / "bus.conf", configuration);
    daemon_ = std::make_unique<BackgroundProcess>(
        "/usr/bin/dbus-daemon",
        std::vector<std::string>{"--config-file=" + (folder_ / "bus.conf"), "--nofork",
                                 "--nopidfile", "--print-address"});
    if (!daemon_->waitForOutput("\n", 20)) throw std::runtime_error("dbus-daemon did not start");
    address_ = daemon_->output().substr(0, daemon_->output().find('\n'));
    int code = 0;
    client_ = openBus(address(), code);
    if (!client_) throw std::runtime_error("cannot connect to the test bus");
}

DBusTestBus::~DBusTestBus() {
    client_.reset();
    services_.clear();
}

ProcessOptions DBusTestBus::environment() const {
    ProcessOptions options;
    options.environment["DBUS_SYSTEM_BUS_ADDRESS"] = address_;
    options.environment["DBUS_SESSION_BUS_ADDRESS"] = address_;
    return options;
}

void DBusTestBus::startTemplate(const std::string& name, const std::string& busName,
                                const std::string& parameters) {
    serve(busName, {"--template", name, "--parameters", parameters});
}

void DBusTestBus::startMock(const std::string& busName, const std::string& path,
                            const std::string& interface) {
    serve(busName, {busName, path, interface});
}

void DBusTestBus::startTrayWatcher() {
    startMock(kWatcher, kWatcherPath, kWatcher);
    mock(kWatcher, kWatcherPath, "AddMethod",
         {"sssss", "", "RegisterStatusNotifierItem", "s", "", ""});
}

void DBusTestBus::serve(const std::string& busName, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(),
                     {"-m", "dbusmock", "--logfile", folder_ / (busName + ".log")});
    services_.push_back(
        std::make_unique<BackgroundProcess>("/usr/bin/python3", arguments, environment()));
    if (!eventually([&] { return owned(busName); }, 30))
        throw std::runtime_error("the mock of " + busName + " did not start");
}

void DBusTestBus::mock(const std::string& busName, const std::string& path,
                       const std::string& method, const std::vector<std::string>& arguments) {
    call(busName, path, kMockInterface, method, arguments);
}

nlohmann::json DBusTestBus::call(const std::string& busName, const std::string& path,
                                 const std::string& interface, const std::string& method,
                                 const std::vector<std::string>& arguments) {
    std::vector<std::string> words{
        "--address=" + address_, "--json=short", "--", "call", busName, path, interface, method};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const auto result = runProcess("/usr/bin/busctl", words);
    EXPECT_EQ(result.status, 0) << method << ": " << result.err;
    return nlohmann::json::parse(result.out.empty() ? "{}" : result.out)
        .value("data", nlohmann::json());
}

std::vector<std::string> DBusTestBus::firstArguments(const std::string& busName,
                                                     const std::string& path,
                                                     const std::string& method) {
    // Hold the reply: a range over a part of a temporary outlives the temporary.
    const auto reply = call(busName, path, kMockInterface, "GetMethodCalls", {"s", method});
    std::vector<std::string> arguments;
    for (const auto& each : reply[0])
        arguments.push_back(each[1][0]["data"]);
    return arguments;
}

std::vector<std::string> DBusTestBus::trayRegistrations() {
    return firstArguments(kWatcher, kWatcherPath, "RegisterStatusNotifierItem");
}

std::vector<std::pair<std::uint32_t, std::vector<std::string>>> DBusTestBus::notifyCalls() {
    const auto reply = call("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                            kMockInterface, "GetMethodCalls", {"s", "Notify"});
    std::vector<std::pair<std::uint32_t, std::vector<std::string>>> calls;
    for (const auto& notify : reply[0]) {
        const auto& arguments = notify[1];
        std::vector<std::string> texts{arguments[3]["data"], arguments[4]["data"]};
        for (const auto& action : arguments[5]["data"])
            texts.push_back(action);
        calls.emplace_back(arguments[1]["data"], texts);
    }
    return calls;
}

DBusTestBus::MenuLines DBusTestBus::menuLayout(const std::string& busName, const std::string& path,
                                               std::uint32_t* revision) {
    const auto reply =
        call(busName, path, "com.canonical.dbusmenu", "GetLayout", {"iias", "0", "-1", "0"});
    if (revision) *revision = reply[0];
    MenuLines lines;
    std::function<void(const nlohmann::json&)> read = [&](const nlohmann::json& item) {
        if (item[1].contains("label")) lines[item[1]["label"]["data"]] = item[0];
        for (const auto& child : item[2])
            read(child["data"]);
    };
    read(reply[1]);
    return lines;
}

void DBusTestBus::click(const std::string& busName, const std::string& path, std::int32_t id) {
    call(busName, path, "com.canonical.dbusmenu", "Event",
         {"isvu", std::to_string(id), "clicked", "s", "", "0"});
}

bool DBusTestBus::owned(const std::string& name) {
    return sd_bus_call_method(client(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus", "GetNameOwner", nullptr, nullptr, "s",
                              name.c_str()) >= 0;
}

bool eventually(const std::function<bool()>& done, double seconds, asio::io_context* loop) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        if (loop) {
            loop->run_for(std::chrono::milliseconds(20));
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
    return true;
}

CapturedLog::CapturedLog() {
    setLogSink([this](LogLevel level, std::string_view, std::string_view line) {
        lines.emplace_back(line);
        if (level == LogLevel::error) errors.emplace_back(line);
    });
}

CapturedLog::~CapturedLog() {
    setLogSink(nullptr);
}

}  // namespace vigilmoth::testing
