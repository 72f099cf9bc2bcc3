#include "app/linux/LinuxSmokeTest.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "app/linux/LinuxApplication.h"
#include "lab/SmokeHealth.h"
#include "platform/linux/SystemLog.h"
#include "platform/posix/OpenFileLimit.h"

namespace vigilmoth::LinuxSmokeTest {
namespace {

using Clock = std::chrono::steady_clock;
using Step = SmokeMeasurements::Step;

constexpr auto kProbe = std::chrono::milliseconds(100);
// The icon is hidden and shown in the third second, the menu held open from the fourth for
// two and a half, so that a ten-second run keeps four steady seconds.
constexpr double kIconAt = 2.0;
constexpr double kMenuAt = 3.0;
constexpr double kMenuOpenFor = 2.5;
// Beyond the run's length, the time after which the main loop counts as hung.
constexpr double kHangSeconds = 30;

double processorSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// What a tray host does with the menu, over a connection of its own to the session bus: tells
// the menu it is about to show and has opened, reads the layout and the icon's pixels, keeps it
// open for a while and closes it.
struct MenuVisit {
    bool layoutRead = false;
    bool iconRead = false;
    double openedAt = 0;
    double closedAt = 0;

    void run(const std::string& item, Clock::time_point start) {
        int code = 0;
        auto bus = openBus(BusAddress::session(), code);
        if (!bus) return;
        constexpr const char* kMenu = "com.canonical.dbusmenu";
        const char* path = StatusNotifierTray::kMenuPath;
        sd_bus_call_method(bus.get(), item.c_str(), path, kMenu, "AboutToShow", nullptr, nullptr,
                           "i", 0);
        openedAt = since(start);
        sd_bus_call_method(bus.get(), item.c_str(), path, kMenu, "Event", nullptr, nullptr, "isvu",
                           0, "opened", "s", "", 0u);
        sd_bus_message* layout = nullptr;
        if (sd_bus_call_method(bus.get(), item.c_str(), path, kMenu, "GetLayout", nullptr, &layout,
                               "iias", 0, -1, 0) >= 0) {
            std::uint32_t revision = 0;
            layoutRead = sd_bus_message_read(layout, "u", &revision) > 0 && revision > 0;
        }
        sd_bus_message_unref(layout);
        if (auto icon = StatusNotifierTray::readIcon(bus.get(), item)) {
            iconRead = icon->width > 0 &&
                       icon->bytes == static_cast<std::size_t>(icon->width) * icon->height * 4;
        }
        std::this_thread::sleep_for(std::chrono::duration<double>(kMenuOpenFor));
        sd_bus_call_method(bus.get(), item.c_str(), path, kMenu, "Event", nullptr, nullptr, "isvu",
                           0, "closed", "s", "", 0u);
        closedAt = since(start);
    }
};

// Ends the process with a report when the main loop does not finish the run in time.
class Watchdog {
public:
    explicit Watchdog(double seconds)
        : thread_([this, seconds] {
              std::unique_lock lock(mutex_);
              if (done_.wait_for(lock, std::chrono::duration<double>(seconds + kHangSeconds),
                                 [this] { return finished_; }))
                  return;
              SmokeMeasurements measurements{.seconds = seconds};
              std::printf("%s\n", SmokeHealth::line(measurements, "the main thread hung").c_str());
              std::fflush(stdout);
              ::_exit(1);
          }) {}
    ~Watchdog() {
        {
            std::lock_guard lock(mutex_);
            finished_ = true;
        }
        done_.notify_one();
        thread_.join();
    }

private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool finished_ = false;
    std::thread thread_;
};

// Drives the steps on the application's loop and takes the measurements.
class Driver {
public:
    Driver(LinuxApplication& app, double seconds)
        : app_(app), seconds_(seconds), probe_(app.loop()), second_(app.loop()), step_(app.loop()) {
        m_.seconds = seconds;
        m_.settingsWindow = Step::skipped;
        samplesBefore_ = app.aggregator().samples();
        buildsBefore_ = app.panelBuilds();
        publishesBefore_ = app.publishes();
        start_ = Clock::now();
        processorAtStart_ = processorSeconds();
        processorAtSecond_ = processorAtStart_;
        probe(start_ + kProbe);
        everySecond(1);
        at(kIconAt, [this] { toggleIcon(); });
    }
    ~Driver() {
        if (visitor_.joinable()) visitor_.join();
    }

