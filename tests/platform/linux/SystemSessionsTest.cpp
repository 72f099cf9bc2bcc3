// A remote login of the user is recognised from logind on a private system bus and from a real
// sshd above one of the user's terminals; terminals get their device names.
#include "platform/linux/SystemSessions.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/PrivateBus.h"
#include "support/ProcessTree.h"

namespace vigilmoth {
namespace {

const char* kLogind = "org.freedesktop.login1";

TEST(SystemSessionsTest, LogindTellsOfRemoteSessionsOfTheUser) {
    testing::PrivateBus bus;
    SystemSessions unanswered(bus.address());
    EXPECT_FALSE(unanswered.remoteLoginSession()) << "no logind on the bus";
    bus.serve("logind", kLogind);
    SystemSessions sessions(bus.address());
    std::string uid = "uint32:" + std::to_string(::getuid());
    auto add = [&](const std::string& id, const std::string& user) {
        bus.call(kLogind, "/org/freedesktop/login1", "org.freedesktop.DBus.Mock.AddSession",
                 {"string:" + id, "string:seat0", user, "string:someone", "boolean:true"});
    };
    auto set = [&](const std::string& id, const std::string& property, const std::string& value) {
        auto result = bus.call(
            kLogind, "/org/freedesktop/login1/session/" + id, "org.freedesktop.DBus.Properties.Set",
            {"string:org.freedesktop.login1.Session", "string:" + property, "variant:" + value});
        ASSERT_EQ(result.status, 0) << result.err;
    };
    add("c1", uid);
    EXPECT_EQ(sessions.remoteLoginSession(), false) << "a local session";
    add("c2", "uint32:" + std::to_string(::getuid() + 1));
    set("c2", "Remote", "boolean:true");
    EXPECT_EQ(sessions.remoteLoginSession(), false) << "another user's";
    set("c1", "Remote", "boolean:true");
    EXPECT_EQ(sessions.remoteLoginSession(), true);
    EXPECT_TRUE(sessions.remoteAccessActive({}));
    set("c1", "State", "string:closing");
    EXPECT_EQ(sessions.remoteLoginSession(), false) << "a login that has ended";
}

TEST(SystemSessionsTest, ATerminalUnderARealSshdAndTerminalNames) {
    testing::ProcessTree tree({{0, -1, "bin/sshd", {"sshd: someone@pts/3"}}});
    SystemSessions sessions("unix:path=/nonexistent/bus");
    ProcessInfoRow shell{.pid = 1 << 22, .ppid = tree.pid(0), .tty = 34819};
    EXPECT_TRUE(sessions.remoteAccessActive({shell}));
    shell.tty = ProcessInfoRow::kNoTerminal;
    EXPECT_FALSE(sessions.remoteAccessActive({shell}));

    const std::vector<std::pair<std::int32_t, std::optional<std::string>>> names{
        {34819, "pts/3"},
        {(137 << 8) | 4, "pts/260"},
        {(4 << 8) | 2, "tty2"},
        {(4 << 8) | 65, "ttyS1"},
        {(1 << 20) | (136 << 8), "pts/256"},
        {0, std::nullopt},
        {(8 << 8) | 1, std::nullopt}};
    for (const auto& [device, name] : names)
        EXPECT_EQ(SystemSessions::terminalDeviceName(device), name) << device;
}

}  // namespace
}  // namespace vigilmoth
