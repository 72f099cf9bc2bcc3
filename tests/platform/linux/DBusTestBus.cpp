#include "platform/linux/DBusTestBus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdarg>
#include <stdexcept>
#include <thread>

namespace vigilmoth::testing {
namespace {

constexpr const char* kConfiguration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@SOCKET@</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

constexpr const char* kMockInterface = "org.freedesktop.DBus.Mock";
constexpr const char* kWatcher = "org.kde.StatusNotifierWatcher";
constexpr const char* kWatcherPath = "/StatusNotifierWatcher";

void readLayout(sd_bus_message* message, DBusTestBus::MenuLines& lines) {
    std::int32_t id = 0;
    sd_bus_message_enter_container(message, 'r', "ia{sv}av");
    sd_bus_message_read(message, "i", &id);
    sd_bus_message_enter_container(message, 'a', "{sv}");
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* label = nullptr;
        sd_bus_message_read(message, "s", &key);
        if (std::string_view(key) == "label" && sd_bus_message_read(message, "v", "s", &label) > 0)
            lines[label] = id;
        else
            sd_bus_message_skip(message, "v");
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_enter_container(message, 'a', "v");
    while (sd_bus_message_enter_container(message, 'v', "(ia{sv}av)") > 0) {
        readLayout(message, lines);
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
}

}  // namespace

DBusTestBus::DBusTestBus() {
    std::string configuration = kConfiguration;
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
    mock(kWatcher, kWatcherPath, "AddMethod", "sssss", "", "RegisterStatusNotifierItem", "s", "",
         "");
}

void DBusTestBus::serve(const std::string& busName, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(),
                     {"-m", "dbusmock", "--logfile", folder_ / (busName + ".log")});
    services_.push_back(
        std::make_unique<BackgroundProcess>("/usr/bin/python3", arguments, environment()));
    if (!eventually([&] { return owned(busName); }, 30))
        throw std::runtime_error("the mock of " + busName + " did not start");
}

void DBusTestBus::mock(const std::string& busName, const std::string& path, const char* method,
                       const char* types, ...) {
    va_list arguments;
    va_start(arguments, types);
    SdBusError error;
    sd_bus_message* reply = nullptr;
    const int code = sd_bus_call_methodv(client(), busName.c_str(), path.c_str(), kMockInterface,
                                         method, error.get(), &reply, types, arguments);
    va_end(arguments);
    sd_bus_message_unref(reply);
    ASSERT_GE(code, 0) << method << ": " << error.describe(code);
}

std::vector<std::string> DBusTestBus::firstArguments(const std::string& busName,
                                                     const std::string& path,
                                                     const std::string& method) {
    sd_bus_message* reply = nullptr;
    EXPECT_GE(sd_bus_call_method(client(), busName.c_str(), path.c_str(), kMockInterface,
                                 "GetMethodCalls", nullptr, &reply, "s", method.c_str()),
              0);
    const SdBusMessage kept(reply);
    std::vector<std::string> arguments;
    sd_bus_message_enter_container(reply, 'a', "(tav)");
    while (sd_bus_message_enter_container(reply, 'r', "tav") > 0) {
        const char* argument = nullptr;
        sd_bus_message_skip(reply, "t");
        sd_bus_message_enter_container(reply, 'a', "v");
        if (sd_bus_message_read(reply, "v", "s", &argument) > 0) arguments.emplace_back(argument);
        sd_bus_message_exit_container(reply);
        sd_bus_message_exit_container(reply);
    }
    return arguments;
}

std::vector<std::string> DBusTestBus::trayRegistrations() {
    return firstArguments(kWatcher, kWatcherPath, "RegisterStatusNotifierItem");
}

std::vector<std::pair<std::uint32_t, std::vector<std::string>>> DBusTestBus::notifyCalls() {
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(client(), "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                       kMockInterface, "GetMethodCalls", nullptr, &reply, "s", "Notify");
    const SdBusMessage kept(reply);
    std::vector<std::pair<std::uint32_t, std::vector<std::string>>> calls;
    sd_bus_message_enter_container(reply, 'a', "(tav)");
    while (sd_bus_message_enter_container(reply, 'r', "tav") > 0) {
        std::uint32_t replaces = 0;
        const char *summary = "", *body = "";
        char** actions = nullptr;
        std::uint64_t stamp = 0;
        sd_bus_message_read(reply, "t", &stamp);
        sd_bus_message_enter_container(reply, 'a', "v");
        sd_bus_message_read(reply, "vvvvv", "s", &body, "u", &replaces, "s", &body, "s", &summary,
                            "s", &body);
        sd_bus_message_enter_container(reply, 'v', "as");
        sd_bus_message_read_strv(reply, &actions);
        std::vector<std::string> texts{summary, body};
        for (char** action = actions; action && *action; ++action) {
            texts.emplace_back(*action);
            free(*action);
        }
        free(actions);
        sd_bus_message_exit_container(reply);
        sd_bus_message_skip(reply, "vv");
        sd_bus_message_exit_container(reply);
        sd_bus_message_exit_container(reply);
        calls.emplace_back(replaces, texts);
    }
    return calls;
}

DBusTestBus::MenuLines DBusTestBus::menuLayout(const std::string& busName, const std::string& path,
                                               std::uint32_t* revision) {
    sd_bus_message* reply = nullptr;
    EXPECT_GE(sd_bus_call_method(client(), busName.c_str(), path.c_str(), "com.canonical.dbusmenu",
                                 "GetLayout", nullptr, &reply, "iias", 0, -1, 0),
              0);
    const SdBusMessage kept(reply);
    MenuLines lines;
    std::uint32_t read = 0;
    sd_bus_message_read(reply, "u", &read);
    if (revision) *revision = read;
    readLayout(reply, lines);
    return lines;
}

void DBusTestBus::click(const std::string& busName, const std::string& path, std::int32_t id) {
    ASSERT_GE(sd_bus_call_method(client(), busName.c_str(), path.c_str(), "com.canonical.dbusmenu",
                                 "Event", nullptr, nullptr, "isvu", id, "clicked", "s", "", 0u),
              0);
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
