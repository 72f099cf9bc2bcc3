// Show that opening at login writes an autostart entry the desktop accepts, that only an entry
// which starts this vigilmoth counts as enabled, and that no entry text can break the reading.
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
        EXPECT_EQ(XdgAutostart(entry, home / "elsewhere/vigilmoth").status(),
                  Status::notRegistered);
        EXPECT_EQ(autostart.unregisterAtLogin(), std::nullopt);
        EXPECT_EQ(autostart.status(), Status::notRegistered);
        EXPECT_FALSE(std::filesystem::exists(entry));
        EXPECT_EQ(autostart.unregisterAtLogin(), std::nullopt);
    }
}

TEST(XdgAutostartTest, AnEntryTheDesktopSkipsIsNotRegistered) {
    TemporaryFolder home;
    const std::string entry = home / "vigilmoth.desktop";
    const std::string ours = XdgAutostart::entryText("/opt/vigilmoth");
    const struct {
        const char* name;
        std::string text;
        Status status;
    } cases[] = {
        {"ours", ours, Status::enabled},
        {"hidden", ours + "Hidden=true\n", Status::notRegistered},
        {"switched off in GNOME", ours + "X-GNOME-Autostart-enabled = false\n",
         Status::notRegistered},
        {"Exec of another group",
         "[Desktop Action x]\nExec=/opt/vigilmoth\n[Desktop Entry]\nName=x\n",
         Status::notRegistered},
        {"Exec with spaces around", "# note\n[Desktop Entry]\n  Exec =  /opt/vigilmoth \n",
         Status::enabled},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        writeFile(entry, c.text);
        EXPECT_EQ(XdgAutostart(entry, "/opt/vigilmoth").status(), c.status);
    }
}

TEST(XdgAutostartTest, AFolderThatCannotBeMadeIsASentence) {
    TemporaryFolder home;
    writeFile(home / "config", "a file where the folder should be");
    const auto error = XdgAutostart(home / "config/autostart/vigilmoth.desktop", "/opt/vigilmoth")
                           .registerAtLogin();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(
        error->rfind("vigilmoth could not create the folder " + (home / "config/autostart"), 0), 0u)
        << *error;
}

TEST(XdgAutostartTest, MalformedEntriesAreReadWithoutHarm) {
    TemporaryFolder home;
    const std::string entry = home / "vigilmoth.desktop";
    std::mt19937 random(14);
    for (int round = 0; round < 300; ++round) {
        writeFile(entry, round % 2
                             ? randomBytes(random, 400)
                             : mutatedText(XdgAutostart::entryText("/opt/vigilmoth"), random));
        const auto status = XdgAutostart(entry, "/opt/vigilmoth").status();
        EXPECT_TRUE(status == Status::enabled || status == Status::notRegistered);
    }
}

}  // namespace
}  // namespace vigilmoth
