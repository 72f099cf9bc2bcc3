// Opening at login writes an autostart entry the desktop accepts; only an entry that starts this
// vigilmoth counts as enabled, and no entry text can break the reading.
#include "platform/linux/XdgAutostart.h"

#include <gtest/gtest.h>

#include <random>

#include "support/FuzzInput.h"
#include "support/TestSupport.h"

namespace vigilmoth {
namespace {

using namespace testing;
using Status = XdgAutostart::Status;

TEST(XdgAutostartTest, RegistersAnEntryTheDesktopAcceptsAndRemovesIt) {
    TemporaryFolder home;
    const std::string entry = home / "config/autostart/vigilmoth.desktop";
    // Reserved characters, a field-code percent and a backslash must survive the quoting.
    for (const std::string& executable :
         {home / "bin/vigilmoth", home / "my apps/vig$ilmoth 100%\\\"x`"}) {
        SCOPED_TRACE(executable);
        const XdgAutostart autostart(entry, executable);
        EXPECT_EQ(autostart.status(), Status::notRegistered);
        EXPECT_EQ(autostart.registerAtLogin(), std::nullopt);
        EXPECT_EQ(autostart.status(), Status::enabled);
        const auto validated = runProcess("/usr/bin/desktop-file-validate", {entry});
        EXPECT_EQ(validated.status, 0) << validated.out << validated.err;
        EXPECT_EQ(XdgAutostart(entry, home / "moved/vigilmoth").status(), Status::notRegistered);
        EXPECT_EQ(autostart.unregisterAtLogin(), std::nullopt);
        EXPECT_EQ(autostart.status(), Status::notRegistered);
        EXPECT_EQ(autostart.unregisterAtLogin(), std::nullopt);
    }
    writeFile(home / "file", "a file where the folder should be");
    const auto error = XdgAutostart(home / "file/autostart/x.desktop", "/v").registerAtLogin();
    EXPECT_EQ(error.value_or("").rfind("vigilmoth could not create the folder ", 0), 0u);
}

TEST(XdgAutostartTest, AnEntryTheDesktopSkipsIsNotRegistered) {
    TemporaryFolder home;
    const std::string entry = home / "vigilmoth.desktop";
    std::string ours = XdgAutostart::entryText("/opt/vigilmoth");
    std::string off = ours;
    off.replace(off.find("enabled=true"), 12, "enabled=false");
    const std::pair<std::string, Status> cases[] = {
        {ours, Status::enabled},
        {ours + "Hidden=true\n", Status::notRegistered},
        {off, Status::notRegistered},
        {"[Desktop Action x]\nExec=/opt/vigilmoth\n[Desktop Entry]\nName=x\n",
         Status::notRegistered},
        {"# note\n[Desktop Entry]\n  Exec =  /opt/vigilmoth \n", Status::enabled},
    };
    for (const auto& [text, status] : cases) {
        SCOPED_TRACE(text);
        writeFile(entry, text);
        EXPECT_EQ(XdgAutostart(entry, "/opt/vigilmoth").status(), status);
    }
    // Nothing read from a broken entry, and never a crash.
    std::mt19937 random(14);
    for (int round = 0; round < 300; ++round) {
        writeFile(entry, round % 2 ? randomBytes(random, 400) : mutatedText(ours, random));
        EXPECT_EQ(XdgAutostart(entry, "/elsewhere").status(), Status::notRegistered);
    }
}

}  // namespace
}  // namespace vigilmoth
