#include "app/linux/LinuxApplication.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "hooks/install/HookCatalog.h"
#include "platform/linux/SystemAwakeClock.h"
#include "platform/linux/SystemLog.h"
#include "platform/linux/SystemOpenFiles.h"
#include "platform/linux/SystemSingleCopy.h"
#include "platform/posix/SystemPathEnvironment.h"
#include "ui/MenuModel.h"
#include "ui/RobotLook.h"

namespace vigilmoth {
namespace {

constexpr auto kShowInterval = std::chrono::seconds(1);

std::string ownExecutable() {
    std::error_code error;
    auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : executable.string();
}

HookInstaller::Folders hookFolders(const std::string& appPath) {
    const auto paths = systemPathEnvironment();
    return {.home = paths.home,
            .appPath = appPath,
            .applicationSupport = WellKnownPaths::applicationSupport(paths)};
}

}  // namespace

// Reads requests from later copies on the socket beside the single-copy lock.
class LinuxApplication::CopyListener {
public:
    CopyListener(asio::io_context& context, const std::string& path,
                 std::function<void()> comeForward)
        : socket_(context), path_(path), comeForward_(std::move(comeForward)) {
        ::unlink(path.c_str());
        socket_.open();
        socket_.bind(asio::local::datagram_protocol::endpoint(path));
        receive();
    }
    ~CopyListener() { ::unlink(path_.c_str()); }

private:
    void receive() {
        socket_.async_receive(asio::buffer(buffer_), [this](std::error_code error, size_t size) {
            if (error) return;
            if (std::string_view(buffer_.data(), size) == SystemSingleCopy::kShowPreferences)
                comeForward_();
            receive();
        });
    }