    SmokeMeasurements finish() {
        if (visitor_.joinable()) visitor_.join();
        m_.cpuPercent = (processorSeconds() - processorAtStart_) / since(start_) * 100;
        m_.samples = static_cast<std::int64_t>(app_.aggregator().samples() - samplesBefore_);
        m_.sceneEvaluations = static_cast<std::int64_t>(app_.panelBuilds() - buildsBefore_);
        m_.publishes = static_cast<std::int64_t>(app_.publishes() - publishesBefore_);
        m_.statusItemImage = m_.statusItem && visit_.iconRead;
        if (visit_.layoutRead && visit_.closedAt > visit_.openedAt) {
            m_.panel = Step::ok;
            for (auto second = static_cast<std::int64_t>(visit_.openedAt);
                 second <= static_cast<std::int64_t>(visit_.closedAt); ++second)
                m_.panelSeconds.push_back(second);
        } else if (menuTried_) {
            m_.panel = Step::failed;
        }
        return m_;
    }

private:
    void probe(Clock::time_point due) {
        probe_.expires_at(due);
        probe_.async_wait([this, due](std::error_code error) {
            if (error) return;
            ++m_.ticks;
            const auto late =
                std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - due).count();
            m_.longestStallMs = std::max<std::int64_t>(m_.longestStallMs, late);
            if (since(start_) >= seconds_) {
                // The tray goes with the application.
                auto* tray = app_.tray();
                m_.statusItem = tray && tray->shown();
                app_.quit();
                return;
            }
            probe(due + kProbe);
        });
    }

    void everySecond(int number) {
        second_.expires_at(start_ + std::chrono::seconds(number));
        second_.async_wait([this, number](std::error_code error) {
            if (error) return;
            const double now = processorSeconds();
            m_.cpuBySecond.push_back((now - processorAtSecond_) * 100);
            processorAtSecond_ = now;
            everySecond(number + 1);
        });
    }

    void at(double seconds, std::function<void()> work) {
        step_.expires_at(start_ + std::chrono::duration_cast<Clock::duration>(
                                      std::chrono::duration<double>(seconds)));
        step_.async_wait([work = std::move(work)](std::error_code error) {
            if (!error) work();
        });
    }

    void toggleIcon() {
        m_.stepSeconds.push_back(static_cast<std::int64_t>(since(start_)));
        if (auto* tray = app_.tray()) {
            const bool hidden = tray->setShown(false);
            const bool shown = tray->setShown(true);
            m_.iconToggle = hidden && shown ? Step::ok : Step::failed;
        }
        at(kMenuAt, [this] { openMenu(); });
    }

    void openMenu() {
        auto* tray = app_.tray();
        if (!tray || !tray->shown()) return;
        menuTried_ = true;
        visitor_ = std::thread([this, item = tray->busName()] { visit_.run(item, start_); });
    }

    LinuxApplication& app_;
    double seconds_;
    asio::steady_timer probe_;
    asio::steady_timer second_;
    asio::steady_timer step_;
    SmokeMeasurements m_;
    Clock::time_point start_;
    double processorAtStart_ = 0;
    double processorAtSecond_ = 0;
    std::uint64_t samplesBefore_ = 0;
    std::uint64_t buildsBefore_ = 0;
    std::uint64_t publishesBefore_ = 0;
    bool menuTried_ = false;
    MenuVisit visit_;
    std::thread visitor_;
};

}  // namespace

int run(double seconds, const std::string& appPath) {
    installSystemLogSink();
    raiseOpenFileLimit();
    Watchdog watchdog(seconds);
    LinuxApplication app({.appPath = appPath});
    Driver driver(app, seconds);
    app.run();
    const auto measurements = driver.finish();
    std::printf("%s\n", SmokeHealth::line(measurements, std::nullopt).c_str());
    std::fflush(stdout);
    return SmokeHealth::failures(measurements).empty() ? 0 : 1;
}

}  // namespace vigilmoth::LinuxSmokeTest
