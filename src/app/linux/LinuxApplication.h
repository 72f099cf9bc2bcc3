#pragma once

#include <asio.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/linux/LinuxDetectionParts.h"
#include "app/linux/StatusNotifierTray.h"
#include "app/linux/TerminalView.h"
#include "base/Log.h"
#include "hooks/install/HookInstaller.h"
#include "hooks/install/SystemHookFileAccess.h"
#include "notices/Notifier.h"
#include "platform/linux/AsioTimers.h"
#include "platform/linux/FileKeyValueStore.h"
#include "platform/linux/FreedesktopNotificationCenter.h"
#include "platform/linux/LinuxPower.h"
#include "platform/linux/SystemAgentHosts.h"
#include "platform/linux/SystemPowerContext.h"
#include "platform/linux/SystemProcessCensus.h"
#include "platform/linux/XdgAutostart.h"
#include "power/SleepFlagController.h"
#include "state/HookActions.h"
#include "state/LoginItem.h"
#include "state/StateAggregator.h"

namespace vigilmoth {

// The application on Linux, on one Asio loop: the state aggregator with the live engine, logind
// for the hold, the lid and the sleep notices, the desktop's notification server, the tray
// icon with its menu, the panel in the terminal it was started from, and opening at login.
class LinuxApplication {
public:
    struct Options {
        // The single-copy socket on which later copies ask this one to come forward; absent
        // for a run that did not take the single-copy lock (the smoke test).
        std::optional<std::string> copySocket;
        // The install prefix the hooks are installed from.
        std::string appPath;
    };

    explicit LinuxApplication(Options options);
    ~LinuxApplication();
    LinuxApplication(const LinuxApplication&) = delete;
    LinuxApplication& operator=(const LinuxApplication&) = delete;

    // Runs until the menu's quit, SIGINT or SIGTERM, then stops in order: the engine, the
    // timers, the lid lock, the hold, the tray.
    void run();
    void quit();
    // Carries out a click of the menu.
    void perform(const ShellCommand& command);
    // A later copy asked this one to come forward: the icon shows again if it was hidden.
    void comeForward();

    asio::io_context& loop() { return loop_; }
    StateAggregator& aggregator() { return *aggregator_; }
    // None while the desktop has no tray.
    StatusNotifierTray* tray() { return tray_.get(); }
    // How often the panel was built and the state published, for the smoke test.
    std::uint64_t panelBuilds() const { return panelBuilds_; }
    std::uint64_t publishes() const { return publishes_; }

private:
    class CopyListener;
    // Opening at login through the autostart entry, as the login-item switch asks it.
    class AutostartLoginItem final : public LoginItemManaging {
    public:
        explicit AutostartLoginItem(XdgAutostart autostart) : autostart_(std::move(autostart)) {}
        Status status() override;
        std::optional<std::string> registerItem() override;
        std::optional<std::string> unregisterItem() override;

    private:
        XdgAutostart autostart_;
    };

    void changed();
    void show();
    ShellMenuInput menuInput(const PanelState& panel) const;
    void performPanel(const PanelAction& action);

    Options options_;
    asio::io_context loop_;
    Logger log_{"App"};
    FileKeyValueStore defaults_;
    SystemProcessCensus census_;
    LinuxPower power_;
    AsioTimers timers_;
    SleepFlagController sleepFlag_;
    FreedesktopNotificationCenter notificationCenter_;
    Notifier notifier_;
    SystemAgentHosts hosts_;
    SystemPowerAssertions assertions_;
    LinuxDetectionParts detection_;
    std::unique_ptr<StateAggregator> aggregator_;
    SystemHookFileAccess hookFiles_;
    HookInstaller hookInstaller_;
    HookActions hookActions_;
    AutostartLoginItem autostart_;
    LoginItemSwitch loginItem_;
    std::unique_ptr<AsioBus> sessionBus_;
    std::unique_ptr<StatusNotifierTray> tray_;
    std::unique_ptr<TerminalView> terminal_;
    std::unique_ptr<CopyListener> listener_;
    asio::signal_set signals_;
    // What is shown follows the state at most once a second, the latest state winning.
    asio::steady_timer showTimer_;
    bool showPending_ = false;
    std::chrono::steady_clock::time_point lastShown_{};
    std::uint64_t panelBuilds_ = 0;
    std::uint64_t publishes_ = 0;
    bool stopped_ = false;
};

}  // namespace vigilmoth