    asio::local::datagram_protocol::socket socket_;
    std::string path_;
    std::function<void()> comeForward_;
    std::array<char, 256> buffer_{};
};

LoginItemManaging::Status LinuxApplication::AutostartLoginItem::status() {
    return autostart_.status() == XdgAutostart::Status::enabled ? Status::enabled
                                                                : Status::notRegistered;
}

std::optional<std::string> LinuxApplication::AutostartLoginItem::registerItem() {
    return autostart_.registerAtLogin();
}

std::optional<std::string> LinuxApplication::AutostartLoginItem::unregisterItem() {
    return autostart_.unregisterAtLogin();
}

LinuxApplication::LinuxApplication(Options options)
    : options_(std::move(options)),
      defaults_(FileKeyValueStore::defaultPath()),
      // Without a system bus or logind this says once why it cannot hold, and the run goes on.
      power_(loop_, BusAddress::system(), VIGILMOTH_VERSION),
      timers_(loop_),
      sleepFlag_({power_.lidSwitch(), power_.lidSwitch(), nullptr, defaults_, timers_,
                  [] { return SystemAwakeClock::clock().awake(); }, VIGILMOTH_VERSION}),
      notificationCenter_(loop_),
      notifier_(notificationCenter_),
      hosts_(census_),
      assertions_(BusAddress::system()),
      hookInstaller_(
          hookFolders(options_.appPath), [] { return Date::now(); }, hookFiles_),
      autostart_(
          XdgAutostart(WellKnownPaths::autostartEntry(systemPathEnvironment()), ownExecutable())),
      detection_(loop_, LinuxDetectionParts::systemCollector),
      signals_(loop_, SIGINT, SIGTERM),
      showTimer_(loop_) {
    sleepFlag_.refreshStatus();
    aggregator_ = std::make_unique<StateAggregator>(AggregatorParts{
        .defaults = defaults_,
        .sleepFlag = sleepFlag_,
        .power = power_.keeper(),
        .timers = timers_,
        .collector = detection_.collector(),
        .scheduler = detection_.scheduler(),
        .watcher = detection_.watcher(),
        .clock = SystemAwakeClock::clock(),
        .census = census_,
        .notices = {.notifier = &notifier_,
                    .hosts = &hosts_,
                    .assertions = &assertions_,
                    .notify =
                        [this](const std::string& text) {
                            notifier_.postMessage("safety-stop", text);
                        },
                    .ownPid = static_cast<std::int32_t>(::getpid())},
        .workingDirectory =
            [](std::int32_t pid) { return SystemOpenFiles().workingDirectory(pid); },
        .loginItem = &autostart_,
        .hookInstaller = &hookInstaller_,
        .canSetUpHelper = !ownExecutable().empty()});
    aggregator_->onChange = [this](const PanelInput&) {
        ++publishes_;
        changed();
    };
    power_.sleepNotices().onNotice([this](SleepNotice notice) {
        if (notice == SleepNotice::willSleep) {
            aggregator_->macWillSleep();
        } else {
            aggregator_->macDidWake();
        }
    });
    // Without a notification server this says once that notices cannot be shown.
    notifier_.readPermission();
    aggregator_->refreshHookStatuses();

    int code = 0;
    sessionBus_ = AsioBus::open(loop_, BusAddress::session(), code);
    if (sessionBus_) {
        tray_ = StatusNotifierTray::start(
            loop_, *sessionBus_, [this](const ShellCommand& command) { perform(command); });
    } else {
        log_.error(std::string("vigilmoth runs without a tray icon, because it cannot reach the "
                               "session bus (") +
                   std::strerror(code < 0 ? -code : code) + ").");
    }
    if (tray_ && !aggregator_->showMenuBarIcon()) tray_->setShown(false);
    terminal_ = TerminalView::forStandardOutput();
    if (terminal_) {
        // Log lines come from any thread; the terminal is written on the loop, above the panel.
        setLogSink([this](LogLevel level, std::string_view category, std::string_view message) {
            if (level == LogLevel::debug) return;
            // Appended rather than added up: GCC 12 at -O3 misreads the sum as an overflow.
            std::string line = "[";
            line.append(category).append("] ").append(message);
            asio::post(loop_, [this, line = std::move(line)] {
                if (terminal_) terminal_->printAbove(line);
            });
        });
    }
    if (options_.copySocket) {
        try {
            listener_ = std::make_unique<CopyListener>(loop_, *options_.copySocket,
                                                       [this] { comeForward(); });
        } catch (const std::system_error& error) {
            log_.error(std::string("could not listen for other copies: ") + error.what());
        }
    }
    signals_.async_wait([this](std::error_code error, int) {
        if (!error) quit();
    });
}

LinuxApplication::~LinuxApplication() {
    quit();
    if (terminal_) installSystemLogSink();
}

void LinuxApplication::run() {
    // The smoke test's output is its report alone.
    if (options_.copySocket) {
        std::printf("vigilmoth is running as process %d. Press Ctrl-C to quit.\n",
                    static_cast<int>(::getpid()));
        std::fflush(stdout);
    }
    log_.info("started");
    loop_.run();
}

void LinuxApplication::quit() {
    if (stopped_) return;
    stopped_ = true;
    // The engine, its timers, the lid lock and the hold go first, then the tray.
    aggregator_->shutdown();
    showTimer_.cancel();
    signals_.cancel();
    listener_.reset();
    tray_.reset();
    log_.info("stopped");
    loop_.stop();
}

void LinuxApplication::comeForward() {
    log_.info("another copy asked this one to come forward");
    aggregator_->setShowMenuBarIcon(true);
    constexpr const char* kAsked = "vigilmoth was asked to come forward.";
    if (terminal_) {
        terminal_->printAbove(kAsked);
    } else {
        std::printf("%s\n", kAsked);
        std::fflush(stdout);
    }
}

void LinuxApplication::changed() {
    if (stopped_ || showPending_) return;
    showPending_ = true;
    const auto due = lastShown_ + kShowInterval;
    showTimer_.expires_at(std::max(due, std::chrono::steady_clock::now()));
    showTimer_.async_wait([this](std::error_code error) {
        if (error) return;
        showPending_ = false;
        lastShown_ = std::chrono::steady_clock::now();
        show();
    });
}

void LinuxApplication::show() {
    ++panelBuilds_;
    const auto& input = aggregator_->panelInput();
    const auto panel = MenuModel::state(input, Date::now());
    if (terminal_) terminal_->show(panel);
    if (!tray_) return;
    if (tray_->shown() != aggregator_->showMenuBarIcon())
        tray_->setShown(aggregator_->showMenuBarIcon());
    const auto look = RobotLook(panel.pose).menuBar();
    tray_->update(menuInput(panel), look,
                  panel.menuBarAccessibilityLabel.value_or(look.accessibilityLabel()));
}

ShellMenuInput LinuxApplication::menuInput(const PanelState& panel) const {
    ShellMenuInput input{.panel = panel, .mode = aggregator_->mode()};
    const auto& statuses = aggregator_->hookStatuses();
    for (const auto& entry : HookCatalog::entries()) {
        const auto status = statuses.find(entry.id);
        if (status != statuses.end())
            input.hooks.push_back({entry.id, entry.displayName, status->second});
    }
    const auto login = aggregator_->loginItem();
    if (login == LoginItemState::on || login == LoginItemState::off)
        input.openAtLogin = login == LoginItemState::on;
    return input;
}

void LinuxApplication::perform(const ShellCommand& command) {
    if (stopped_) return;
    switch (command.kind) {
        case ShellCommand::Kind::panel:
            // A preferences window, a login-items pane or a help book: none on Linux.
            if (!aggregator_->perform(command.action))
                log_.info("this action has no place to go on Linux");
            break;
        case ShellCommand::Kind::setMode:
            aggregator_->setMode(command.mode);
            break;
        case ShellCommand::Kind::setHooks:
            for (const auto& entry : HookCatalog::entries())
                if (entry.id == command.hookEntry) aggregator_->setHooks(entry, command.on);
            break;
        case ShellCommand::Kind::setOpenAtLogin:
            aggregator_->setOpenAtLogin(command.on);
            break;
        case ShellCommand::Kind::quit:
            quit();
            return;
    }
    changed();
}

}  // namespace vigilmoth
